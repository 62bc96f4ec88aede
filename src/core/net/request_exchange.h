// One request from start to end: resolve, open, encode, send, wait, retry, log, decode, close.
// For operations that make a single request; see CSnmpRequester for the pieces.
#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "logs/transaction_sink.h"
#include "net/snmp_internal_error.h"
#include "net/udp_session.h"
#include "snmp/response_check.h"
#include "snmp/snmp_message.h"

namespace net {

// Sends `request` (a get, get-next or set filled by the page: version, community, request id,
// bindings) to host:port and waits for the agent's answer. Traps go through CSnmpRequester's
// SendOnce.
//
// The message is sent up to settings.retries + 1 times, each try followed by
// a full settings.request_timeout_ms wait; every datagram sent and the one received go to
// `sink` under `source`. The answer is then decoded into `response` (a fresh message
// of the response type) and checked against the request; the result of that check is
// returned (see snmp::ValidateResponse).
//
// Nothing when a stop was requested through `stop` (see CSnmpRequester::Exchange).
//
// Throws SNMPINTERNALERROR: -2 host not resolved, -1 bind failed, -7 no socket, -4 message not
// encodable, -5 not all bytes sent, -6 no answer after all tries.
std::optional<snmp::ResponseCheck> ExchangeRequest(const std::wstring& host, std::uint16_t port,
                                   const UdpSettings& settings, std::wstring_view source,
                                   snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                                   logs::ITransactionSink& sink, IUdpSocketOps* ops = nullptr,
                                   std::stop_token stop = {});

}  // namespace net
