// Start-up and shut-down of the program: settings are loaded before the window exists and both
// stores are written back after it has closed.
#include <clocale>
#include <cstdio>

#ifdef SONDARA_WITH_GUI
#include <sys/socket.h>
#include <unistd.h>

#include <QApplication>
#include <QIcon>
#include <QSocketNotifier>
#include <csignal>

#include "net/icmp_echo.h"
#include "settings/sondara_utility_app.h"
#include "ui/main_wnd.h"
#include "ui/secret_service_store.h"

namespace {

// SIGTERM (log-out, kill), SIGINT and SIGHUP close the window the ordinary way, so the settings
// are written as on File > Exit. The handler only writes a byte; the window's thread does the
// rest.
int g_signal_pipe[2] = {-1, -1};

void OnQuitSignal(int) {
  const char byte = 1;
  [[maybe_unused]] const auto written = ::write(g_signal_pipe[0], &byte, 1);
}

void CloseOnQuitSignals(QObject* owner) {
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_signal_pipe) != 0)
    return;
  auto* notifier = new QSocketNotifier(g_signal_pipe[1], QSocketNotifier::Read, owner);
  QObject::connect(notifier, &QSocketNotifier::activated, owner, [] {
    char byte = 0;
    [[maybe_unused]] const auto got = ::read(g_signal_pipe[1], &byte, 1);
    QApplication::closeAllWindows();
  });
  struct sigaction action {};
  action.sa_handler = OnQuitSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (int sig : {SIGTERM, SIGINT, SIGHUP})
    ::sigaction(sig, &action, nullptr);
}

}  // namespace

int main(int argc, char* argv[]) {
  QApplication qt_app(argc, argv);
  // Dates and times in the logs follow the user's locale.
  std::setlocale(LC_ALL, "");
  QApplication::setApplicationName(QStringLiteral("Sondara Utility"));
  QApplication::setOrganizationName(QStringLiteral("Tarvik Technologies"));
  QApplication::setApplicationVersion(
      QString::fromStdWString(app::CSondaraUtilityApp::VersionText()));

  app::CSondaraUtilityApp app;
  app::CSecretServiceStore keyring;
  app.SetSecretStore(&keyring);
  // Without ICMP the run goes on; the ping toolbar tells the user and pings do nothing.
  app.SetIcmpAvailable(net::LoadIcmp());
  app.RecordStartTime();
  app.LoadNetworkSettings();
  app.LoadPageSettings();

  int code = 0;
  {
    app::CMainWnd window(app);
    CloseOnQuitSignals(&window);
    window.show();
    code = QApplication::exec();
  }  // the window writes its page switches as it goes

  app.SavePageSettings();
  app.SaveNetworkSettings();
  net::UnloadIcmp();
  return code;
}

#else

int main() {
#ifdef SONDARA_DEBUG_BUILD
  std::printf("Sondara Utility %s (Debug)\n", SONDARA_VERSION);
#else
  std::printf("Sondara Utility %s\n", SONDARA_VERSION);
#endif
  return 0;
}

#endif
