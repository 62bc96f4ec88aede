// The main window as a user meets it: View menu switches and rules, paste, restart.
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QTabWidget>
#include <QTableView>
#include <QTest>

#include "app/main_wnd.h"
#include "app/property_sheet_view.h"
#include "app/sondara_utility_app.h"
#include "logs/event_log_view.h"
#include "logs/transaction_log_view.h"
#include "pages/ping_view.h"
#include "util/numeric_edit.h"
#include "util/temp_folder.h"

namespace {

struct Stores {
  sondara_test::TempFolder dir;
  app::CSondaraUtilityApp app{dir / "sondara.ini", dir / "profile.ini"};
};

// The tabs by their pages' captions (a tab drops its underline while the shown page uses it).
QStringList TabTexts(const app::CMainWnd& w) {
  QStringList texts;
  for (int i = 0; i < w.PropertySheetView()->Sheet()->count(); ++i)
    texts << static_cast<app::CPropertyPage*>(w.PropertySheetView()->Sheet()->widget(i))->Caption();
  return texts;
}

class MainWndTest : public QObject {
  Q_OBJECT

 private slots:
  void PagesTurnOffAndOn() {
    Stores s;
    app::CMainWnd w(s.app);
    QCOMPARE(TabTexts(w), (QStringList{"&Device Discovery", "&Get/Set", "&sendTrap", "&walkMIB"}));
    for (const char* name : {"viewDeviceDiscovery", "viewGetSet", "viewSendTrap", "viewWalkMib"})
      w.Action(name)->trigger();
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
    QVERIFY(w.Action("viewDecodedMessage")->isChecked());
    w.Action("viewDecodedMessage")->trigger();
    QVERIFY(!w.TransactionView()->DecodedPaneEnabled() &&
            !w.Action("viewDecodedMessage")->isChecked());
  }

  void MenuRulesWithoutIcmp() {
    Stores s;
    sondara_test::WriteFile(s.dir / "profile.ini",
                            "[FunctionalityEnable Settings]\nEnableGetSet=0\nEnableSendTrap=0\n"
                            "EnableWalkMIB=0\n");
    s.app.SetIcmpAvailable(false);
    app::CMainWnd w(s.app);
    w.UpdateCommandStates();
    // Greyed and unchecked whatever their flags say; nothing that can work is on: no snapshot.
    for (const char* name : {"viewPingToolbar", "viewDeviceDiscovery", "saveSnapshot"})
      QVERIFY(!w.Action(name)->isEnabled() && !w.Action(name)->isChecked());
    QVERIFY(w.PingView()->isHidden());
    QCOMPARE(TabTexts(w), QStringList{"&Device Discovery"});  // it tells why it cannot work
    w.Action("viewWalkMib")->trigger();
    QVERIFY(w.Action("saveSnapshot")->isEnabled());
    const QAbstractItemModel* events = w.EventView()->Table()->model();
    QTRY_COMPARE(events->rowCount(), 1);
    QCOMPARE(events->index(0, 2).data().toString(),
             "Unable to open an ICMP socket. Ping/Device discovery functionality will not be "
             "available.");
  }

  // Edit > Paste must reach the numeric edit's own filtering paste, not QLineEdit's.
  void EditPasteIntoANumericEditIsFiltered() {
    Stores s;
    app::CMainWnd w(s.app);
    w.show();
    QApplication::setActiveWindow(&w);
    QVERIFY(QTest::qWaitForWindowActive(&w));
    auto* port = w.findChild<tvkutil::CNumericEdit*>("getSetPort");
    port->clear();
    port->setFocus();
    QGuiApplication::clipboard()->setText("12a3");
    w.UpdateCommandStates();
    w.Action("paste")->trigger();
    QCOMPARE(port->text(), "123");
  }

  void PlacementAndSwitchesSurviveARestart() {
    sondara_test::TempFolder dir;
    for (int run = 0; run < 2; ++run) {
      app::CSondaraUtilityApp app(dir / "sondara.ini", dir / "profile.ini");
      app::CMainWnd w(app);
      w.show();
      QVERIFY(QTest::qWaitForWindowExposed(&w));
      if (run == 0) {
        w.resize(640, 700);
        w.Splitter()->setSizes({40, 300, 150, 210});
        w.Action("viewSendTrap")->trigger();
        w.close();
      } else {
        QCOMPARE(w.size(), QSize(640, 700));
        QCOMPARE(w.Splitter()->sizes().mid(0, 3), (QList<int>{40, 300, 150}));
        QVERIFY(!TabTexts(w).contains("&sendTrap"));
      }
    }
  }
};

}  // namespace

QTEST_MAIN(MainWndTest)
#include "main_wnd_test.moc"
