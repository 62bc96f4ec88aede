// The main window from the keyboard: on every page, no Alt+letter is taken twice among what can
// be reached at once (the menu titles, the tabs, the ping toolbar and the page) unless Qt moves
// the focus round all of them on repeated presses; a tab's letter switches pages without losing
// what was typed; Alt+T opens the Tools menu; Enter starts a field's command; Ctrl+Q quits.
#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <map>

#include "app/main_wnd.h"
#include "app/message_box_dialog.h"
#include "app/property_sheet_view.h"
#include "app/sondara_utility_app.h"
#include "util/temp_folder.h"

namespace {

// What an Alt+letter reaches.
struct Owner {
  enum Kind { kMenu, kTab, kControl } kind;
  QString what;               // for messages
  QWidget* target = nullptr;  // controls: focus lands on it or inside it
};

QKeySequence Mnemonic(const QString& text) {
  return QKeySequence::mnemonic(text);
}

// Every owner of an Alt+letter that the window offers now, by letter.
std::map<int, std::vector<Owner>> Owners(app::CMainWnd& w) {
  std::map<int, std::vector<Owner>> owners;
  const auto add = [&](const QString& text, Owner owner) {
    const QKeySequence key = Mnemonic(text);
    if (!key.isEmpty())
      owners[key[0].key()].push_back(owner);
  };
  for (QAction* menu : w.menuBar()->actions())
    add(menu->text(), {Owner::kMenu, menu->text()});
  QTabBar* tabs = w.PropertySheetView()->Sheet()->tabBar();
  for (int i = 0; i < tabs->count(); ++i)
    add(tabs->tabText(i), {Owner::kTab, tabs->tabText(i)});
  for (QWidget* c : w.findChildren<QWidget*>()) {
    if (!c->isVisible() || !c->isEnabled())
      continue;
    if (auto* label = qobject_cast<QLabel*>(c); label && label->buddy())
      add(label->text(), {Owner::kControl, label->text(), label->buddy()});
    else if (auto* button = qobject_cast<QAbstractButton*>(c))
      add(button->text(), {Owner::kControl, button->text(), button});
    else if (auto* group = qobject_cast<QGroupBox*>(c))
      add(group->title(), {Owner::kControl, group->title(), group});
  }
  return owners;
}

void PressAlt(app::CMainWnd& w, int key) {
  QWidget* to = QApplication::focusWidget() != nullptr ? QApplication::focusWidget() : &w;
  QTest::keyClick(to, static_cast<Qt::Key>(key), Qt::AltModifier);
}

void ClosePopups() {
  while (QWidget* popup = QApplication::activePopupWidget())
    popup->close();
}

// The first text field of the page that the user can type into.
QLineEdit* FirstTypable(QWidget* page) {
  for (QLineEdit* edit : page->findChildren<QLineEdit*>()) {
    if (edit->isVisible() && edit->isEnabled() && !edit->isReadOnly())
      return edit;
  }
  return nullptr;
}

struct Window {
  Window() {
    w.show();
    QApplication::setActiveWindow(&w);
  }
  sondara_test::TempFolder dir;
  app::CSondaraUtilityApp sondara{dir / "sondara.ini", dir / "profile.ini"};
  app::CMainWnd w{sondara};
};

class MainWndKeyboardTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    app::SetMessageBoxHook([this](const QString& text, app::MessageIcon) { shown_ << text; });
    shown_.clear();
  }
  void cleanup() { app::SetMessageBoxHook(nullptr); }

  void EveryLetterIsTakenOnceOrCyclesWithinThePage() {
    Window win;
    app::CMainWnd& w = win.w;
    QVERIFY(QTest::qWaitForWindowActive(&w));
    QTabWidget* sheet = w.PropertySheetView()->Sheet();
    for (int page = 0; page < sheet->count(); ++page) {
      sheet->setCurrentIndex(page);
      const QString where = sheet->tabText(page);
      for (const auto& [key, owners] : Owners(w)) {
        const QString letter = QKeySequence(key).toString();
        if (owners.size() == 1)
          continue;
        QStringList names;
        for (const Owner& o : owners)
          names << o.what;
        for (const Owner& o : owners) {
          // A menu would take the next press for itself, a tab would leave the page.
          QVERIFY2(o.kind == Owner::kControl,
                   qPrintable(where + ": Alt+" + letter + " is " + names.join(", ")));
        }
        // Qt hands repeated presses to each owner in turn: each focuses its own control, the
        // page stays, and the round starts again.
        std::vector<QWidget*> seen;
        for (std::size_t press = 0; press <= owners.size(); ++press) {
          PressAlt(w, key);
          QCOMPARE(sheet->currentIndex(), page);
          QVERIFY(QApplication::activePopupWidget() == nullptr);
          seen.push_back(QApplication::focusWidget());
        }
        QCOMPARE(seen.back(), seen.front());
        for (const Owner& o : owners) {
          const bool reached = std::any_of(seen.begin(), seen.end(), [&](QWidget* f) {
            return f == o.target || o.target->isAncestorOf(f);
          });
          QVERIFY2(reached, qPrintable(where + ": Alt+" + letter + " never reaches " + o.what));
        }
      }
    }
  }

  void ATabLetterSwitchesPagesAndKeepsWhatWasTyped() {
    Window win;
    app::CMainWnd& w = win.w;
    QVERIFY(QTest::qWaitForWindowActive(&w));
    QTabWidget* sheet = w.PropertySheetView()->Sheet();
    int switches = 0;
    for (int page = 0; page < sheet->count(); ++page) {
      for (int other = 0; other < sheet->count(); ++other) {
        sheet->setCurrentIndex(page);
        const QKeySequence key = Mnemonic(sheet->tabText(other));
        if (other == page || key.isEmpty())
          continue;
        QLineEdit* edit = FirstTypable(sheet->widget(page));
        QVERIFY(edit != nullptr);
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, "typed here");
        PressAlt(w, key[0].key());
        QCOMPARE(sheet->currentIndex(), other);
        sheet->setCurrentIndex(page);
        QCOMPARE(edit->text(), QString("typed here"));
        ++switches;
      }
    }
    QVERIFY(switches >= sheet->count());  // every page can reach another one by its letter
  }

  void AltTOpensTheToolsMenuOnEveryPage() {
    Window win;
    app::CMainWnd& w = win.w;
    QVERIFY(QTest::qWaitForWindowActive(&w));
    QTabWidget* sheet = w.PropertySheetView()->Sheet();
    for (int page = 0; page < sheet->count(); ++page) {
      sheet->setCurrentIndex(page);
      FirstTypable(sheet->currentWidget())->setFocus();
      PressAlt(w, Qt::Key_T);
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      QVERIFY2(menu != nullptr, qPrintable(sheet->tabText(page)));
      QCOMPARE(menu->title(), QString("&Tools"));
      ClosePopups();
    }
  }

  // With the target empty every command answers at once with its first refusal, which shows
  // which command Enter started.
  void EnterInAFieldStartsItsHalfsCommand() {
    Window win;
    app::CMainWnd& w = win.w;
    QVERIFY(QTest::qWaitForWindowActive(&w));
    const auto enter_in = [&](const char* name) {
      QWidget* field = w.findChild<QWidget*>(name);
      QVERIFY2(field != nullptr, name);
      QTabWidget* sheet = w.PropertySheetView()->Sheet();
      for (int i = 0; i < sheet->count(); ++i) {
        if (sheet->widget(i)->isAncestorOf(field))
          sheet->setCurrentIndex(i);
      }
      auto* combo = qobject_cast<QComboBox*>(field);
      QWidget* keys = combo != nullptr && combo->lineEdit() ? combo->lineEdit() : field;
      keys->setFocus();
      QTest::keyClick(keys, Qt::Key_Return);
    };
    w.findChild<QLineEdit*>("getSetHost")->setText("127.0.0.1");
    w.findChild<QComboBox*>("getOid")->setEditText("");
    w.findChild<QComboBox*>("setOid")->setEditText("");
    enter_in("getSetPort");
    enter_in("getCommunity");
    enter_in("setValue");
    enter_in("setDataType");
    QCOMPARE(shown_, (QStringList{"Please enter a valid OID for the 'Get' request.",
                                  "Please enter a valid OID for the 'Get' request.",
                                  "Please enter a valid OID for the 'Set' request.",
                                  "Please enter a valid OID for the 'Set' request."}));
    shown_.clear();
    w.findChild<QLineEdit*>("walkHost")->clear();
    w.findChild<QLineEdit*>("sendTrapHost")->clear();
    w.findChild<QLineEdit*>("startIp")->clear();
    enter_in("walkStartOid");
    enter_in("trapCommunity");
    enter_in("endIp");
    QCOMPARE(shown_, (QStringList{"Please enter a valid IP/Host address.",
                                  "Please enter a valid IP/Host address.",
                                  "Please enter a valid start IP address."}));
    shown_.clear();
    w.findChild<QLineEdit*>("pingHost")->setText("10.0.0.300");
    enter_in("pingHost");
    QCOMPARE(shown_, QStringList{"Invalid IPv4 address '10.0.0.300'."});
  }

  void CtrlQQuits() {
    Window win;
    QVERIFY(QTest::qWaitForWindowActive(&win.w));
    QTest::keyClick(&win.w, Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(!win.w.isVisible());
  }

 private:
  QStringList shown_;
};

}  // namespace

QTEST_MAIN(MainWndKeyboardTest)
#include "main_wnd_keyboard_test.moc"
