// One device discovery sweep from the shell, through the same operation the page runs:
//   sweep_bench START END [--fast] [--timeout MS] [--retries N]
// prints "address<TAB>name" for each device found, in the list's order, then "devices N".
// Timing is left to the caller (bench/sweep_bench.sh compares it with fping).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "net/icmp_echo.h"
#include "ops/device_discovery_operation.h"
#include "util/text.h"

namespace {

struct PrintingUi : app::IOperationUi {
  void ShowMessage(const std::wstring& text, app::MessageIcon, int) override {
    std::fprintf(stderr, "%s\n", tvkutil::ToUtf8(text).c_str());
  }
  bool AskYesNo(const std::wstring&, int) override { return true; }
};

struct NoEvents : logs::IEventLineSink {
  void AddEventLine(const std::wstring&) override {}
};

int Usage() {
  std::fprintf(stderr, "usage: sweep_bench START END [--fast] [--timeout MS] [--retries N]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3)
    return Usage();
  pages::SweepSettings settings;
  for (int i = 3; i < argc; ++i) {
    const bool has_value = i + 1 < argc;
    if (std::strcmp(argv[i], "--fast") == 0) {
      settings.fast = true;
    } else if (std::strcmp(argv[i], "--timeout") == 0 && has_value) {
      settings.timeout_ms = std::atoi(argv[++i]);
    } else if (std::strcmp(argv[i], "--retries") == 0 && has_value) {
      settings.retries = std::atoi(argv[++i]);
    } else {
      return Usage();
    }
  }
  if (!net::LoadIcmp()) {
    std::fprintf(stderr, "no ICMP socket: needs CAP_NET_RAW or ping_group_range\n");
    return 1;
  }
  NoEvents events;
  pages::CDeviceDiscoveryOperation sweep({}, events);
  sweep.Form() = {tvkutil::FromUtf8Lenient(argv[1]), tvkutil::FromUtf8Lenient(argv[2])};
  PrintingUi ui;
  if (!sweep.Begin(settings, ui))
    return 2;
  sweep.Join();  // waits for the sweep's thread to end
  const std::size_t count =
      sweep.Devices().WithAll([](const std::vector<pages::CDeviceInfo>& devices) {
        for (const pages::CDeviceInfo& d : devices) {
          std::printf("%s\t%s\n", tvkutil::ToUtf8(d.ip).c_str(),
                      tvkutil::ToUtf8(d.description).c_str());
        }
        return devices.size();
      });
  std::printf("devices %zu\n", count);
  return 0;
}
