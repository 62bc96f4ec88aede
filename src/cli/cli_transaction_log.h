// Where a command's datagrams and ping lines go: into a transaction log kept like the window's
// (saved at the end with --log, in the window's saved-log format), and, for the ping lines, to
// the screen as well.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "logs/transaction_log.h"
#include "logs/transaction_sink.h"

namespace cli {

class CCliTransactionLog : public logs::ITransactionSink {
 public:
  // Text lines (what a ping did), UTF-8 without a line end; any thread.
  using TextEcho = std::function<void(std::string_view line)>;

  // With an empty path nothing is kept and Save() has nothing to do.
  explicit CCliTransactionLog(std::string path) : path_(std::move(path)) {}

  void SetTextEcho(TextEcho echo) { echo_ = std::move(echo); }

  void LogDatagram(std::int32_t direction, std::wstring_view source,
                   std::span<const std::uint8_t> bytes, const logs::DatagramEnds& ends) override;
  void LogText(std::int32_t direction, std::wstring_view source, std::string_view text) override;

  // Writes the log to the path given. True when there is nothing to write or it was written.
  // Like the window's log it keeps the newest 1024 rows.
  [[nodiscard]] bool Save();
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
  logs::CTransactionLog log_;
  TextEcho echo_;
};

}  // namespace cli
