// The ping toolbar's command without its window: checks and resolves the host text, tells the
// user what is wrong through app::IOperationUi, and pings. Replies go to the transaction log.
#pragma once

#include <cstdint>
#include <stop_token>
#include <string>

#include "logs/transaction_sink.h"
#include "ops/operation_ui.h"

namespace pages {

// A ping from the toolbar waits this long for each echo and sends at most two.
inline constexpr int kToolbarPingTimeoutMs = 1000;
inline constexpr int kToolbarPingRetries = 1;

struct PingTarget {
  std::wstring host;
  bool use_ipv6 = false;
  std::uint32_t ipv6_scope_id = 0;         // the interface chosen in the Options, 0 for any
  int timeout_ms = kToolbarPingTimeoutMs;  // each echo's wait
  int retries = kToolbarPingRetries;       // echoes after the first when none is answered
};

// How a ping ended: the host text refused (an invalid IPv4 address), not resolved, or sent
// with or without a reply. Nothing is sent for the first two.
enum class PingOutcome { kRefused, kUnresolved, kNoReply, kReply };

// A ping in three steps, so that the middle one can leave the window's thread:
// CheckPingHost refuses a dotted text that is neither an IPv4 address nor a host name and tells
// the user through `ui`; ResolveAndPing needs no window (kUnresolved: nothing sent, nothing said
// yet, net::LastLookupFailure of its thread says why); ReportPingOutcome tells the user about a
// host that could not be resolved, with the resolver's reason.
bool CheckPingHost(const PingTarget& target, app::IOperationUi& ui);
PingOutcome ResolveAndPing(const PingTarget& target,
                           logs::ITransactionSink& sink = logs::TransactionLogSink(),
                           std::stop_token stop = {});
void ReportPingOutcome(const PingTarget& target, PingOutcome outcome, app::IOperationUi& ui,
                       const std::wstring& lookup_failure);

// The three steps in a row.
PingOutcome RunPing(const PingTarget& target, app::IOperationUi& ui,
                    logs::ITransactionSink& sink = logs::TransactionLogSink(),
                    std::stop_token stop = {});

// The toolbar's ping. True when a ping was sent (whatever its outcome); false when the host
// text was refused or could not be resolved, after the message has been shown.
bool RunToolbarPing(const PingTarget& target, app::IOperationUi& ui,
                    logs::ITransactionSink& sink = logs::TransactionLogSink());

}  // namespace pages
