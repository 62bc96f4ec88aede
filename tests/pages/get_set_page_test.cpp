// The Get/Set page as a user meets it, offscreen, against a real snmpd: typing, clicking "&Get"
// and "&Set", reading the result boxes, the focus after a refusal, and what the page leaves in
// the application object.
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <memory>

#include "app/sondara_utility_app.h"
#include "pages/get_set_page.h"
#include "pages/message_box_dialog.h"
#include "support/snmpd_process.h"
#include "util/temp_folder.h"

class GetSetPageTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    const std::string error = agent_.Start();
    QVERIFY2(error.empty(), error.c_str());
    pages::SetMessageBoxHook([this](const QString& text, pages::MessageIcon) { shown_ << text; });
  }

  void init() {
    sondara_ =
        std::make_unique<app::CSondaraUtilityApp>(dir_ / "sondara.ini", dir_ / "profile.ini");
    sondara_->Network().request_timeout_ms = 500;
    sondara_->Network().retries = 1;
    sondara_->GetSet().get_oids = {L"1.3.6.1.2.1.1.5.0", L"1.3.6.1.2.1.1.6.0",
                                   L"1.3.6.1.2.1.1.7.0"};
    page_ = std::make_unique<pages::CGetSetPropertyPage>(*sondara_);
    page_->resize(1000, 300);
    page_->show();
    page_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(page_.get()));
    shown_.clear();
  }

  void cleanup() { page_.reset(); }

  void getAndSetThroughTheControls() {
    Type("getSetHost", "127.0.0.1");
    Type("getSetPort", QString::number(agent_.Port()));
    Type("getOid", ".1.3.6.1.2.1.1.1.0");
    Type("getCommunity", "getcom");
    Click("getButton");
    QCOMPARE(Edit("getValue")->text(), QString(testing_support::kSnmpdSysDescr));
    QCOMPARE(Combo("getDataType")->currentText(), QString("Octet String"));
    QCOMPARE(Combo("getOid")->itemText(0), QString(".1.3.6.1.2.1.1.1.0"));  // joined on top

    Type("setOid", ".1.3.6.1.2.1.1.4.0");
    Type("setCommunity", "setcomm");
    Combo("setDataType")->setCurrentIndex(Combo("setDataType")->findText("Octet String"));
    Type("setValue", "desk@sondara.test");
    Click("setButton");
    Type("getOid", ".1.3.6.1.2.1.1.4.0");
    Click("getButton");
    QCOMPARE(Edit("getValue")->text(), QString("desk@sondara.test"));
    QVERIFY(shown_.isEmpty());

    // Deactivation stores what the page holds, the OID in use first.
    page_->OnKillActive();
    QCOMPARE(sondara_->GetSet().port, agent_.Port());
    QCOMPARE(sondara_->GetSet().get_oids.front(), std::wstring(L".1.3.6.1.2.1.1.4.0"));
    QCOMPARE(sondara_->GetSet().set_value, std::wstring(L"desk@sondara.test"));
  }

  void storedHistoryShowsReversedAndEnterAddsNothing() {
    QComboBox* oids = Combo("getOid");
    QCOMPARE(oids->count(), 3);
    QCOMPARE(oids->itemText(0), QString("1.3.6.1.2.1.1.7.0"));
    QCOMPARE(oids->itemText(2), QString("1.3.6.1.2.1.1.5.0"));
    QCOMPARE(oids->currentText(), QString("1.3.6.1.2.1.1.5.0"));
    Type("getOid", "1.3.6.1.2.1.1.99.0");
    QTest::keyClick(oids->lineEdit(), Qt::Key_Return);
    QCOMPARE(oids->count(), 3);
    QVERIFY(shown_.isEmpty());
    QVERIFY(page_->isVisible());
  }

  void refusalFocusesTheFieldAndDestructionStores() {
    Type("getSetHost", "127.0.0.1");
    Type("getOid", "1.3.");
    Click("getButton");
    QCOMPARE(shown_, QStringList{"Please enter a valid OID for the 'Get' request."});
    QCOMPARE(QApplication::focusWidget(), Combo("getOid"));
    QCOMPARE(Edit("getValue")->text(), QString());

    Edit("getSetHost")->clear();
    Click("setButton");
    QCOMPARE(shown_.last(), QString("Please enter a valid IP/Host address."));
    QCOMPARE(QApplication::focusWidget(), Edit("getSetHost"));

    Type("getSetHost", "agent.example");
    page_.reset();
    QCOMPARE(sondara_->GetSet().host, std::wstring(L"agent.example"));
  }

 private:
  QLineEdit* Edit(const char* name) const { return page_->findChild<QLineEdit*>(name); }
  QComboBox* Combo(const char* name) const { return page_->findChild<QComboBox*>(name); }
  void Type(const char* name, const QString& text) const {
    QLineEdit* edit = Combo(name) != nullptr ? Combo(name)->lineEdit() : Edit(name);
    QVERIFY2(edit != nullptr, name);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
  }
  void Click(const char* name) const {
    QTest::mouseClick(page_->findChild<QPushButton*>(name), Qt::LeftButton);
  }

  testing_support::SnmpdProcess agent_;
  sondara_test::TempFolder dir_;
  std::unique_ptr<app::CSondaraUtilityApp> sondara_;
  std::unique_ptr<pages::CGetSetPropertyPage> page_;
  QStringList shown_;
};

QTEST_MAIN(GetSetPageTest)
#include "get_set_page_test.moc"
