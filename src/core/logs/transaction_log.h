// The transaction log without its window: each message sent or received is split into rows of
// fixed size (hex or text), queued by any thread, moved into the shown rows (at most 1024) by
// the window's timer, and saved with the rows of one message joined into one line again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "logs/datagram_store.h"
#include "logs/log_time.h"
#include "logs/transaction_sink.h"
#include "logs/utf16_file.h"
#include "util/polled_list.h"

namespace logs {

// Bytes per row: 86 bytes make 258 hex characters; text rows take 260 bytes.
inline constexpr std::size_t kHexRowBytes = 86;
inline constexpr std::size_t kTextRowBytes = 260;

struct CTransactionRow {
  LogTimeStamp stamp;
  std::wstring source;         // the operation: "Get", "Set", "walkMIB", "sendTrap", "Ping" ...
  std::int32_t direction;      // kDirectionSent, kDirectionReceived, anything else shows empty
  std::wstring text;           // this row's share of the message
  bool first_row = false;      // only first rows show date, time and source
  std::uint64_t datagram = 0;  // the kept datagram the row shows part of; 0 for text rows
};

// "TX" for sent, "RX" for received, empty for anything else.
std::wstring DirectionText(std::int32_t direction);
// The source column of a first row, "[Get]TX:".
std::wstring SourceColumnText(const CTransactionRow& row);

// Splits a message into rows: length / row size + 1 of them, so a message that fills its last
// row exactly, and an empty message, end with an empty row. Binary bytes become "%02x " each;
// text bytes are converted from UTF-8 row by row.
std::vector<CTransactionRow> SplitTransaction(std::int32_t direction, std::wstring_view source,
                                              const std::uint8_t* data, std::size_t length,
                                              int is_text);

// The saved log's header line, and one row as the saved log writes it (see SavedFileBytes): a
// saved log is the header followed by every row in order. A log written while it grows
// (sondara-cli's --log) uses these too.
void AppendSavedHeader(CUtf16Text& file);
void AppendSavedRow(CUtf16Text& file, const CTransactionRow& row);

class CTransactionLog {
 public:
  explicit CTransactionLog(std::size_t max_datagrams = kMaxKeptDatagrams,
                           std::size_t max_datagram_bytes = kMaxKeptBytes)
      : datagrams_(max_datagrams, max_datagram_bytes) {}

  // Any thread: splits the message and queues its rows, all with fresh time stamps. A binary
  // message is kept as a datagram whose ends are unknown; text is not kept.
  void AddTransaction(std::int32_t direction, std::wstring_view source, const std::uint8_t* data,
                      std::size_t length, int is_text);
  // Any thread: keeps the datagram with its ends and the time now, then queues its hex rows.
  void AddDatagram(std::int32_t direction, std::wstring_view source,
                   std::span<const std::uint8_t> bytes, const DatagramEnds& ends);

  // Window thread: the timer tick, the Reset command and the rows of the list. The cap of 1024
  // rows drops whole messages: the oldest message whose first row would go goes entirely.
  // Reset also forgets the datagrams of the rows shown so far; those of pending rows stay.
  tvkutil::LogTickResult MovePending();
  void Reset();
  std::size_t ShownCount() const { return queue_.ShownCount(); }
  const CTransactionRow& Shown(std::size_t index) const { return *queue_.Shown(index); }

  std::size_t PendingCount() const { return queue_.PendingCount(); }
  std::vector<CTransactionRow> CopyPending() const;

  // FF FE, the padded header "Date", "Time", "Source", "Transaction", then for every first row
  // CR LF, date, tab, time, tab, the source column padded to 21 characters, tab; every row's
  // text follows, so continuation rows continue their message's line. UTF-16LE, no final line
  // end.
  std::string SavedFileBytes() const;
  // As CEventLog::SaveToFile.
  [[nodiscard]] std::error_code SaveToFile(const std::filesystem::path& path) const;

  CDatagramStore& Datagrams() { return datagrams_; }
  const CDatagramStore& Datagrams() const { return datagrams_; }

 private:
  CDatagramStore datagrams_;
  tvkutil::CPolledList<std::unique_ptr<CTransactionRow>> queue_;
  std::uint64_t shown_through_ = 0;  // highest datagram number moved into the shown rows
};

}  // namespace logs
