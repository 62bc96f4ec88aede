// The sendTrap page offscreen against a real snmptrapd: a binding added through "Edit Varbinds"
// and "Add VarBind" is carried by the trap the page then sends.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include "app/message_box_dialog.h"
#include "app/sondara_utility_app.h"
#include "pages/edit_var_bind_dialog.h"
#include "pages/send_trap_page.h"
#include "pages/var_bind_dialog.h"
#include "support/snmptrapd_process.h"
#include "util/temp_folder.h"

class SendTrapPageTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    const std::string error = manager_.Start();
    QVERIFY2(error.empty(), error.c_str());
    app::SetMessageBoxHook([this](const QString& text, app::MessageIcon) { shown_ << text; });
    page_.show();
    page_.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&page_));
  }

  void bindingAddedInTheEditorIsSent() {
    QVERIFY(page_.findChild<QCheckBox*>("useDefault")->isChecked());  // the built-in start
    QVERIFY(!Combo("senderIp")->isEnabled());
    Type("sendTrapHost", "127.0.0.1");
    Type("sendTrapPort", QString::number(manager_.Port()));
    auto* use_default = page_.findChild<QCheckBox*>("useDefault");
    QTest::mouseClick(use_default, Qt::LeftButton, {}, QPoint(8, use_default->height() / 2));
    QVERIFY(!use_default->isChecked());
    Combo("sendTrapVersion")->setCurrentIndex(Combo("sendTrapVersion")->findText("1"));
    QVERIFY(Combo("senderIp")->isEnabled());  // a v1 trap built by the user
    Combo("sendTrapVersion")->setCurrentIndex(Combo("sendTrapVersion")->findText("2c"));
    QVERIFY(!Combo("senderIp")->isEnabled());
    Type("trapCommunity", "trapcom");

    int rows_at_open = -1;
    QTimer::singleShot(0, this, [&] {
      auto* editor = qobject_cast<pages::CVarBindDialog*>(QApplication::activeModalWidget());
      QVERIFY(editor != nullptr);
      rows_at_open = editor->findChild<QTableView*>("varBindList")->model()->rowCount();
      QTimer::singleShot(0, this, [] {
        auto* one = qobject_cast<pages::CEditVarBindDialog*>(QApplication::activeModalWidget());
        QVERIFY(one != nullptr);
        QCOMPARE(one->windowTitle(), QString("Add VarBind"));
        QTest::keyClicks(one->findChild<QLineEdit*>("varBindOid"), ".1.3.6.1.4.1.59871.1.9");
        auto* type = one->findChild<QComboBox*>("varBindDataType");
        type->setCurrentIndex(type->findText("Octet String"));
        QTest::keyClicks(one->findChild<QLineEdit*>("varBindValue"), "added at the desk");
        QTest::keyClick(one, Qt::Key_Return);
      });
      QTest::mouseClick(editor->findChild<QPushButton*>("addVarBind"), Qt::LeftButton);
      editor->accept();
    });
    QTest::mouseClick(page_.findChild<QPushButton*>("editVarBinds"), Qt::LeftButton);
    QCOMPARE(rows_at_open, 2);  // a v2c list shows its fixed entries
    QCOMPARE(sondara_.TrapVarBinds().Count(), 3);
    page_.activateWindow();  // back from the dialogs
    QVERIFY(QTest::qWaitForWindowActive(&page_));

    Type("varBindNum", "4");
    QTest::mouseClick(page_.findChild<QPushButton*>("sendTrapButton"), Qt::LeftButton);
    QCOMPARE(
        shown_,
        QStringList{"VarBind# ('4') greater than the no. of varbinds in the VarBind list ('3')."});
    QCOMPARE(QApplication::focusWidget(), page_.findChild<QWidget*>("varBindNum"));
    QCOMPARE(manager_.Traps(1, std::chrono::milliseconds(200)).size(), 0U);

    Type("varBindNum", "3");
    QTest::mouseClick(page_.findChild<QPushButton*>("sendTrapButton"), Qt::LeftButton);
    const std::vector<std::string> traps = manager_.Traps(1);
    QCOMPARE(traps.size(), 1U);
    QVERIFY2(traps[0].find("~.1.3.6.1.4.1.59871.1.9 = STRING: \"added at the desk\"") !=
                 std::string::npos,
             traps[0].c_str());
    QTRY_COMPARE(Combo("trapCommunity")->itemText(0), QString("trapcom"));  // joined the history
  }

 private:
  QComboBox* Combo(const char* name) const { return page_.findChild<QComboBox*>(name); }
  void Type(const char* name, const QString& text) const {
    QLineEdit* edit =
        Combo(name) != nullptr ? Combo(name)->lineEdit() : page_.findChild<QLineEdit*>(name);
    QVERIFY2(edit != nullptr, name);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
  }

  testing_support::SnmptrapdProcess manager_;
  sondara_test::TempFolder dir_;
  app::CSondaraUtilityApp sondara_{dir_ / "sondara.ini", dir_ / "profile.ini"};
  pages::CSendTrapPropertyPage page_{sondara_};
  QStringList shown_;
};

QTEST_MAIN(SendTrapPageTest)
#include "send_trap_page_test.moc"
