// The log panes: lines from another thread, the 1024-row cap, Reset and Save from the menu.
#include <QAbstractItemModelTester>
#include <QMenu>
#include <QTableView>
#include <QTest>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "app/message_box_dialog.h"
#include "app/save_file_dialog.h"
#include "app/sondara_utility_app.h"
#include "logs/event_log_view.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_log_view.h"
#include "util/string_table.h"
#include "util/temp_folder.h"

namespace {

using logs::CLogTableView;

QVariant Cell(const CLogTableView& v, int row, int column, int role = Qt::DisplayRole) {
  const QAbstractItemModel* m = v.Table()->model();
  return m->data(m->index(row, column), role);
}

class LogViewsTest : public QObject {
  Q_OBJECT

  sondara_test::TempFolder dir_;
  std::unique_ptr<app::CSondaraUtilityApp> app_;

 private slots:
  void initTestCase() {
    // The data folder of the run is fixed at first use; point it at a folder of our own.
    ::setenv("SONDARA_HOME", dir_.Path().c_str(), 1);
    app_ = std::make_unique<app::CSondaraUtilityApp>(dir_ / "sondara.ini", dir_ / "profile.ini");
  }

  void LinesFromAnotherThreadAppear() {
    logs::CTransactionLogView transactions(*app_);
    logs::CEventLogView events(*app_);
    std::thread([] {
      logs::LogEvent(tvkutil::ids::kDiscoveryStarted);
      const std::vector<std::uint8_t> message(200, 0xab);  // rows of 86, 86 and 28 bytes
      logs::LogTransaction(logs::kDirectionSent, L"Get", message.data(), message.size(), 0);
    }).join();
    QTRY_COMPARE_WITH_TIMEOUT(events.Table()->model()->rowCount(), 1, 1000);
    QTRY_COMPARE_WITH_TIMEOUT(transactions.Table()->model()->rowCount(), 3, 1000);
    QCOMPARE(Cell(events, 0, 2).toString(), QStringLiteral("Device discovery started."));
    QCOMPARE(Cell(transactions, 0, 2).toString(), QStringLiteral("[Get]TX:"));
    QCOMPARE(Cell(transactions, 2, 2).toString(), QString());  // continuation rows: bytes only
    QCOMPARE(Cell(transactions, 2, 3).toString(), QString("ab ").repeated(28));
    QCOMPARE(Cell(transactions, 1, 3, Qt::ForegroundRole).value<QColor>(), QColor(Qt::white));
    QCOMPARE(Cell(transactions, 1, 3, Qt::BackgroundRole).value<QColor>(), QColor(Qt::black));
  }

  void CapResetAndSave() {
    logs::CEventLogView p(*app_);
    QAbstractItemModelTester tester(p.Table()->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    for (int n = 1; n <= 1024; ++n)
      p.AddEvent(L"line " + std::to_wstring(n));
    p.Tick();
    p.AddEvent(L"line 1025");
    p.Tick();
    QCOMPARE(p.Table()->model()->rowCount(), 1024);
    QCOMPARE(Cell(p, 0, 2).toString(), QStringLiteral("line 2"));
    QCOMPARE(Cell(p, 1023, 2).toString(), QStringLiteral("line 1025"));

    const auto menu = p.BuildContextMenu();
    QCOMPARE(menu->actions().size(), 2);
    QCOMPARE(menu->actions()[0]->text(), QStringLiteral("&Reset"));
    QCOMPARE(menu->actions()[1]->text(), QStringLiteral("&Save"));
    QString chosen = QString::fromStdString(dir_ / "saved.txt");
    app::SetSaveDialog(
        [&](QWidget*, const QString&, const QString&, const QString&) { return chosen; });
    QStringList messages;
    app::SetMessageBoxHook([&](const QString& text, app::MessageIcon) { messages << text; });
    menu->actions()[1]->trigger();
    QCOMPARE(sondara_test::ReadFile(chosen.toStdString()), p.Log().SavedFileBytes());
    chosen = QString::fromStdString(dir_ / "missing/saved.txt");
    p.SaveWithDialog();
    QCOMPARE(messages, QStringList{"Unable to save results to file " + chosen + "."});
    app::SetSaveDialog({});
    app::SetMessageBoxHook({});

    p.AddEvent(L"line 2000");  // pending through the reset, shown at the next tick
    menu->actions()[0]->trigger();
    QCOMPARE(p.Table()->model()->rowCount(), 0);
    p.Tick();
    QCOMPARE(Cell(p, 0, 2).toString(), QStringLiteral("line 2000"));
  }
};

}  // namespace

QTEST_MAIN(LogViewsTest)
#include "log_views_test.moc"
