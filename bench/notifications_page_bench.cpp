// The Notifications page in the main window (offscreen) under a flood from trap_flood.py: the
// notifications it lists and the kernel dropped, the receiving rate, and the longest the
// window's thread went without running its events (what a user would feel as a freeze).
// Usage: notifications_page_bench TRAP_FLOOD_PY [COUNT] [RATE ...]  (rate 0: as fast as it goes)
#include <unistd.h>
#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QPushButton>
#include <QTimer>
#include <cstdio>
#include <filesystem>

#include "settings/page_set.h"
#include "settings/sondara_utility_app.h"
#include "ui/main_wnd.h"
#include "ui/numeric_edit.h"
#include "ui/pages/notifications_page.h"
#include "ui/property_sheet_view.h"
#include "ui/results_table_view.h"

namespace {

// Runs the event loop until `done` or `ms` pass; the longest gap between 5 ms ticks into `stall`.
void Spin(const std::function<bool()>& done, int ms, qint64& stall) {
  QElapsedTimer clock, gap;
  clock.start();
  gap.start();
  QTimer tick;
  tick.setInterval(5);
  QObject::connect(&tick, &QTimer::timeout, [&] { stall = std::max(stall, gap.restart()); });
  tick.start();
  while (!done() && clock.elapsed() < ms)
    QApplication::processEvents(QEventLoop::AllEvents, 20);
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication qt(argc, argv);
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s TRAP_FLOOD_PY [COUNT] [RATE ...]\n", argv[0]);
    return 2;
  }
  const QString flood = QString::fromLocal8Bit(argv[1]);
  const int count = argc > 2 ? std::atoi(argv[2]) : 50000;
  std::vector<int> rates;
  for (int i = 3; i < argc; ++i)
    rates.push_back(std::atoi(argv[i]));
  if (rates.empty())
    rates = {5000, 10000, 0};
  const std::filesystem::path home =
      std::filesystem::temp_directory_path() / ("sondara-bench-" + std::to_string(::getpid()));
  std::filesystem::create_directories(home);
  std::printf("%8s %8s %9s %8s %8s %10s %9s\n", "rate/s", "sent", "received", "dropped", "listed",
              "received/s", "stall ms");
  for (const int rate : rates) {
    app::CSondaraUtilityApp sondara((home / "sondara.ini").string(),
                                    (home / "profile.ini").string());
    sondara.WriteProfileInt(L"FunctionalityEnable Settings", L"EnableNotifications", 1);
    app::CMainWnd w(sondara);
    w.show();
    auto* page = static_cast<pages::CNotificationsPropertyPage*>(
        w.PropertySheetView()->Page(app::kPageNotifications));
    w.PropertySheetView()->Sheet()->setCurrentWidget(page);
    // A port nobody held a moment ago (the page takes 1 to 65535).
    QProcess probe;
    probe.start("python3", {"-c",
                            "import socket; s=socket.socket(socket.AF_INET, "
                            "socket.SOCK_DGRAM); s.bind(('127.0.0.1', 0)); "
                            "print(s.getsockname()[1])"});
    probe.waitForFinished();
    const QString port = QString::fromLatin1(probe.readAllStandardOutput()).trimmed();
    page->findChild<tvkutil::CNumericEdit*>("notificationsPort")->SetText(port);
    page->OnListen();
    const pages::CNotificationListenOperation& op = page->Operation();
    QProcess sender;
    sender.start("python3",
                 {flood, "127.0.0.1", port, QString::number(count), QString::number(rate)});
    qint64 stall = 0;
    QElapsedTimer clock;
    clock.start();
    Spin([&] { return sender.state() == QProcess::NotRunning; }, 120000, stall);
    const QStringList said = QString::fromLatin1(sender.readAllStandardOutput()).split(' ');
    const std::uint64_t sent = said.value(0).toULongLong();
    // Then until every datagram is either listed or counted as dropped, or 20 s more.
    Spin([&] { return op.Received() + op.KernelDrops() >= sent; }, 20000, stall);
    const double seconds = static_cast<double>(clock.elapsed()) / 1000.0;
    Spin([] { return false; }, 400, stall);  // the last tick's rows
    page->OnListen();                        // stop
    std::printf(
        "%8s %8llu %9llu %8llu %8d %10.0f %9lld\n",
        rate == 0 ? "max" : std::to_string(rate).c_str(), static_cast<unsigned long long>(sent),
        static_cast<unsigned long long>(op.Received()),
        static_cast<unsigned long long>(op.KernelDrops()), page->List()->Model()->rowCount({}),
        static_cast<double>(op.Received()) / seconds, static_cast<long long>(stall));
  }
  std::filesystem::remove_all(home);
  return 0;
}
