// The main window as a user meets it: page switches in the View menu, the enable and check
// rules, and what it keeps in the profile between runs.
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTest>

#include "app/main_wnd.h"
#include "app/property_sheet_view.h"
#include "app/sondara_utility_app.h"
#include "logs/event_log_view.h"
#include "logs/transaction_log_view.h"
#include "net/icmp_echo.h"
#include "pages/message_box_dialog.h"
#include "pages/ping_view.h"
#include "util/numeric_edit.h"
#include "util/temp_folder.h"

namespace {

QString Cell(const logs::CLogTableView* view, int row, int column) {
  const QAbstractItemModel* model = view->Table()->model();
  return model->data(model->index(row, column)).toString();
}

QStringList TabTexts(const app::CMainWnd& w) {
  QStringList texts;
  QTabWidget* sheet = w.PropertySheetView()->Sheet();
  for (int i = 0; i < sheet->count(); ++i)
    texts << sheet->tabText(i);
  return texts;
}

class MainWndTest : public QObject {
  Q_OBJECT

 private slots:
  void PagesTurnOffAndOn() {
    sondara_test::TempFolder dir;
    app::CSondaraUtilityApp app(dir / "sondara.ini", dir / "profile.ini");
    app::CMainWnd w(app);
    QCOMPARE(TabTexts(w), (QStringList{"&Device Discovery", "&Get/Set", "&sendTrap", "&walkMIB"}));

    for (const char* name : {"viewDeviceDiscovery", "viewGetSet", "viewSendTrap"})
      w.Action(name)->trigger();
    QCOMPARE(TabTexts(w), QStringList{"&walkMIB"});
    w.Action("viewWalkMib")->trigger();  // the last page goes: the placeholder stands in
    QCOMPARE(TabTexts(w), QStringList{"&No Functionality"});
    QCOMPARE(w.PropertySheetView()->Sheet()->currentWidget()->findChild<QLabel*>()->text(),
             "You have deselected all the pages!");

    w.Action("viewSendTrap")->trigger();
    w.Action("viewGetSet")->trigger();  // appended and activated, not put back in its old place
    QCOMPARE(TabTexts(w), (QStringList{"&sendTrap", "&Get/Set"}));
    QCOMPARE(w.PropertySheetView()->Sheet()->currentIndex(), 1);
    w.UpdateCommandStates();
    QVERIFY(w.Action("viewGetSet")->isChecked());
    QVERIFY(!w.Action("viewWalkMib")->isChecked());
  }

  void MenuRulesWithoutIcmp() {
    sondara_test::TempFolder dir;
    sondara_test::WriteFile(dir / "profile.ini",
                            "[FunctionalityEnable Settings]\nEnableGetSet=0\nEnableSendTrap=0\n"
                            "EnableWalkMIB=0\n");
    app::CSondaraUtilityApp app(dir / "sondara.ini", dir / "profile.ini");
    app.SetIcmpAvailable(false);
    app::CMainWnd w(app);
    w.UpdateCommandStates();
    // Ping and discovery are greyed and unchecked whatever their flags say; nothing that can
    // work is on, so there is no snapshot to save.
    for (const char* name : {"viewPingToolbar", "viewDeviceDiscovery"}) {
      QVERIFY(!w.Action(name)->isEnabled());
      QVERIFY(!w.Action(name)->isChecked());
    }
    QVERIFY(!w.Action("saveSnapshot")->isEnabled());
    QVERIFY(w.PingView()->isHidden());
    QCOMPARE(TabTexts(w), QStringList{"&Device Discovery"});  // it tells why it cannot work
    w.Action("viewWalkMib")->trigger();
    QVERIFY(w.Action("saveSnapshot")->isEnabled());
    QTRY_COMPARE(w.EventView()->Table()->model()->rowCount(), 1);
    QCOMPARE(Cell(w.EventView(), 0, 2),
             "Unable to open an ICMP socket. Ping/Device discovery functionality will not be "
             "available.");
  }

  void EditPasteIntoANumericEditIsFiltered() {
    sondara_test::TempFolder dir;
    app::CSondaraUtilityApp app(dir / "sondara.ini", dir / "profile.ini");
    app::CMainWnd w(app);
    w.show();
    QApplication::setActiveWindow(&w);
    QVERIFY(QTest::qWaitForWindowActive(&w));
    auto* port = w.findChild<tvkutil::CNumericEdit*>("getSetPort");
    QVERIFY(port);
    port->clear();
    port->setFocus();
    QGuiApplication::clipboard()->setText("12a3");
    w.UpdateCommandStates();
    w.Action("paste")->trigger();
    QCOMPARE(port->text(), "123");
  }

  void PingFromTheToolbar() {
    sondara_test::TempFolder dir;
    app::CSondaraUtilityApp app(dir / "sondara.ini", dir / "profile.ini");
    app.SetIcmpAvailable(net::LoadIcmp());
    if (!app.IcmpAvailable())
      QSKIP("no ICMP socket: needs CAP_NET_RAW or ping_group_range");
    app::CMainWnd w(app);
    QStringList shown;
    pages::SetMessageBoxHook([&](const QString& text, pages::MessageIcon) { shown << text; });
    QLineEdit* host = w.PingView()->HostEdit();
    logs::CTransactionLogView* log = w.TransactionView();

    QTest::keyClicks(host, "10.0.0.300");
    QTest::mouseClick(w.PingView()->PingButton(), Qt::LeftButton);
    QCOMPARE(shown, QStringList{"Invalid IPv4 address '10.0.0.300'."});
    log->Tick();
    QCOMPARE(log->Table()->model()->rowCount(), 0);

    host->clear();
    QTest::keyClicks(host, "127.0.0.1");
    QTest::mouseClick(w.PingView()->PingButton(), Qt::LeftButton);
    QTRY_COMPARE(log->Table()->model()->rowCount(), 2);
    QCOMPARE(Cell(log, 0, 2), "[Ping]TX:");
    QCOMPARE(Cell(log, 0, 3), "Ping command sent to IP 127.0.0.1.");
    QCOMPARE(Cell(log, 1, 2), "[Ping]RX:");
    QVERIFY(Cell(log, 1, 3).startsWith("Reply from 127.0.0.1: bytes=14 time="));
    QCOMPARE(shown.size(), 1);
    pages::SetMessageBoxHook(nullptr);
  }

  void PlacementAndSwitchesSurviveARestart() {
    sondara_test::TempFolder dir;
    {
      app::CSondaraUtilityApp app(dir / "sondara.ini", dir / "profile.ini");
      app::CMainWnd w(app);
      w.show();
      QVERIFY(QTest::qWaitForWindowExposed(&w));
      w.resize(640, 700);
      w.Splitter()->setSizes({40, 300, 150, 210});
      w.Action("viewSendTrap")->trigger();
      w.close();
    }
    app::CSondaraUtilityApp app(dir / "sondara.ini", dir / "profile.ini");
    QCOMPARE(app.GetProfileInt(L"Main Window", L"cx", 0), 640);
    QCOMPARE(app.GetProfileInt(L"Main Window", L"State", 9), 0);
    QCOMPARE(app.GetProfileInt(L"FunctionalityEnable Settings", L"EnableSendTrap", 1), 0);
    app::CMainWnd w(app);
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    QCOMPARE(w.size(), QSize(640, 700));
    QCOMPARE(w.Splitter()->sizes().mid(0, 3), (QList<int>{40, 300, 150}));
    QVERIFY(!TabTexts(w).contains("&sendTrap"));
  }
};

}  // namespace

QTEST_MAIN(MainWndTest)
#include "main_wnd_test.moc"
