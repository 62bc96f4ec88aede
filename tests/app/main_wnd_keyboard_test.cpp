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

// The first text field of the page that the user can type into.
QLineEdit* FirstTypable(QWidget* page) {
  for (QLineEdit* edit : page->findChildren<QLineEdit*>()) {
    if (edit->isVisible() && edit->isEnabled() && !edit->isReadOnly())
      return edit;
  }
  return nullptr;
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

  void EveryLetterIsTakenOnceOrCyclesWithinThePage() {
    for (int page = 0; page < sheet_->count(); ++page) {
      sheet_->setCurrentIndex(page);
      const QString where = sheet_->tabText(page);
      for (const auto& [key, owners] : Owners(w_)) {
        if (owners.size() == 1)
          continue;
        const QString letter = where + ": Alt+" + QKeySequence(key).toString() + " ";
        for (const Owner& o : owners) {
          // A menu would take the next press for itself, a tab would leave the page.
          QVERIFY2(o.control != nullptr, qPrintable(letter + "is also " + o.what));
        }
        // Qt hands repeated presses to each owner in turn: each focuses its own control, the
        // page stays, and the round starts again.
        std::vector<QWidget*> seen;
        for (std::size_t press = 0; press <= owners.size(); ++press) {
          PressAlt(w_, key);
          QCOMPARE(sheet_->currentIndex(), page);
          QVERIFY(QApplication::activePopupWidget() == nullptr);
          seen.push_back(QApplication::focusWidget());
        }
        QCOMPARE(seen.back(), seen.front());
        for (const Owner& o : owners) {
          QVERIFY2(
              std::any_of(seen.begin(), seen.end(),
                          [&](QWidget* f) { return o.control->isAncestorOf(f) || f == o.control; }),
              qPrintable(letter + "never reaches " + o.what));
        }
      }
    }
  }

  // From every page: each other tab's letter switches to it, keeping what was typed, and Alt+T
  // opens the Tools menu.
  void TabLettersSwitchPagesAndAltTOpensTools() {
    int switches = 0;
    for (int page = 0; page < sheet_->count(); ++page) {
      sheet_->setCurrentIndex(page);
      QLineEdit* edit = FirstTypable(sheet_->currentWidget());
      QVERIFY(edit != nullptr);
      for (int other = 0; other < sheet_->count(); ++other) {
        sheet_->setCurrentIndex(page);
        const int key = Letter(sheet_->tabText(other));
        if (other == page || key == 0)
          continue;
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, "typed here");
        PressAlt(w_, key);
        QCOMPARE(sheet_->currentIndex(), other);
        sheet_->setCurrentIndex(page);
        QCOMPARE(edit->text(), QString("typed here"));
        ++switches;
      }
      edit->setFocus();
      PressAlt(w_, Qt::Key_T);
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      QVERIFY2(menu != nullptr && menu->title() == "&Tools", qPrintable(sheet_->tabText(page)));
      menu->close();
    }
    QVERIFY(switches >= sheet_->count());  // every page can reach another one by its letter
  }

  // With the target empty every command answers at once with its first refusal, which shows
  // which command Enter started (and that the message box gets the operation's icon).
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
    }
    QCOMPARE(shown_, (QStringList{"Please enter a valid OID for the 'Get' request.",
                                  "Please enter a valid OID for the 'Get' request.",
                                  "Please enter a valid OID for the 'Set' request.",
                                  "Please enter a valid OID for the 'Set' request.",
                                  "Please enter a valid IP/Host address.",
                                  "Please enter a valid IP/Host address.",
                                  "Please enter a valid end IP address. (no icon)",
                                  "Invalid IPv4 address '10.0.0.300'."}));
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

QTEST_MAIN(MainWndKeyboardTest)
#include "main_wnd_keyboard_test.moc"
