// Start-up and shut-down of the program: settings are loaded before the window exists and both
// stores are written back after it has closed.
#include <clocale>
#include <cstdio>

#ifdef SONDARA_WITH_GUI
#include <QApplication>
#include <QIcon>

#include "app/main_wnd.h"
#include "app/sondara_utility_app.h"
#include "net/icmp_echo.h"

int main(int argc, char* argv[]) {
  QApplication qt_app(argc, argv);
  // Dates and times in the logs follow the user's locale.
  std::setlocale(LC_ALL, "");
  QApplication::setApplicationName(QStringLiteral("Sondara Utility"));
  QApplication::setOrganizationName(QStringLiteral("Tarvik Technologies"));
  QApplication::setApplicationVersion(
      QString::fromStdWString(app::CSondaraUtilityApp::VersionText()));

  app::CSondaraUtilityApp app;
  // Without ICMP the run goes on; the ping toolbar tells the user and pings do nothing.
  app.SetIcmpAvailable(net::LoadIcmp());
  app.RecordStartTime();
  app.LoadNetworkSettings();
  app.LoadPageSettings();

  int code = 0;
  {
    app::CMainWnd window(app);
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
