// Until the main window exists, the program only says who it is.
#include <cstdio>

int main() {
#ifdef SONDARA_DEBUG_BUILD
  std::printf("Sondara Utility %s (Debug)\n", SONDARA_VERSION);
#else
  std::printf("Sondara Utility %s\n", SONDARA_VERSION);
#endif
  return 0;
}
