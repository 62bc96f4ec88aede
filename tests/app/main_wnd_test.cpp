// The main window as a user meets it: page switches in the View menu, the enable and check
// rules, and what it keeps in the profile between runs.
#include <QAction>
#include <QLabel>
#include <QTabWidget>
#include <QTest>

#include "app/main_wnd.h"
#include "app/property_sheet_view.h"
#include "app/sondara_utility_app.h"
#include "pages/ping_view.h"
#include "util/temp_folder.h"

namespace {

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

    for (const char* name : {"viewDeviceDiscovery", "viewGetSet", "viewSendTrap"}) {
      w.Action(name)->trigger();
    }
    QCOMPARE(TabTexts(w), QStringList{"&walkMIB"});
    w.Action("viewWalkMib")->trigger();  // the last page goes: the placeholder stands in
    QCOMPARE(TabTexts(w), QStringList{"&No Functionality"});
    QVERIFY(w.PropertySheetView()->Sheet()->currentWidget()->findChild<QLabel*>()->text() ==
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
    // The Device Discovery tab is still there: it tells the user why it cannot work.
    QCOMPARE(TabTexts(w), QStringList{"&Device Discovery"});
    w.Action("viewWalkMib")->trigger();
    QVERIFY(w.Action("saveSnapshot")->isEnabled());
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
