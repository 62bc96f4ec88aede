// The Get/Set, walkMIB and sendTrap pages' controls against a real snmpd; what the requests do
// is the operation tests'.
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "ops/var_bind_list_rules.h"
#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "support/snmpd_process.h"
#include "support/snmptrapd_process.h"
#include "support/temp_folder.h"
#include "ui/logs/event_log_view.h"
#include "ui/logs/transaction_log_view.h"
#include "ui/main_wnd.h"
#include "ui/message_box_dialog.h"
#include "ui/pages/edit_var_bind_dialog.h"
#include "ui/pages/get_set_page.h"
#include "ui/pages/send_trap_page.h"
#include "ui/pages/var_bind_dialog.h"
#include "ui/pages/walk_mib_page.h"
#include "ui/property_sheet_view.h"
#include "ui/results_table_view.h"
#include "ui/save_file_dialog.h"
#include "util/ini_file.h"

namespace {

QComboBox* Combo(QWidget* page, const char* name) {
  return page->findChild<QComboBox*>(name);
}
QPushButton* Button(QWidget* page, const char* name) {
  return page->findChild<QPushButton*>(name);
}
void Click(QWidget* page, const char* name) {
  QTest::mouseClick(Button(page, name), Qt::LeftButton);
}
// Types into the line edit or the editable combo box `name`, as a user replaces its text.
void Type(QWidget* page, const char* name, const QString& text) {
  QLineEdit* edit = Combo(page, name) != nullptr ? Combo(page, name)->lineEdit()
                                                 : page->findChild<QLineEdit*>(name);
  QVERIFY2(edit != nullptr, name);
  edit->setFocus();
  edit->selectAll();
  QTest::keyClick(edit, Qt::Key_Backspace);
  QTest::keyClicks(edit, text);
}

}  // namespace

class AgentPagesTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    // Saving falls back to the data folder; it must be the test's own.
    ::setenv("SONDARA_HOME", dir_.Path().c_str(), 1);
    std::string error = agent_.Start();
    QVERIFY2(error.empty(), error.c_str());
    app::SetMessageBoxHook([](const QString& text, app::MessageIcon) { QFAIL(qPrintable(text)); });
    app::SetSaveDialog([this](QWidget*, const QString&, const QString&, const QString&) {
      return QString::fromStdString(dir_ / "walk.csv");
    });
  }

  void GetAndSetThroughTheControls() {
    app::CSondaraUtilityApp sondara(dir_ / "getset.ini", dir_ / "getset_profile.ini");
    pages::CGetSetPropertyPage page(sondara);
    page.show();
    QVERIFY(QTest::qWaitForWindowActive(&page));
    Type(&page, "getSetHost", "127.0.0.1");
    Type(&page, "getSetPort", QString::number(agent_.Port()));
    Type(&page, "getOid", ".1.3.6.1.2.1.1.1.0");
    Type(&page, "getCommunity", "getcom");
    Click(&page, "getButton");
    auto* value = page.findChild<QLineEdit*>("getValue");
    QTRY_COMPARE(value->text(), QString(testing_support::kSnmpdSysDescr));
    QCOMPARE(Combo(&page, "getDataType")->currentText(), QString("Octet String"));

    Type(&page, "setOid", ".1.3.6.1.2.1.1.4.0");
    Type(&page, "setCommunity", "setcomm");
    Combo(&page, "setDataType")->setCurrentText("Octet String");
    Type(&page, "setValue", "desk@sondara.test");
    Click(&page, "setButton");
    QTRY_VERIFY(!page.RequestRunning());
    Type(&page, "getOid", ".1.3.6.1.2.1.1.4.0");
    Click(&page, "getButton");
    QTRY_COMPARE(value->text(), QString("desk@sondara.test"));
  }

  // Each SNMP page: the v3 user's fields only for "3", in place of the community; the level
  // enables what it uses; passwords typed blind and kept for the run only without a keyring.
  void V3FieldsShowOnlyForVersion3() {
    app::CSondaraUtilityApp sondara(dir_ / "v3.ini", dir_ / "v3_profile.ini");
    pages::CGetSetPropertyPage get_set(sondara);
    pages::CWalkMIBPropertyPage walk(sondara);
    pages::CSendTrapPropertyPage trap(sondara);
    const struct {
      QWidget* page;
      QString name;
      const char* community;
    } pages[] = {{&get_set, "getSet", "getCommunity"},
                 {&walk, "walk", "walkCommunity"},
                 {&trap, "sendTrap", "trapCommunity"}};
    for (const auto& p : pages) {
      p.page->show();
      const auto child = [&](const QString& suffix) {
        return p.page->findChild<QWidget*>(p.name + suffix);
      };
      auto* version = Combo(p.page, qPrintable(p.name + "Version"));
      for (const QString v : {"2c", "3", "1"}) {
        version->setCurrentText(v);
        QCOMPARE(child("Usm")->isVisible(), v == "3");
        QCOMPARE(Combo(p.page, p.community)->isVisible(), v != "3");
      }
      version->setCurrentText("3");
      const struct {
        const char* level;
        const char* priv;
        bool auth, privacy, extension;
      } levels[] = {{"noAuthNoPriv", "AES-256", false, false, false},
                    {"authNoPriv", "AES-256", true, false, false},
                    {"authPriv", "AES", true, true, false},
                    {"authPriv", "AES-192", true, true, true}};
      for (const auto& l : levels) {
        qobject_cast<QComboBox*>(child("UsmPriv"))->setCurrentText(l.priv);
        qobject_cast<QComboBox*>(child("UsmLevel"))->setCurrentText(l.level);
        QCOMPARE((QList<bool>{child("UsmAuth")->isEnabled(), child("UsmAuthPassword")->isEnabled(),
                              child("UsmPriv")->isEnabled(), child("UsmPrivPassword")->isEnabled(),
                              child("UsmKeyExtension")->isEnabled()}),
                 (QList<bool>{l.auth, l.auth, l.privacy, l.privacy, l.extension}));
      }
      for (const char* password : {"UsmAuthPassword", "UsmPrivPassword"})
        QCOMPARE(qobject_cast<QLineEdit*>(child(password))->echoMode(), QLineEdit::Password);
      QVERIFY(child("UsmPasswordsNote") != nullptr && child("UsmPasswordsNote")->isVisible());
    }
    Type(&get_set, "getSetUsmUser", "engineer");
    Type(&get_set, "getSetUsmAuthPassword", "typed-blind");
    get_set.StoreToApp();
    QCOMPARE(sondara.GetSet().usm.user_name, std::wstring(L"engineer"));
    QCOMPARE(sondara.GetSet().usm.auth_password, std::wstring(L"typed-blind"));
  }

  // In the main window over a profile whose column widths read -5, 300 and the old default 120:
  // "&Get SysObjectID";
  // the list grows while the walk runs, the log stays at its bottom; leaving the page stops
  // the walk; then double-click copy and save.
  void WalkPageInTheMainWindow() {
    sondara_test::WriteFile(dir_ / "widths.ini", "[walkMIB]\n0=-5\n1=300\n2=120\n");
    app::CSondaraUtilityApp sondara(dir_ / "sondara.ini", dir_ / "widths.ini");
    {
      app::CMainWnd w(sondara);
      w.show();
      auto* page =
          static_cast<pages::CWalkMIBPropertyPage*>(w.PropertySheetView()->Page(app::kPageWalkMib));
      w.PropertySheetView()->Sheet()->setCurrentWidget(page);
      Type(page, "walkHost", "127.0.0.1");
      Type(page, "walkPort", QString::number(agent_.Port()));
      Type(page, "walkCommunity", "getcom");
      Type(page, "walkStartOid", ".1.3.6.1");
      QHeaderView* header = page->ResultsTable()->horizontalHeader();
      QCOMPARE(header->sectionSize(0), header->sectionSizeHint(0));  // fitted: none stored
      QCOMPARE(header->sectionSize(1), 300);
      QVERIFY(!Button(page, "saveResultsButton")->isEnabled());
      Click(page, "getSysObjectIdButton");
      // The request shares the walk's ids: neither button works until it is back.
      QVERIFY(!Button(page, "walkButton")->isEnabled());
      QTRY_COMPARE(Combo(page, "walkStartOid")->currentText(),
                   QString(".1.3.6.1.4.1.8072.3.2.10"));                   // net-snmp's
      const QAbstractItemModel* events = w.EventView()->Table()->model();  // done, said
      QTRY_VERIFY(!events
                       ->match(events->index(0, 2), Qt::DisplayRole,
                               "Get SysObjectID request to 127.0.0.1 complete.")
                       .isEmpty());
      QVERIFY(Button(page, "walkButton")->isEnabled());

      Type(page, "walkStartOid", ".1.3.6.1");
      Click(page, "walkButton");
      QCOMPARE(Button(page, "walkButton")->text(), QString("St&op"));
      QVERIFY(w.statusBar()->currentMessage().startsWith("walkMIB: walking 127.0.0.1"));
      QVERIFY(!page->findChild<QLineEdit*>("walkHost")->isEnabled());
      QVERIFY(page->findChild<QComboBox*>("walkStartOid")->isEnabled());
      bool log_at_bottom = true;
      QElapsedTimer clock;
      clock.start();
      while (page->ResultsTable()->model()->rowCount() < 2 && clock.elapsed() < 120000) {
        const QScrollBar* bar = w.TransactionView()->Table()->verticalScrollBar();
        log_at_bottom = log_at_bottom && bar->value() == bar->maximum();
        QTest::qWait(10);
      }
      QVERIFY(log_at_bottom);
      QTabWidget* sheet = w.PropertySheetView()->Sheet();
      sheet->setCurrentIndex(0);  // waits for the worker
      QCOMPARE(page->Operation().FinalStatus(), pages::WalkStatus::kStopped);  // rows came first
      QCOMPARE(sondara.WalkMib().start_oid, std::wstring(L".1.3.6.1"));        // stored on leaving
      sheet->setCurrentWidget(page);
      QTRY_COMPARE(Button(page, "walkButton")->text(), QString("Begin &Walk"));
      QVERIFY(w.statusBar()->currentMessage().isEmpty());
      QTableView* table = page->ResultsTable();
      QCOMPARE(table->model()->rowCount(), static_cast<int>(page->Operation().Results().Count()));
      QVERIFY(page->findChild<QLineEdit*>("walkHost")->isEnabled());
      // Type and value fitted to the rows in view; sysUpTime.0 as net-snmp shows TimeTicks.
      for (int row = 0; row < 5; ++row) {
        QVERIFY(table->fontMetrics().horizontalAdvance(
                    table->model()->index(row, 2).data().toString()) < header->sectionSize(2));
      }
      QVERIFY(table->model()
                  ->match(table->model()->index(0, 3), Qt::DisplayRole,
                          QRegularExpression(R"(^\d+ \(\d+:\d\d:\d\d\.\d\d\)$)"), 1,
                          Qt::MatchRegularExpression)
                  .size() == 1);
      QVERIFY(page->findChild<QLabel*>("walkProgressLine")->text().contains(" objects found, "));

      const QRect cell = table->visualRect(table->model()->index(1, 2));
      QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
      QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, cell.center());
      QCOMPARE(QGuiApplication::clipboard()->text(), table->model()->index(1, 1).data().toString());
      QVERIFY(QGuiApplication::clipboard()->text().startsWith(".1.3.6.1."));
      Click(page, "saveResultsButton");
      QVERIFY(sondara_test::ReadFile(dir_ / "walk.csv")
                  .ends_with("walkMIB stopped. No. of OIDs found: '" +
                             std::to_string(table->model()->rowCount()) + "'."));
      const QString saved = "Saved to '" + QString::fromStdString(dir_ / "walk.csv") + "'.";
      QTRY_VERIFY(!events->match(events->index(0, 2), Qt::DisplayRole, saved).isEmpty());
    }
    tvkutil::CIniFile profile(dir_ / "widths.ini");
    profile.Load();
    QCOMPARE(profile.GetInt(L"walkMIB", L"0", 0), -1);
    QCOMPARE(profile.GetInt(L"walkMIB", L"1", 0), 300);
    QCOMPARE(profile.GetInt(L"walkMIB", L"2", 0), -1);  // 120 was never the user's
    QVERIFY(!profile.GetString(L"walkMIB", L"SaveResultsPath", L"").empty());
  }

  // The switches of the sendTrap page, and a binding added through "Edit Varbinds" and
  // "Add VarBind" joins the list the page sends.
  void TrapSwitchesAndTheVarBindEditor() {
    app::CSondaraUtilityApp sondara(dir_ / "trap.ini", dir_ / "trap_profile.ini");
    pages::CSendTrapPropertyPage page(sondara);
    page.show();
    QVERIFY(QTest::qWaitForWindowActive(&page));
    auto* use_default = page.findChild<QCheckBox*>("useDefault");
    QVERIFY(use_default->isChecked());  // the built-in start
    QVERIFY(!Combo(&page, "senderIp")->isEnabled());
    QTest::mouseClick(use_default, Qt::LeftButton, {}, QPoint(8, use_default->height() / 2));
    QVERIFY(!use_default->isChecked());
    Combo(&page, "sendTrapVersion")->setCurrentText("1");
    QVERIFY(Combo(&page, "senderIp")->isEnabled());  // a v1 trap built by the user
    Combo(&page, "sendTrapVersion")->setCurrentText("2c");

    // Two bindings added through "Add VarBind"; OK makes VarBind# count them.
    int rows_at_open = -1;
    const auto edit = [&](const QStringList& oids) {
      QTimer::singleShot(0, this, [&, oids] {
        auto* editor = qobject_cast<pages::CVarBindDialog*>(QApplication::activeModalWidget());
        QVERIFY(editor != nullptr);
        rows_at_open = editor->findChild<QTableView*>("varBindList")->model()->rowCount();
        for (const QString& oid : oids) {
          QTimer::singleShot(0, this, [oid] {
            auto* one = qobject_cast<pages::CEditVarBindDialog*>(QApplication::activeModalWidget());
            QVERIFY(one != nullptr);
            QCOMPARE(one->windowTitle(), QString("Add VarBind"));
            QTest::keyClicks(one->findChild<QLineEdit*>("varBindOid"), oid);
            one->findChild<QComboBox*>("varBindDataType")->setCurrentText("Octet String");
            QTest::keyClicks(one->findChild<QLineEdit*>("varBindValue"), "added at the desk");
            QTest::keyClick(one, Qt::Key_Return);
          });
          QTest::mouseClick(editor->findChild<QPushButton*>("addVarBind"), Qt::LeftButton);
        }
        editor->accept();
      });
      Click(&page, "editVarBinds");
    };
    edit({".1.3.6.1.4.1.59871.1.9", ".1.3.6.1.4.1.59871.1.10"});
    QCOMPARE(rows_at_open, 2);  // a v2c list shows its fixed entries
    QCOMPARE(page.findChild<QLineEdit*>("varBindNum")->text(), QString("4"));
    QTest::mouseClick(use_default, Qt::LeftButton, {}, QPoint(8, use_default->height() / 2));
    QCOMPARE(page.findChild<QLineEdit*>("varBindNum")->text(), QString("4"));

    testing_support::SnmptrapdProcess manager;
    QCOMPARE(QString::fromStdString(manager.Start()), QString());
    page.activateWindow();  // back from the dialogs
    Type(&page, "sendTrapHost", "127.0.0.1");
    Type(&page, "sendTrapPort", QString::number(manager.Port()));
    Click(&page, "sendTrapButton");
    const auto traps = manager.TrapFields(1);
    QCOMPARE(traps.size(), std::size_t{1});
    QCOMPARE(traps[0].size(), std::size_t{9});  // five v1 header fields, four bindings
    QCOMPARE(traps[0][8], ".1.3.6.1.4.1.59871.1.10 = STRING: \"added at the desk\"");

    QTRY_VERIFY(Button(&page, "sendTrapButton")->isEnabled());  // the trap's end delivered
    QStringList asked;  // fewer than the list holds: the page asks first
    app::SetQuestionHook([&](const QString& text) {
      asked << text;
      return false;
    });
    Type(&page, "varBindNum", "3");
    Click(&page, "sendTrapButton");
    app::SetQuestionHook(nullptr);
    QCOMPARE(asked, QStringList{"VarBind# ('3') leaves 1 of the 4 varbinds in the VarBind list "
                                "out of the trap. Send it anyway?"});
    Combo(&page, "sendTrapVersion")->setCurrentText("1");  // a v1 list: the user's two alone
    edit({});
    QCOMPARE(rows_at_open, 2);
    QCOMPARE(page.findChild<QLineEdit*>("varBindNum")->text(), QString("2"));
    QCOMPARE(manager.Traps(2, std::chrono::milliseconds(200)).size(), std::size_t{1});
  }

 private:
  sondara_test::TempFolder dir_;
  testing_support::SnmpdProcess agent_;
};

QTEST_MAIN(AgentPagesTest)
#include "agent_pages_test.moc"
