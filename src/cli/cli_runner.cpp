#include "cli/cli_runner.h"

#include <optional>
#include <string_view>

#include "app/sondara_utility_app.h"
#include "cli/commands.h"
#include "cli/interrupt_stop.h"
#include "net/adapter_table.h"
#include "pages/operation_common.h"
#include "util/app_folders.h"
#include "util/text.h"

namespace cli {

namespace {

struct CommandRun {
  std::string_view name;
  int (*run)(CliContext&);
  bool stoppable;  // Ctrl+C raises the context's stop event instead of ending the process
};

constexpr CommandRun kRuns[] = {
    {"get", RunGet, false},    {"getnext", RunGetNext, false}, {"set", RunSet, false},
    {"walk", RunWalk, true},   {"trap", RunTrap, false},       {"ping", RunPing, false},
    {"sweep", RunSweep, true},
};

// The network settings of the program's profile (read only: the command line never changes
// them), then the command line's choices over them.
net::UdpSettings RequestSettings(const CommandLine& line) {
  const tvkutil::AppFolders folders = tvkutil::ComputeAppFolders();  // creates nothing
  app::CSondaraUtilityApp settings(folders.settings_file, folders.profile_file);
  settings.LoadNetworkSettings();
  net::UdpSettings udp = pages::UdpSettingsFrom(settings.Network());
  if (udp.use_ipv6 != line.ipv6) {
    // The adapter chosen in the Options, as a record of the family asked for.
    udp.use_ipv6 = line.ipv6;
    udp.adapter = net::CAdapterTable::Instance().Lookup(settings.Network().adapter_name, line.ipv6);
  }
  if (line.timeout_ms)
    udp.request_timeout_ms = *line.timeout_ms;
  if (line.retries)
    udp.retries = *line.retries;
  return udp;
}

}  // namespace

int RunCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  const ParseResult parsed = ParseCommandLine(args);
  if (!parsed.error.empty()) {
    err << "sondara-cli: " << parsed.error << "\n";
    return kExitUsage;
  }
  const CommandLine& line = parsed.line;
  if (line.help) {
    out << (line.command.empty() ? ProgramHelp() : CommandHelp(line.command));
    return kExitDone;
  }
  if (line.show_version) {
    out << "sondara-cli " << tvkutil::ToUtf8(app::CSondaraUtilityApp::VersionText()) << "\n";
    return kExitDone;
  }

  const CommandRun* command = nullptr;
  for (const CommandRun& c : kRuns) {
    if (c.name == line.command)
      command = &c;
  }
  if (command == nullptr) {
    err << "sondara-cli: " << line.command << " has no implementation\n";
    return kExitFailure;
  }

  CCliTransactionLog transactions(line.log_path, line.pcapng_path);
  // The output files are made before anything is sent: a walk of an hour must not find out
  // at its end that its log has nowhere to go.
  if (const std::string failed = transactions.Open(); !failed.empty()) {
    err << "sondara-cli: unable to write " << failed << "\n";
    return kExitFailure;  // as for any other failure before sending
  }
  CResultPrinter printer(out, line.format);
  tvkutil::CEvent stop(true);
  CliContext context{line, RequestSettings(line), transactions, printer, out, err, stop};
  int status = kExitDone;
  {
    std::optional<CInterruptStop> interrupt;
    if (command->stoppable)
      interrupt.emplace(stop);
    status = command->run(context);
  }
  out.flush();
  if (const std::string failed = transactions.Close(); !failed.empty()) {
    err << "sondara-cli: unable to write " << failed << "\n";
    if (status == kExitDone)
      status = kExitFailure;
  }
  return status;
}

void CliContext::Error(const std::wstring& text) const {
  out.flush();  // what was found comes before the line that ends it
  err << "sondara-cli: " << tvkutil::ToUtf8(text) << "\n";
}

void CCliEventLines::AddEventLine(const std::wstring& line) {
  std::lock_guard lock(mutex_);
  context_.Error(line);
}

void CCliOperationUi::ShowMessage(const std::wstring& text, app::MessageIcon, int) {
  refused_ = true;
  context_.Error(text);
}

}  // namespace cli
