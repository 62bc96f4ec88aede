#include "cli/cli_transaction_log.h"

namespace cli {

void CCliTransactionLog::LogDatagram(std::int32_t direction, std::wstring_view source,
                                     std::span<const std::uint8_t> bytes,
                                     const logs::DatagramEnds&) {
  if (!path_.empty())
    log_.AddTransaction(direction, source, bytes.data(), bytes.size(), 0);
}

void CCliTransactionLog::LogText(std::int32_t direction, std::wstring_view source,
                                 std::string_view text) {
  if (!path_.empty()) {
    log_.AddTransaction(direction, source, reinterpret_cast<const std::uint8_t*>(text.data()),
                        text.size(), 1);
  }
  if (echo_)
    echo_(text);
}

bool CCliTransactionLog::Save() {
  if (path_.empty())
    return true;
  log_.MovePending();
  return log_.SaveToFile(path_);
}

}  // namespace cli
