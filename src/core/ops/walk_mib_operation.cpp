#include "ops/walk_mib_operation.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "mib/mib_set.h"
#include "mib/mib_value.h"
#include "net/snmp_requester.h"
#include "ops/results_file.h"
#include "ops/usm_fields.h"
#include "settings/history.h"
#include "settings/setting_rules.h"
#include "snmp/response_check.h"
#include "snmp/snmp_message.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

namespace ids = tvkutil::ids;

// The request-id rule keeps one identifier text per operation; the walk has one community.
constexpr int kRequestIdOperation = 0;
// RFC 3416 error-status values the walk reacts to.
constexpr int kTooBig = 1;
constexpr int kNoSuchName = 2;

// The line that closes a walk, by how it ended.
int StatusLineId(WalkStatus status) {
  switch (status) {
    case WalkStatus::kStopped:
      return ids::kWalkStopped;
    case WalkStatus::kFailed:
      return ids::kWalkFailed;
    default:
      return ids::kWalkComplete;
  }
}

// How one reply ends the walk, or lets it go on.
enum class Judgement { kGoOn, kFailed, kEnd };

}  // namespace

CWalkMIBOperation::CWalkMIBOperation(const app::WalkMibSettings& stored,
                                     logs::IEventLineSink& events,
                                     logs::ITransactionSink& transactions)
    : events_(events), transactions_(transactions) {
  form_.host = stored.host;
  form_.version = stored.version;
  form_.port_text = std::to_wstring(stored.port);
  form_.start_oid = stored.start_oid;
  form_.communities = HistoryFromStored(stored.communities);
  form_.usm = stored.usm;
}

CWalkMIBOperation::~CWalkMIBOperation() {
  StopWalk();
}

template <typename... Args>
void CWalkMIBOperation::Log(int string_id, const Args&... args) const {
  events_.AddEventLine(
      tvkutil::FormatN(tvkutil::LoadString(string_id), tvkutil::kMaxLogLineLen, args...));
}

bool CWalkMIBOperation::V3() const {
  return snmp::VersionIndex(form_.version) == snmp::kSnmpVersion3;
}

bool CWalkMIBOperation::Validate(app::IOperationUi& ui) {
  // The port is range-checked while it is read, before the other fields.
  if (!ReadPort(form_.port_text, port_))
    return RefuseRange(ui, 0, kMaxPort, kWalkFieldPort);
  if (form_.host.empty())
    return Refuse(ui, ids::kEnterValidHost, kWalkFieldHost);
  if (form_.version.empty())
    return Refuse(ui, ids::kSelectVersion, kWalkFieldVersion);
  if (V3()) {
    if (!CheckUsmFields(ui, form_.usm,
                        {kWalkFieldUsmUser, kWalkFieldUsmAuthPassword, kWalkFieldUsmPrivPassword,
                         kWalkFieldUsmContextEngineId}))
      return false;
  } else if (form_.community.empty()) {
    return Refuse(ui, ids::kEnterCommunity, kWalkFieldCommunity);
  }
  start_numbers_ = form_.start_oid;
  if (!TranslateOidName(ui, start_numbers_, kWalkFieldStartOid) ||
      !CheckOidField(ui, start_numbers_, ids::kEnterValidStartOid, kWalkFieldStartOid))
    return false;
  return true;
}

bool CWalkMIBOperation::BeginWalk(const WalkOptions& options, app::IOperationUi& ui) {
  if (!worker_.Finished() || !Validate(ui))
    return false;
  worker_.Join();  // the last walk's thread, if the timer has not forgotten it yet
  job_ = WalkJob{{form_.host, snmp::VersionIndex(form_.version), port_,
                  V3() ? std::wstring() : form_.community, start_numbers_,
                  V3() ? UserSecurityOf(form_.usm) : snmp::usm::UserSecurity{}},
                 options};
  Log(ids::kWalkStarted);
  if (!worker_.Start([this](std::stop_token stop) { Walk(job_, stop); })) {
    // No thread to be had: the walk ends before it began, and says so.
    final_status_ = WalkStatus::kFailed;
    failure_ = WalkFailure::kOther;
    Log(ids::kWalkFailed, static_cast<int>(results_.Count()));
  }
  return true;
}

bool CWalkMIBOperation::RunWalk(const WalkRequest& request, const WalkOptions& options,
                                std::stop_token stop, OidFoundFn found) {
  if (!worker_.Finished())
    return false;
  job_ = WalkJob{request, options, std::move(found)};
  Log(ids::kWalkStarted);
  Walk(job_, stop);
  return true;
}

void CWalkMIBOperation::StopWalk() {
  worker_.StopAndWait();
}

void CWalkMIBOperation::EndWalk() {
  worker_.Join();
  if (job_.version != snmp::kSnmpVersion3)
    AddToHistory(form_.communities, job_.community);
}

namespace {

using Arcs = std::vector<std::uint32_t>;

std::span<const std::uint32_t> ArcsOf(const snmp::COid& oid) {
  return {oid.Arcs().data(), oid.Arcs().size()};
}

bool Less(std::span<const std::uint32_t> a, std::span<const std::uint32_t> b) {
  return std::ranges::lexicographical_compare(a, b);
}

// Where a range walked up to `at` may be cut, so that another request walks on from there: the
// next sibling of one of `at`'s ancestors, the shallowest that still lies before `last` (no
// `last`: the range runs to the end of the view). The shallowest takes the most of what is
// left; the deeper ones stay for later cuts. Nothing when there is none.
std::optional<Arcs> CutPoint(std::span<const std::uint32_t> at, const std::optional<Arcs>& last) {
  // Two arcs at least, and a second arc below 40 under 0 and 1: an OID that can be sent.
  for (std::size_t len = 2; len < at.size(); ++len) {
    if (at[len - 1] == UINT32_MAX || (len == 2 && at[0] < 2 && at[1] >= 39))
      continue;
    Arcs cut(at.begin(), at.begin() + static_cast<std::ptrdiff_t>(len));
    ++cut.back();
    if (!last || Less(cut, *last))
      return cut;
  }
  return std::nullopt;
}

std::wstring ArcsText(const Arcs& arcs) {
  return snmp::COid(std::span<const std::uint32_t>(arcs)).Text();
}

// "host:port", an IPv6 address in brackets.
std::wstring AgentText(const std::wstring& host, std::uint16_t port) {
  const bool v6 = host.find(L':') != std::wstring::npos;
  return (v6 ? L"[" + host + L"]" : host) + L":" + std::to_wstring(port);
}

// What Auto learnt of each agent while the program runs: the repetitions it settled on (0 for
// an agent that answers GetNext only) and the smallest count that failed. The next walk of
// that agent starts there.
struct LearntBulk {
  int repetitions = 0;
  int ceiling = INT_MAX;
};
std::mutex learnt_mutex;
std::map<std::wstring, LearntBulk>& Learnt() {
  static std::map<std::wstring, LearntBulk> learnt;
  return learnt;
}

// Auto starts moderate, and grows no further than this: a large answer costs an agent as
// much work as many small ones, and some agents break long before the datagram is full.
constexpr int kAutoFirstRepetitions = 10;
constexpr int kAutoMostRepetitions = 250;
// An answer this close to the largest UDP datagram over IPv4 (65,507 bytes) leaves no room to
// grow, and halves the next count before the agent has to answer tooBig.
constexpr std::size_t kNearLargestDatagram = 56 * 1024;

}  // namespace

// One part of the view, walked by one request at a time.
struct CWalkMIBOperation::WalkPart {
  struct Held {  // bindings [first, first + count) of a reply, found behind an earlier range
    std::unique_ptr<snmp::CSNMPMessage> reply;
    int first = 1;
    int count = 0;
  };
  Arcs from;                 // the walk goes on after this OID
  std::wstring from_text;    // the same as text, for the request and the failure lines
  std::optional<Arcs> last;  // the range ends with this OID; none: at the end of the view
  bool busy = false;         // a request walks it
  bool done = false;
  std::vector<Held> held;
};

// One walk, shared by the requests in flight. The view is split into ranges, each walked by one
// request at a time: the first from the start OID; later ones cut off the end of a range being
// walked (CutPoint) when a request is free. Each range ends at the first object past its last
// OID, at the end of the view, or at a failure. Objects are handed out in the order of the
// ranges: those of a range behind one still walking are held until it ends, so the results
// come in ascending order with no gap, and after a failure or stop nothing past the first range
// not ended is handed out. Everything here is guarded by `mutex`.
struct CWalkMIBOperation::WalkRun {
  using Range = WalkPart;
  std::mutex mutex;
  std::condition_variable ready;
  std::list<Range> ranges;
  bool over = false;  // failed or stopped: no request starts any more
  WalkStatus status = WalkStatus::kComplete;
  WalkFailure failure = WalkFailure::kOther;
  int found = 0;
  // GetBulk or GetNext, and how many repetitions, for every request in flight.
  bool bulk = false;
  bool auto_bulk = false;
  bool bulk_answered = false;  // an answer to a GetBulk came: silence then is no refusal
  bool auto_answered = false;  // Auto has something to say at the end
  int repetitions = 0;
  // The smallest count that failed (tooBig, a time-out, an answer near the largest datagram, an
  // answer cut short): Auto grows only while twice the count stays below it, so it settles
  // instead of running into the same wall again and again.
  int ceiling = INT_MAX;
  // Lowers the count to half of what failed; false when nothing is left to halve.
  bool Halve(int failed) {
    ceiling = std::min(ceiling, failed);
    if (failed <= 1)
      return false;
    repetitions = std::min(repetitions, failed / 2);
    return true;
  }
  // Version 3: the engine the first request discovered, for the others.
  std::optional<net::CSnmpRequester::Engine> engine;
  // Ends the waits of every request at a stop from outside or a failure of one of them.
  std::stop_source halt;

  void Fail() {
    status = WalkStatus::kFailed;
    over = true;
    halt.request_stop();
  }
};

bool CWalkMIBOperation::Emit(WalkRun& run, const WalkJob& job, const snmp::CVarBind& bind,
                             std::stop_token stop) {
  COidInfo info;
  info.oid = bind.Name()->Text();
  (void)bind.ValueText(info.value, info.type);  // Null and the exceptions show empty
  if (job.options.names) {
    const mib::OidMatch match = mib::CMibSet::Builtin().Match(ArcsOf(*bind.Name()));
    info.name = tvkutil::FromUtf8Lenient(mib::CMibSet::NameOf(match));
    if (const auto shown =
            bind.Value() ? mib::NamedValueText(*bind.Value(), match.node) : std::nullopt)
      info.shown_value = tvkutil::FromUtf8Lenient(*shown);
  }
  if (job.found)
    job.found(info, bind);  // printed as it comes: keeping it too would grow without end
  else
    results_.Append(std::move(info));
  progress_.AddDone();
  if (job.options.progress)
    job.options.progress(progress_.Snapshot());
  if (++run.found % 10 == 0 && stop.stop_requested()) {
    run.status = WalkStatus::kStopped;
    run.over = true;
    return false;
  }
  return true;
}

void CWalkMIBOperation::Flush(WalkRun& run, const WalkJob& job, std::stop_token stop) {
  while (!run.ranges.empty() && !run.over) {
    WalkRun::Range& head = run.ranges.front();
    for (const WalkPart::Held& held : head.held) {
      for (int i = held.first; i < held.first + held.count; ++i) {
        if (!Emit(run, job, *held.reply->GetVarBind(i), stop))
          return;
      }
    }
    head.held.clear();
    if (!head.done || head.busy)
      return;
    run.ranges.pop_front();
  }
}

void CWalkMIBOperation::WalkRanges(WalkRun& run, const WalkJob& job, std::stop_token stop) {
  const bool v3 = job.version == snmp::kSnmpVersion3;
  std::optional<net::CSnmpRequester> requester;
  auto request = std::make_unique<snmp::CSNMPMessage>(snmp::kPduResponse);
  auto reply = std::make_unique<snmp::CSNMPMessage>(snmp::kPduResponse);

  // The next range to walk: one nobody walks yet, or a cut off the end of one being walked.
  // Version 3 waits for the first request's discovery, which every other one then uses.
  const auto take = [&]() -> WalkRun::Range* {
    if (v3 && !requester && !run.engine) {
      const bool someone_walks =
          std::ranges::any_of(run.ranges, [](const auto& r) { return r.busy; });
      if (someone_walks)
        return nullptr;
    }
    for (WalkRun::Range& r : run.ranges) {
      if (!r.busy && !r.done) {
        r.busy = true;
        return &r;
      }
    }
    auto best = run.ranges.end();
    std::optional<Arcs> best_cut;
    for (auto it = run.ranges.begin(); it != run.ranges.end(); ++it) {
      if (it->done)
        continue;
      std::optional<Arcs> cut = CutPoint(it->from, it->last);
      if (cut && (!best_cut || cut->size() < best_cut->size())) {
        best = it;
        best_cut = std::move(cut);
      }
    }
    if (!best_cut)
      return nullptr;
    WalkRun::Range piece;
    piece.from = *best_cut;
    piece.from_text = ArcsText(piece.from);
    piece.last = best->last;
    piece.busy = true;
    best->last = std::move(best_cut);
    return &*run.ranges.insert(std::next(best), std::move(piece));
  };

  for (;;) {
    WalkRun::Range* range = nullptr;
    {
      std::unique_lock lock(run.mutex);
      // Bounded waits: a stop from outside wakes nobody.
      while (!run.over && !run.ranges.empty() && (range = take()) == nullptr) {
        if (stop.stop_requested()) {
          run.status = WalkStatus::kStopped;
          run.over = true;
          break;
        }
        run.ready.wait_for(lock, tvkutil::kStopPollSlice);
      }
      if (range == nullptr)
        return;
      if (!requester) {
        requester.emplace(job.host, job.port, job.options.udp, L"walkMIB", transactions_, nullptr);
        // Spinning for answers pays for one request at a time against a near agent; with
        // several the threads would take the processor from each other and from the agent.
        requester->SetQuickAnswerWait(job.options.in_flight <= 1);
        requester->SetSecurity(job.security);
        if (run.engine)
          requester->AdoptEngine(*run.engine);
      }
    }
    // The message is built anew for every range: its version and community come first.
    request =
        std::make_unique<snmp::CSNMPMessage>(job.version, job.community, snmp::kPduGetNextRequest);
    request->AddNullVarBind(range->from_text);
    WalkRange(run, job, stop, *range, *requester, request, reply);
    std::lock_guard lock(run.mutex);
    range->busy = false;
    if (!run.over)
      Flush(run, job, stop);
    run.ready.notify_all();
  }
}

void CWalkMIBOperation::WalkRange(WalkRun& run, const WalkJob& job, std::stop_token stop,
                                  WalkPart& range, net::CSnmpRequester& requester,
                                  std::unique_ptr<snmp::CSNMPMessage>& request,
                                  std::unique_ptr<snmp::CSNMPMessage>& reply) {
  const bool v2c = job.version != snmp::kSnmpVersion1;
  const bool v3 = job.version == snmp::kSnmpVersion3;
  const auto timeout = std::chrono::milliseconds(job.options.udp.request_timeout_ms);
  for (;;) {
    bool bulk = false;
    int repetitions = 0;
    {
      std::lock_guard lock(run.mutex);
      if (run.over)
        return;
      bulk = run.bulk;
      repetitions = run.repetitions;
      request->SetRequestId(request_ids_.Next(job.host, std::to_wstring(job.version), job.port,
                                              kRequestIdOperation, job.community));
    }
    request->SetPduType(bulk ? snmp::kPduGetBulkRequest : snmp::kPduGetNextRequest);
    request->SetNonRepeaters(0);
    request->SetMaxRepetitions(bulk ? repetitions : 0);
    const auto asked = std::chrono::steady_clock::now();
    const net::ExchangeResult result = requester.Request(*request, *reply, run.halt.get_token());
    const auto took = std::chrono::steady_clock::now() - asked;

    std::unique_lock lock(run.mutex);
    if (!result.note.empty())
      events_.AddEventLine(result.note);
    if (run.over)
      return;
    if (result.failure == net::ExchangeFailure::kStopped) {
      run.status = WalkStatus::kStopped;
      run.over = true;
      return;
    }
    if (v3 && !run.engine && requester.LearntEngine().known)
      run.engine = requester.LearntEngine();
    const bool too_big = result.check == snmp::ResponseCheck::AgentError(kTooBig);
    // An answer that would not fit: ask again for half as many.
    if (bulk && too_big && run.Halve(repetitions))
      continue;
    if (bulk && run.auto_bulk && !result.Ok()) {
      const bool silent = result.failure == net::ExchangeFailure::kTimeout;
      const bool refused = result.failure == net::ExchangeFailure::kAgentError &&
                           result.check != snmp::ResponseCheck::AgentError(kNoSuchName);
      if ((silent || refused) && !run.bulk_answered) {
        run.bulk = false;  // an agent that never answers GetBulk: GetNext it is
        run.auto_answered = true;
        continue;
      }
      if (silent && run.Halve(repetitions))  // the agent took too long over that many
        continue;
    }

    Judgement judgement = Judgement::kGoOn;
    net::ExchangeResult judged = result;
    if (judged.Ok() && reply->VarBinds().Count() == 0) {  // nothing to walk on from
      judged =
          net::ExchangeResult::Checked(snmp::ResponseCheck::Failed(snmp::CheckFailure::kWrongForm));
    }
    if (!v2c && judged.check == snmp::ResponseCheck::AgentError(kNoSuchName)) {
      judgement = Judgement::kEnd;  // how a v1 agent says there is nothing after the last object
    } else if (!judged.Ok()) {
      events_.AddEventLine(RequestResultLine(judged, range.from_text, *request, *reply, job.host,
                                             job.options.udp.use_ipv6));
      run.failure = judged.failure == net::ExchangeFailure::kAgentError ||
                            judged.failure == net::ExchangeFailure::kReport
                        ? WalkFailure::kAgentError
                    : judged.failure == net::ExchangeFailure::kTimeout ? WalkFailure::kNoAnswer
                                                                       : WalkFailure::kOther;
      judgement = Judgement::kFailed;
    }
    if (judgement == Judgement::kFailed) {
      run.Fail();
      return;
    }
    if (judgement == Judgement::kEnd) {
      range.done = true;
      return;
    }
    if (bulk)
      run.bulk_answered = true;
    if (run.auto_bulk)
      run.auto_answered = true;

    // The bindings that belong to this range, checked to move forward.
    const snmp::CVarBindList& binds = reply->VarBinds();
    int taken = 0;
    for (int i = 1; i <= binds.Count(); ++i) {
      const snmp::CVarBind& bind = *binds.Get(i);
      if (v2c && bind.Value()->Tag() == snmp::kTagEndOfMibView) {
        range.done = true;
        break;
      }
      const std::span<const std::uint32_t> name = ArcsOf(*bind.Name());
      const std::span<const std::uint32_t> previous =
          i == 1 ? std::span<const std::uint32_t>(range.from) : ArcsOf(*binds.Get(i - 1)->Name());
      if (!Less(previous, name)) {
        Log(ids::kWalkOidNotIncreasing, i == 1 ? range.from_text : binds.Get(i - 1)->Name()->Text(),
            bind.Name()->Text());
        // What came before it in this answer was fine: hand it out with the rest.
        range.done = true;
        run.status = WalkStatus::kFailed;
        break;
      }
      if (range.last && Less(*range.last, name)) {  // the next range's
        range.done = true;
        break;
      }
      ++taken;
      if (range.last && !Less(name, *range.last)) {
        range.done = true;
        break;
      }
    }

    if (run.auto_bulk && bulk) {
      const bool cut_short = binds.Count() < repetitions && !range.done;
      if (result.answer_bytes > kNearLargestDatagram) {
        (void)run.Halve(repetitions);
      } else if (cut_short && binds.Count() > 0) {
        // The agent sent fewer than asked for without saying why: that is its limit.
        run.ceiling = std::min(run.ceiling, binds.Count() + 1);
        run.repetitions = std::min(run.repetitions, binds.Count());
      } else if (!cut_short && took < timeout / 4 && repetitions * 2 < run.ceiling &&
                 result.answer_bytes * 2 < kNearLargestDatagram && run.repetitions == repetitions) {
        run.repetitions = std::min(repetitions * 2, kAutoMostRepetitions);
      }
    }

    const bool head = &run.ranges.front() == &range;
    bool failed = run.status == WalkStatus::kFailed;
    if (taken > 0) {
      const snmp::CVarBind& last = *binds.Get(taken);
      range.from.assign(last.Name()->Arcs().begin(), last.Name()->Arcs().end());
      range.from_text = last.Name()->Text();
    }
    if (head) {
      for (int i = 1; i <= taken; ++i) {
        if (!Emit(run, job, *binds.Get(i), stop))
          return;
      }
    } else if (taken > 0) {
      range.held.push_back({std::move(reply), 1, taken});
      reply = std::make_unique<snmp::CSNMPMessage>(snmp::kPduResponse);
    }
    if (failed) {
      run.Fail();
      return;
    }
    run.ready.notify_all();  // the range moved on: there may be a cut to take now
    if (range.done)
      return;
    lock.unlock();
    if (head) {
      // The reply becomes the next request and the request the holder of the next reply, so
      // the name just found is never copied or parsed again.
      reply->VarBinds().KeepOnlyNameOf(taken);
      std::swap(request, reply);
      reply->SetPduType(snmp::kPduResponse);
    } else {
      request->VarBinds().RemoveAll();
      request->AddNullVarBind(range.from_text);
    }
  }
}

void CWalkMIBOperation::Walk(const WalkJob& job, std::stop_token stop) {
  results_.Clear();
  progress_.Start(0);
  WalkRun run;
  // Version 3 carries version 2c's PDUs: endOfMibView and GetBulk alike.
  const bool v2c = job.version != snmp::kSnmpVersion1;
  const std::wstring agent = AgentText(job.host, job.port);
  run.auto_bulk = v2c && job.options.bulk_repetitions == kBulkAuto;
  if (run.auto_bulk) {
    std::lock_guard lock(learnt_mutex);
    const auto it = Learnt().find(agent);
    run.repetitions = it != Learnt().end() ? it->second.repetitions : kAutoFirstRepetitions;
    run.ceiling = it != Learnt().end() ? it->second.ceiling : INT_MAX;
    run.bulk = run.repetitions > 0;
    run.bulk_answered = it != Learnt().end();
  } else if (v2c && job.options.bulk_repetitions > 0) {
    run.bulk = true;
    run.repetitions = job.options.bulk_repetitions;
  }
  WalkRun::Range whole;
  const snmp::COid start(job.start_oid);
  whole.from.assign(start.Arcs().begin(), start.Arcs().end());
  whole.from_text = job.start_oid;
  run.ranges.push_back(std::move(whole));

  const int in_flight = std::clamp(job.options.in_flight, 1, app::kMaxWalkInFlight);
  {
    const std::stop_callback halt_on_stop(stop, [&run] { run.halt.request_stop(); });
    std::vector<std::jthread> others;
    try {
      for (int i = 1; i < in_flight; ++i)
        others.emplace_back([&](std::stop_token) { WalkRanges(run, job, stop); });
    } catch (const std::system_error&) {
      // No more threads to be had: the walk goes on with fewer requests in flight.
    }
    WalkRanges(run, job, stop);
  }  // every request has ended

  const int found = run.found;
  if (run.auto_answered) {
    const int settled = run.bulk ? run.repetitions : 0;
    {
      std::lock_guard lock(learnt_mutex);
      Learnt()[agent] = {settled, run.ceiling};
    }
    if (settled > 0)
      Log(ids::kWalkBulkSettled, settled, agent);
    else
      Log(ids::kWalkBulkNotAnswered, agent);
  }
  progress_.Finish();
  failure_.store(run.status == WalkStatus::kFailed ? run.failure : WalkFailure::kNone,
                 std::memory_order_release);
  final_status_.store(run.status, std::memory_order_release);
  Log(StatusLineId(run.status), found);
}

std::wstring CWalkMIBOperation::FinalStatusLine() const {
  return tvkutil::FormatN(tvkutil::LoadString(StatusLineId(FinalStatus())), SIZE_MAX,
                          static_cast<int>(results_.Count()));
}

std::string CWalkMIBOperation::ResultsFileText(bool names) const {
  std::vector<std::wstring> rows = results_.WithAll([names](const std::vector<COidInfo>& all) {
    std::vector<std::wstring> out;
    out.reserve(all.size());
    for (const COidInfo& info : all) {
      // Every row ends in a comma; files have always been written so.
      out.push_back(CsvField(info.oid, false) + L"," +
                    (names ? CsvField(info.name, false) + L"," : std::wstring()) +
                    CsvField(snmp::TypeNameOfTag(info.type), false) + L"," +
                    CsvField(info.value, true) + L",");
    }
    return out;
  });
  const std::wstring header = tvkutil::FormatN(
      names ? L"%s,Name,%s,%s" : L"%s,%s,%s", SIZE_MAX, tvkutil::LoadString(ids::kColumnOid),
      tvkutil::LoadString(ids::kColumnDataType), tvkutil::LoadString(ids::kColumnValue));
  return pages::ResultsFileText(tvkutil::LoadString(ids::kWalkStarted), header, rows,
                                FinalStatusLine());
}

RequestOutcome CWalkMIBOperation::GetSysObjectId(const net::UdpSettings& settings,
                                                 app::IOperationUi& ui) {
  const std::optional<SysObjectIdRequest> request = PrepareSysObjectId(ui);
  if (!request)
    return RequestOutcome::kRefused;
  const std::optional<std::wstring> oid = RequestSysObjectId(*request, settings);
  if (!oid)
    return RequestOutcome::kFailed;
  form_.start_oid = *oid;
  return RequestOutcome::kDone;
}

std::optional<SysObjectIdRequest> CWalkMIBOperation::PrepareSysObjectId(app::IOperationUi& ui) {
  if (!Validate(ui))
    return std::nullopt;
  const std::wstring community = V3() ? std::wstring() : form_.community;
  return SysObjectIdRequest{
      form_.host,
      snmp::VersionIndex(form_.version),
      port_,
      community,
      request_ids_.Next(form_.host, std::to_wstring(snmp::VersionIndex(form_.version)), port_,
                        kRequestIdOperation, community),
      V3() ? UserSecurityOf(form_.usm) : snmp::usm::UserSecurity{}};
}

std::optional<std::wstring> CWalkMIBOperation::RequestSysObjectId(const SysObjectIdRequest& request,
                                                                  const net::UdpSettings& settings,
                                                                  std::stop_token stop) const {
  snmp::CSNMPMessage message(request.version, request.community, snmp::kPduGetRequest);
  message.SetRequestId(request.request_id);
  message.AddNullVarBind(kSysObjectIdOid);
  snmp::CSNMPMessage response(snmp::kPduResponse);
  const net::ExchangeResult result =
      net::ExchangeRequest(request.host, request.port, settings, L"Get", message, response,
                           transactions_, nullptr, stop, request.security);
  if (!result.note.empty())
    events_.AddEventLine(result.note);
  if (!result.Ok()) {
    // A stop (the window is closing) fails without a line.
    if (const std::wstring line =
            RequestResultLine(result, kSysObjectIdOid, message, response, request.host,
                              settings.use_ipv6, ids::kSysObjectIdFailed);
        !line.empty()) {
      events_.AddEventLine(line);
    }
    return std::nullopt;
  }
  std::wstring text;
  std::uint32_t tag = 0;
  if (const snmp::CVarBind* bind = response.GetVarBind(1))
    (void)bind->ValueText(text, tag);
  return text;
}

void CWalkMIBOperation::StoreTo(app::WalkMibSettings& settings) {
  MoveToFront(form_.communities, form_.community);
  settings.host = form_.host;
  settings.version = form_.version;
  settings.start_oid = form_.start_oid;
  settings.port = app::Low16(tvkutil::Wtoi(form_.port_text));
  settings.communities = form_.communities;
  settings.usm = form_.usm;
}

}  // namespace pages
