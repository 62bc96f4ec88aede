// Where a command's datagrams and ping lines go. With --log, every message of the run goes into
// a file in the window's saved-log format, written as it comes: the window's pane keeps only
// its newest rows, but the file of a long walk must keep its start. With --pcapng, every SNMP
// datagram goes into a capture file as the window's "Export as pcapng" writes it. The ping
// lines go to the screen as well. Both files grow beside their targets and replace them only
// when the run has ended (see tvkutil::CReplacingFile): an old file survives a run that cannot
// finish its new one.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "logs/transaction_sink.h"
#include "logs/utf16_file.h"
#include "util/file_replace.h"

namespace cli {

class CCliTransactionLog : public logs::ITransactionSink {
 public:
  // Text lines (what a ping did), UTF-8 without a line end; any thread.
  using TextEcho = std::function<void(std::string_view line)>;

  // An empty path: no such file.
  CCliTransactionLog(std::string log_path, std::string pcapng_path);

  void SetTextEcho(TextEcho echo) { echo_ = std::move(echo); }

  // The temporary files being written (empty paths for none), after Open().
  std::string LogTempPath() const { return log_file_.TempPath(); }
  std::string PcapngTempPath() const { return pcapng_file_.TempPath(); }

  // Creates the files (beside their targets) and writes their headers, before anything is
  // sent. Empty when done, else "<path>: <the system's reason>" for the file that could not
  // be created; nothing is then left behind.
  [[nodiscard]] std::string Open();

  void LogDatagram(std::int32_t direction, std::wstring_view source,
                   std::span<const std::uint8_t> bytes, const logs::DatagramEnds& ends) override;
  void LogText(std::int32_t direction, std::wstring_view source, std::string_view text) override;

  // Writes what is still buffered and puts the files in place. Empty when everything was
  // written, else "<path>: <reason>" for a file that was not (its old target is kept).
  [[nodiscard]] std::string Close();

 private:
  std::string log_path_;
  std::string pcapng_path_;
  TextEcho echo_;
  std::mutex mutex_;  // the files are written from the operation's threads
  tvkutil::CReplacingFile log_file_;
  tvkutil::CReplacingFile pcapng_file_;
  logs::CUtf16Text log_text_;  // the rows of one message on their way into the file
  std::uint64_t datagrams_ = 0;
  std::shared_ptr<const std::wstring> source_;  // the operation of the last datagram
};

}  // namespace cli
