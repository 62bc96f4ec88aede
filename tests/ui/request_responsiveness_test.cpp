// Requests that wait on the network leave the window working, and a sweep lists what it finds
// at the page's ticks. Ping and sweep need the private network namespace made in main().
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <chrono>
#include <thread>

#include "net/address.h"
#include "net/icmp_echo.h"
#include "settings/sondara_utility_app.h"
#include "support/fake_agent.h"
#include "support/private_netns.h"
#include "support/temp_folder.h"
#include "ui/logs/event_log_view.h"
#include "ui/logs/transaction_log_view.h"
#include "ui/main_wnd.h"
#include "ui/message_box_dialog.h"
#include "ui/pages/device_discovery_page.h"
#include "ui/pages/ping_view.h"
#include "ui/property_sheet_view.h"
#include "ui/save_file_dialog.h"

namespace {

std::string g_no_netns;  // why the namespace could not be made, empty when it was

constexpr int kTickMs = 50;
// Below the shortest wait watched (1.4 s), above what a busy machine delays a timer by.
constexpr int kMaxLateMs = 500;
const QString kFailed = QStringLiteral("<Failed: See Event Log>");

// The texts of one column of a log pane.
QStringList Column(const logs::CLogTableView* view, int column) {
  const QAbstractItemModel* model = view->Table()->model();
  QStringList texts;
  for (int row = 0; row < model->rowCount(); ++row)
    texts << model->data(model->index(row, column)).toString();
  return texts;
}

// Each row of a table as its cells joined by spaces.
QStringList Rows(const QTableView* table) {
  QStringList rows;
  const QAbstractItemModel* m = table->model();
  for (int r = 0; r < m->rowCount(); ++r) {
    QStringList cells;
    for (int c = 0; c < m->columnCount(); ++c)
      cells << m->index(r, c).data().toString();
    rows << cells.join(' ');
  }
  return rows;
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

  // Clicks `button`; while its request waits (at least `min_ms`) the timer keeps time, the Help
  // menu opens, `button` is disabled and the wait cursor shows over `busy` alone; at the end
  // `column` of `pane` reads `lines`, each once.
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

  // A Get for a silent agent (two 2 s tries), a ping for a silent address (the toolbar's own
  // 1000 ms, one retry) and a trap for a name that does not resolve.
  void EveryWaitingRequestRunsOffTheWindowsThread() {
    testing_support::FakeAgent agent = SilentAgent();
    net::SetHostLookupForTesting(&SlowFailingLookup);
    const struct {
      const char* button;  // on a page (its failure in the event log); empty: the ping toolbar
      QStringList lines;
      qint64 min_ms;
    } commands[] = {
        {"getButton",
         {"Get request failed for OID '.1.3.6.1.2.1.1.5.0'. Reason: 'Timed out "
          "while waiting for response from remote host'."},
         3900},
        {"", {"Ping command sent to IP 198.18.0.2.", "Reply from 198.18.0.2 not received."}, 1900},
        {"sendTrapButton",
         {"Trap request failed. Reason: 'Unable to resolve IPv4 host 'nosuchmanager': Name or "
          "service not known'."},
         1400},
    };
    for (const auto& c : commands) {
      const bool toolbar = *c.button == '\0', get = c.button == std::string_view("getButton");
      if (toolbar && !g_no_netns.empty())
        continue;  // said once by the sweep's skip
      Window win(2000, 1);
      win.TypeGet(agent.Port());
      win.Type("pingHost", "198.18.0.2");
      win.Type("sendTrapHost", "nosuchmanager");
      auto* value = win.w->findChild<QLineEdit*>("getValue");
      QTimer::singleShot(0, [&] {                              // while the request waits
        QCOMPARE(win.Button("setButton")->isEnabled(), !get);  // a Set would take the next id
        QCOMPARE(value->text(), QString());
      });
      if (toolbar) {
        win.Watch(win.w->PingView()->PingButton(), win.w->PingView(), win.w->TransactionView(), 3,
                  c.lines, c.min_ms);
        const QAbstractItemModel* events = win.w->EventView()->Table()->model();
        QTRY_VERIFY(
            !events->match(events->index(0, 2), Qt::DisplayRole, "Ping to 198.18.0.2 not answered.")
                 .isEmpty());
      } else {
        win.Watch(win.Button(c.button), win.Show(c.button), win.w->EventView(), 2, c.lines,
                  c.min_ms);
      }
      QCOMPARE(value->text(), get ? kFailed : QString());
      QVERIFY(win.Button("setButton")->isEnabled());
    }
    QCOMPARE(agent.Received().size(), 2U);
    net::SetHostLookupForTesting(nullptr);
  }

  // Leaving the page while a Get waits waits for its end, so the failure and the histories are
  // never lost; closing the window stops it at once.
  void LeavingWaitsForTheRequestAndClosingStopsIt() {
    testing_support::FakeAgent agent = SilentAgent();
    Window win(300, 0);
    win.Show("getButton");
    win.TypeGet(agent.Port());
    QTest::mouseClick(win.Button("getButton"), Qt::LeftButton);
    win.w->PropertySheetView()->Sheet()->setCurrentIndex(0);  // returns once the Get is back
    QCOMPARE(win.w->findChild<QLineEdit*>("getValue")->text(), kFailed);
    QVERIFY(win.Button("getButton")->isEnabled());

    win.sondara.Network().request_timeout_ms = 60000;  // a close that waits it out fails below
    win.Show("getButton");
    QTest::mouseClick(win.Button("getButton"), Qt::LeftButton);
    win.w->close();
    QCOMPARE(win.w->findChild<QLineEdit*>("getValue")->text(), kFailed);
    QCOMPARE(agent.Received().size(), 2U);
    // A stopped Get failed at nothing: no line of its own, also after the next refresh.
    QTRY_COMPARE(Column(win.w->EventView(), 2).size(), 1);
    QTest::qWait(500);
    QCOMPARE(Column(win.w->EventView(), 2).size(), 1);
  }
  // "St&op" on the walk page ends a wait for an answer at once, not after its 15 s time-out.
  void StopOnTheWalkPageEndsTheWait() {
    testing_support::FakeAgent agent = SilentAgent();
    Window win(15000, 0);
    win.Show("walkButton");
    win.Type("walkHost", "127.0.0.1");
    win.Type("walkPort", QString::number(agent.Port()));
    win.Type("walkCommunity", "public");
    QPushButton* walk = win.Button("walkButton");
    QTest::mouseClick(walk, Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(agent.Received().size(), 1U, 10000);
    QCOMPARE(walk->text(), QString("St&op"));
    QElapsedTimer clock;
    clock.start();
    QTest::mouseClick(walk, Qt::LeftButton);  // returns once the walk has ended
    const qint64 took = clock.elapsed();
    QTRY_COMPARE(walk->text(), QString("Begin &Walk"));
    qInfo("the stop took %lld ms", static_cast<long long>(took));
    QVERIFY2(took < 10000, qPrintable(QString::number(took)));
    QTRY_VERIFY(Column(win.w->EventView(), 2).contains("walkMIB stopped. No. of OIDs found: '0'."));
  }
  // The Device Discovery page: rows come while the sweep runs, Stop answers at once, and the
  // page keeps its range and column widths.
  void SweepOnTheDeviceDiscoveryPage() {
    if (!g_no_netns.empty())
      QSKIP(g_no_netns.c_str());
    sondara_test::TempFolder dir;
    app::CSondaraUtilityApp sondara(dir / "sondara.ini", dir / "profile.ini");
    sondara.Network().request_timeout_ms = 100;
    sondara.Network().retries = 0;
    sondara.WriteProfileInt(L"Device Discovery", L"1", 150);
    auto page = std::make_unique<pages::CDeviceDiscoveryPropertyPage>(sondara);
    page->resize(760, 330);
    page->show();
    auto* list = page->findChild<QTableView*>("discoveryList");
    auto* start = page->findChild<QLineEdit*>("startIp");
    auto* begin = page->findChild<QPushButton*>("beginDiscovery");
    auto* save = page->findChild<QPushButton*>("saveResults");
    QCOMPARE(list->horizontalHeader()->sectionSize(1), 150);  // from the profile
    start->setText("198.18.0.1");
    page->findChild<QLineEdit*>("endIp")->setText("198.18.0.40");
    QTest::mouseClick(begin, Qt::LeftButton);
    QCOMPARE(begin->text(), QString("St&op"));
    QVERIFY(!start->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(list->model()->rowCount() > 0, 20000);  // .1 at once, .40 last
    QCOMPARE(begin->text(), QString("St&op"));
    QTRY_COMPARE_WITH_TIMEOUT(begin->text(), QString("Begin &Discovery"), 30000);
    QCOMPARE(Rows(list), QStringList({"1 198.18.0.1 gateway.test", "2 198.18.0.7 printer.test",
                                      "3 198.18.0.12 "}));
    QCOMPARE(page->findChild<QProgressBar*>("sweepProgress")->value(), 100);
    QVERIFY(page->findChild<QLabel*>("sweepProgressLine")
                ->text()
                .startsWith("Swept 40 of 40 addresses (100 %), 3 devices found, "));
    QVERIFY(save->isEnabled() && start->isEnabled());
    app::SetSaveDialog([&](QWidget*, const QString&, const QString&, const QString&) {
      return QString::fromStdString(dir / "found.csv");
    });
    QTest::mouseClick(save, Qt::LeftButton);
    app::SetSaveDialog({});
    QVERIFY(sondara_test::ReadFile(dir / "found.csv").find("\n\"3\",\"198.18.0.12\",\"\",\n") !=
            std::string::npos);

    sondara.Network().request_timeout_ms = 3000;
    sondara.Network().retries = 3;
    start->setText("198.18.0.7");
    QTest::mouseClick(page->findChild<QAbstractButton*>("fastSweep"), Qt::LeftButton);
    QCOMPARE(sondara.GetProfileInt(L"Device Discovery", L"FastSweep", 0), 1);
    QTest::mouseClick(begin, Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(list->model()->rowCount(), 2, 20000);
    // Silent addresses now wait 4 x 3 s each; Stop must not wait for them.
    QTest::mouseClick(begin, Qt::LeftButton);
    QCOMPARE(begin->text(), QString("Begin &Discovery"));
    QCOMPARE(Rows(list), QStringList({"1 198.18.0.7 printer.test", "2 198.18.0.12 "}));
    QVERIFY(save->isEnabled() && start->isEnabled());

    // A width the user sets is kept; the fitted one is fitted again next time.
    QVERIFY(list->horizontalHeader()->sectionSize(0) < 120);
    list->horizontalHeader()->resizeSection(0, 121);
    page.reset();
    QCOMPARE(sondara.GetProfileInt(L"Device Discovery", L"0", 0), 121);
    QCOMPARE(sondara.GetProfileInt(L"Device Discovery", L"1", 0), 150);
    QCOMPARE(sondara.Discovery().start_ip, std::wstring(L"198.18.0.7"));
    QCOMPARE(sondara.Discovery().end_ip, std::wstring(L"198.18.0.40"));
  }
};

}  // namespace

// Entered before Qt starts a thread: .1 (its own), .7 and .12 answer, 198.18.0.2 stays silent.
int main(int argc, char** argv) {
  if (testing_support::EnterPrivateNetns(g_no_netns) == 0) {
    g_no_netns =
        testing_support::UseHostsFile("198.18.0.1 gateway.test\n198.18.0.7 printer.test printer\n");
    if (g_no_netns.empty() &&
        !testing_support::AddAnsweringAddresses({"198.18.0.7", "198.18.0.12"})) {
      g_no_netns = "cannot add the answering addresses";
    }
    if (g_no_netns.empty() && !net::LoadIcmp())
      g_no_netns = "ICMP not available in the namespace";
  }
  net::LoadIcmp();
  sondara_test::TempFolder home;  // the save dialog's default folder lives in the data folder
  ::setenv("SONDARA_HOME", home.Path().c_str(), 1);
  QApplication app(argc, argv);
  RequestResponsivenessTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "request_responsiveness_test.moc"
