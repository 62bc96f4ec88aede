#include "ops/get_set_operation.h"

#include <string_view>

#include "mib/mib_value.h"
#include "net/address.h"
#include "net/snmp_requester.h"
#include "ops/operation_common.h"
#include "ops/usm_fields.h"
#include "settings/history.h"
#include "settings/setting_rules.h"
#include "snmp/response_check.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

std::wstring FailedResultText() {
  return tvkutil::LoadString(tvkutil::ids::kFailedSeeEventLog);
}

CGetSetOperation::CGetSetOperation(const app::GetSetSettings& stored, logs::IEventLineSink& events,
                                   logs::ITransactionSink& transactions)
    : events_(events), transactions_(transactions) {
  form_.host = stored.host;
  form_.version = stored.version;
  form_.port_text = std::to_wstring(stored.port);
  // The current texts are the first stored entries, which the reversed fill puts last.
  const auto first = [](const app::History& h) { return h.empty() ? std::wstring() : h.front(); };
  form_.get_oid = first(stored.get_oids);
  form_.get_community = first(stored.get_communities);
  form_.set_oid = first(stored.set_oids);
  form_.set_community = first(stored.set_communities);
  form_.get_oids = HistoryFromStored(stored.get_oids);
  form_.get_communities = HistoryFromStored(stored.get_communities);
  form_.set_oids = HistoryFromStored(stored.set_oids);
  form_.set_communities = HistoryFromStored(stored.set_communities);
  form_.set_data_type = stored.set_data_type;
  form_.set_value = stored.set_value;
  form_.usm = stored.usm;
}

bool CGetSetOperation::V3() const {
  return snmp::VersionIndex(form_.version) == snmp::kSnmpVersion3;
}

bool CGetSetOperation::Validate(GetSetMode mode, app::IOperationUi& ui) {
  using namespace tvkutil::ids;
  mode_ = mode;
  if (form_.host.empty())
    return Refuse(ui, kEnterValidHost, kFieldHost);
  if (form_.version.empty())
    return Refuse(ui, kSelectVersion, kFieldVersion);
  if (!ReadPort(form_.port_text, port_))
    return RefuseRange(ui, 0, kMaxPort, kFieldPort);
  // A v3 user stands where each half's community does.
  const auto check_user = [&] {
    return CheckUsmFields(
        ui, form_.usm,
        {kFieldUsmUser, kFieldUsmAuthPassword, kFieldUsmPrivPassword, kFieldUsmContextEngineId});
  };
  if (mode == GetSetMode::kGet) {
    oid_numbers_ = form_.get_oid;
    if (!TranslateOidName(ui, oid_numbers_, kFieldGetOid) ||
        !CheckOidField(ui, oid_numbers_, kEnterValidGetOid, kFieldGetOid))
      return false;
    if (V3())
      return check_user();
    if (form_.get_community.empty())
      return Refuse(ui, kEnterGetCommunity, kFieldGetCommunity);
    return true;
  }
  oid_numbers_ = form_.set_oid;
  if (!TranslateOidName(ui, oid_numbers_, kFieldSetOid) ||
      !CheckOidField(ui, oid_numbers_, kEnterValidSetOid, kFieldSetOid))
    return false;
  if (V3()) {
    if (!check_user())
      return false;
  } else if (form_.set_community.empty()) {
    return Refuse(ui, kEnterSetCommunity, kFieldSetCommunity);
  }
  if (form_.set_data_type.empty())
    return Refuse(ui, kSelectSetDataType, kFieldSetDataType);
  return CheckValueField(ui, snmp::TagOfTypeName(form_.set_data_type), form_.set_value,
                         kEnterValidSetValue, kFieldSetValue);
}

std::optional<GetSetRequest> CGetSetOperation::Prepare(GetSetMode mode, app::IOperationUi& ui) {
  if (!Validate(mode, ui))
    return std::nullopt;
  const bool get = mode == GetSetMode::kGet;
  GetSetRequest request;
  request.mode = mode;
  request.host = form_.host;
  request.version = snmp::VersionIndex(form_.version);
  request.port = port_;
  if (V3())
    request.security = UserSecurityOf(form_.usm);
  else
    request.community = get ? form_.get_community : form_.set_community;
  request.typed_oid = get ? form_.get_oid : form_.set_oid;
  if (get)
    request.bindings.push_back({oid_numbers_, snmp::kTagNull, {}});
  else
    request.bindings.push_back(
        {oid_numbers_, snmp::TagOfTypeName(form_.set_data_type), form_.set_value});
  request.request_id = request_ids_.Next(form_.host, form_.version, port_, static_cast<int>(mode),
                                         request.community);
  if (get)
    form_.get_value.clear();
  return request;
}

namespace {

std::uint32_t PduTypeOf(GetSetMode mode) {
  switch (mode) {
    case GetSetMode::kSet:
      return snmp::kPduSetRequest;
    case GetSetMode::kGetNext:
      return snmp::kPduGetNextRequest;
    case GetSetMode::kGet:
      break;
  }
  return snmp::kPduGetRequest;
}

const wchar_t* SourceOf(GetSetMode mode) {
  switch (mode) {
    case GetSetMode::kSet:
      return L"Set";
    case GetSetMode::kGetNext:
      return L"GetNext";
    case GetSetMode::kGet:
      break;
  }
  return L"Get";
}

// The OID a failure line names: the one the agent's error index points at, else the first.
const std::wstring& FailedOid(const GetSetRequest& request, const net::ExchangeResult& result,
                              const snmp::CSNMPMessage& response) {
  const std::int32_t index =
      result.failure == net::ExchangeFailure::kAgentError ? response.ErrorIndex() : 0;
  const auto count = static_cast<std::int32_t>(request.bindings.size());
  return request.bindings[index >= 1 && index <= count ? static_cast<std::size_t>(index) - 1 : 0]
      .oid;
}

}  // namespace

GetSetReply CGetSetOperation::Exchange(const GetSetRequest& request,
                                       const net::UdpSettings& settings,
                                       std::stop_token stop) const {
  snmp::CSNMPMessage message(request.version, request.community, PduTypeOf(request.mode));
  message.SetRequestId(request.request_id);
  for (const RequestBinding& b : request.bindings)
    message.AddVarBind(b.oid, request.mode == GetSetMode::kSet ? b.tag : snmp::kTagNull, b.value);
  auto response = std::make_shared<snmp::CSNMPMessage>(snmp::kPduResponse);

  GetSetReply reply;
  reply.result =
      net::ExchangeRequest(request.host, request.port, settings, SourceOf(request.mode), message,
                           *response, transactions_, nullptr, stop, request.security);
  reply.response = response;
  if (!reply.result.note.empty())
    events_.AddEventLine(reply.result.note);
  if (!reply.result.Ok()) {
    // A stop (the window is closing) fails without a line.
    if (const std::wstring line =
            RequestResultLine(reply.result, FailedOid(request, reply.result, *response), message,
                              *response, request.host, settings.use_ipv6);
        !line.empty()) {
      events_.AddEventLine(line);
    }
    reply.value = FailedResultText();
    return reply;
  }
  reply.outcome = RequestOutcome::kDone;
  if (request.mode == GetSetMode::kGet) {
    std::uint32_t tag = 0;
    if (const snmp::CVarBind* bind = response->GetVarBind(1)) {
      bind->ValueText(reply.value, tag);  // Null and the exception values read as empty text
      if (request.names) {
        if (const auto shown = mib::NamedValueText(*bind))
          reply.value = tvkutil::FromUtf8Lenient(*shown);
      }
    }
    reply.data_type = snmp::TypeNameOfTag(tag);
  }
  return reply;
}

void CGetSetOperation::Apply(const GetSetRequest& request, const GetSetReply& reply) {
  const bool get = request.mode == GetSetMode::kGet;
  if (get) {
    form_.get_value = reply.value;
    form_.get_data_type = reply.data_type;
  }
  if (reply.outcome != RequestOutcome::kDone)
    return;
  AddToHistory(get ? form_.get_oids : form_.set_oids,
               request.typed_oid.empty() ? request.bindings.front().oid : request.typed_oid);
  if (request.version != snmp::kSnmpVersion3)
    AddToHistory(get ? form_.get_communities : form_.set_communities, request.community);
}

void CGetSetOperation::StoreTo(app::GetSetSettings& settings) {
  MoveToFront(form_.get_oids, form_.get_oid);
  MoveToFront(form_.get_communities, form_.get_community);
  MoveToFront(form_.set_oids, form_.set_oid);
  MoveToFront(form_.set_communities, form_.set_community);
  settings.host = form_.host;
  settings.version = form_.version;
  settings.port = app::Low16(tvkutil::Wtoi(form_.port_text));
  settings.get_oids = form_.get_oids;
  settings.get_communities = form_.get_communities;
  settings.set_oids = form_.set_oids;
  settings.set_communities = form_.set_communities;
  settings.set_data_type = form_.set_data_type;
  settings.set_value = form_.set_value;
  settings.usm = form_.usm;
}

}  // namespace pages
