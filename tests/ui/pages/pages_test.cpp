// The pages' controls (what the requests do is the operation tests'), and requests that wait
// on the network leaving the window working; ping and sweep in the namespace made in main().
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QCompleter>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>

#include "core/ops/scripted_agents.h"
#include "net/address.h"
#include "net/icmp_echo.h"
#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "support/private_netns.h"
#include "support/snmpd_process.h"
#include "support/temp_folder.h"
#include "ui/logs/event_log_view.h"
#include "ui/logs/transaction_log_view.h"
#include "ui/main_wnd.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/pages/device_discovery_page.h"
#include "ui/pages/edit_var_bind_dialog.h"
#include "ui/pages/get_set_page.h"
#include "ui/pages/ping_view.h"
#include "ui/pages/send_trap_page.h"
#include "ui/pages/var_bind_dialog.h"
#include "ui/pages/walk_mib_page.h"
#include "ui/property_sheet_view.h"
#include "ui/results_table_view.h"
#include "ui/save_file_dialog.h"
#include "util/ini_file.h"

namespace {

std::string g_no_netns;  // why the namespace could not be made, empty when it was

const QString kFailed = QStringLiteral("<Failed: See Event Log>");

QComboBox* Combo(QWidget* root, const char* name) {
  return root->findChild<QComboBox*>(name);
}
QPushButton* Button(QWidget* root, const char* name) {
  return root->findChild<QPushButton*>(name);
}
void Click(QWidget* root, const char* name) {
  QTest::mouseClick(Button(root, name), Qt::LeftButton);
}
// Replaces the text of the line edit or the editable combo box `name`.
void Type(QWidget* root, const char* name, const QString& text) {
  auto* combo = Combo(root, name);
  (combo != nullptr ? combo->lineEdit() : root->findChild<QLineEdit*>(name))->setText(text);
}

// The texts of one column of a log pane.
QStringList Column(const logs::CLogTableView* view, int column) {
  const QAbstractItemModel* model = view->Table()->model();
  QStringList texts;
  for (int row = 0; row < model->rowCount(); ++row)
    texts << model->data(model->index(row, column)).toString();
  return texts;
}

// A lookup that takes a while and finds nothing, whatever the machine's name servers say.
int SlowFailingLookup(const char*, const char*, const addrinfo*, addrinfo**) {
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  return EAI_NONAME;
}

struct Window {
  explicit Window(int timeout_ms, int retries) {
    sondara.Network().request_timeout_ms = timeout_ms;
    sondara.Network().retries = retries;
    w = std::make_unique<app::CMainWnd>(sondara);
    w->show();
    QApplication::setActiveWindow(w.get());
  }
  // Shows the page that holds `page_child`.
  QWidget* Show(const char* page_child) {
    QWidget* child = w->findChild<QWidget*>(page_child);
    QTabWidget* sheet = w->PropertySheetView()->Sheet();
    for (int i = 0; i < sheet->count(); ++i) {
      if (sheet->widget(i)->isAncestorOf(child))
        sheet->setCurrentIndex(i);
    }
    return sheet->currentWidget();
  }
  // A Get of sysName.0 from a silent agent at `port`.
  void TypeGet(std::uint16_t port) {
    Type(w.get(), "getSetHost", "127.0.0.1");
    Type(w.get(), "getSetPort", QString::number(port));
    Type(w.get(), "getOid", ".1.3.6.1.2.1.1.5.0");
    Type(w.get(), "getCommunity", "public");
  }

  sondara_test::TempFolder dir;
  app::CSondaraUtilityApp sondara{dir / "sondara.ini", dir / "profile.ini"};
  std::unique_ptr<app::CMainWnd> w;
};

class PagesTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    std::string error = agent_.Start();
    QVERIFY2(error.empty(), error.c_str());
    app::SetMessageBoxHook([](const QString& text, app::MessageIcon) {
      QFAIL(qPrintable("unexpected message box: " + text));
    });
    app::SetSaveDialog([this](QWidget*, const QString&, const QString&, const QString&) {
      return QString::fromStdString(dir_ / "walk.csv");
    });
  }

  // A Set of sysContact and a Get of it back, typed into the controls.
  void SetAndGetThroughTheControls() {
    app::CSondaraUtilityApp sondara(dir_ / "getset.ini", dir_ / "getset_profile.ini");
    pages::CGetSetPropertyPage page(sondara);
    page.show();
    QVERIFY(QTest::qWaitForWindowActive(&page));
    Type(&page, "getSetHost", "127.0.0.1");
    Type(&page, "getSetPort", QString::number(agent_.Port()));
    Type(&page, "setOid", ".1.3.6.1.2.1.1.4.0");
    Type(&page, "setCommunity", "setcomm");
    Combo(&page, "setDataType")->setCurrentText("Octet String");
    Type(&page, "setValue", "desk@sondara.test");
    Click(&page, "setButton");
    QTRY_VERIFY(!page.RequestRunning());
    Type(&page, "getOid", ".1.3.6.1.2.1.1.4.0");
    Type(&page, "getCommunity", "getcom");
    Click(&page, "getButton");
    QTRY_COMPARE(page.findChild<QLineEdit*>("getValue")->text(), QString("desk@sondara.test"));
    QCOMPARE(Combo(&page, "getDataType")->currentText(), QString("Octet String"));
    // Typed by name: the numbers are sent, the history keeps the name, values read by the MIB.
    Type(&page, "getOid", "IF-MIB::ifAdminStatus.1");
    Click(&page, "getButton");
    QTRY_COMPARE(page.findChild<QLineEdit*>("getValue")->text(), QString("up(1)"));
    QCOMPARE(Combo(&page, "getOid")->itemText(0), QString("IF-MIB::ifAdminStatus.1"));
    // Names are offered as they are typed, once the modules are read.
    app::CMibNames::Instance().StartLoading({});
    QLineEdit* oid = Combo(&page, "getOid")->lineEdit();
    QTRY_VERIFY(oid->completer()->model()->rowCount() > 0);
    oid->clear();
    QTest::keyClicks(oid, "ifOperSt");
    QTRY_VERIFY(oid->completer()->popup()->isVisible());
    QCOMPARE(oid->completer()->currentCompletion(), QString("ifOperStatus"));
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

  // Over a profile whose widths read -5, 300 and the old default 120: Get SysObjectID fills the
  // start; rows come with the log at its bottom; St&op and leaving stop the walk; copy and save.
  void WalkPageInTheMainWindow() {
    sondara_test::WriteFile(dir_ / "widths.ini", "[walkMIB]\n0=-5\n1=300\n2=120\n");
    app::CSondaraUtilityApp sondara(dir_ / "sondara.ini", dir_ / "widths.ini");
    {
      app::CMainWnd w(sondara);
      w.show();
      auto* page =
          static_cast<pages::CWalkMIBPropertyPage*>(w.PropertySheetView()->Page(app::kPageWalkMib));
      QTabWidget* sheet = w.PropertySheetView()->Sheet();
      sheet->setCurrentWidget(page);
      Type(page, "walkHost", "127.0.0.1");
      Type(page, "walkPort", QString::number(agent_.Port()));
      Type(page, "walkCommunity", "getcom");
      QTableView* table = page->ResultsTable();
      QHeaderView* header = table->horizontalHeader();
      QCOMPARE(header->sectionSize(0), header->sectionSizeHint(0));  // fitted: none stored
      QCOMPARE(header->sectionSize(1), 300);
      QVERIFY(!Button(page, "saveResultsButton")->isEnabled());
      Click(page, "getSysObjectIdButton");
      // The request shares the walk's ids: neither button works until it is back.
      QVERIFY(!Button(page, "walkButton")->isEnabled());
      QTRY_COMPARE(Combo(page, "walkStartOid")->currentText(),
                   QString(".1.3.6.1.4.1.8072.3.2.10"));  // net-snmp's
      QTRY_VERIFY(Button(page, "walkButton")->isEnabled());

      Type(page, "walkStartOid", ".1.3.6.1");
      app::CMibNames::Instance().SetShown(false);  // named when switched on after the walks
      bool log_at_bottom = true;
      for (const bool leave : {false, true}) {  // St&op, then leaving the page, stops the walk
        const int stale = table->model()->rowCount();  // the last walk's, until the next tick
        Click(page, "walkButton");
        QCOMPARE(Button(page, "walkButton")->text(), QString("St&op"));
        QVERIFY(w.statusBar()->currentMessage().startsWith("walkMIB: walking 127.0.0.1"));
        QVERIFY(!page->findChild<QLineEdit*>("walkHost")->isEnabled());
        QElapsedTimer clock;
        clock.start();
        const auto rows = [&] { return table->model()->rowCount(); };
        while ((rows() < 2 || rows() == stale) && clock.elapsed() < 120000) {
          const QScrollBar* bar = w.TransactionView()->Table()->verticalScrollBar();
          log_at_bottom = log_at_bottom && bar->value() == bar->maximum();
          QTest::qWait(10);
        }
        if (leave)
          sheet->setCurrentIndex(0);  // waits for the worker
        else
          Click(page, "walkButton");
        QCOMPARE(page->Operation().FinalStatus(), pages::WalkStatus::kStopped);  // rows came first
        sheet->setCurrentWidget(page);
        QTRY_COMPARE(Button(page, "walkButton")->text(), QString("Begin &Walk"));
        QVERIFY(w.statusBar()->currentMessage().isEmpty());
        QVERIFY(page->findChild<QLineEdit*>("walkHost")->isEnabled());
      }
      QVERIFY(log_at_bottom);
      QCOMPARE(sondara.WalkMib().start_oid, std::wstring(L".1.3.6.1"));  // stored on leaving
      QCOMPARE(table->model()->rowCount(), static_cast<int>(page->Operation().Results().Count()));
      app::CMibNames::Instance().SetShown(true);
      QCOMPARE(header->visualIndex(4), 2);  // Name beside the OID
      QCOMPARE(table->model()->index(0, 4).data().toString(), "SNMPv2-MIB::sysDescr.0");

      const QRect cell = table->visualRect(table->model()->index(1, 2));
      QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
      QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, cell.center());
      QCOMPARE(QGuiApplication::clipboard()->text(), table->model()->index(1, 1).data().toString());
      Click(page, "saveResultsButton");  // with the Name column the page shows
      QVERIFY(sondara_test::ReadFile(dir_ / "walk.csv").find("\nOID,Name,DataType,Value\n") !=
              std::string::npos);
      // Walked with names: values in the words of their node while names show.
      Type(page, "walkStartOid", "IF-MIB::ifOperStatus");
      Click(page, "walkButton");
      QTRY_COMPARE_WITH_TIMEOUT(Button(page, "walkButton")->text(), QString("Begin &Walk"), 120000);
      const QModelIndex value = table->model()->index(0, 3);
      QCOMPARE(table->model()->index(0, 4).data().toString(), "IF-MIB::ifOperStatus.1");
      QCOMPARE(value.data().toString(), "up(1)");
      app::CMibNames::Instance().SetShown(false);
      QCOMPARE(value.data().toString(), "1");
      app::CMibNames::Instance().SetShown(true);
    }
    tvkutil::CIniFile profile(dir_ / "widths.ini");
    profile.Load();
    QCOMPARE(profile.GetInt(L"walkMIB", L"0", 0), -1);
    QCOMPARE(profile.GetInt(L"walkMIB", L"1", 0), 300);
    QCOMPARE(profile.GetInt(L"walkMIB", L"2", 0), -1);  // 120 was never the user's
    QVERIFY(!profile.GetString(L"walkMIB", L"SaveResultsPath", L"").empty());
  }

  // With names shown and no widths stored, a walk of the whole view (long OIDs of processes and
  // addresses) leaves the values in sight and the names whole.
  void WalkColumnsLeaveTheValuesInSight() {
    app::CSondaraUtilityApp sondara(dir_ / "fit.ini", dir_ / "fit_profile.ini");
    pages::CWalkMIBPropertyPage page(sondara);
    page.resize(800, 500);
    page.show();
    app::CMibNames::Instance().SetShown(true);
    Type(&page, "walkHost", "127.0.0.1");
    Type(&page, "walkPort", QString::number(agent_.Port()));
    Type(&page, "walkCommunity", "getcom");
    Type(&page, "walkStartOid", ".1.3.6.1");
    Click(&page, "walkButton");
    QTRY_COMPARE_WITH_TIMEOUT(Button(&page, "walkButton")->text(), QString("Begin &Walk"), 120000);
    QTableView* table = page.ResultsTable();
    const QHeaderView* header = table->horizontalHeader();
    QVERIFY(header->sectionViewportPosition(3) + 100 < table->viewport()->width());
    const QString name = table->model()->index(0, 4).data().toString();  // SNMPv2-MIB::sysDescr.0
    QVERIFY(header->sectionSize(4) > table->fontMetrics().horizontalAdvance(name));
  }

  // The switches of the sendTrap page, and bindings added through "Edit Varbinds" and
  // "Add VarBind" join the list VarBind# counts.
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

    // Two bindings added through "Add VarBind" to a v2c list that shows its two fixed entries;
    // OK makes VarBind# count them.
    QTimer::singleShot(0, this, [this] {
      auto* editor = qobject_cast<pages::CVarBindDialog*>(QApplication::activeModalWidget());
      QVERIFY(editor != nullptr);
      QCOMPARE(editor->findChild<QTableView*>("varBindList")->model()->rowCount(), 2);
      for (const QString oid : {".1.3.6.1.4.1.59871.1.9", ".1.3.6.1.4.1.59871.1.10"}) {
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
    QCOMPARE(page.findChild<QLineEdit*>("varBindNum")->text(), QString("4"));

    QStringList asked;  // fewer than the list holds: the page asks first, and "No" sends nothing
    app::SetQuestionHook([&](const QString& text) {
      asked << text;
      return false;
    });
    Type(&page, "sendTrapHost", "127.0.0.1");
    Type(&page, "sendTrapPort", "1162");
    Type(&page, "varBindNum", "3");
    Click(&page, "sendTrapButton");
    app::SetQuestionHook(nullptr);
    QCOMPARE(asked, QStringList{"VarBind# ('3') leaves 1 of the 4 varbinds in the VarBind list "
                                "out of the trap. Send it anyway?"});
    QVERIFY(Button(&page, "sendTrapButton")->isEnabled());  // nothing started
    page.StoreToApp();
    QCOMPARE(sondara.SendTrap().port, std::uint16_t{1162});
    Combo(&page, "sendTrapVersion")->setCurrentText("1");  // a v1 list: the user's two alone
    QTimer::singleShot(0, this,
                       [] { qobject_cast<QDialog*>(QApplication::activeModalWidget())->accept(); });
    Click(&page, "editVarBinds");
    QCOMPARE(page.findChild<QLineEdit*>("varBindNum")->text(), QString("2"));
  }

  // A Get for a silent agent (two tries), a ping of a silent address, a trap for a slow lookup:
  // run on the window's thread, each would be over when the click returns.
  void EveryWaitingRequestRunsOffTheWindowsThread() {
    testing_support::FakeAgent agent = testing_support::Silent();
    net::SetHostLookupForTesting(&SlowFailingLookup);
    const struct {
      const char* button;  // on a page (its failure in the event log); empty: the ping toolbar
      QStringList lines;
    } commands[] = {
        {"getButton",
         {"Get request failed for OID '.1.3.6.1.2.1.1.5.0'. Reason: 'Timed out "
          "while waiting for response from remote host'."}},
        {"", {"Ping command sent to IP 198.18.0.2.", "Reply from 198.18.0.2 not received."}},
        {"sendTrapButton",
         {"Trap request failed. Reason: 'Unable to resolve IPv4 host 'nosuchmanager': Name or "
          "service not known'."}},
    };
    for (const auto& c : commands) {
      const bool toolbar = *c.button == '\0', get = c.button == std::string_view("getButton");
      if (toolbar && !g_no_netns.empty())
        continue;  // said once by the sweep's skip
      Window win(1000, 1);
      win.TypeGet(agent.Port());
      Type(win.w.get(), "pingHost", "198.18.0.2");
      Type(win.w.get(), "sendTrapHost", "nosuchmanager");
      auto* value = win.w->findChild<QLineEdit*>("getValue");
      QTimer::singleShot(0, [&] {                                       // while the request waits
        QCOMPARE(Button(win.w.get(), "setButton")->isEnabled(), !get);  // a Set takes the next id
        QCOMPARE(value->text(), QString());
      });
      // While it waits the button is disabled and the wait cursor shows over `busy` alone; at the
      // end the lines are in the pane, each once.
      QAbstractButton* button =
          toolbar ? win.w->PingView()->PingButton() : Button(win.w.get(), c.button);
      QWidget* busy = toolbar ? win.w->PingView() : win.Show(c.button);
      const logs::CLogTableView* pane = win.w->EventView();
      if (toolbar)
        pane = win.w->TransactionView();
      QTest::mouseClick(button, Qt::LeftButton);
      QVERIFY(!button->isEnabled());
      QCOMPARE(busy->cursor().shape(), Qt::WaitCursor);
      QVERIFY(QGuiApplication::overrideCursor() == nullptr);  // the rest of the window as ever
      QTRY_VERIFY_WITH_TIMEOUT(button->isEnabled(), 10000);
      QTRY_COMPARE(Column(pane, toolbar ? 3 : 2), c.lines);
      QCOMPARE(busy->cursor().shape(), Qt::ArrowCursor);
      if (toolbar)
        QTRY_VERIFY(Column(win.w->EventView(), 2).contains("Ping to 198.18.0.2 not answered."));
      QCOMPARE(value->text(), get ? kFailed : QString());
      QVERIFY(Button(win.w.get(), "setButton")->isEnabled());
    }
    QCOMPARE(agent.Received().size(), 2U);
    net::SetHostLookupForTesting(nullptr);
  }

  // Leaving the page while a Get waits waits for its end, so the failure and the histories are
  // never lost; closing the window stops it at once.
  void LeavingWaitsForTheRequestAndClosingStopsIt() {
    testing_support::FakeAgent agent = testing_support::Silent();
    Window win(300, 0);
    win.Show("getButton");
    win.TypeGet(agent.Port());
    Click(win.w.get(), "getButton");
    win.w->PropertySheetView()->Sheet()->setCurrentIndex(0);  // returns once the Get is back
    QCOMPARE(win.w->findChild<QLineEdit*>("getValue")->text(), kFailed);
    QVERIFY(Button(win.w.get(), "getButton")->isEnabled());

    win.sondara.Network().request_timeout_ms = 60000;  // a close that waits it out fails below
    win.Show("getButton");
    Click(win.w.get(), "getButton");
    win.w->close();
    QCOMPARE(win.w->findChild<QLineEdit*>("getValue")->text(), kFailed);
    QCOMPARE(agent.Received().size(), 2U);
    // A stopped Get failed at nothing: no line of its own, also after the next refresh.
    QTRY_COMPARE(Column(win.w->EventView(), 2).size(), 1);
    QTest::qWait(500);
    QCOMPARE(Column(win.w->EventView(), 2).size(), 1);
  }
  // The Device Discovery page: rows come while the sweep runs, Stop answers at once, and the
  // page keeps its range, its fast-sweep switch and a column width the user set.
  void SweepOnTheDeviceDiscoveryPage() {
    if (!g_no_netns.empty())
      QSKIP(g_no_netns.c_str());
    app::CSondaraUtilityApp sondara(dir_ / "sweep.ini", dir_ / "sweep_profile.ini");
    sondara.Network().request_timeout_ms = 100;
    sondara.Network().retries = 0;
    sondara.WriteProfileInt(L"Device Discovery", L"1", 150);
    auto page = std::make_unique<pages::CDeviceDiscoveryPropertyPage>(sondara);
    page->show();
    auto* list = page->findChild<QTableView*>("discoveryList");
    auto* start = page->findChild<QLineEdit*>("startIp");
    auto* begin = page->findChild<QPushButton*>("beginDiscovery");
    QCOMPARE(list->horizontalHeader()->sectionSize(1), 150);  // from the profile
    start->setText("198.18.0.1");
    page->findChild<QLineEdit*>("endIp")->setText("198.18.0.40");
    QTest::mouseClick(begin, Qt::LeftButton);
    QVERIFY(!start->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(list->model()->rowCount() > 0, 20000);  // .1 at once, .40 last
    QCOMPARE(begin->text(), QString("St&op"));
    QTRY_COMPARE_WITH_TIMEOUT(begin->text(), QString("Begin &Discovery"), 30000);
    QCOMPARE(list->model()->rowCount(), 3);  // .1, .7 and .12
    QCOMPARE(page->findChild<QProgressBar*>("sweepProgress")->value(), 100);
    QVERIFY(page->findChild<QLabel*>("sweepProgressLine")->text().startsWith("Swept 40 of 40"));

    // Silent addresses now wait 4 x 3 s each, the sweep 12 s at least; Stop must not wait.
    sondara.Network().request_timeout_ms = 3000;
    sondara.Network().retries = 3;
    start->setText("198.18.0.7");
    QTest::mouseClick(page->findChild<QAbstractButton*>("fastSweep"), Qt::LeftButton);
    QTest::mouseClick(begin, Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(list->model()->rowCount(), 2, 20000);
    QTest::mouseClick(begin, Qt::LeftButton);  // the page may show the end one tick later
    QTRY_COMPARE_WITH_TIMEOUT(begin->text(), QString("Begin &Discovery"), 8000);
    QVERIFY(start->isEnabled());

    list->horizontalHeader()->resizeSection(0, 121);
    page.reset();
    QCOMPARE(sondara.GetProfileInt(L"Device Discovery", L"0", 0), 121);
    QCOMPARE(sondara.GetProfileInt(L"Device Discovery", L"FastSweep", 0), 1);
    QCOMPARE(sondara.Discovery().start_ip, std::wstring(L"198.18.0.7"));
  }

 private:
  sondara_test::TempFolder dir_;
  testing_support::SnmpdProcess agent_;
};

}  // namespace

// Entered before Qt starts a thread: .1 (its own), .7 and .12 answer, 198.18.0.2 stays silent.
int main(int argc, char** argv) {
  if (testing_support::EnterPrivateNetns(g_no_netns) == 0) {
    g_no_netns =
        testing_support::UseHostsFile("198.18.0.1 gateway.test\n198.18.0.7 printer.test printer\n");
    if (g_no_netns.empty() &&
        !testing_support::AddAnsweringAddresses({"198.18.0.7", "198.18.0.12"})) {
      g_no_netns = "cannot add the answering addresses";
    }
    if (g_no_netns.empty() && !net::LoadIcmp())
      g_no_netns = "ICMP not available in the namespace";
  }
  net::LoadIcmp();
  sondara_test::TempFolder home;  // the save dialog's default folder lives in the data folder
  ::setenv("SONDARA_HOME", home.Path().c_str(), 1);
  QApplication app(argc, argv);
  return QTest::qExec(std::make_unique<PagesTest>().get(), argc, argv);
}

#include "pages_test.moc"
