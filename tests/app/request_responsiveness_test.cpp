// Requests that wait on the network leave the window working: a 50 ms timer keeps firing on
// time while a Get waits for a silent agent, a ping for a silent address and a trap for a name
// that does not resolve; the button is disabled and the wait cursor shows over its page only;
// the failure shows once, at the end. Leaving the page or closing the window waits for the
// request and keeps its result. The whole process runs in a private network namespace when it
// can (the ping case needs one and is skipped without it).
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <chrono>
#include <thread>

#include "app/main_wnd.h"
#include "app/message_box_dialog.h"
#include "app/property_sheet_view.h"
#include "app/sondara_utility_app.h"
#include "logs/event_log_view.h"
#include "logs/transaction_log_view.h"
#include "net/address.h"
#include "net/icmp_echo.h"
#include "pages/ping_view.h"
#include "support/fake_agent.h"
#include "support/private_netns.h"
#include "util/temp_folder.h"

namespace {

std::string g_no_netns;  // why the namespace could not be made, empty when it was

constexpr int kTickMs = 50;
constexpr int kMaxLateMs = 100;
const QString kFailed = QStringLiteral("<Failed: See Event Log>");

// The texts of one column of a log pane.
QStringList Column(const logs::CLogTableView* view, int column) {
  const QAbstractItemModel* model = view->Table()->model();
  QStringList texts;
  for (int row = 0; row < model->rowCount(); ++row)
    texts << model->data(model->index(row, column)).toString();
  return texts;
}

// A lookup that takes a while and finds nothing, whatever the machine's name servers say.
int SlowFailingLookup(const char*, const char*, const addrinfo*, addrinfo**) {
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  return EAI_NONAME;
}

testing_support::FakeAgent SilentAgent() {
  return testing_support::FakeAgent(
      [](const auto&, int) { return std::vector<testing_support::FakeAgent::Reply>{}; });
}

struct Window {
  explicit Window(int timeout_ms, int retries) {
    sondara.Network().request_timeout_ms = timeout_ms;
    sondara.Network().retries = retries;
    w = std::make_unique<app::CMainWnd>(sondara);
    w->show();
    QApplication::setActiveWindow(w.get());
  }
  // Shows the page that holds `page_child`.
  QWidget* Show(const char* page_child) {
    QWidget* child = w->findChild<QWidget*>(page_child);
    QTabWidget* sheet = w->PropertySheetView()->Sheet();
    for (int i = 0; i < sheet->count(); ++i) {
      if (sheet->widget(i)->isAncestorOf(child))
        sheet->setCurrentIndex(i);
    }
    return sheet->currentWidget();
  }
  void Type(const char* name, const QString& text) {
    QWidget* field = w->findChild<QWidget*>(name);
    auto* combo = qobject_cast<QComboBox*>(field);
    (combo != nullptr ? combo->lineEdit() : qobject_cast<QLineEdit*>(field))->setText(text);
  }
  // A Get of sysName.0 from a silent agent at `port`.
  void TypeGet(std::uint16_t port) {
    Type("getSetHost", "127.0.0.1");
    Type("getSetPort", QString::number(port));
    Type("getOid", ".1.3.6.1.2.1.1.5.0");
    Type("getCommunity", "public");
  }
  QPushButton* Button(const char* name) { return w->findChild<QPushButton*>(name); }

  // Clicks `button` and checks that, while its request waits (at least `min_ms`), a 50 ms
  // timer is never late by more than kMaxLateMs, the Help menu opens, `button` is disabled and
  // the wait cursor shows over `busy` alone; and that at the end `column` of `pane` reads
  // `lines`, each once.
  void Watch(QAbstractButton* button, QWidget* busy, const logs::CLogTableView* pane, int column,
             const QStringList& lines, qint64 min_ms) {
    QElapsedTimer clock;
    qint64 last = 0, worst_late = 0, ended_at = -1;
    bool menu_opened = false;
    QTimer beat;
    beat.setInterval(kTickMs);
    beat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&beat, &QTimer::timeout, [&] {
      const qint64 now = clock.elapsed();
      worst_late = std::max(worst_late, now - last - kTickMs);
      last = now;
      if (ended_at < 0 && Column(pane, column).size() >= lines.size())
        ended_at = now;
      if (!menu_opened && now > 1000) {
        QTest::keyClick(w->menuBar(), Qt::Key_H, Qt::AltModifier);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        menu_opened = menu != nullptr && menu->title() == "&Help";
        if (menu != nullptr)
          menu->close();
      }
    });
    clock.start();
    beat.start();
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(!button->isEnabled());
    QCOMPARE(busy->cursor().shape(), Qt::WaitCursor);
    QVERIFY(QGuiApplication::overrideCursor() == nullptr);  // the rest of the window as ever

    QTRY_VERIFY_WITH_TIMEOUT(button->isEnabled(), 10000);
    QTRY_COMPARE(Column(pane, column).size(), lines.size());
    if (ended_at < 0)  // the end came between two ticks, just before the wait above saw it
      ended_at = clock.elapsed();
    QVERIFY2(ended_at >= min_ms, qPrintable(QString::number(ended_at)));
    QVERIFY2(worst_late <= kMaxLateMs, qPrintable(QString::number(worst_late)));
    QVERIFY(menu_opened);
    QCOMPARE(Column(pane, column), lines);
    QCOMPARE(busy->cursor().shape(), Qt::ArrowCursor);
  }

  sondara_test::TempFolder dir;
  app::CSondaraUtilityApp sondara{dir / "sondara.ini", dir / "profile.ini"};
  std::unique_ptr<app::CMainWnd> w;
};

class RequestResponsivenessTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    app::SetMessageBoxHook([](const QString& text, app::MessageIcon) {
      QFAIL(qPrintable("unexpected message box: " + text));
    });
  }

  void GetToASilentAgent() {
    testing_support::FakeAgent agent = SilentAgent();
    Window win(2000, 1);
    QWidget* page = win.Show("getButton");
    win.TypeGet(agent.Port());
    auto* value = win.w->findChild<QLineEdit*>("getValue");
    QTimer::singleShot(0, [&] {                        // while the Get waits
      QVERIFY(!win.Button("setButton")->isEnabled());  // it would take the next request id
      QCOMPARE(value->text(), QString());
    });
    win.Watch(win.Button("getButton"), page, win.w->EventView(), 2,
              {"Get request failed for OID '.1.3.6.1.2.1.1.5.0'. Reason: 'Timed out while "
               "waiting for response from remote host'."},
              3900);  // two 2 s waits
    QCOMPARE(value->text(), kFailed);
    QCOMPARE(agent.Received().size(), 2U);
    QVERIFY(win.Button("setButton")->isEnabled());
  }

  void PingToASilentAddress() {
    if (!g_no_netns.empty())
      QSKIP(g_no_netns.c_str());
    Window win(2000, 1);  // the toolbar has its own: 1000 ms, one retry
    win.Type("pingHost", "198.18.0.2");
    win.Watch(win.w->PingView()->PingButton(), win.w->PingView(), win.w->TransactionView(), 3,
              {"Ping command sent to IP 198.18.0.2.", "Reply from 198.18.0.2 not received."}, 1900);
  }

  void TrapToANameThatDoesNotResolve() {
    net::SetHostLookupForTesting(&SlowFailingLookup);
    Window win(2000, 1);
    QWidget* page = win.Show("sendTrapButton");
    win.Type("sendTrapHost", "nosuchmanager");
    win.Watch(win.Button("sendTrapButton"), page, win.w->EventView(), 2,
              {"Trap request failed. Reason: 'Unable to resolve IPv4 host 'nosuchmanager''."},
              1400);
    net::SetHostLookupForTesting(nullptr);
  }

  // Leaving the page, then closing the window, while a Get waits: each waits for the Get and
  // shows its end before it goes on, so the failure and the histories are never lost.
  void LeavingAndClosingWaitForTheRequest() {
    testing_support::FakeAgent agent = SilentAgent();
    Window win(300, 0);
    win.Show("getButton");
    win.TypeGet(agent.Port());
    QTest::mouseClick(win.Button("getButton"), Qt::LeftButton);
    win.w->PropertySheetView()->Sheet()->setCurrentIndex(0);  // returns once the Get is back
    QCOMPARE(win.w->findChild<QLineEdit*>("getValue")->text(), kFailed);
    QVERIFY(win.Button("getButton")->isEnabled());

    win.Show("getButton");
    QTest::mouseClick(win.Button("getButton"), Qt::LeftButton);
    win.w->close();
    QCOMPARE(win.w->findChild<QLineEdit*>("getValue")->text(), kFailed);
    QCOMPARE(agent.Received().size(), 2U);
    QTRY_COMPARE(Column(win.w->EventView(), 2).size(), 2);
  }
};

}  // namespace

// The namespace is entered before Qt starts any thread: 198.18.0.2 stays silent there.
int main(int argc, char** argv) {
  if (testing_support::EnterPrivateNetns(g_no_netns) == 0 && !net::LoadIcmp())
    g_no_netns = "ICMP not available in the namespace";
  net::LoadIcmp();
  QApplication app(argc, argv);
  RequestResponsivenessTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "request_responsiveness_test.moc"
