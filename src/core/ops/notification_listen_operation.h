// Receiving notifications without a window: a UDP port listened on until stopped, every
// datagram logged and turned into one row (a v1 trap, a v2c trap or inform, or a datagram that
// is not one, with the reason), informs answered at once (RFC 3416 4.2.7), the datagrams the
// kernel dropped counted. A page starts it on its worker and polls the rows; sondara-cli runs
// it on its own thread and prints each row as it comes.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "logs/event_line_sink.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_sink.h"
#include "net/udp_listener.h"
#include "net/udp_session.h"
#include "ops/notification_usm.h"
#include "util/polled_list.h"
#include "util/runner.h"

namespace pages {

// The list keeps this many of the newest rows and counts the ones it let go.
inline constexpr std::size_t kMaxNotificationRows = 100000;
// The port notifications are sent to (RFC 3417 3).
inline constexpr std::uint16_t kNotificationPort = 162;
// snmpTraps (RFC 3418): a v1 generic trap N maps to snmpTraps.(N + 1) (RFC 3584 3.1.2).
inline constexpr wchar_t kSnmpTrapsOid[] = L".1.3.6.1.6.3.1.1.5";

enum class NotificationKind {
  kTrapV1,     // RFC 1157 Trap-PDU
  kTrapV2,     // SNMPv2-Trap-PDU
  kInform,     // InformRequest-PDU
  kOther,      // decodes, but is no notification this listener takes (see `problem`)
  kMalformed,  // does not decode: `problem` and `damage_offset` say where and why
};

struct NotificationBinding {
  std::wstring oid;
  std::uint32_t tag = 0;
  std::wstring value;                // as the pages show it
  std::vector<std::uint8_t> octets;  // an Octet String's bytes
};

struct NotificationRow {
  std::chrono::system_clock::time_point received;
  std::wstring source;  // the sender's address
  std::uint16_t source_port = 0;
  NotificationKind kind = NotificationKind::kMalformed;
  std::wstring version;    // "1", "2c", "3"; empty when unknown
  std::wstring community;  // as text
  // snmpTrapOID.0, or for a v1 trap the OID RFC 3584 3.1.2 maps it to.
  std::wstring trap_oid;
  std::optional<std::uint32_t> sys_up_time;  // hundredths of a second
  // A v1 trap's own fields.
  std::wstring enterprise;
  std::wstring agent_address;
  std::int32_t generic_trap = -1;
  std::int32_t specific_trap = -1;
  // The bindings after sysUpTime.0 and snmpTrapOID.0 (all of a v1 trap's, and all of them
  // when those two are not in their places).
  std::vector<NotificationBinding> bindings;
  bool answered = false;  // an inform whose Response went out
  std::uint32_t damage_offset = 0;
  std::wstring problem;
  std::vector<std::uint8_t> bytes;  // the datagram, for its decoded view
};

// "2024-01-31 14:05:09.042", local time: the receiving order to the millisecond.
std::wstring NotificationTimeText(std::chrono::system_clock::time_point when);
// "Trap", "SNMPv2-Trap", "InformRequest answered", "malformed"...
std::wstring NotificationTypeText(const NotificationRow& row);
// "1 notification", "5 notifications".
std::wstring NotificationCountText(std::uint64_t count);
// The comma-separated form of `sondara-cli listen --format csv` and the page's "S&ave": the
// header, and one row (RFC 4180, no line end).
std::wstring NotificationCsvHeader();
std::wstring NotificationCsvRow(const NotificationRow& row);

// Sees each row on the listening thread; false ends the listening (sondara-cli's --count).
using NotificationFn = std::function<bool(const NotificationRow&)>;

struct ListenRequest {
  std::uint16_t port = kNotificationPort;
  int receive_buffer = net::kListenReceiveBuffer;
  // SNMPv3: the users notifications are taken from, and our engine ID (empty: this host's).
  std::vector<snmp::usm::UserSecurity> users;
  snmp::usm::Bytes engine_id;
};

enum class ListenEnd { kStopped, kSeenEnough, kTimedOut, kFailed };

class CNotificationListenOperation {
 public:
  explicit CNotificationListenOperation(
      logs::IEventLineSink& events = logs::EventLogSink(),
      logs::ITransactionSink& transactions = logs::TransactionLogSink(),
      std::size_t max_rows = kMaxNotificationRows);
  ~CNotificationListenOperation();
  CNotificationListenOperation(const CNotificationListenOperation&) = delete;
  CNotificationListenOperation& operator=(const CNotificationListenOperation&) = delete;

  // Binds the port: empty, or the sentence that says why not and the way out (also written to
  // the event log). Nothing received so far is lost by a failure.
  std::wstring Open(const ListenRequest& request, const net::UdpSettings& settings);
  // The errno of the last Open that failed, 0 after one that worked.
  int OpenError() const { return open_error_; }
  // The port listened on (the one the kernel chose for port 0); 0 while closed. Between Open
  // and Run, not while Run runs on another thread.
  std::uint16_t Port() const { return socket_.IsOpen() ? socket_.Port() : 0; }

  // Listens on this thread until a stop through `stop`, `until`, or `seen` returning false.
  // With `seen` the rows are handed to it and not kept (memory stays flat); without it they go
  // to Rows(). Opens first when Open was not called (kFailed when that fails).
  ListenEnd Run(const ListenRequest& request, const net::UdpSettings& settings,
                std::stop_token stop,
                std::optional<std::chrono::steady_clock::time_point> until = std::nullopt,
                NotificationFn seen = {});

  // The page: Open, then Run on the worker. The sentence of a failed open, or empty; the page's
  // message box writes it to the event log, so it is not written here.
  std::wstring Start(const ListenRequest& request, const net::UdpSettings& settings);
  void Stop() { worker_.StopAndWait(); }
  bool Finished() const { return worker_.Finished(); }

  const tvkutil::CPolledList<NotificationRow>& Rows() const { return rows_; }
  // Empties the list (the page's "Clear"); the counts go on.
  void ClearRows() { rows_.Clear(); }
  // Notifications received (malformed and other datagrams not counted), malformed datagrams,
  // datagrams the kernel dropped, and rows the list let go to keep its newest.
  std::uint64_t Received() const { return received_.load(); }
  std::uint64_t Malformed() const { return malformed_.load(); }
  std::uint64_t KernelDrops() const { return drops_.load(); }
  std::uint64_t LetGo() const { return let_go_.load(); }
  // Every datagram read, whatever it held.
  std::uint64_t Datagrams() const { return datagrams_.load(); }

  // One datagram as a row, answering an inform through `answer` (which sends the bytes and
  // says whether they went). An SNMPv3 one goes to `usm`, and without it is not taken. Any
  // thread; touches nothing of the operation.
  static NotificationRow Judge(std::span<const std::uint8_t> bytes, const AnswerFn& answer,
                               CNotificationUsm* usm = nullptr);
  // Our SNMPv3 engine while the port is open (the ID informs are sent to); null before.
  const CNotificationUsm* Usm() const { return usm_.get(); }

 private:
  // Open without the event-log line.
  std::wstring OpenSocket(const ListenRequest& request, const net::UdpSettings& settings);
  // `from` sent it to our address `to`.
  void Take(std::span<const std::uint8_t> bytes, const sockaddr_storage& from,
            const sockaddr_storage& to, const NotificationFn& seen, bool& enough);

  logs::IEventLineSink& events_;
  logs::ITransactionSink& transactions_;
  const std::size_t max_rows_;
  net::CUdpListener socket_;
  int open_error_ = 0;
  ListenRequest request_;
  tvkutil::CPolledList<NotificationRow> rows_;
  std::atomic<std::uint64_t> received_{0}, malformed_{0}, drops_{0}, let_go_{0}, datagrams_{0};
  std::unique_ptr<CNotificationUsm> usm_;
  tvkutil::CRunner worker_;
};

}  // namespace pages
