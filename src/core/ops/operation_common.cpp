#include "ops/operation_common.h"

#include <algorithm>
#include <limits>

#include "mib/mib_set.h"
#include "net/address.h"
#include "snmp/asn_data_type.h"
#include "snmp/response_check.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

// Every character a digit of `base` (at least one) and the number at most `max`.
bool ReadWhole(std::wstring_view digits, unsigned base, std::uint64_t max) {
  if (digits.empty())
    return false;
  std::uint64_t value = 0;
  for (wchar_t ch : digits) {
    // Not a digit (-1) becomes a number above any base.
    const auto d = static_cast<unsigned>(tvkutil::HexDigitValue(ch));
    if (d >= base || value > (max - d) / base)
      return false;
    value = value * base + d;
  }
  return true;
}

// The base rules of the 32-bit unsigned types: "0x" hexadecimal, a leading 0 octal.
bool ReadUnsigned32(std::wstring_view text) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  if (text.size() > 1 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X'))
    return ReadWhole(text.substr(2), 16, kMax);
  if (text.size() > 1 && text[0] == L'0')
    return ReadWhole(text.substr(1), 8, kMax);
  return ReadWhole(text, 10, kMax);
}

bool ReadInteger32(std::wstring_view text) {
  if (!text.empty() && text[0] == L'-')
    return ReadWhole(text.substr(1), 10, 2147483648ULL);
  return ReadWhole(text, 10, 2147483647ULL);
}

}  // namespace

bool ReadPort(std::wstring_view text, std::uint16_t& out_port) {
  if (text.size() > 5 || !ReadWhole(text, 10, kMaxPort))
    return false;
  out_port = static_cast<std::uint16_t>(tvkutil::Wtoi(text));
  return true;
}

bool Refuse(app::IOperationUi& ui, int string_id, int field, app::MessageIcon icon) {
  ui.ShowMessage(tvkutil::LoadString(string_id), icon, field);
  return false;
}

bool RefuseRange(app::IOperationUi& ui, long long low, long long high, int field) {
  ui.ShowMessage(
      tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kRangeMessage), SIZE_MAX, low, high),
      app::MessageIcon::kWarning, field);
  return false;
}

bool IsValidValueText(std::uint32_t tag, std::wstring_view text) {
  if (text.empty())
    return tag == snmp::kTagOctetString || tag == snmp::kTagOpaque;
  switch (tag) {
    case snmp::kTagInteger32:
      return ReadInteger32(text);
    case snmp::kTagCounter32:
    case snmp::kTagGauge32:
    case snmp::kTagTimeTicks:
    case snmp::kTagUnsigned32:
      return ReadUnsigned32(text);
    case snmp::kTagCounter64:
      return ReadWhole(text, 10, std::numeric_limits<std::uint64_t>::max());
    case snmp::kTagOid:
      return snmp::IsValidOidText(text);
    case snmp::kTagIpAddress:
      // The address test lets any character stand between the numbers; a value must be the
      // four numbers it is sent as (an IpAddress is four bytes).
      return net::IsValidIPv4Text(std::wstring(text)) &&
             std::count(text.begin(), text.end(), L'.') == 3;
    case snmp::kTagOctetString:
    case snmp::kTagNull:
    case snmp::kTagOpaque:
      return true;
    default:
      return false;
  }
}

bool CheckOidField(app::IOperationUi& ui, std::wstring_view text, int string_id, int field) {
  switch (snmp::CheckOidText(text)) {
    case snmp::OidTextFault::kNone:
      return true;
    case snmp::OidTextFault::kArcTooLarge:
      return Refuse(ui, tvkutil::ids::kOidArcTooLarge, field);
    case snmp::OidTextFault::kFirstArcs:
      return Refuse(ui, tvkutil::ids::kOidFirstArcs, field);
    default:
      return Refuse(ui, string_id, field);
  }
}

bool TranslateOidName(app::IOperationUi& ui, std::wstring& text, int field) {
  std::string error;
  const std::string numbers = mib::OidTextOfName(tvkutil::ToUtf8(text), error);
  if (!error.empty()) {
    ui.ShowMessage(tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kOidNameUnknown), SIZE_MAX,
                                    text, tvkutil::FromUtf8Lenient(error)),
                   app::MessageIcon::kWarning, field);
    return false;
  }
  text = tvkutil::FromUtf8Lenient(numbers);
  return true;
}

bool CheckValueField(app::IOperationUi& ui, std::uint32_t tag, std::wstring_view text,
                     int string_id, int field) {
  if (text.empty() && (tag == snmp::kTagOctetString || tag == snmp::kTagOpaque)) {
    // An empty string is a real value (a cleared description), but rarely meant.
    return ui.AskYesNo(tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kConfirmEmptyValue),
                                        SIZE_MAX, snmp::TypeNameOfTag(tag)),
                       field);
  }
  if (tag == snmp::kTagOid)
    return CheckOidField(ui, text, string_id, field);
  return IsValidValueText(tag, text) || Refuse(ui, string_id, field);
}

net::UdpSettings UdpSettingsFrom(const app::NetworkSettings& network) {
  return net::UdpSettings{network.use_ipv6 != 0, network.request_timeout_ms, network.retries,
                          network.adapter};
}

std::wstring RequestResultLine(const net::ExchangeResult& result, const std::wstring& oid_text,
                               const snmp::CSNMPMessage& request,
                               const snmp::CSNMPMessage& response, const std::wstring& host,
                               bool use_ipv6, int reason_line) {
  using net::ExchangeFailure;
  switch (result.failure) {
    case ExchangeFailure::kNone:
    case ExchangeFailure::kStopped:
      return {};
    case ExchangeFailure::kCheck:
    case ExchangeFailure::kAgentError:
      return snmp::RequestFailureLine(result.check, oid_text, request, response);
    default:
      break;
  }
  const std::wstring reason = net::ExchangeFailureText(result, host, use_ipv6);
  if (request.IsTrap() || request.PduType() == snmp::kPduTrapV2) {
    return tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kTrapFailed), tvkutil::kMaxLogLineLen,
                            reason);
  }
  if (reason_line != 0) {
    return tvkutil::FormatN(tvkutil::LoadString(reason_line), tvkutil::kMaxLogLineLen, oid_text,
                            reason);
  }
  return snmp::RequestFailureReasonLine(request, oid_text, reason);
}

}  // namespace pages
