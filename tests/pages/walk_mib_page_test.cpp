// The walkMIB page offscreen against a real snmpd: a full-view walk in the main window that
// stays responsive, "&Get SysObjectID", double-click copy, saving, and the column widths.
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <cstdlib>

#include "app/main_wnd.h"
#include "app/message_box_dialog.h"
#include "app/page_set.h"
#include "app/property_sheet_view.h"
#include "app/results_table_view.h"
#include "app/save_file_dialog.h"
#include "app/sondara_utility_app.h"
#include "logs/event_log_view.h"
#include "logs/transaction_log_view.h"
#include "pages/walk_mib_page.h"
#include "support/snmpd_process.h"
#include "util/ini_file.h"
#include "util/temp_folder.h"

namespace {

QString LastEvent(const app::CMainWnd& w) {
  const QAbstractItemModel* model = w.EventView()->Table()->model();
  return model->data(model->index(model->rowCount() - 1, 2)).toString();
}

}  // namespace

class WalkMibPageTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    // Saving falls back to the data folder; it must be the test's own.
    ::setenv("SONDARA_HOME", dir_.Path().c_str(), 1);
    const std::string error = agent_.Start();
    QVERIFY2(error.empty(), error.c_str());
    app::SetMessageBoxHook([this](const QString& text, app::MessageIcon) { shown_ << text; });
    app::SetSaveDialog([this](QWidget*, const QString&, const QString&, const QString&) {
      return QString::fromStdString(dir_ / "walk.csv");
    });
  }

  void FullViewWalkKeepsTheWindowResponsive() {
    app::CSondaraUtilityApp sondara(dir_ / "sondara.ini", dir_ / "profile.ini");
    app::CMainWnd w(sondara);
    pages::CWalkMIBPropertyPage* page = ShowWalkPage(w);

    // A 50 ms timer keeps firing while the worker runs: the window's thread is never held.
    QElapsedTimer since_shot;
    qint64 longest_gap = 0;
    QTimer beat;
    connect(&beat, &QTimer::timeout,
            [&] { longest_gap = std::max(longest_gap, since_shot.restart()); });
    since_shot.start();
    beat.start(50);

    Click(page, "walkButton");
    QCOMPARE(Button(page, "walkButton")->text(), QString("St&op"));
    QVERIFY(!page->findChild<QLineEdit*>("walkHost")->isEnabled());
    QVERIFY(page->findChild<QComboBox*>("walkStartOid")->isEnabled());
    // A menu opens while the worker runs.
    QMenu* file = w.menuBar()->actions().constFirst()->menu();
    file->popup(w.mapToGlobal(QPoint(10, 10)));
    const bool menu_opened = QTest::qWaitForWindowExposed(file) && file->isVisible() &&
                             !page->Operation().WalkFinished();
    file->close();
    QList<int> counts;  // the list's row count, each time it changed while the walk ran
    bool log_at_bottom = true;
    QElapsedTimer clock;
    clock.start();
    while (!page->Operation().WalkFinished() && clock.elapsed() < 120000) {
      const int rows = page->ResultsTable()->model()->rowCount();
      if (counts.isEmpty() || counts.back() != rows)
        counts << rows;
      const QScrollBar* bar = w.TransactionView()->Table()->verticalScrollBar();
      log_at_bottom = log_at_bottom && bar->value() == bar->maximum();
      QTest::qWait(50);
    }
    QTRY_COMPARE_WITH_TIMEOUT(Button(page, "walkButton")->text(), QString("Begin &Walk"), 2000);
    const int found = static_cast<int>(page->Operation().Results().Count());
    QVERIFY(std::is_sorted(counts.begin(), counts.end()));
    QVERIFY2(counts.back() > 0 && counts.back() < found, "the list grows while the walk runs");
    QVERIFY(menu_opened);
    QVERIFY(log_at_bottom);
    QVERIFY2(longest_gap < 1000, qPrintable(QString::number(longest_gap)));
    QCOMPARE(page->ResultsTable()->model()->rowCount(), found);
    QTRY_COMPARE(LastEvent(w), QString("walkMIB complete. No. of OIDs found: '%1'.").arg(found));
    QVERIFY(Button(page, "saveResultsButton")->isEnabled());
    QVERIFY(page->findChild<QLineEdit*>("walkHost")->isEnabled());
  }

  void LeavingThePageStopsTheWalkAndKeepsWhatWasTyped() {
    app::CSondaraUtilityApp sondara(dir_ / "sondara.ini", dir_ / "profile.ini");
    app::CMainWnd w(sondara);
    pages::CWalkMIBPropertyPage* page = ShowWalkPage(w);
    QTabWidget* sheet = w.PropertySheetView()->Sheet();
    Click(page, "walkButton");
    QTRY_VERIFY(page->Operation().Results().Count() > 20);
    sheet->setCurrentIndex(0);  // waits for the worker
    QVERIFY(page->Operation().WalkFinished());
    QCOMPARE(page->Operation().FinalStatus(), pages::WalkStatus::kStopped);
    QCOMPARE(page->Operation().Results().Count() % 10, 0U);  // noticed at a tenth object
    QCOMPARE(sondara.WalkMib().host, std::wstring(L"127.0.0.1"));
    QCOMPARE(sondara.WalkMib().port, agent_.Port());
    sheet->setCurrentWidget(page);
    QTRY_COMPARE(Button(page, "walkButton")->text(), QString("Begin &Walk"));
    QTRY_COMPARE(LastEvent(w), QString("walkMIB stopped. No. of OIDs found: '%1'.")
                                   .arg(page->Operation().Results().Count()));
  }

  // A page of its own, over a profile whose column widths read -5 and 300.
  void SysObjectIdCopySaveAndColumnWidths() {
    sondara_test::WriteFile(dir_ / "widths.ini", "[walkMIB]\n0=-5\n1=300\n");
    app::CSondaraUtilityApp sondara(dir_ / "sondara.ini", dir_ / "widths.ini");
    {
      pages::CWalkMIBPropertyPage page(sondara);
      page.show();
      QVERIFY(QTest::qWaitForWindowActive(&page));
      QHeaderView* header = page.ResultsTable()->horizontalHeader();
      QCOMPARE(header->sectionSize(0), 120);
      QCOMPARE(header->sectionSize(1), 300);
      QVERIFY(!Button(&page, "saveResultsButton")->isEnabled());

      Fill(&page, "");
      shown_.clear();
      Click(&page, "getSysObjectIdButton");
      QCOMPARE(shown_, QStringList{"Please enter a valid Start OID."});
      auto* start_oid = page.findChild<QComboBox*>("walkStartOid");
      QCOMPARE(QApplication::focusWidget(), start_oid);
      Type(&page, "walkStartOid", ".1.3.6.1");
      Click(&page, "getSysObjectIdButton");
      // The request shares the walk's ids: neither button works until it is back.
      QVERIFY(!Button(&page, "walkButton")->isEnabled());
      QTRY_COMPARE(start_oid->currentText(), QString(".1.3.6.1.4.1.8072.3.2.10"));  // net-snmp
      QVERIFY(Button(&page, "walkButton")->isEnabled());
      QCOMPARE(sondara.WalkMib().start_oid, std::wstring(L".1.3.6.1.4.1.8072.3.2.10"));

      Type(&page, "walkStartOid", ".1.3.6.1.6.3.16");  // near the end of the view: a short walk
      Click(&page, "walkButton");
      QTRY_VERIFY_WITH_TIMEOUT(Button(&page, "saveResultsButton")->isEnabled(), 30000);

      QTableView* table = page.ResultsTable();
      const QRect cell = table->visualRect(table->model()->index(1, 2));
      QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
      QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, cell.center());
      QCOMPARE(QGuiApplication::clipboard()->text(), table->model()->index(1, 1).data().toString());
      QVERIFY(QGuiApplication::clipboard()->text().startsWith(".1.3.6.1.6.3.16."));

      Click(&page, "saveResultsButton");
      const std::string saved = sondara_test::ReadFile(dir_ / "walk.csv");
      QVERIFY(saved.find("OID,DataType,Value\n" +
                         table->model()->index(0, 1).data().toString().toStdString() + ",") !=
              std::string::npos);
      QVERIFY(saved.ends_with("walkMIB complete. No. of OIDs found: '" +
                              std::to_string(table->model()->rowCount()) + "'."));
    }
    tvkutil::CIniFile profile(dir_ / "widths.ini");
    profile.Load();
    QCOMPARE(profile.GetInt(L"walkMIB", L"0", 0), 120);
    QCOMPARE(profile.GetInt(L"walkMIB", L"1", 0), 300);
    QVERIFY(!profile.GetString(L"walkMIB", L"SaveResultsPath", L"").empty());
  }

 private:
  // The main window's walk page, shown and filled in for a walk of the whole view.
  pages::CWalkMIBPropertyPage* ShowWalkPage(app::CMainWnd& w) {
    w.show();
    auto* page =
        static_cast<pages::CWalkMIBPropertyPage*>(w.PropertySheetView()->Page(app::kPageWalkMib));
    w.PropertySheetView()->Sheet()->setCurrentWidget(page);
    Fill(page, ".1.3.6.1");
    return page;
  }
  void Fill(QWidget* page, const QString& start_oid) {
    Type(page, "walkHost", "127.0.0.1");
    Type(page, "walkPort", QString::number(agent_.Port()));
    Type(page, "walkCommunity", "getcom");
    Type(page, "walkStartOid", start_oid);
  }
  static void Type(QWidget* page, const char* name, const QString& text) {
    auto* combo = page->findChild<QComboBox*>(name);
    QLineEdit* edit = combo != nullptr ? combo->lineEdit() : page->findChild<QLineEdit*>(name);
    QVERIFY2(edit != nullptr, name);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
  }
  static QPushButton* Button(QWidget* page, const char* name) {
    return page->findChild<QPushButton*>(name);
  }
  static void Click(QWidget* page, const char* name) {
    QTest::mouseClick(Button(page, name), Qt::LeftButton);
  }

  sondara_test::TempFolder dir_;
  testing_support::SnmpdProcess agent_;
  QStringList shown_;
};

QTEST_MAIN(WalkMibPageTest)
#include "walk_mib_page_test.moc"
