// sweep: the Device Discovery operation on this thread; Ctrl+C stops it as the page's St&op
// does. A sequential sweep prints each device as it answers; a fast one finds names out of
// order, so its devices wait and are printed in address order before the line that ends it.
#include <algorithm>
#include <mutex>
#include <vector>

#include "cli/commands.h"
#include "net/icmp_echo.h"
#include "ops/device_discovery_operation.h"
#include "util/string_table.h"

namespace cli {

namespace {

class CSweepOutput : public logs::IEventLineSink {
 public:
  CSweepOutput(CliContext& context, bool hold) : context_(context), lines_(context), hold_(hold) {}

  // Any thread: the sweep's, or a lookup thread of the fast sweep.
  void Found(const pages::CDeviceInfo& device) {
    std::lock_guard lock(mutex_);
    if (hold_) {
      held_.push_back(device);
    } else {
      // Devices come seconds apart: each shows at once, also through a pipe.
      context_.progress.Clear();  // stdout may share the terminal
      context_.printer.PrintDevice(device.ip, device.description);
      context_.out.flush();
    }
  }

  void AddEventLine(const std::wstring& line) override {
    {
      std::lock_guard lock(mutex_);
      context_.progress.Clear();
      std::sort(held_.begin(), held_.end(),
                [](const auto& a, const auto& b) { return a.address < b.address; });
      for (const pages::CDeviceInfo& device : held_)
        context_.printer.PrintDevice(device.ip, device.description);
      held_.clear();
    }
    lines_.AddEventLine(line);
  }

 private:
  CliContext& context_;
  CCliEventLines lines_;
  const bool hold_;
  std::mutex mutex_;
  std::vector<pages::CDeviceInfo> held_;
};

}  // namespace

int RunSweep(CliContext& context) {
  if (!net::LoadIcmp()) {
    context.Error(tvkutil::LoadString(tvkutil::ids::kIcmpUnavailable));
    return kExitFailure;
  }
  const CommandLine& line = context.line;
  CSweepOutput output(context, line.fast);
  pages::CDeviceDiscoveryOperation discovery(app::DiscoverySettings{}, output,
                                             context.transactions);
  discovery.Form() = {line.start_ip, line.end_ip};
  pages::SweepSettings settings;
  settings.timeout_ms = context.udp.request_timeout_ms;
  settings.retries = context.udp.retries;
  settings.fast = line.fast;
  settings.found = [&output](const pages::CDeviceInfo& device) { output.Found(device); };
  settings.progress = [&context](const pages::ProgressSnapshot& progress) {
    context.progress.Show(pages::SweepProgressLine(progress));
  };

  CCliOperationUi ui(context);
  if (!discovery.Run(settings, ui, context.stop))
    return ui.Refused() ? kExitUsage : kExitFailure;
  return discovery.LastStatus() == pages::SweepStatus::kStopped ? kExitStopped : kExitDone;
}

}  // namespace cli
