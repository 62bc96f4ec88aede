// The Notifications page in the main window against net-snmp's snmptrap and snmpinform, a
// hand-written malformed datagram and a port snmptrapd holds.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <QAction>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTreeWidget>

#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "support/snmptrapd_process.h"
#include "support/temp_folder.h"
#include "ui/logs/decoded_message_view.h"
#include "ui/logs/event_log_view.h"
#include "ui/logs/transaction_log_view.h"
#include "ui/main_wnd.h"
#include "ui/message_box_dialog.h"
#include "ui/mib_names.h"
#include "ui/numeric_edit.h"
#include "ui/pages/notifications_page.h"
#include "ui/property_sheet_view.h"
#include "ui/results_table_view.h"
#include "ui/save_file_dialog.h"

namespace {

class NotificationsPageTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    w_ = std::make_unique<app::CMainWnd>(sondara_);
    w_->show();
    // On from the View menu; the profile keeps it for the next window.
    if (auto* view = w_->findChild<QAction*>(QStringLiteral("viewNotifications"));
        !view->isChecked())
      view->trigger();
    page_ = static_cast<pages::CNotificationsPropertyPage*>(
        w_->PropertySheetView()->Page(app::kPageNotifications));
    w_->PropertySheetView()->Sheet()->setCurrentWidget(page_);
    QTRY_VERIFY_WITH_TIMEOUT(app::CMibNames::Instance().Loaded(), 30000);
  }
  void cleanup() {
    app::SetMessageBoxHook({});
    w_.reset();
  }

  // Through the window: each row as sent, the inform answered (snmpinform exits 0 only then),
  // a malformed datagram listed with where and why; the filters, Save and Clear.
  void ReceivesListsSavesAndClears() {
    const std::uint16_t port = testing_support::FreeUdpPort();
    page_->findChild<tvkutil::CNumericEdit*>("notificationsPort")->SetText(QString::number(port));
    QTest::mouseClick(page_->findChild<QPushButton*>("listenButton"), Qt::LeftButton);
    QTRY_COMPARE(page_->Operation().Finished(), false);
    // Our engine ID, kept for the senders of v3 informs configured with it.
    QVERIFY(sondara_.GetProfileString(L"Notifications", L"EngineID", L"")
                .starts_with(L"80 00 e9 df 04"));
    const QString to = QStringLiteral("127.0.0.1:%1").arg(port);
    QCOMPARE(
        QProcess::execute("/usr/bin/snmptrap",
                          {"-v", "2c", "-c", "plant", to, "4242", ".1.3.6.1.6.3.1.1.5.4",
                           ".1.3.6.1.2.1.2.2.1.1.3", "i", "3", ".1.3.6.1.2.1.2.2.1.8.3", "i", "1"}),
        0);
    QCOMPARE(QProcess::execute("/usr/bin/snmpinform",
                               {"-v", "2c", "-c", "hall", "-r", "0", "-t", "5", to, "777",
                                ".1.3.6.1.6.3.1.1.5.1", ".1.3.6.1.2.1.1.6.0", "s", "door 3"}),
             0);
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);  // a message cut short
    const sockaddr_in at{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    ::sendto(fd, "\x30\x05\x02\x01\x00\x04", 6, 0, reinterpret_cast<const sockaddr*>(&at),
             sizeof at);
    ::close(fd);
    QAbstractItemModel* list = page_->List()->model();
    QTRY_COMPARE_WITH_TIMEOUT(list->rowCount(), 3, 20000);
    const QString rows[3][8] = {
        {"", "127.0.0.1", "2c", "plant", "SNMPv2-Trap", "IF-MIB::linkUp", "4242 (0:00:42.42)",
         "IF-MIB::ifIndex.3 = 3; IF-MIB::ifOperStatus.3 = 1"},
        {"", "127.0.0.1", "2c", "hall", "InformRequest answered", "SNMPv2-MIB::coldStart",
         "777 (0:00:07.77)", "SNMPv2-MIB::sysLocation.0 = door 3"},
        {"", "127.0.0.1", "", "", "malformed", "", "",
         "offset 1: length 5 runs past the end of the message (4 bytes left)"},
    };
    for (int r = 0; r < 3; ++r) {
      QVERIFY(QRegularExpression("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}$")
                  .match(list->index(r, 0).data().toString())
                  .hasMatch());
      for (int c = 1; c < 8; ++c) {
        const QString cell = list->index(r, c).data().toString();
        QVERIFY2(c == 1 ? cell.startsWith(rows[r][c] + ":") : cell == rows[r][c],
                 qPrintable(QStringLiteral("%1,%2: %3").arg(r).arg(c).arg(cell)));
      }
    }
    // A row's bindings and its message decoded; the malformed one ends in its damage.
    page_->List()->selectRow(1);
    auto* bindings = page_->findChild<QTableWidget*>("notificationBindings");
    QCOMPARE(bindings->rowCount(), 1);
    QCOMPARE(bindings->item(0, 2)->text(), QStringLiteral("door 3"));
    auto* decoded = page_->findChild<logs::CDecodedMessageView*>("notificationDecoded");
    QVERIFY(!decoded->Tree()
                 ->findItems("InformRequest", Qt::MatchContains | Qt::MatchRecursive, 1)
                 .isEmpty());
    page_->List()->selectRow(0);
    QCOMPARE(bindings->item(1, 2)->text(), QStringLiteral("up(1)"));  // labelled by its MIB
    page_->List()->selectRow(2);
    QVERIFY(decoded->Tree()->currentItem()->text(0).contains("runs past the end"));
    // Every datagram, the Response too, went to the transaction log.
    QTRY_COMPARE(w_->findChild<logs::CTransactionLogView*>()->Log().Datagrams().Count(), 4u);

    page_->findChild<QLineEdit*>("notificationsTrapFilter")->setText("linkup");
    QCOMPARE(list->rowCount(), 1);
    const std::string path = dir_ / "traps.csv";
    app::SetSaveDialog([&](auto...) { return QString::fromStdString(path); });
    QTest::mouseClick(page_->findChild<QPushButton*>("notificationsSave"), Qt::LeftButton);
    app::SetSaveDialog({});
    const std::string csv = sondara_test::ReadFile(path);
    QVERIFY2(
        QRegularExpression(
            "^Time,Source,Port,Version,Community,Type,Notification,SysUpTime,Enterprise,"
            "AgentAddress,Generic,Specific,Bindings,Problem\n"
            "[-\\d: .]+,127\\.0\\.0\\.1,\\d+,2c,plant,SNMPv2-Trap,\\.1\\.3\\.6\\.1\\.6\\.3\\.1\\."
            "1\\.5\\.4,4242,,,,,\\.1\\.3\\.6\\.1\\.2\\.1\\.2\\.2\\.1\\.1\\.3 = Integer32: 3; "
            "\\.1\\.3\\.6\\.1\\.2\\.1\\.2\\.2\\.1\\.8\\.3 = Integer32: 1,\n$")
            .match(QString::fromStdString(csv))
            .hasMatch(),
        csv.c_str());
    page_->findChild<QLineEdit*>("notificationsTrapFilter")->clear();
    QCOMPARE(list->rowCount(), 3);
    QTest::mouseClick(page_->findChild<QPushButton*>("notificationsClear"), Qt::LeftButton);
    QCOMPARE(list->rowCount(), 0);
    QVERIFY(page_->findChild<QLabel*>("notificationsCounts")->text().startsWith("2 notifications"));
    QTest::mouseClick(page_->findChild<QPushButton*>("listenButton"), Qt::LeftButton);
    QTRY_VERIFY(page_->findChild<QPushButton*>("listenButton")->text() == "&Listen");
  }

  // SNMPv3 from the user the Get/Set page speaks as: snmpinform finds our engine and is answered.
  void TakesV3FromThePagesUsers() {
    app::UsmSettings& usm = sondara_.GetSet().usm;  // authPriv, SHA and AES
    usm.user_name = L"ops";
    usm.auth_password = L"authpass1";
    usm.priv_password = L"privpass1";
    const std::uint16_t port = testing_support::FreeUdpPort();
    page_->findChild<tvkutil::CNumericEdit*>("notificationsPort")->SetText(QString::number(port));
    QTest::mouseClick(page_->findChild<QPushButton*>("listenButton"), Qt::LeftButton);
    const QString inform =
        "-v 3 -u ops -l authPriv -a SHA -A authpass1 -x AES -X privpass1 -r 0 "
        "-t 5 127.0.0.1:%1 9 .1.3.6.1.6.3.1.1.5.1";
    QCOMPARE(QProcess::execute("/usr/bin/snmpinform", inform.arg(port).split(' ')), 0);
    QAbstractItemModel* list = page_->List()->model();
    QTRY_COMPARE(list->rowCount(), 2);  // the engine discovery, then the inform
    QCOMPARE(list->index(1, 2).data().toString() + list->index(1, 3).data().toString() +
                 list->index(1, 4).data().toString(),
             QStringLiteral("3opsInformRequest answered"));
  }

  // A port snmptrapd holds: the message names it, and the page stays as it was.
  void PortHeldBySnmptrapdIsNamed() {
    testing_support::SnmptrapdProcess trapd;
    const std::string failed = trapd.Start();
    if (!failed.empty())
      QSKIP(failed.c_str());
    QString said;
    app::SetMessageBoxHook([&](const QString& text, app::MessageIcon) { said = text; });
    page_->findChild<tvkutil::CNumericEdit*>("notificationsPort")
        ->SetText(QString::number(trapd.Port()));
    QTest::mouseClick(page_->findChild<QPushButton*>("listenButton"), Qt::LeftButton);
    QVERIFY2(said.contains(QStringLiteral(": snmptrapd (pid ")) &&
                 said.contains("already listens on it"),
             qPrintable(said));
    QCOMPARE(page_->findChild<QPushButton*>("listenButton")->text(), QStringLiteral("&Listen"));
    // Said once in the event log: the box's text.
    const QAbstractItemModel* events = w_->findChild<logs::CEventLogView*>()->Table()->model();
    QTRY_COMPARE(events->match(events->index(0, 2), Qt::DisplayRole, said, -1).size(), 1);
  }

 private:
  sondara_test::TempFolder dir_;
  app::CSondaraUtilityApp sondara_{dir_ / "sondara.ini", dir_ / "profile.ini"};
  std::unique_ptr<app::CMainWnd> w_;
  pages::CNotificationsPropertyPage* page_ = nullptr;
};

}  // namespace

QTEST_MAIN(NotificationsPageTest)
#include "notifications_page_test.moc"
