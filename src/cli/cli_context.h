// What every command of sondara-cli runs with: its checked command line, the request settings,
// the transaction log, the printer for its results, the error stream and the stop that
// Ctrl+C requests. A command is one function over this context that returns its exit status.
#pragma once

#include <chrono>
#include <mutex>
#include <ostream>
#include <stop_token>
#include <string>

#include "cli/cli_transaction_log.h"
#include "cli/command_line.h"
#include "cli/exit_status.h"
#include "cli/result_printer.h"
#include "logs/event_line_sink.h"
#include "net/udp_session.h"
#include "ops/operation_ui.h"

namespace cli {

// A walk's or sweep's progress as one line on a terminal's standard error, written over in
// place ("\r") at most four times a second and cleared before anything else is written, so it
// never mixes with the results or the lines. Does nothing unless standard error is a terminal.
class CProgressLine {
 public:
  CProgressLine(std::ostream& err, bool terminal) : err_(err), terminal_(terminal) {}
  ~CProgressLine() { Clear(); }
  CProgressLine(const CProgressLine&) = delete;
  CProgressLine& operator=(const CProgressLine&) = delete;

  // Any thread.
  void Show(const std::wstring& line);
  void Clear();

 private:
  std::ostream& err_;
  const bool terminal_;
  std::mutex mutex_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point last_{};
};

struct CliContext {
  const CommandLine& line;
  // The program's settings (profile) with -t, -r and -6 applied.
  net::UdpSettings udp;
  CCliTransactionLog& transactions;  // pass it as the operation's logs::ITransactionSink
  CResultPrinter& printer;
  std::ostream& out;
  std::ostream& err;
  // Raised by Ctrl+C for the commands marked as stoppable; never raised otherwise.
  std::stop_token stop;  // requested by Ctrl+C in the commands that stop early
  CProgressLine& progress;

  // One line on standard error, "sondara-cli: " first: failures in the event log's wording,
  // refusals, the final "stopped" line.
  void Error(const std::wstring& text) const;
};

// An operation's refusals (app::IOperationUi) as lines on standard error: an operation whose
// checks refuse its input sent nothing, so the command ends with kExitUsage.
class CCliOperationUi : public app::IOperationUi {
 public:
  explicit CCliOperationUi(const CliContext& context) : context_(context) {}
  void ShowMessage(const std::wstring& text, app::MessageIcon icon, int field) override;
  // A value given on the command line is meant as given, an empty one too.
  bool AskYesNo(const std::wstring&, int) override { return true; }
  bool Refused() const { return refused_; }

 private:
  const CliContext& context_;
  bool refused_ = false;
};

// An operation's event-log lines (failures, "started", "complete", "stopped") as lines on
// standard error; safe from a worker thread.
class CCliEventLines : public logs::IEventLineSink {
 public:
  explicit CCliEventLines(const CliContext& context) : context_(context) {}
  void AddEventLine(const std::wstring& line) override;

 private:
  const CliContext& context_;
  std::mutex mutex_;
};

}  // namespace cli
