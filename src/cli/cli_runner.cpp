#include "cli/cli_runner.h"

#include <unistd.h>

#include <csignal>
#include <optional>
#include <string_view>

#include "cli/commands.h"
#include "cli/interrupt_stop.h"
#include "net/adapter_table.h"
#include "ops/operation_common.h"
#include "settings/sondara_utility_app.h"
#include "util/app_folders.h"
#include "util/text.h"

namespace cli {

namespace {

struct CommandRun {
  std::string_view name;
  int (*run)(CliContext&);
  bool stoppable;  // Ctrl+C requests the context's stop instead of ending the process
};

constexpr CommandRun kRuns[] = {
    {"get", RunGet, true},     {"getnext", RunGetNext, true}, {"set", RunSet, true},
    {"walk", RunWalk, true},   {"trap", RunTrap, false},      {"ping", RunPing, true},
    {"sweep", RunSweep, true}, {"mib", RunMib, false}, {"listen", RunListen, true},
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

// The output files' temporary twins, for a signal that ends a command which cannot stop early
// (the handler may only use what is already in memory).
char g_temp_paths[2][4096] = {};

void RemoveTempFilesAndEnd(int sig) {
  for (const char* path : g_temp_paths) {
    if (path[0] != '\0')
      ::unlink(path);
  }
  ::signal(sig, SIG_DFL);
  ::raise(sig);
}

// Until the command has ended, Ctrl+C or SIGTERM leave the old files as they were and no
// temporary ones behind.
class CTempFilesOnSignal {
 public:
  explicit CTempFilesOnSignal(const CCliTransactionLog& files) {
    const std::string paths[2] = {files.LogTempPath(), files.PcapngTempPath()};
    for (int i = 0; i < 2; ++i)
      paths[i].copy(g_temp_paths[i], sizeof g_temp_paths[i] - 1);
    old_int_ = ::signal(SIGINT, RemoveTempFilesAndEnd);
    old_term_ = ::signal(SIGTERM, RemoveTempFilesAndEnd);
  }
  ~CTempFilesOnSignal() {
    ::signal(SIGINT, old_int_);
    ::signal(SIGTERM, old_term_);
  }
  CTempFilesOnSignal(const CTempFilesOnSignal&) = delete;
  CTempFilesOnSignal& operator=(const CTempFilesOnSignal&) = delete;

 private:
  sighandler_t old_int_;
  sighandler_t old_term_;
};

}  // namespace

int RunCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
           bool err_terminal) {
  ParseResult parsed = ParseCommandLine(args);
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
  if (const std::string refused =
          FillPasswords(parsed.line, ::isatty(STDIN_FILENO) != 0 ? AskPasswordOnTerminal : nullptr);
      !refused.empty()) {
    err << "sondara-cli: " << refused << "\n";
    return kExitUsage;
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
  CResultPrinter printer(out, line.format, !line.numeric);
  std::stop_source stop;
  CProgressLine progress(err, err_terminal);
  CliContext context{line, RequestSettings(line), transactions, printer, out,
                     err,  stop.get_token(),      progress};
  int status = kExitDone;
  {
    std::optional<CTempFilesOnSignal> on_signal;
    std::optional<CInterruptStop> interrupt;
    if (command->stoppable)
      interrupt.emplace(stop);
    else
      on_signal.emplace(transactions);
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

void CProgressLine::Show(const std::wstring& line) {
  if (!terminal_)
    return;
  const auto now = std::chrono::steady_clock::now();
  std::lock_guard lock(mutex_);
  if (shown_ && now - last_ < std::chrono::milliseconds(250))
    return;
  last_ = now;
  shown_ = true;
  // Back to the line's start, the new text, the rest of the old one erased.
  err_ << '\r' << TerminalText(line) << "\x1b[K" << std::flush;
}

void CProgressLine::Clear() {
  std::lock_guard lock(mutex_);
  if (!shown_)
    return;
  shown_ = false;
  err_ << "\r\x1b[K" << std::flush;
}

void CliContext::Error(const std::wstring& text) const {
  progress.Clear();
  out.flush();  // what was found comes before the line that ends it
  err << "sondara-cli: " << TerminalText(text) << "\n";  // lines may quote what a device sent
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
