// The Get/Set page offscreen against a real snmpd: typing, clicking "&Get" and "&Set", reading
// the result box; a refusal focuses its field.
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "app/message_box_dialog.h"
#include "app/sondara_utility_app.h"
#include "pages/get_set_page.h"
#include "support/snmpd_process.h"
#include "util/temp_folder.h"

class GetSetPageTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    const std::string error = agent_.Start();
    QVERIFY2(error.empty(), error.c_str());
    app::SetMessageBoxHook([this](const QString& text, app::MessageIcon) { shown_ << text; });
    page_.show();
    page_.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&page_));
  }

  void getAndSetThroughTheControls() {
    Type("getSetHost", "127.0.0.1");
    Type("getSetPort", QString::number(agent_.Port()));
    Type("getOid", ".1.3.6.1.2.1.1.1.0");
    Type("getCommunity", "getcom");
    Click("getButton");
    QTRY_COMPARE(Edit("getValue")->text(), QString(testing_support::kSnmpdSysDescr));
    QCOMPARE(Combo("getDataType")->currentText(), QString("Octet String"));

    Type("setOid", ".1.3.6.1.2.1.1.4.0");
    Type("setCommunity", "setcomm");
    Combo("setDataType")->setCurrentIndex(Combo("setDataType")->findText("Octet String"));
    Type("setValue", "desk@sondara.test");
    Click("setButton");
    QTRY_VERIFY(!page_.RequestRunning());
    Type("getOid", ".1.3.6.1.2.1.1.4.0");
    // Enter in the Get half runs "&Get".
    QTest::keyClick(Combo("getOid")->lineEdit(), Qt::Key_Return);
    QTRY_COMPARE(Edit("getValue")->text(), QString("desk@sondara.test"));

    Type("getOid", "1.3.");
    Click("getButton");
    QCOMPARE(shown_, QStringList{"Please enter a valid OID for the 'Get' request."});
    QCOMPARE(QApplication::focusWidget(), Combo("getOid"));
  }

 private:
  QLineEdit* Edit(const char* name) const { return page_.findChild<QLineEdit*>(name); }
  QComboBox* Combo(const char* name) const { return page_.findChild<QComboBox*>(name); }
  void Type(const char* name, const QString& text) const {
    QLineEdit* edit = Combo(name) != nullptr ? Combo(name)->lineEdit() : Edit(name);
    QVERIFY2(edit != nullptr, name);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
  }
  void Click(const char* name) const {
    QTest::mouseClick(page_.findChild<QPushButton*>(name), Qt::LeftButton);
  }

  testing_support::SnmpdProcess agent_;
  sondara_test::TempFolder dir_;
  app::CSondaraUtilityApp sondara_{dir_ / "sondara.ini", dir_ / "profile.ini"};
  pages::CGetSetPropertyPage page_{sondara_};
  QStringList shown_;
};

QTEST_MAIN(GetSetPageTest)
#include "get_set_page_test.moc"
