#include "pages/ping_operation.h"

#include <cstdint>

#include "net/address.h"
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

PingOutcome RunPing(const PingTarget& target, app::IOperationUi& ui, logs::ITransactionSink& sink) {
  const std::wstring& host = target.host;
  const auto outcome = [](bool replied) {
    return replied ? PingOutcome::kReply : PingOutcome::kNoReply;
  };
  if (!target.use_ipv6) {
    if (host.find(L'.') != std::wstring::npos && !net::IsValidIPv4Text(host)) {
      Refuse(ui, tvkutil::ids::kInvalidIPv4Address, host);
      return PingOutcome::kRefused;
    }
    std::uint32_t address = 0;
    if (!net::ResolveIPv4Host(host, address)) {
      Refuse(ui, tvkutil::ids::kUnableToResolveIPv4, host);
      return PingOutcome::kUnresolved;
    }
    return outcome(net::PingIPv4(address, target.timeout_ms, target.retries, L"Ping", sink));
  }
  std::wstring address_text;
  if (!net::ResolveIPv6Host(host, target.ipv6_scope_id, address_text)) {
    Refuse(ui, tvkutil::ids::kUnableToResolveIPv6, host);
    return PingOutcome::kUnresolved;
  }
  return outcome(net::PingIPv6(address_text, target.timeout_ms, target.retries, L"Ping", sink));
}

bool RunToolbarPing(const PingTarget& target, app::IOperationUi& ui, logs::ITransactionSink& sink) {
  const PingOutcome outcome = RunPing(target, ui, sink);
  return outcome == PingOutcome::kReply || outcome == PingOutcome::kNoReply;
}

}  // namespace pages
