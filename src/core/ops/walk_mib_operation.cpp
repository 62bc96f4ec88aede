#include "ops/walk_mib_operation.h"

#include <chrono>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "mib/mib_set.h"
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

// An OID that is not past the one before it would make the walk ask the same question again
// and again: the walk must only ever move forward.
bool Follows(const snmp::COid& next, const snmp::COid& previous) {
  return previous.Arcs() < next.Arcs();
}

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

void CWalkMIBOperation::Walk(const WalkJob& job, std::stop_token stop) {
  results_.Clear();
  progress_.Start(0);
  // Version 3 carries version 2c's PDUs: endOfMibView and GetBulk alike.
  const bool v2c = job.version != snmp::kSnmpVersion1;
  const bool bulk = job.options.bulk_repetitions > 0 && v2c;
  const std::uint32_t request_type = bulk ? snmp::kPduGetBulkRequest : snmp::kPduGetNextRequest;
  // The reply becomes the next request and the request the holder of the next reply, so the
  // name just found is never copied or parsed again.
  auto request = std::make_unique<snmp::CSNMPMessage>(job.version, job.community, request_type);
  auto reply = std::make_unique<snmp::CSNMPMessage>(snmp::kPduResponse);
  request->AddNullVarBind(job.start_oid);
  std::wstring current_oid = request->GetVarBind(1)->Name()->Text();
  int repetitions = job.options.bulk_repetitions;
  int found = 0;
  WalkStatus status = WalkStatus::kComplete;
  WalkFailure failure = WalkFailure::kOther;  // what a failure is unless known better

  // Appends one returned binding; false when the walk ends there (see status).
  const auto take = [&](const snmp::CVarBind& bind, const snmp::COid& previous) {
    if (!Follows(*bind.Name(), previous)) {
      Log(ids::kWalkOidNotIncreasing, current_oid, bind.Name()->Text());
      status = WalkStatus::kFailed;
      return false;
    }
    COidInfo info;
    info.oid = bind.Name()->Text();
    (void)bind.ValueText(info.value, info.type);  // Null and the exceptions show empty
    if (job.options.names) {
      const auto& arcs = bind.Name()->Arcs();
      info.name = tvkutil::FromUtf8Lenient(
          mib::CMibSet::Builtin().NameOf(std::span<const std::uint32_t>(arcs.data(), arcs.size())));
    }
    current_oid = info.oid;
    if (job.found)
      job.found(info, bind);  // printed as it comes: keeping it too would grow without end
    else
      results_.Append(std::move(info));
    progress_.AddDone();
    if (job.options.progress)
      job.options.progress(progress_.Snapshot());
    if (++found % 10 == 0 && stop.stop_requested()) {
      status = WalkStatus::kStopped;
      return false;
    }
    return true;
  };

  // Go on, end or failure, by the rules of the version; a failure writes its line.
  const auto judge = [&](net::ExchangeResult result) {
    if (v2c && result.Ok() && reply->VarBinds().Count() == 0) {  // nothing to walk on from
      result =
          net::ExchangeResult::Checked(snmp::ResponseCheck::Failed(snmp::CheckFailure::kWrongForm));
    }
    // How a v1 agent says there is nothing after the last object.
    if (!v2c && result.check == snmp::ResponseCheck::AgentError(kNoSuchName))
      return Judgement::kEnd;
    if (result.Ok())
      return Judgement::kGoOn;
    events_.AddEventLine(RequestResultLine(result, current_oid, *request, *reply, job.host,
                                           job.options.udp.use_ipv6));
    failure = result.failure == net::ExchangeFailure::kAgentError ||
                      result.failure == net::ExchangeFailure::kReport
                  ? WalkFailure::kAgentError
              : result.failure == net::ExchangeFailure::kTimeout ? WalkFailure::kNoAnswer
                                                                 : WalkFailure::kOther;
    return Judgement::kFailed;
  };

  net::CSnmpRequester requester(job.host, job.port, job.options.udp, L"walkMIB", transactions_,
                                nullptr);
  requester.SetQuickAnswerWait(true);
  requester.SetSecurity(job.security);
  [&] {
    for (;;) {
      request->SetRequestId(request_ids_.Next(job.host, std::to_wstring(job.version), job.port,
                                              kRequestIdOperation, job.community));
      if (bulk) {
        request->SetNonRepeaters(0);
        request->SetMaxRepetitions(repetitions);
      }
      const net::ExchangeResult result = requester.Request(*request, *reply, stop);
      if (!result.note.empty())
        events_.AddEventLine(result.note);
      if (result.failure == net::ExchangeFailure::kStopped) {
        status = WalkStatus::kStopped;
        return;
      }
      // An answer that would not fit: ask again for half as many.
      if (bulk && result.check == snmp::ResponseCheck::AgentError(kTooBig) && repetitions > 1) {
        repetitions /= 2;
        continue;
      }
      const Judgement judgement = judge(result);
      if (judgement != Judgement::kGoOn) {
        status = judgement == Judgement::kEnd ? WalkStatus::kComplete : WalkStatus::kFailed;
        return;
      }
      const snmp::CVarBindList& binds = reply->VarBinds();
      for (int i = 1; i <= binds.Count(); ++i) {
        const snmp::CVarBind& bind = *binds.Get(i);
        if (v2c && bind.Value()->Tag() == snmp::kTagEndOfMibView)
          return;  // complete
        const snmp::COid& previous =
            i == 1 ? *request->GetVarBind(1)->Name() : *binds.Get(i - 1)->Name();
        if (!take(bind, previous))
          return;
      }
      reply->VarBinds().KeepOnlyNameOf(binds.Count());
      std::swap(request, reply);
      request->SetPduType(request_type);
      reply->SetPduType(snmp::kPduResponse);
    }
  }();

  progress_.Finish();
  failure_.store(status == WalkStatus::kFailed ? failure : WalkFailure::kNone,
                 std::memory_order_release);
  final_status_.store(status, std::memory_order_release);
  Log(StatusLineId(status), found);
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
