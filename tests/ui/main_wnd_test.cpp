// The main window, its Options dialog and the numeric fields as a user meets them.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>
#include <map>
#include <memory>

#include "net/adapter_table.h"
#include "settings/sondara_utility_app.h"
#include "support/temp_folder.h"
#include "ui/logs/event_log_view.h"
#include "ui/logs/transaction_log_view.h"
#include "ui/main_wnd.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/mib_tree_view.h"
#include "ui/numeric_edit.h"
#include "ui/options_dialog.h"
#include "ui/pages/ping_view.h"
#include "ui/property_sheet_view.h"
#include "ui/screen_fit.h"
#include "util/numeric_filter.h"

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

// The event log's lines, oldest first.
QStringList Events(const app::CMainWnd& w) {
  const QAbstractItemModel* m = w.EventView()->Table()->model();
  QStringList lines;
  for (int row = 0; row < m->rowCount(); ++row)
    lines << m->index(row, 2).data().toString();
  return lines;
}

class MainWndTest : public QObject {
  Q_OBJECT

  int beeps_ = 0;  // refused characters of the numeric fields

 private slots:
  void init() {
    beeps_ = 0;
    tvkutil::SetRefusalBeep([this] { ++beeps_; });
  }
  void cleanup() { tvkutil::SetRefusalBeep({}); }

  // First, so that its window reads the modules. MIB folders: added once each, removed, kept on
  // OK with a word on when they count; what could not be read, there and in the event log.
  void MibFoldersWhatCouldNotBeReadAndTheTree() {
    Stores s;
    app::CMainWnd w(s.app);
    w.show();  // starts reading the modules
    QTRY_VERIFY_WITH_TIMEOUT(app::CMibNames::Instance().Loaded(), 60000);
    const QString problem = "not a MIB module";
    QTRY_COMPARE(Events(w).filter(problem).size(), 1);
    net::CAdapterTable adapters({}, {});
    app::COptionsDialog d(s.app, adapters);
    auto* problems = d.findChild<QListWidget*>("mibProblems");
    QVERIFY(problems->count() == 1 && problems->item(0)->text().contains("notes.pdf") &&
            problems->item(0)->text().contains(problem));
    for (const QString folder : {"/srv/mibs", "/srv/mibs", "/opt/vendor mibs"}) {
      app::COptionsDialog::SetFolderChooser([&](QWidget*) { return folder; });
      d.findChild<QPushButton*>("addMibFolder")->click();
    }
    app::COptionsDialog::SetFolderChooser({});
    d.findChild<QListWidget*>("mibFolders")->setCurrentRow(0);
    d.findChild<QPushButton*>("removeMibFolder")->click();
    QStringList said;
    app::SetMessageBoxHook([&](const QString& text, app::MessageIcon) { said << text; });
    d.accept();
    QCOMPARE(said, QStringList{"The MIB folders take effect when Sondara Utility next starts."});
    QCOMPARE(app::CMibNames::Folders(s.app), QStringList{"/opt/vendor mibs"});

    // View > MIB Tree: a node found by name, number or part of a name shows its details; "Use
    // OID" fills the page in front, "Walk from here" starts a walk from the node.
    w.Action("viewMibTree")->trigger();
    app::CMibTreeView* tree = w.MibTree();
    QVERIFY(tree->isVisible());
    const auto* details = tree->findChild<QPlainTextEdit*>("mibDetails");
    for (const QString typed : {"IF-MIB::ifOperStatus", ".1.3.6.1.2.1.2.2.1.8.3", "ifOperSta"}) {
      tree->Tree()->setCurrentItem(nullptr);
      QVERIFY(tree->Find(typed));
      QVERIFY2(details->toPlainText().startsWith(
                   "Name: IF-MIB::ifOperStatus\nOID: .1.3.6.1.2.1.2.2.1.8\nKind: column\n"),
               qPrintable(details->toPlainText()));
    }
    QVERIFY(details->toPlainText().contains("\nValues: up(1), down(2), testing(3)"));
    w.PropertySheetView()->Sheet()->setCurrentWidget(w.PropertySheetView()->Page(app::kPageGetSet));
    QVERIFY(tree->Find("sysDescr"));
    tree->findChild<QPushButton*>("mibUseOid")->click();
    QCOMPARE(w.findChild<QComboBox*>("getOid")->currentText(), ".1.3.6.1.2.1.1.1.0");
    w.findChild<QLineEdit*>("walkHost")->clear();  // refused before anything is sent
    said.clear();
    QVERIFY(tree->Find("SNMPv2-MIB::system"));
    tree->findChild<QPushButton*>("mibWalkFrom")->click();
    app::SetMessageBoxHook(nullptr);
    QCOMPARE(said, QStringList{"Please enter a valid IP/Host address."});
    QCOMPARE(w.PropertySheetView()->Sheet()->currentWidget(),
             w.PropertySheetView()->Page(app::kPageWalkMib));
    QCOMPARE(w.findChild<QComboBox*>("walkStartOid")->currentText(), ".1.3.6.1.2.1.1");
  }

  void PagesTurnOffAndOn() {
    Stores s;
    app::CMainWnd w(s.app);
    QCOMPARE(TabTexts(w), (QStringList{"&Device Discovery", "&Get/Set", "&sendTrap", "&walkMIB"}));
    const auto* walk_results = w.findChild<QTableView*>("walkResults");
    for (const bool shown : {false, true}) {  // View > Show Names: the walk's Name column
      w.Action("viewShowNames")->trigger();
      w.UpdateCommandStates();
      QCOMPARE(w.Action("viewShowNames")->isChecked(), shown);
      QCOMPARE(walk_results->isColumnHidden(4), !shown);
    }
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
    QVERIFY(w.Action("viewGetSet")->isChecked() && !w.Action("viewWalkMib")->isChecked() &&
            w.Action("viewDecodedMessage")->isChecked());
    w.Action("viewDecodedMessage")->trigger();
    QVERIFY(!w.TransactionView()->DecodedPaneEnabled() &&
            !w.Action("viewDecodedMessage")->isChecked());
  }

  // Without ICMP and with a settings file that is not text, the menus grey what cannot work
  // and the event log says why, one line each.
  void MenuRulesWithoutIcmpAndASettingsFileThatIsNotText() {
    Stores s;
    sondara_test::WriteFile(s.dir / "profile.ini",
                            "[FunctionalityEnable Settings]\nEnableGetSet=0\nEnableSendTrap=0\n"
                            "EnableWalkMIB=0\n");
    sondara_test::WriteFile(s.dir / "sondara.ini", "[walkMIB]\nIPHost=M\xFCller\n");
    s.app.LoadPageSettings();
    s.app.SetIcmpAvailable(false);
    app::CMainWnd w(s.app);
    w.UpdateCommandStates();
    for (const char* name : {"viewPingToolbar", "viewDeviceDiscovery", "saveSnapshot"})
      QVERIFY(!w.Action(name)->isEnabled() && !w.Action(name)->isChecked());
    QVERIFY(w.PingView()->isHidden());
    QCOMPARE(TabTexts(w), QStringList{"&Device Discovery"});  // it tells why it cannot work
    w.Action("viewWalkMib")->trigger();
    QVERIFY(w.Action("saveSnapshot")->isEnabled());
    QTRY_COMPARE(
        Events(w),
        (QStringList{QString::fromStdString("The settings file '" + s.dir / "sondara.ini" +
                                            "' is not text (neither UTF-8 nor UTF-16). It is "
                                            "left as it is and not written by this run; the "
                                            "pages start with their defaults."),
                     "Unable to open an ICMP socket. Ping/Device discovery functionality will "
                     "not be available."}));
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

  // A placement kept on a monitor that is gone, or taller than the screen, opens fully visible.
  void PlacementFitsTheScreensThereAre() {
    const QRect small(0, 0, 1280, 1024), wide(1280, 0, 1920, 1080);
    const struct {
      QRect window;
      QList<QRect> screens;
      QRect fitted;
    } cases[] = {
        {{2500, 10, 900, 700}, {small}, {380, 10, 900, 700}},
        {{2200, 10, 900, 700}, {small, wide}, {2200, 10, 900, 700}},
        {{10, 10, 1024, 1064}, {small}, {10, 0, 1024, 1024}},
        {{1000, -50, 600, 400}, {small, wide}, {1280, 0, 600, 400}},   // overlaps the wide more
        {{-3000, 2000, 400, 300}, {wide, small}, {0, 724, 400, 300}},  // nearest: the small
        {{4000, 1150, 400, 300}, {{0, 0, 1280, 1200}, wide}, {2800, 780, 400, 300}},
    };
    for (const auto& c : cases)
      QCOMPARE(app::FitOntoScreens(c.window, c.screens), c.fitted);
    Stores s;
    s.app.WriteProfileInt(L"Main Window", L"x", 2500);
    app::CMainWnd w(s.app);
    QVERIFY(QGuiApplication::primaryScreen()->availableGeometry().contains(
        QRect(w.pos(), w.size() + QSize(0, 40))));
  }

  // OK checks the ranges in order: the first refusal shows, focuses its field and stores
  // nothing. OK then stores every field and the adapter; Cancel stores nothing.
  void OkChecksRangesThenStoresEverythingCancelNothing() {
    const QStringList captions{
        "&Request Timeout (milliseconds):", "R&etries:", "&GetBulk repetitions for walkMIB:",
        "Requests in &flight for walkMIB:"};
    const QString request_range = "Please enter an integer between 100 and 30000.",
                  flight_range = "Please enter an integer between 1 and 8.";
    const QList<int> defaults{0, 3, 1000, 3, 0, 0, 1};
    const struct {
      QStringList typed;  // request, retries, GetBulk repetitions, in flight; +n: n spin clicks
      QString button, warning;
      // use IPv6, connect time-out (kept, not shown), request, retries, GetBulk, Auto, in flight
      QList<int> stored;
      bool tick_auto = false;
      int focus = 0;  // the field a warning focuses
    } cases[] = {
        {{"99", "3", "0", "1"}, "&OK", request_range, defaults},
        {{"30001", "3", "0", "1"}, "&OK", request_range, defaults},
        {{"100", "+8", "999", "+9"}, "&OK", "", {1, 3, 100, 10, 999, 0, 8}},  // the spins stop
        {{"30000", "0", "", "2"}, "&OK", "", {1, 3, 30000, 0, 0, 0, 2}},      // empty reads as 0
        {{"2500", "+8", "50", "1"}, "Cance&l", "", defaults},
        // Auto disables the number and keeps it as it was; the in-flight range is checked.
        {{"1000", "3", "40", "4"}, "&OK", "", {1, 3, 1000, 3, 0, 1, 4}, true},
        {{"1000", "3", "40", "9"}, "&OK", flight_range, defaults, true, 3},
    };
    for (const auto& c : cases) {
      sondara_test::TempFolder dir;
      app::CSondaraUtilityApp sondara(dir / "sondara.ini", dir / "profile.ini");
      net::CAdapterTable adapters({net::MakeAdapterInfo(L"eth0", L"10.0.0.1", true, 0)},
                                  {net::MakeAdapterInfo(L"wlan0", L"fe80::2%3", false, 3)});
      app::COptionsDialog d(sondara, adapters);
      QStringList warnings;
      app::SetMessageBoxHook([&](const QString& text, app::MessageIcon) { warnings << text; });
      d.show();
      QVERIFY(QTest::qWaitForWindowActive(&d));
      // Near the box: a check box stretched across the dialog takes clicks only by its text.
      for (QCheckBox* box : d.findChildren<QCheckBox*>()) {
        if (box->text() == "&Use IPv6" || (c.tick_auto && box->text() == "&Auto"))
          QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(6, box->height() / 2));
      }
      d.findChild<QComboBox*>()->setCurrentText("wlan0[fe80::2%3]");
      QLineEdit* fields[4] = {};  // by their captions, as Alt+letter reaches them
      for (QLabel* label : d.findChildren<QLabel*>()) {
        if (const qsizetype i = captions.indexOf(label->text()); i >= 0)
          fields[i] = qobject_cast<QLineEdit*>(label->buddy());
      }
      for (int i = 0; i < 4; ++i) {
        if (!fields[i]->isEnabled())  // the GetBulk number under Auto
          continue;
        for (auto* spin : d.findChildren<tvkutil::SpinButtons*>()) {
          for (int k = 0; spin->Buddy() == fields[i] && k < c.typed[i].toInt(); ++k)
            QTest::mouseClick(spin->UpButton(), Qt::LeftButton);  // "+n" reads as n
        }
        if (!c.typed[i].startsWith('+')) {
          fields[i]->selectAll();
          QTest::keyClick(fields[i], Qt::Key_Backspace);
          QTest::keyClicks(fields[i], c.typed[i]);
        }
      }
      for (QPushButton* b : d.findChildren<QPushButton*>()) {
        if (b->text() == c.button)
          QTest::mouseClick(b, Qt::LeftButton);
      }
      app::SetMessageBoxHook(nullptr);
      QCOMPARE(warnings, c.warning.isEmpty() ? QStringList() : QStringList{c.warning});
      QCOMPARE(d.isVisible(), !c.warning.isEmpty());
      if (!c.warning.isEmpty())
        QCOMPARE(QApplication::focusWidget(), fields[c.focus]);
      const app::NetworkSettings& n = sondara.Network();
      QCOMPARE((QList<int>{n.use_ipv6, n.connect_timeout_s, n.request_timeout_ms, n.retries,
                           n.walk_bulk_repetitions, n.walk_bulk_auto, n.walk_in_flight}),
               c.stored);
      const bool stored = c.stored != defaults;
      QCOMPARE(n.adapter_name, std::wstring(stored ? L"wlan0[fe80::2%3]" : L""));
      QCOMPARE(n.adapter.ipv6_scope_id, stored ? 3u : 0u);
    }
  }

  // The numeric fields: what typing and pasting let in, with a beep per refused character.
  void TypedAndPastedRefuseWithABeepPerCharacter() {
    const QString sep(QChar(tvkutil::CRealNumEdit().DecimalSeparator()));
    const struct {
      int base;  // -1: a real-number field
      QString input, kept;
      int beeps;
    } cases[] = {
        {tvkutil::kBaseUnsignedDecimal, "12a3", "123", 1},
        {tvkutil::kBaseSignedDecimal, "--5-", "--5-", 0},  // minus anywhere
        {tvkutil::kBaseOctal, "1789", "17", 2},
        {tvkutil::kBaseHexadecimal, "fFgG1x", "fF1", 3},
        {-1, "-1" + sep + "5e3E2x", "-1" + sep + "5e3E2", 1},
    };
    for (const auto& c : cases) {
      for (bool paste : {false, true}) {
        std::unique_ptr<tvkutil::CEditBase> edit = std::make_unique<tvkutil::CRealNumEdit>();
        if (c.base >= 0) {
          auto* numeric = new tvkutil::CNumericEdit;
          numeric->SetBase(c.base);
          edit.reset(numeric);
        }
        beeps_ = 0;
        QGuiApplication::clipboard()->setText(c.input);
        paste ? edit->paste() : QTest::keyClicks(edit.get(), c.input);
        QCOMPARE(edit->text(), c.kept);
        QCOMPARE(beeps_, c.beeps);
      }
    }
  }

  void TypedLengthLimit() {
    tvkutil::CNumericEdit edit;
    edit.SetTextLimit(3);
    edit.SetValue(98765);  // the program may show more than a user may type
    QCOMPARE(edit.text(), QString("98765"));
    edit.selectAll();
    QGuiApplication::clipboard()->setText("4a5678");
    QTest::keyClick(&edit, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClicks(&edit, "7b");  // full: the digit is dropped quietly, the letter beeps
    QCOMPARE(edit.text(), QString("456"));
    QCOMPARE(beeps_, 2);
  }

  void ValuesInABase() {
    const struct {
      int base;
      QString text;
      std::uint32_t value;
      QString shown;  // the value as the field shows it
    } cases[] = {
        {tvkutil::kBaseSignedDecimal, "-5", 0xFFFFFFFBu, "-5"},
        {tvkutil::kBaseSignedDecimal, "--5", 0, "0"},  // two minus signs can be typed
        {tvkutil::kBaseSignedDecimal, "99999999999", 0x7FFFFFFF, "2147483647"},
        {tvkutil::kBaseUnsignedDecimal, "010", 10, "10"},  // decimal, not octal
        {tvkutil::kBaseOctal, "10", 8, "10"},
        {tvkutil::kBaseHexadecimal, "DEADBEEF", 0xDEADBEEF, "DEADBEEF"},
    };
    for (const auto& c : cases) {
      tvkutil::CNumericEdit edit;
      edit.SetBase(c.base);
      edit.setText(c.text);
      QCOMPARE(edit.GetValue(), c.value);
      edit.SetValue(c.value);
      QCOMPARE(edit.text(), c.shown);
    }
    tvkutil::CNumericEdit hex;
    hex.SetBase(tvkutil::kBaseHexadecimal);
    hex.SetText("4096");  // decimal in, shown in the field's base, read back in decimal
    QCOMPARE(hex.text(), QString("1000"));
    QCOMPARE(hex.ReadText(), QString("4096"));
  }
};

// What an Alt+letter reaches: a menu, a tab, or a control (focus lands on it or inside it).
struct Owner {
  QString what;
  QWidget* control = nullptr;
};

int Letter(const QString& text) {
  const QKeySequence key = QKeySequence::mnemonic(text);
  return key.isEmpty() ? 0 : key[0].key();
}

// Every owner of an Alt+letter that the window offers now, by letter.
std::map<int, std::vector<Owner>> Owners(app::CMainWnd& w) {
  std::map<int, std::vector<Owner>> owners;
  const auto add = [&](const QString& text, QWidget* control) {
    if (Letter(text) != 0)
      owners[Letter(text)].push_back({text, control});
  };
  for (QAction* menu : w.menuBar()->actions())
    add(menu->text(), nullptr);
  QTabBar* tabs = w.PropertySheetView()->Sheet()->tabBar();
  for (int i = 0; i < tabs->count(); ++i)
    add(tabs->tabText(i), nullptr);
  for (QWidget* c : w.findChildren<QWidget*>()) {
    if (!c->isVisible() || !c->isEnabled())
      continue;
    if (auto* label = qobject_cast<QLabel*>(c); label && label->buddy())
      add(label->text(), label->buddy());
    else if (auto* button = qobject_cast<QAbstractButton*>(c))
      add(button->text(), button);
    else if (auto* group = qobject_cast<QGroupBox*>(c))
      add(group->title(), group);
  }
  return owners;
}

void PressAlt(app::CMainWnd& w, int key) {
  QWidget* to = QApplication::focusWidget() != nullptr ? QApplication::focusWidget() : &w;
  QTest::keyClick(to, static_cast<Qt::Key>(key), Qt::AltModifier);
}

class MainWndKeyboardTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    app::SetMessageBoxHook([this](const QString& text, app::MessageIcon icon) {
      shown_ << text + (icon == app::MessageIcon::kNone ? " (no icon)" : "");
    });
    shown_.clear();
    w_.show();
    QApplication::setActiveWindow(&w_);
    QVERIFY(QTest::qWaitForWindowActive(&w_));
  }

  // Version "3" puts the v3 user's fields in place of the community.
  void NoLetterIsSharedWithAMenuATabOrOnThePage() {
    for (const QString version : {"3", "2c"}) {  // "2c" last, as the other tests expect
      for (const char* name : {"getSetVersion", "walkVersion", "sendTrapVersion"})
        w_.findChild<QComboBox*>(name)->setCurrentText(version);
      for (int page = 0; page < sheet_->count(); ++page) {
        sheet_->setCurrentIndex(page);
        const QString where = version + ", " + sheet_->tabText(page);
        for (const auto& [key, owners] : Owners(w_)) {
          if (owners.size() == 1)
            continue;
          const QString letter = where + ": Alt+" + QKeySequence(key).toString() + " ";
          // A menu would take the next press for itself, a tab would leave the page.
          for (const Owner& o : owners)
            QVERIFY2(o.control != nullptr, qPrintable(letter + "is also " + o.what));
          // Only the ping toolbar may share a letter with the page ("&IP/Host:", "&Ping").
          QVERIFY2(std::count_if(owners.begin(), owners.end(),
                                 [&](const Owner& o) {
                                   return sheet_->currentWidget()->isAncestorOf(o.control);
                                 }) <= 1,
                   qPrintable(letter + "is taken twice on the page"));
        }
      }
    }
  }

  // From every page: each other tab's letter switches to it, and Alt+T opens the Tools menu.
  void TabLettersSwitchPagesAndAltTOpensTools() {
    int switches = 0;
    for (int page = 0; page < sheet_->count(); ++page) {
      for (int other = 0; other < sheet_->count(); ++other) {
        sheet_->setCurrentIndex(page);
        const int key = Letter(sheet_->tabText(other));
        if (key == 0)
          continue;  // the shown page's tab drops its underline
        sheet_->currentWidget()->findChild<QLineEdit*>()->setFocus();
        PressAlt(w_, key);
        QCOMPARE(sheet_->currentIndex(), other);
        ++switches;
      }
    }
    QVERIFY(switches >= sheet_->count());  // every page can reach another one by its letter
    PressAlt(w_, Qt::Key_T);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    QVERIFY(menu != nullptr && menu->title() == "&Tools");
    menu->close();
  }

  // With the target empty every command answers at once with its first refusal: which command
  // Enter started, the message box's icon and the field that takes the focus.
  void EnterInAFieldStartsItsHalfsCommand() {
    w_.findChild<QLineEdit*>("getSetHost")->setText("127.0.0.1");
    w_.findChild<QComboBox*>("getOid")->setEditText("");
    w_.findChild<QComboBox*>("setOid")->setEditText("");
    for (const char* name : {"walkHost", "sendTrapHost", "endIp"})
      w_.findChild<QLineEdit*>(name)->clear();
    w_.findChild<QLineEdit*>("startIp")->setText("10.0.0.1");
    w_.findChild<QLineEdit*>("pingHost")->setText("10.0.0.300");
    for (const char* name : {"getSetPort", "getCommunity", "setValue", "setDataType",
                             "walkStartOid", "trapCommunity", "endIp", "pingHost"}) {
      QWidget* field = w_.findChild<QWidget*>(name);
      for (int i = 0; i < sheet_->count(); ++i) {
        if (sheet_->widget(i)->isAncestorOf(field))
          sheet_->setCurrentIndex(i);
      }
      auto* combo = qobject_cast<QComboBox*>(field);
      QWidget* keys = combo != nullptr && combo->lineEdit() ? combo->lineEdit() : field;
      keys->setFocus();
      QTest::keyClick(keys, Qt::Key_Return);
      // The refused field takes the focus (a combo box's own edit is inside it).
      QWidget* focus = QApplication::focusWidget();
      shown_.last() +=
          " @" + (focus->objectName().isEmpty() ? focus->parentWidget() : focus)->objectName();
    }
    QCOMPARE(shown_, (QStringList{"Please enter a valid OID for the 'Get' request. @getOid",
                                  "Please enter a valid OID for the 'Get' request. @getOid",
                                  "Please enter a valid OID for the 'Set' request. @setOid",
                                  "Please enter a valid OID for the 'Set' request. @setOid",
                                  "Please enter a valid IP/Host address. @walkHost",
                                  "Please enter a valid IP/Host address. @sendTrapHost",
                                  "Please enter a valid end IP address. (no icon) @endIp",
                                  "Invalid IPv4 address '10.0.0.300'. @pingHost"}));
  }

  void CtrlQQuits() {
    QTest::keyClick(&w_, Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(!w_.isVisible());
  }

 private:
  sondara_test::TempFolder dir_;
  app::CSondaraUtilityApp sondara_{dir_ / "sondara.ini", dir_ / "profile.ini"};
  app::CMainWnd w_{sondara_};
  QTabWidget* sheet_ = w_.PropertySheetView()->Sheet();
  QStringList shown_;
};

}  // namespace

int main(int argc, char** argv) {
  // This run's MIB folder: one file that is no MIB module at all.
  sondara_test::TempFolder mibs;
  sondara_test::WriteFile(mibs / "notes.pdf", "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n");
  ::setenv("SONDARA_MIB_FOLDERS", mibs.Path().c_str(), 1);
  QApplication app(argc, argv);
  // Each case's window and settings exist only while its own tests run.
  int failed = 0;
  failed += QTest::qExec(std::make_unique<MainWndTest>().get(), argc, argv);
  failed += QTest::qExec(std::make_unique<MainWndKeyboardTest>().get(), argc, argv);
  return failed;
}

#include "main_wnd_test.moc"
