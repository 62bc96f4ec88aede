// The two log panes as the main window uses them: lines logged from another thread appear, the
// 1024-row cap and Reset, the context menu, saving through the menu, and column widths kept in
// the profile. Every case runs over both panes.
#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QMenu>
#include <QTableView>
#include <QTest>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "app/sondara_utility_app.h"
#include "logs/event_log_view.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_log_view.h"
#include "pages/message_box_dialog.h"
#include "util/string_table.h"
#include "util/temp_folder.h"

namespace {

using logs::CLogTableView;

// One pane and how to put a numbered line into it, with the text its last column then shows.
struct Pane {
  std::unique_ptr<CLogTableView> view;
  std::function<void(int)> add;
  std::function<QString(int)> text_of;
  std::function<std::string()> saved_bytes;
  QString log_folder;
  const wchar_t* section;
};

Pane MakePane(bool transaction, app::CSondaraUtilityApp& app) {
  const QString home = QString::fromLocal8Bit(qgetenv("SONDARA_HOME"));
  if (!transaction) {
    auto* v = new logs::CEventLogView(app);
    return {std::unique_ptr<CLogTableView>(v),
            [v](int n) { v->AddEvent(L"line " + std::to_wstring(n)); },
            [](int n) { return QStringLiteral("line %1").arg(n); },
            [v] { return v->Log().SavedFileBytes(); },
            home + "/EventLog",
            L"Event View"};
  }
  auto* v = new logs::CTransactionLogView(app);
  return {std::unique_ptr<CLogTableView>(v),
          [v](int n) {
            const std::uint8_t bytes[2] = {static_cast<std::uint8_t>(n >> 8),
                                           static_cast<std::uint8_t>(n)};
            v->AddTransaction(logs::kDirectionSent, L"Get", bytes, 2, 0);
          },
          [](int n) {
            return QStringLiteral("%1 %2 ")
                .arg(n >> 8, 2, 16, QChar('0'))
                .arg(n & 0xff, 2, 16, QChar('0'));
          },
          [v] { return v->Log().SavedFileBytes(); },
          home + "/TransactionLog",
          L"Transaction View"};
}

int Rows(const Pane& p) {
  return p.view->Table()->model()->rowCount();
}
QString LastColumn(const Pane& p, int row) {
  const QAbstractItemModel* m = p.view->Table()->model();
  return m->data(m->index(row, m->columnCount() - 1)).toString();
}

class LogViewsTest : public QObject {
  Q_OBJECT

  sondara_test::TempFolder home_;
  std::unique_ptr<sondara_test::TempFolder> dir_;
  std::unique_ptr<app::CSondaraUtilityApp> app_;

  void NewApp() {
    app_ = std::make_unique<app::CSondaraUtilityApp>(*dir_ / "sondara.ini", *dir_ / "profile.ini");
  }

 private slots:
  void initTestCase() {
    // The data folder of the run is fixed at first use; point it at a folder of our own.
    ::setenv("SONDARA_HOME", home_.Path().c_str(), 1);
  }
  void init() {
    dir_ = std::make_unique<sondara_test::TempFolder>();
    NewApp();
  }
  void cleanup() {
    CLogTableView::SetSaveDialog({});
    pages::SetMessageBoxHook({});
    app_.reset();
  }

  void LinesFromAnotherThreadAppear() {
    logs::CTransactionLogView transactions(*app_);
    logs::CEventLogView events(*app_);
    std::thread worker([] {
      logs::LogEvent(tvkutil::ids::kDiscoveryStarted);
      const std::vector<std::uint8_t> message(200, 0xab);  // rows of 86, 86 and 28 bytes
      logs::LogTransaction(logs::kDirectionSent, L"Get", message.data(), message.size(), 0);
    });
    worker.join();
    const QAbstractItemModel* ev = events.Table()->model();
    const QAbstractItemModel* tx = transactions.Table()->model();
    QTRY_COMPARE_WITH_TIMEOUT(ev->rowCount(), 1, 1000);
    QTRY_COMPARE_WITH_TIMEOUT(tx->rowCount(), 3, 1000);
    QCOMPARE(ev->data(ev->index(0, 2)).toString(), QStringLiteral("Device discovery started."));
    QCOMPARE(tx->data(tx->index(0, 2)).toString(), QStringLiteral("[Get]TX:"));
    QVERIFY(!tx->data(tx->index(0, 0)).toString().isEmpty());
    for (int column : {0, 1, 2})  // continuation rows carry only their bytes
      QCOMPARE(tx->data(tx->index(2, column)).toString(), QString());
    QCOMPARE(tx->data(tx->index(2, 3)).toString(), QString("ab ").repeated(28));
    QCOMPARE(tx->data(tx->index(1, 3), Qt::ForegroundRole).value<QColor>(), QColor(Qt::white));
    QCOMPARE(tx->data(tx->index(1, 3), Qt::BackgroundRole).value<QColor>(), QColor(Qt::black));
  }

  void CapResetAndMenu_data() {
    QTest::addColumn<bool>("transaction");
    QTest::newRow("event log") << false;
    QTest::newRow("transaction log") << true;
  }
  void CapResetAndMenu() {
    QFETCH(bool, transaction);
    Pane p = MakePane(transaction, *app_);
    QAbstractItemModelTester tester(p.view->Table()->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(p.view->BuildContextMenu()->actions().isEmpty());

    for (int n = 1; n <= 1030; ++n)
      p.add(n);
    p.view->Tick();
    QCOMPARE(Rows(p), 1024);
    QCOMPARE(LastColumn(p, 0), p.text_of(7));
    // A full log: every new row pushes out the oldest.
    p.add(1031);
    p.add(1032);
    p.view->Tick();
    QCOMPARE(Rows(p), 1024);
    QCOMPARE(LastColumn(p, 0), p.text_of(9));
    QCOMPARE(LastColumn(p, 1023), p.text_of(1032));

    const auto menu = p.view->BuildContextMenu();
    QCOMPARE(menu->actions().size(), 2);
    QCOMPARE(menu->actions()[0]->text(), QStringLiteral("&Reset"));
    QCOMPARE(menu->actions()[1]->text(), QStringLiteral("&Save"));
    p.add(2000);  // pending through the reset, shown at the next tick
    menu->actions()[0]->trigger();
    QCOMPARE(Rows(p), 0);
    p.view->Tick();
    QCOMPARE(Rows(p), 1);
    QCOMPARE(LastColumn(p, 0), p.text_of(2000));
  }

  void SaveThroughMenu_data() { CapResetAndMenu_data(); }
  void SaveThroughMenu() {
    QFETCH(bool, transaction);
    Pane p = MakePane(transaction, *app_);
    std::filesystem::remove_all(p.log_folder.toStdString());
    p.add(1);
    p.add(2);
    p.view->Tick();

    QStringList folders;
    QString filter_and_suffix;
    QString chosen = QString::fromStdString(*dir_ / "saved.txt");
    CLogTableView::SetSaveDialog(
        [&](QWidget*, const QString& folder, const QString& filter, const QString& suffix) {
          folders << folder;
          filter_and_suffix = filter + "|" + suffix;
          return chosen;
        });
    QStringList messages;
    pages::SetMessageBoxHook([&](const QString& text, pages::MessageIcon) { messages << text; });

    p.view->BuildContextMenu()->actions()[1]->trigger();
    QCOMPARE(folders, QStringList{p.log_folder});  // created for the first save
    QCOMPARE(filter_and_suffix, QStringLiteral("Text Files (*.txt)|txt"));
    QVERIFY(std::filesystem::is_directory(p.log_folder.toStdString()));
    QCOMPARE(sondara_test::ReadFile(chosen.toStdString()), p.saved_bytes());
    QCOMPARE(app_->GetProfileString(p.section, L"SaveResultsPath", L""),
             QString::fromStdString(dir_->Path()).toStdWString());

    // The next save starts where the last one went; a file that cannot be made is reported.
    chosen = QString::fromStdString(*dir_ / "missing/saved.txt");
    p.view->SaveWithDialog();
    QCOMPARE(folders.last(), QString::fromStdString(dir_->Path()));
    QCOMPARE(messages, QStringList{"Unable to save results to file " + chosen + "."});
  }

  void ColumnWidthsPersist_data() { CapResetAndMenu_data(); }
  void ColumnWidthsPersist() {
    QFETCH(bool, transaction);
    const wchar_t* section = transaction ? L"Transaction View" : L"Event View";
    app_->WriteProfileInt(section, L"0", -5);
    app_->WriteProfileInt(section, L"1", 77);
    {
      Pane p = MakePane(transaction, *app_);
      QHeaderView* header = p.view->Table()->horizontalHeader();
      QCOMPARE(header->sectionSize(0), 120);  // a negative width falls back to the default
      QCOMPARE(header->sectionSize(1), 77);
      QCOMPARE(header->sectionSize(2), 120);
      header->resizeSection(0, 91);
    }
    NewApp();  // a later run reads what the pane wrote when it closed
    QCOMPARE(app_->GetProfileInt(section, L"0", 0), 91);
    QCOMPARE(app_->GetProfileInt(section, L"1", 0), 77);
    QCOMPARE(app_->GetProfileInt(section, L"3", -1), -1);  // the stretching column is not kept
  }
};

}  // namespace

QTEST_MAIN(LogViewsTest)
#include "log_views_test.moc"
