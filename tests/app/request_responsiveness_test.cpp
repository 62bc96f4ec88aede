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
#include <functional>
#include <thread>

#include "app/main_wnd.h"
#include "app/message_box_dialog.h"
#include "app/property_sheet_view.h"
#include "app/sondara_utility_app.h"
#include "logs/event_log_view.h"
#include "logs/transaction_log_view.h"
#include "net/address.h"
#include "net/icmp_echo.h"
#include "pages/get_set_page.h"
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

// A 50 ms timer that notes its worst lateness, and at each tick asks `check` whether what the
// window shows is right so far.
class Ticks {
 public:
  explicit Ticks(std::function<void(qint64 elapsed_ms)> check) : check_(std::move(check)) {
    timer_.setInterval(kTickMs);
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      const qint64 now = clock_.elapsed();
      worst_late_ = std::max(worst_late_, now - last_ - kTickMs);
      last_ = now;
      ++count_;
      check_(now);
    });
    clock_.start();
    timer_.start();
  }
  qint64 WorstLateMs() const { return worst_late_; }
  qint64 ElapsedMs() const { return clock_.elapsed(); }
  int Count() const { return count_; }

 private:
  std::function<void(qint64)> check_;
  QTimer timer_;
  QElapsedTimer clock_;
  qint64 last_ = 0;
  qint64 worst_late_ = 0;
  int count_ = 0;
};

// A lookup that takes a while and finds nothing, whatever the machine's name servers say.
int SlowFailingLookup(const char*, const char*, const addrinfo*, addrinfo**) {
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  return EAI_NONAME;
}

struct Window {
  explicit Window(int timeout_ms, int retries) {
    sondara.Network().request_timeout_ms = timeout_ms;
    sondara.Network().retries = retries;
    w = std::make_unique<app::CMainWnd>(sondara);
    w->show();
    QApplication::setActiveWindow(w.get());
  }
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
    auto* edit = combo != nullptr ? combo->lineEdit() : qobject_cast<QLineEdit*>(field);
    edit->setText(text);
  }
  QPushButton* Button(const char* name) { return w->findChild<QPushButton*>(name); }

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
    testing_support::FakeAgent agent(
        [](const auto&, int) { return std::vector<testing_support::FakeAgent::Reply>{}; });
    Window win(2000, 1);
    QWidget* page = win.Show("getButton");
    win.Type("getSetHost", "127.0.0.1");
    win.Type("getSetPort", QString::number(agent.Port()));
    win.Type("getOid", ".1.3.6.1.2.1.1.1.0");
    win.Type("getCommunity", "public");
    auto* value = win.w->findChild<QLineEdit*>("getValue");
    logs::CEventLogView* events = win.w->EventView();

    bool menu_opened = false;
    qint64 failed_at = -1;
    Ticks ticks([&](qint64 now) {
      if (failed_at < 0 && (value->text() == kFailed || !Column(events, 2).isEmpty()))
        failed_at = now;
      if (!menu_opened && now > 1000) {
        // The menus work while the Get waits.
        QTest::keyClick(win.w->menuBar(), Qt::Key_H, Qt::AltModifier);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        menu_opened = menu != nullptr && menu->title() == "&Help";
        if (menu != nullptr)
          menu->close();
      }
    });
    QTest::mouseClick(win.Button("getButton"), Qt::LeftButton);
    QVERIFY(!win.Button("getButton")->isEnabled());
    QVERIFY(!win.Button("setButton")->isEnabled());  // it would take the next request id
    QCOMPARE(page->cursor().shape(), Qt::WaitCursor);
    QVERIFY(QGuiApplication::overrideCursor() == nullptr);  // the rest of the window as ever
    QCOMPARE(value->text(), QString());

    QTRY_VERIFY_WITH_TIMEOUT(win.Button("getButton")->isEnabled(), 10000);
    QTRY_COMPARE(Column(events, 2).size(), 1);
    if (failed_at < 0)
      failed_at = ticks.ElapsedMs();
    QVERIFY2(failed_at >= 3900, qPrintable(QString::number(failed_at)));  // two 2 s waits
    QVERIFY2(ticks.WorstLateMs() <= kMaxLateMs, qPrintable(QString::number(ticks.WorstLateMs())));
    QVERIFY(menu_opened);
    QCOMPARE(value->text(), kFailed);
    QCOMPARE(Column(events, 2),
             QStringList{"Get request failed for OID '.1.3.6.1.2.1.1.1.0'. Reason: 'Timed out "
                         "while waiting for response from remote host'."});
    QCOMPARE(agent.Received().size(), 2U);
    QVERIFY(win.Button("setButton")->isEnabled());
    QCOMPARE(page->cursor().shape(), Qt::ArrowCursor);
  }

  void PingToASilentAddress() {
    if (!g_no_netns.empty())
      QSKIP(g_no_netns.c_str());
    Window win(2000, 1);  // the toolbar has its own: 1000 ms, one retry
    logs::CTransactionLogView* log = win.w->TransactionView();
    const QString no_reply = QStringLiteral("Reply from 198.18.0.2 not received.");
    qint64 failed_at = -1;
    Ticks ticks([&](qint64 now) {
      if (failed_at < 0 && Column(log, 3).contains(no_reply))
        failed_at = now;
    });
    win.Type("pingHost", "198.18.0.2");
    QTest::mouseClick(win.w->PingView()->PingButton(), Qt::LeftButton);
    QVERIFY(!win.w->PingView()->PingButton()->isEnabled());
    QCOMPARE(win.w->PingView()->cursor().shape(), Qt::WaitCursor);
    QVERIFY(QGuiApplication::overrideCursor() == nullptr);

    QTRY_VERIFY_WITH_TIMEOUT(win.w->PingView()->PingButton()->isEnabled(), 10000);
    QTRY_COMPARE(Column(log, 3).size(), 2);
    if (failed_at < 0)  // the line came between two ticks, just before the wait above saw it
      failed_at = ticks.ElapsedMs();
    QVERIFY2(failed_at >= 1900, qPrintable(QString::number(failed_at)));
    QVERIFY2(ticks.WorstLateMs() <= kMaxLateMs, qPrintable(QString::number(ticks.WorstLateMs())));
    QCOMPARE(Column(log, 3), (QStringList{"Ping command sent to IP 198.18.0.2.", no_reply}));
  }

  void TrapToANameThatDoesNotResolve() {
    net::SetHostLookupForTesting(&SlowFailingLookup);
    Window win(2000, 1);
    QWidget* page = win.Show("sendTrapButton");
    win.Type("sendTrapHost", "nosuchmanager");
    logs::CEventLogView* events = win.w->EventView();
    qint64 failed_at = -1;
    Ticks ticks([&](qint64 now) {
      if (failed_at < 0 && !Column(events, 2).isEmpty())
        failed_at = now;
    });
    QTest::mouseClick(win.Button("sendTrapButton"), Qt::LeftButton);
    QVERIFY(!win.Button("sendTrapButton")->isEnabled());
    QCOMPARE(page->cursor().shape(), Qt::WaitCursor);

    QTRY_VERIFY_WITH_TIMEOUT(win.Button("sendTrapButton")->isEnabled(), 10000);
    net::SetHostLookupForTesting(nullptr);
    QTRY_COMPARE(Column(events, 2).size(), 1);
    if (failed_at < 0)
      failed_at = ticks.ElapsedMs();
    QVERIFY2(failed_at >= 1400, qPrintable(QString::number(failed_at)));
    QVERIFY2(ticks.WorstLateMs() <= kMaxLateMs, qPrintable(QString::number(ticks.WorstLateMs())));
    QCOMPARE(Column(events, 2), QStringList{"Trap request failed. Reason: 'Unable to resolve "
                                            "IPv4 host 'nosuchmanager''."});
  }

  // Leaving the page, then closing the window, while a Get waits: each waits for the Get and
  // shows its end before it goes on, so the failure and the histories are never lost.
  void LeavingAndClosingWaitForTheRequest() {
    testing_support::FakeAgent agent(
        [](const auto&, int) { return std::vector<testing_support::FakeAgent::Reply>{}; });
    Window win(300, 0);
    QTabWidget* sheet = win.w->PropertySheetView()->Sheet();
    win.Show("getButton");
    win.Type("getSetHost", "127.0.0.1");
    win.Type("getSetPort", QString::number(agent.Port()));
    win.Type("getOid", ".1.3.6.1.2.1.1.5.0");
    win.Type("getCommunity", "public");
    QTest::mouseClick(win.Button("getButton"), Qt::LeftButton);
    sheet->setCurrentIndex(0);  // returns once the Get is back
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
