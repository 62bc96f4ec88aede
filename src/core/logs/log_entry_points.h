// LogEvent and LogTransaction: how the rest of the program writes to the two logs, from any
// thread. Until the main window registers its logs (and after it unregisters them) both do
// nothing, so early start-up and shut-down can log freely.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "logs/event_line_sink.h"
#include "logs/transaction_sink.h"
#include "util/text.h"

namespace logs {

class CEventLog;
class CTransactionLog;

// The main window registers its logs when they exist and passes nullptr before destroying
// them; unregistering waits for calls that are running, so no call reaches a destroyed log.
void RegisterEventLog(CEventLog* log);
void RegisterTransactionLog(CTransactionLog* log);

// True while an event log is registered; lets LogEvent skip formatting otherwise.
bool EventLogRegistered();

// The string table text `string_id` used as a format.
std::wstring EventFormat(int string_id);

// Queues an already formatted line (cut to tvkutil::kMaxLogLineLen characters).
void LogEventLine(std::wstring_view line);

// Formats the string table text `string_id` with the arguments (printf style, at most
// tvkutil::kMaxLogLineLen characters) and queues it in the event log. Callers never pass free
// text: every event line comes from the string table.
template <typename... Args>
void LogEvent(int string_id, const Args&... args) {
  if (!EventLogRegistered())
    return;
  LogEventLine(tvkutil::FormatN(EventFormat(string_id), tvkutil::kMaxLogLineLen, args...));
}

// Queues one message for the transaction log. direction 1 = sent, 0 = received; source is the
// operation's name; data/length the raw bytes; is_text 0 for a binary SNMP message (shown in
// hex), anything else for UTF-8 text.
void LogTransaction(std::int32_t direction, std::wstring_view source, const std::uint8_t* data,
                    std::size_t length, int is_text);

// Queues one SNMP datagram with the addresses and ports of both ends; the transaction log keeps
// it for decoding and export beside its rows.
void LogDatagram(std::int32_t direction, std::wstring_view source,
                 std::span<const std::uint8_t> bytes, const DatagramEnds& ends);

// A sink that forwards to whichever event log is registered, for code that reports through
// IEventLineSink (the request failure lines of the SNMP checks).
IEventLineSink& EventLogSink();

}  // namespace logs
