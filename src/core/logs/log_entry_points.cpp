#include "logs/log_entry_points.h"

#include <atomic>
#include <shared_mutex>

#include "logs/event_log.h"
#include "logs/transaction_log.h"
#include "util/string_table.h"

namespace logs {

namespace {

// Callers hold the lock shared while they hand over a line; registering takes it exclusively,
// so a window that unregisters before destroying its log never has a call still inside it.
std::shared_mutex g_registry_mutex;
CEventLog* g_event_log = nullptr;
CTransactionLog* g_transaction_log = nullptr;
std::atomic<bool> g_event_log_registered{false};

class CForwardingSink : public IEventLineSink {
 public:
  void AddEventLine(const std::wstring& line) override { LogEventLine(line); }
};

class CTransactionForwardingSink : public ITransactionSink {
 public:
  void LogDatagram(std::int32_t direction, std::wstring_view source,
                   std::span<const std::uint8_t> bytes, const DatagramEnds& ends) override {
    logs::LogDatagram(direction, source, bytes, ends);
  }
  void LogText(std::int32_t direction, std::wstring_view source, std::string_view text) override {
    LogTransaction(direction, source, reinterpret_cast<const std::uint8_t*>(text.data()),
                   text.size(), 1);
  }
};

}  // namespace

void RegisterEventLog(CEventLog* log) {
  std::unique_lock lock(g_registry_mutex);
  g_event_log = log;
  g_event_log_registered = log != nullptr;
}

void RegisterTransactionLog(CTransactionLog* log) {
  std::unique_lock lock(g_registry_mutex);
  g_transaction_log = log;
}

bool EventLogRegistered() {
  return g_event_log_registered;
}

std::wstring EventFormat(int string_id) {
  return tvkutil::LoadString(string_id);
}

void LogEventLine(std::wstring_view line) {
  std::shared_lock lock(g_registry_mutex);
  if (g_event_log == nullptr)
    return;
  g_event_log->AddEvent(std::wstring(line.substr(0, tvkutil::kMaxLogLineLen)));
}

void LogTransaction(std::int32_t direction, std::wstring_view source, const std::uint8_t* data,
                    std::size_t length, int is_text) {
  std::shared_lock lock(g_registry_mutex);
  if (g_transaction_log == nullptr)
    return;
  g_transaction_log->AddTransaction(direction, source, data, length, is_text);
}

void LogDatagram(std::int32_t direction, std::wstring_view source,
                 std::span<const std::uint8_t> bytes, const DatagramEnds& ends) {
  std::shared_lock lock(g_registry_mutex);
  if (g_transaction_log == nullptr)
    return;
  g_transaction_log->AddDatagram(direction, source, bytes, ends);
}

IEventLineSink& EventLogSink() {
  static CForwardingSink sink;
  return sink;
}

ITransactionSink& TransactionLogSink() {
  static CTransactionForwardingSink sink;
  return sink;
}

}  // namespace logs
