#include "ops/ping_operation.h"

#include <cstdint>

#include "net/address.h"
#include "net/exchange_result.h"
#include "net/icmp_echo.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {
void Refuse(app::IOperationUi& ui, int string_id, const std::wstring& host) {
  ui.ShowMessage(tvkutil::FormatN(tvkutil::LoadString(string_id), SIZE_MAX, host),
                 app::MessageIcon::kWarning, app::kNoField);
}
}  // namespace

bool CheckPingHost(const PingTarget& target, app::IOperationUi& ui) {
  const std::wstring& host = target.host;
  if (!target.use_ipv6 && host.find(L'.') != std::wstring::npos && !net::IsValidIPv4Text(host) &&
      !net::IsHostNameText(host)) {
    Refuse(ui, tvkutil::ids::kInvalidIPv4Address, host);
    return false;
  }
  return true;
}

PingOutcome ResolveAndPing(const PingTarget& target, logs::ITransactionSink& sink,
                           std::stop_token stop) {
  const auto outcome = [](bool replied) {
    return replied ? PingOutcome::kReply : PingOutcome::kNoReply;
  };
  if (!target.use_ipv6) {
    std::uint32_t address = 0;
    if (!net::ResolveIPv4Host(target.host, address))
      return PingOutcome::kUnresolved;
    return outcome(net::PingIPv4(address, target.timeout_ms, target.retries, L"Ping", sink, stop));
  }
  std::wstring address_text;
  if (!net::ResolveIPv6Host(target.host, target.ipv6_scope_id, address_text))
    return PingOutcome::kUnresolved;
  return outcome(
      net::PingIPv6(address_text, target.timeout_ms, target.retries, L"Ping", sink, stop));
}

void ReportPingOutcome(const PingTarget& target, PingOutcome outcome, app::IOperationUi& ui,
                       const std::wstring& lookup_failure) {
  if (outcome != PingOutcome::kUnresolved)
    return;
  ui.ShowMessage(net::UnresolvedHostText(target.host, target.use_ipv6, lookup_failure),
                 app::MessageIcon::kWarning, app::kNoField);
}

PingOutcome RunPing(const PingTarget& target, app::IOperationUi& ui, logs::ITransactionSink& sink,
                    std::stop_token stop) {
  if (!CheckPingHost(target, ui))
    return PingOutcome::kRefused;
  const PingOutcome outcome = ResolveAndPing(target, sink, stop);
  ReportPingOutcome(target, outcome, ui, net::LastLookupFailure());
  return outcome;
}

bool RunToolbarPing(const PingTarget& target, app::IOperationUi& ui, logs::ITransactionSink& sink) {
  const PingOutcome outcome = RunPing(target, ui, sink);
  return outcome == PingOutcome::kReply || outcome == PingOutcome::kNoReply;
}

}  // namespace pages
