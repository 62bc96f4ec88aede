#include "ops/send_trap_operation.h"

#include <algorithm>
#include <chrono>

#include "net/address.h"
#include "net/snmp_requester.h"
#include "ops/operation_common.h"
#include "ops/usm_fields.h"
#include "ops/var_bind_list_rules.h"
#include "settings/history.h"
#include "settings/setting_rules.h"
#include "snmp/snmp_message.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

constexpr wchar_t kLoopbackSender[] = L"127.0.0.1";
constexpr wchar_t kDefaultCommunity[] = L"getcom";
constexpr std::int32_t kMaxSpecificType = 65535;
constexpr int kFixedTrapEntries = 2;

// A whole decimal number from low to high, digits only (as the numeric boxes let in).
bool ReadNumber(std::wstring_view text, int low, int high, int& out) {
  if (text.empty() || text.size() > 9 ||
      !std::all_of(text.begin(), text.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; }))
    return false;
  out = tvkutil::Wtoi(text);
  return out >= low && out <= high;
}

std::wstring First(const app::History& history) {
  return history.empty() ? std::wstring() : history.front();
}

}  // namespace

std::uint32_t HundredthsSince(const app::StartTime& start) {
  const auto elapsed = std::chrono::system_clock::now() - start.utc;
  // A clock set back before the start reads as the start itself.
  const auto hundredths =
      std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count() / 10;
  return hundredths < 0 ? 0u : static_cast<std::uint32_t>(hundredths);
}

std::vector<std::wstring> SenderIpChoices(const std::vector<net::_adapterinfo>& ipv4,
                                          const net::_adapterinfo& chosen) {
  std::vector<std::wstring> choices;
  if (chosen.is_ipv4 != 0 && !chosen.address.empty())
    choices.push_back(chosen.address);
  for (const net::_adapterinfo& adapter : ipv4) {
    if (std::find(choices.begin(), choices.end(), adapter.address) == choices.end())
      choices.push_back(adapter.address);
  }
  if (choices.empty())
    choices.push_back(kLoopbackSender);
  return choices;
}

CSendTrapOperation::CSendTrapOperation(const app::SendTrapSettings& stored,
                                       snmp::CVarBindList& list, TimeStampFn time_stamp,
                                       logs::IEventLineSink& events,
                                       logs::ITransactionSink& transactions)
    : list_(list),
      time_stamp_(std::move(time_stamp)),
      events_(events),
      transactions_(transactions) {
  form_.host = stored.host;
  form_.version = stored.version;
  form_.port_text = std::to_wstring(stored.port);
  form_.use_default = stored.use_default != 0;
  form_.sender_ip = stored.sender_ip;
  form_.sender_ips = {kLoopbackSender};
  // The current texts are the first stored entries, which the reversed fill puts last.
  form_.sender_oid = First(stored.sender_oids);
  form_.sender_oids = HistoryFromStored(stored.sender_oids);
  form_.community = First(stored.communities);
  form_.communities = HistoryFromStored(stored.communities);
  form_.varbind_num_text = std::to_wstring(stored.varbind_count);
  form_.trap_type = stored.trap_type;
  form_.usm = stored.usm;
  form_.specific_type_text = std::to_wstring(stored.specific_type);
  // What "Use &default" stands for is shown from the start, not only after a click.
  if (form_.use_default)
    ApplyDefaults();
}

bool CSendTrapOperation::Version2c() const {
  return snmp::VersionIndex(form_.version) != snmp::kSnmpVersion1;
}

bool CSendTrapOperation::V3() const {
  return snmp::VersionIndex(form_.version) == snmp::kSnmpVersion3;
}

void CSendTrapOperation::SetSenderIpChoices(std::vector<std::wstring> choices) {
  if (choices.empty())
    choices.push_back(kLoopbackSender);
  form_.sender_ips = std::move(choices);
  if (form_.use_default)
    form_.sender_ip = form_.sender_ips.front();
}

void CSendTrapOperation::FillDefaultFields() {
  form_.sender_ip = form_.sender_ips.empty() ? kLoopbackSender : form_.sender_ips.front();
  form_.sender_oid = app::DefaultSenderOid();
  form_.community = kDefaultCommunity;
  form_.trap_type = snmp::kGenericTrapNames[snmp::kEnterpriseSpecificTrap];
  form_.specific_type_text = L"1";
}

void CSendTrapOperation::ApplyDefaults() {
  FillDefaultFields();
  form_.varbind_num_text = std::to_wstring(ListedVarBinds());
}

int CSendTrapOperation::ListedVarBinds() {
  const std::lock_guard hold(list_lock_);
  return TrapListLength(list_, Version2c());
}

void CSendTrapOperation::VarBindsEdited() {
  form_.varbind_num_text = std::to_wstring(ListedVarBinds());
}

bool CSendTrapOperation::V1FieldsEnabled() const {
  return !form_.use_default && snmp::VersionIndex(form_.version) == 0;
}

std::optional<TrapRequest> CSendTrapOperation::Validate(app::IOperationUi& ui) {
  using namespace tvkutil::ids;
  TrapRequest request;
  const auto refuse = [&](int string_id, int field, app::MessageIcon icon) {
    Refuse(ui, string_id, field, icon);
    return std::nullopt;
  };
  constexpr auto kWarning = app::MessageIcon::kWarning;
  if (form_.host.empty())
    return refuse(kEnterValidHost, kFieldTrapHost, kWarning);
  if (form_.version.empty())
    return refuse(kSelectVersion, kFieldTrapVersion, kWarning);
  if (!ReadPort(form_.port_text, request.port)) {
    RefuseRange(ui, 0, kMaxPort, kFieldTrapPort);
    return std::nullopt;
  }
  const bool v1 = !Version2c();
  std::wstring sender_oid = form_.sender_oid;  // a typed name becomes numbers below
  if (form_.use_default) {
    FillDefaultFields();
  } else {
    // This one box has always come without the warning icon.
    if (v1 && !net::IsValidIPv4Text(form_.sender_ip))
      return refuse(kEnterValidSenderIp, kFieldSenderIp, app::MessageIcon::kNone);
    if (v1 && (!TranslateOidName(ui, sender_oid, kFieldSenderOid) ||
               !CheckOidField(ui, sender_oid, kEnterValidSenderOid, kFieldSenderOid)))
      return std::nullopt;
    if (!V3() && form_.community.empty())
      return refuse(kEnterCommunity, kFieldTrapCommunity, kWarning);
  }
  // "Use &default" fills in no user: a v3 trap is always sent as the one typed.
  if (V3() && !CheckUsmFields(ui, form_.usm,
                              {kFieldTrapUsmUser, kFieldTrapUsmAuthPassword,
                               kFieldTrapUsmPrivPassword, kFieldTrapUsmContextEngineId}))
    return std::nullopt;
  // "Use &default" leaves VarBind# as the user set it: the trap carries what the page shows.
  int count = 0;
  if (!ReadNumber(form_.varbind_num_text, 0, app::kMaxTrapVarBinds, count)) {
    RefuseRange(ui, 0, app::kMaxTrapVarBinds, kFieldVarBindNum);
    return std::nullopt;
  }
  int listed = 0;
  bool counter64 = false;
  {
    const std::lock_guard hold(list_lock_);
    listed = TrapListLength(list_, !v1);
    counter64 = v1 && V1TrapCarriesCounter64(list_, std::min(count, listed));
  }
  if (count > listed) {
    ui.ShowMessage(
        tvkutil::FormatN(tvkutil::LoadString(kVarBindNumTooLarge), SIZE_MAX, count, listed),
        kWarning, kFieldVarBindNum);
    return std::nullopt;
  }
  if (!form_.use_default) {
    int specific = 0;
    if (v1 && form_.trap_type.empty())
      return refuse(kSelectTrapType, kFieldTrapType, kWarning);
    if (v1 && !ReadNumber(form_.specific_type_text, 0, kMaxSpecificType, specific)) {
      RefuseRange(ui, 0, kMaxSpecificType, kFieldSpecificType);
      return std::nullopt;
    }
  }
  // RFC 1157 has no 64-bit type; some receivers drop the whole trap for it.
  if (v1 && counter64)
    return refuse(kCounter64InV1Trap, kFieldVarBindNum, kWarning);
  // Asked last, so that a Yes is never followed by a refusal. A v2c trap always carries its two
  // fixed entries.
  const int left_out = listed - (v1 ? count : std::max(count, kFixedTrapEntries));
  if (left_out > 0 && !ui.AskYesNo(tvkutil::FormatN(tvkutil::LoadString(kVarBindsLeftOut), SIZE_MAX,
                                                    count, left_out, listed),
                                   kFieldVarBindNum))
    return std::nullopt;

  request.host = form_.host;
  request.version = snmp::VersionIndex(form_.version);
  if (V3())
    request.security = UserSecurityOf(form_.usm);
  else
    request.community = form_.community;
  request.sender_oid = form_.use_default ? form_.sender_oid : sender_oid;
  request.sender_ip = form_.sender_ip;
  request.generic_trap = snmp::GenericTrapNumber(form_.trap_type);
  request.specific_trap = tvkutil::Wtoi(form_.specific_type_text);
  request.varbind_count = tvkutil::Wtoi(form_.varbind_num_text);
  if (!v1) {
    request.request_id =
        request_ids_.Next(form_.host, form_.version, request.port, 0, form_.community);
  }
  return request;
}

TrapOutcome CSendTrapOperation::Send(const TrapRequest& request, const net::UdpSettings& settings) {
  const bool v1 = request.version == snmp::kSnmpVersion1;
  snmp::CSNMPMessage message(request.version, request.community,
                             v1 ? snmp::kPduTrapV1 : snmp::kPduTrapV2);
  net::CSnmpRequester requester(request.host, request.port, settings, L"sendTrap", transactions_);
  requester.SetSecurity(request.security);
  // The socket first: a trap that cannot leave leaves the list as it was.
  if (requester.IsOpen()) {
    const std::uint32_t now = time_stamp_();
    const std::lock_guard hold(list_lock_);
    int count = request.varbind_count;
    int skipped = 0;
    if (v1) {
      skipped = FixedTrapEntriesAtStart(list_);
      message.SetEnterprise(request.sender_oid);
      message.SetAgentAddress(request.sender_ip);
      message.SetGenericTrap(request.generic_trap);
      message.SetSpecificTrap(request.specific_trap);
      message.SetTimeStamp(now);
    } else {
      message.SetRequestId(request.request_id);
      PutFixedTrapEntries(list_, now);
      // The list shows the time stamp the trap carried.
      list_.Replace(1, kSysUpTimeOid, snmp::kTagTimeTicks, std::to_wstring(now));
      count = std::max(count, kFixedTrapEntries);
    }
    message.VarBinds().CopyFrom(list_, std::min(count + skipped, list_.Count()));
    for (; skipped > 0; --skipped)
      message.VarBinds().Remove(1);
  }
  const net::ExchangeResult result = requester.SendOnce(message);
  if (result.Ok())
    return TrapOutcome::kSent;
  events_.AddEventLine(
      RequestResultLine(result, {}, message, message, request.host, settings.use_ipv6));
  return TrapOutcome::kFailed;
}

void CSendTrapOperation::Remember(const TrapRequest& request) {
  // A v2c trap does not check the sender OID box; only an OID goes into its history.
  if (snmp::IsValidOidText(request.sender_oid))
    AddToHistory(form_.sender_oids, request.sender_oid);
  if (request.version != snmp::kSnmpVersion3)
    AddToHistory(form_.communities, request.community);
}

TrapOutcome CSendTrapOperation::SendTrap(const net::UdpSettings& settings, app::IOperationUi& ui) {
  const std::optional<TrapRequest> request = Validate(ui);
  if (!request)
    return TrapOutcome::kRefused;
  const TrapOutcome outcome = Send(*request, settings);
  if (outcome == TrapOutcome::kSent)
    Remember(*request);
  return outcome;
}

void CSendTrapOperation::PrepareVarBindsForEditing() {
  if (!Version2c())
    return;
  const std::lock_guard hold(list_lock_);
  PutFixedTrapEntries(list_, time_stamp_());
}

void CSendTrapOperation::StoreTo(app::SendTrapSettings& settings) {
  MoveToFront(form_.sender_oids, form_.sender_oid);
  MoveToFront(form_.communities, form_.community);
  settings.host = form_.host;
  settings.version = form_.version;
  settings.port = app::Low16(tvkutil::Wtoi(form_.port_text));
  settings.use_default = form_.use_default ? 1 : 0;
  settings.sender_ip = form_.sender_ip;
  settings.sender_oids = form_.sender_oids;
  settings.communities = form_.communities;
  settings.varbind_count = app::Low16(tvkutil::Wtoi(form_.varbind_num_text));
  settings.trap_type = form_.trap_type;
  settings.specific_type = app::Low16(tvkutil::Wtoi(form_.specific_type_text));
  settings.usm = form_.usm;
}

}  // namespace pages
