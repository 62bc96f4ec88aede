// The Device Discovery page offscreen, the whole process inside a private network namespace:
// typing the range, clicking "Begin &Discovery", watching the list grow at the timer's ticks,
// "St&op", "S&ave Results", and what the page keeps in the profile.
#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <memory>

#include "app/message_box_dialog.h"
#include "app/save_file_dialog.h"
#include "app/sondara_utility_app.h"
#include "net/icmp_echo.h"
#include "pages/device_discovery_page.h"
#include "support/private_netns.h"
#include "util/temp_folder.h"

namespace {
std::string g_not_ready;  // why the namespace could not be made, empty when it was
}  // namespace

class DeviceDiscoveryPageTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    if (!g_not_ready.empty())
      QSKIP(g_not_ready.c_str());
    app::SetMessageBoxHook([](const QString& text, app::MessageIcon) {
      QFAIL(qPrintable("unexpected message box: " + text));
    });
    sondara_.Network().request_timeout_ms = 100;
    sondara_.Network().retries = 0;
    sondara_.WriteProfileInt(L"Device Discovery", L"1", 150);
    page_ = std::make_unique<pages::CDeviceDiscoveryPropertyPage>(sondara_);
    page_->resize(760, 330);
    page_->show();
  }

  void listGrowsWhileTheSweepRunsAndTheResultsAreSaved() {
    QCOMPARE(List()->horizontalHeader()->sectionSize(1), 150);  // from the profile
    Type("startIp", "198.18.0.1");
    Type("endIp", "198.18.0.40");
    Click("beginDiscovery");
    QCOMPARE(Button("beginDiscovery")->text(), QString("St&op"));
    QVERIFY(!Edit("startIp")->isEnabled());
    // Rows appear while the sweep is still running: .1 answers at once, .40 comes last.
    QTRY_VERIFY_WITH_TIMEOUT(List()->model()->rowCount() > 0, 20000);
    QCOMPARE(Button("beginDiscovery")->text(), QString("St&op"));
    QTRY_COMPARE_WITH_TIMEOUT(Button("beginDiscovery")->text(), QString("Begin &Discovery"), 30000);
    QCOMPARE(Rows(), QStringList({"1 198.18.0.1 gateway.test", "2 198.18.0.7 printer.test",
                                  "3 198.18.0.12 "}));
    QVERIFY(Button("saveResults")->isEnabled());
    QVERIFY(Edit("startIp")->isEnabled());

    const std::string path = dir_ / "found.csv";
    app::SetSaveDialog([&](QWidget*, const QString&, const QString&, const QString&) {
      return QString::fromStdString(path);
    });
    Click("saveResults");
    app::SetSaveDialog({});
    const std::string saved = sondara_test::ReadFile(path);
    QVERIFY2(saved.find("\n\"3\",\"198.18.0.12\",\"\",\n") != std::string::npos, saved.c_str());
    QCOMPARE(sondara_.GetProfileString(L"Device Discovery", L"SaveResultsPath", L""),
             QString::fromStdString(dir_.Path()).toStdWString());
    if (const QByteArray shot = qgetenv("SONDARA_SCREENSHOT"); !shot.isEmpty())
      page_->grab().save(QString::fromLocal8Bit(shot));
  }

  void stopAnswersAtOnceAndKeepsWhatWasFound() {
    sondara_.Network().request_timeout_ms = 3000;
    sondara_.Network().retries = 3;
    Type("startIp", "198.18.0.7");
    Type("endIp", "198.18.0.40");
    Click("fastSweep");
    QCOMPARE(sondara_.GetProfileInt(L"Device Discovery", L"FastSweep", 0), 1);
    Click("beginDiscovery");
    QTRY_COMPARE_WITH_TIMEOUT(List()->model()->rowCount(), 2, 20000);
    // Silent addresses now wait 4 x 3 s each; Stop must not wait for them.
    Click("beginDiscovery");
    QCOMPARE(Button("beginDiscovery")->text(), QString("Begin &Discovery"));
    QCOMPARE(Rows(), QStringList({"1 198.18.0.7 printer.test", "2 198.18.0.12 "}));
    QVERIFY(Button("saveResults")->isEnabled());
    QVERIFY(Edit("startIp")->isEnabled());
  }

  void closingKeepsWidthsAndValidAddresses() {
    List()->horizontalHeader()->resizeSection(2, 321);
    page_.reset();
    QCOMPARE(sondara_.GetProfileInt(L"Device Discovery", L"2", 0), 321);
    QCOMPARE(sondara_.Discovery().start_ip, std::wstring(L"198.18.0.7"));
    QCOMPARE(sondara_.Discovery().end_ip, std::wstring(L"198.18.0.40"));
  }

 private:
  QLineEdit* Edit(const char* name) const { return page_->findChild<QLineEdit*>(name); }
  QPushButton* Button(const char* name) const { return page_->findChild<QPushButton*>(name); }
  QTableView* List() const { return page_->findChild<QTableView*>("discoveryList"); }
  void Type(const char* name, const QString& text) const {
    QLineEdit* edit = Edit(name);
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
  }
  void Click(const char* name) const {
    QTest::mouseClick(page_->findChild<QAbstractButton*>(name), Qt::LeftButton);
  }
  QStringList Rows() const {
    QStringList rows;
    const QAbstractItemModel* m = List()->model();
    for (int r = 0; r < m->rowCount(); ++r) {
      QStringList cells;
      for (int c = 0; c < m->columnCount(); ++c)
        cells << m->index(r, c).data().toString();
      rows << cells.join(' ');
    }
    return rows;
  }

  sondara_test::TempFolder dir_;
  app::CSondaraUtilityApp sondara_{dir_ / "sondara.ini", dir_ / "profile.ini"};
  std::unique_ptr<pages::CDeviceDiscoveryPropertyPage> page_;
};

// The namespace is entered before Qt starts any thread: .1 (the namespace's own), .7 and .12
// answer; .12 has no name.
int main(int argc, char** argv) {
  if (testing_support::EnterPrivateNetns(g_not_ready) == 0) {
    g_not_ready =
        testing_support::UseHostsFile("198.18.0.1 gateway.test\n198.18.0.7 printer.test printer\n");
    if (g_not_ready.empty() &&
        !testing_support::AddAnsweringAddresses({"198.18.0.7", "198.18.0.12"})) {
      g_not_ready = "cannot add the answering addresses";
    }
    if (g_not_ready.empty() && !net::LoadIcmp())
      g_not_ready = "ICMP not available in the namespace";
  }
  sondara_test::TempFolder home;  // the save dialog's default folder lives in the data folder
  ::setenv("SONDARA_HOME", home.Path().c_str(), 1);
  QApplication app(argc, argv);
  DeviceDiscoveryPageTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "device_discovery_page_test.moc"
