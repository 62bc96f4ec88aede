// The walkMIB page without its window: the page's values and their checks, the walk on its own
// worker thread (GetNext, or GetBulk of a set or an automatic count when the Options ask for
// it, with one request or several in flight), the objects found under their lock, the closing
// status lines, the results file, "&Get SysObjectID" and the community history. The page
// copies its controls into WalkMibForm, starts and stops the walk, and polls the results and
// the finished flag on its timer.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "logs/event_line_sink.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_sink.h"
#include "net/udp_session.h"
#include "net/udp_socket_ops.h"
#include "ops/operation_common.h"
#include "ops/operation_ui.h"
#include "ops/progress.h"
#include "settings/settings.h"
#include "snmp/request_id.h"
#include "snmp/usm_user.h"
#include "snmp/var_bind.h"
#include "util/polled_list.h"
#include "util/runner.h"

namespace net {
class CSnmpRequester;
}
namespace snmp {
class CSNMPMessage;
}

namespace pages {

// One object the walk found.
struct COidInfo {
  std::wstring oid;        // dotted, ".1.3.6.1.2.1.1.1.0"
  std::uint32_t type = 0;  // the value's tag
  std::wstring value;      // the value as the pages show it
  std::wstring name;       // "IF-MIB::ifDescr.1" when the walk was asked for names and one is known
  // The value as its MIB node describes it ("up(1)", "00:1b:21:3a:4f:10"), when the walk was
  // asked for names and the node says more than the value alone.
  std::wstring shown_value;
};

// The page's fields as the checks name them for app::IOperationUi.
enum WalkMibField : int {
  kWalkFieldHost = 0,
  kWalkFieldVersion,
  kWalkFieldPort,
  kWalkFieldCommunity,
  kWalkFieldStartOid,
  kWalkFieldUsmUser,
  kWalkFieldUsmAuthPassword,
  kWalkFieldUsmPrivPassword,
  kWalkFieldUsmContextEngineId,
};

// Which line closed the last walk.
enum class WalkStatus : int { kNone, kComplete, kStopped, kFailed };

// Why the last walk failed, for callers that answer each kind differently (sondara-cli's exit
// status): the agent's error status, no answer within the time-out and retries, or anything
// else (resolve, bind, transmit, an answer that does not fit, an OID that does not increase).
enum class WalkFailure : int { kNone, kAgentError, kNoAnswer, kOther };

// Sees each object the walk finds, with the binding it came in, on the walk's thread.
using OidFoundFn = std::function<void(const COidInfo&, const snmp::CVarBind&)>;

// The values of the page as the user typed them.
struct WalkMibForm {
  std::wstring host;
  std::wstring version;  // "1", "2c" or "3"; empty when nothing is selected
  std::wstring port_text;
  std::wstring community;
  app::History communities;  // the drop-down's entries, top first
  std::wstring start_oid;
  app::UsmSettings usm;  // version 3: stands for the community
};

// WalkOptions::bulk_repetitions for a walk that finds the count itself: it starts moderate,
// grows while answers come back whole and quickly, halves on tooBig, on an answer near the
// largest datagram and on a time-out (and asks again), and walks with GetNext an agent that
// never answers GetBulk. What it settled on is kept for the agent while the program runs, and
// said in the event log before the closing line.
inline constexpr int kBulkAuto = -1;

// How the walk reaches the agent.
struct WalkOptions {
  net::UdpSettings udp;
  // max-repetitions of each GetBulkRequest when the version is "2c" or "3"; 0 walks with
  // GetNext, kBulkAuto finds the count.
  int bulk_repetitions = 0;
  // Requests outstanding at once (1 to app::kMaxWalkInFlight): above 1 the view is split at
  // the subtrees found, each part walked by one request at a time, each request with its own
  // id, time-out and retries. The objects still come in ascending order.
  int in_flight = 1;
  // Fills COidInfo::name and shown_value from the MIB modules (read first if nobody has yet).
  bool names = false;
  // After each object found, on the walk's thread; the page polls Progress() instead.
  ProgressFn progress{};
};

// sysObjectID.0, read by "&Get SysObjectID".
inline constexpr wchar_t kSysObjectIdOid[] = L".1.3.6.1.2.1.1.2.0";

// A "&Get SysObjectID" that passed the checks: the target and community copied from the form
// with the request id, so the request can run on another thread while the user goes on typing.
// A walk that passed the checks, read once on the caller's thread: the page's from its form,
// sondara-cli's straight from its arguments.
struct WalkRequest {
  std::wstring host;
  std::int32_t version = 0;  // snmp::kSnmpVersion1, kSnmpVersion2c or kSnmpVersion3
  std::uint16_t port = 0;
  std::wstring community;
  std::wstring start_oid;
  snmp::usm::UserSecurity security;  // version 3: who the requests speak as
};

struct SysObjectIdRequest {
  std::wstring host;
  std::int32_t version = 0;  // snmp::kSnmpVersion1, kSnmpVersion2c or kSnmpVersion3
  std::uint16_t port = 0;
  std::wstring community;
  std::int32_t request_id = 0;
  snmp::usm::UserSecurity security;  // version 3
};

class CWalkMIBOperation {
 public:
  // Starts from the stored settings with an empty community; lines go to `events`, datagrams
  // to `transactions` (the window's logs by default).
  explicit CWalkMIBOperation(const app::WalkMibSettings& stored,
                             logs::IEventLineSink& events = logs::EventLogSink(),
                             logs::ITransactionSink& transactions = logs::TransactionLogSink());
  // Stops a running walk and waits for it.
  ~CWalkMIBOperation();
  CWalkMIBOperation(const CWalkMIBOperation&) = delete;
  CWalkMIBOperation& operator=(const CWalkMIBOperation&) = delete;

  WalkMibForm& Form() { return form_; }
  const WalkMibForm& Form() const { return form_; }

  // The checks of "Begin &Walk" and "&Get SysObjectID", in their fixed order: port, host,
  // version, community (version 3: the user's fields), start OID. The first failure is shown
  // through `ui` with the field to focus.
  bool Validate(app::IOperationUi& ui);
  // Version 3 is chosen: the v3 fields stand for the community.
  bool V3() const;

  // "Begin &Walk" while no walk runs: the checks, then "walkMIB started." and the worker,
  // which clears the results and walks from the start OID until the end of the agent's view,
  // an error, or a stop request. False when refused (nothing started).
  bool BeginWalk(const WalkOptions& options, app::IOperationUi& ui);
  // The same walk of a request checked by its caller, without a worker, for a front end
  // without a window (sondara-cli): "walkMIB started.", then the walk on the calling thread
  // until it ends or a stop is requested through `stop` (from another thread). `found` sees
  // every object as it comes, and then the results keep none: a caller that prints them as
  // they come walks any number of objects in the same memory. False while a worker's walk runs.
  bool RunWalk(const WalkRequest& request, const WalkOptions& options, std::stop_token stop,
               OidFoundFn found = {});
  // "St&op", leaving the page, closing the window: asks the worker to stop and waits for it
  // for it. The worker notices the request at every tenth object and, within
  // tvkutil::kStopPollSlice, while it waits for an answer.
  void StopWalk();
  // The worker has ended (also before the first walk).
  bool WalkFinished() const { return worker_.Finished(); }
  // The page's timer once the worker has ended: forgets the thread and puts the walk's
  // community into the history.
  void EndWalk();

  // The objects found, appended by the worker while the window reads them.
  const tvkutil::CPolledList<COidInfo>& Results() const { return results_; }
  // Objects found by the current or last walk and its time; a walk has no known total.
  ProgressSnapshot Progress() const { return progress_.Snapshot(); }
  WalkStatus FinalStatus() const { return final_status_.load(std::memory_order_acquire); }
  // kNone unless the last walk failed.
  WalkFailure LastFailure() const { return failure_.load(std::memory_order_acquire); }
  // "walkMIB complete. No. of OIDs found: 'N'." (or stopped, failed) with the results now held.
  std::wstring FinalStatusLine() const;

  // The results file: banner, "walkMIB started.", colons, "OID,DataType,Value", one row per
  // object ("<oid>,<type>,"<value>"," with pages::CsvField), colons, the final status line.
  // With `names`, a Name column after the OID ("OID,Name,DataType,Value").
  std::string ResultsFileText(bool names = false) const;

  // "&Get SysObjectID": PrepareSysObjectId, RequestSysObjectId, and the value read becomes the
  // start OID.
  RequestOutcome GetSysObjectId(const net::UdpSettings& settings, app::IOperationUi& ui);
  // The checks, then the request with its id (shared with the walk: never while one runs).
  std::optional<SysObjectIdRequest> PrepareSysObjectId(app::IOperationUi& ui);
  // The request alone: needs no window, reads no form, may run on any thread. A Get of
  // sysObjectID.0 (source "Get" in the transaction log) whose value is returned; after a
  // failure one event-log line is written and nothing returned; nothing and no line when
  // stopped through `stop`.
  std::optional<std::wstring> RequestSysObjectId(const SysObjectIdRequest& request,
                                                 const net::UdpSettings& settings,
                                                 std::stop_token stop = {}) const;

  // Writes the page back into the settings: the history with the current community first, the
  // port read from its text as a plain decimal number.
  void StoreTo(app::WalkMibSettings& settings);

 private:
  // What one walk works with, copied when it starts: the form may change while it runs (the
  // start OID box stays enabled, and a snapshot reads every control).
  struct WalkJob : WalkRequest {
    WalkOptions options;
    OidFoundFn found{};  // empty for the page, which polls the results instead
  };

  struct WalkPart;
  struct WalkRun;
  void Walk(const WalkJob& job, std::stop_token stop);
  // One request in flight: takes a range to walk, or cuts one off, until the walk is over.
  void WalkRanges(WalkRun& run, const WalkJob& job, std::stop_token stop);
  void WalkRange(WalkRun& run, const WalkJob& job, std::stop_token stop, WalkPart& range,
                 net::CSnmpRequester& requester, std::unique_ptr<snmp::CSNMPMessage>& request,
                 std::unique_ptr<snmp::CSNMPMessage>& reply);
  // Hands one object out (results or `found`); false when a stop ends the walk there.
  bool Emit(WalkRun& run, const WalkJob& job, const snmp::CVarBind& bind, std::stop_token stop);
  // Hands out what the first ranges held, and forgets the ranges that have ended.
  void Flush(WalkRun& run, const WalkJob& job, std::stop_token stop);
  // Writes a formatted string-table line to the event log.
  template <typename... Args>
  void Log(int string_id, const Args&... args) const;

  WalkMibForm form_;
  snmp::CRequestIdCounter request_ids_;  // the walk's and the Get's, never used at once
  logs::IEventLineSink& events_;
  logs::ITransactionSink& transactions_;
  std::uint16_t port_ = 0;      // the port of the last check that passed
  std::wstring start_numbers_;  // the checked start OID as numbers (a typed name translated)
  WalkJob job_;
  tvkutil::CPolledList<COidInfo> results_;
  std::atomic<WalkStatus> final_status_{WalkStatus::kNone};
  CProgress progress_;
  std::atomic<WalkFailure> failure_{WalkFailure::kNone};
  tvkutil::CRunner worker_;
};

}  // namespace pages
