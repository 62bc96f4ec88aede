// CSnmpRequester: one SNMP agent for the length of one operation. The host is resolved, the
// socket opened and the buffers allocated once; then any number of requests are exchanged with
// retries, each datagram handed to the transaction sink. A Get makes one request with it, a
// walk thousands, a trap sends once.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "logs/transaction_sink.h"
#include "net/snmp_internal_error.h"
#include "net/udp_session.h"
#include "snmp/response_check.h"
#include "snmp/snmp_message.h"

namespace net {

class CSnmpRequester {
 public:
  // Resolves host, opens and binds the socket and fixes the peer. Throws SNMPINTERNALERROR:
  // -2 host not resolved, -1 bind failed, -7 no socket. `source` names the operation in the
  // transaction log ("Get", "walkMIB" ...); `sink` receives every datagram.
  CSnmpRequester(const std::wstring& host, std::uint16_t port, const UdpSettings& settings,
                 std::wstring source, logs::ITransactionSink& sink, IUdpSocketOps* ops = nullptr);
  CSnmpRequester(const CSnmpRequester&) = delete;
  CSnmpRequester& operator=(const CSnmpRequester&) = delete;

  // Encodes `request` and sends it up to retries + 1 times from the one socket, each try
  // followed by a wait of the request time-out, always the same bytes; an answer to any try
  // is taken, also one that comes while a later try waits. Returns the first datagram from the
  // agent (an empty one too), valid until the next call, or nothing when a stop was requested
  // through `stop` (any wait ends within tvkutil::kStopPollSlice). Throws -4 (not encodable),
  // -5 (not all bytes sent) or -6 (no answer after all tries).
  std::optional<std::span<const std::uint8_t>> Exchange(snmp::CSNMPMessage& request,
                                                        std::stop_token stop = {});

  // Exchange, then the answer decoded into `response` (a message of the response type) and
  // checked against the request (see snmp::ValidateResponse). A datagram that answers another
  // request (its request id differs: a late answer to an earlier request, or someone's flood) is
  // logged and waited past within the same try; when no try got anything else the result is that
  // mismatch. Nothing when stopped. Throws as Exchange.
  std::optional<snmp::ResponseCheck> Request(snmp::CSNMPMessage& request,
                                             snmp::CSNMPMessage& response,
                                             std::stop_token stop = {});

  // A trap: encoded, sent once and logged, never waited for. Throws -4 or -5.
  void SendOnce(snmp::CSNMPMessage& message);

  const std::wstring& Host() const { return session_.Host(); }
  // See CUdpSession::SetQuickAnswerWait: for operations that make many requests in a row.
  void SetQuickAnswerWait(bool on) { session_.SetQuickAnswerWait(on); }

 private:
  // The encoded message at the end of the send buffer; throws -4 when it cannot be built.
  std::span<const std::uint8_t> Encode(snmp::CSNMPMessage& message);
  // Sends all of `message` and logs it; throws -5 when not all of it went. A first try drains
  // what earlier requests left in the socket; a retry does not (see CUdpSession::Send).
  void SendAndLog(std::span<const std::uint8_t> message, bool first_try = true);
  // Judges a datagram from the agent: false when it answers another request.
  using AnswerTest = std::function<bool(std::span<const std::uint8_t>)>;
  enum class Tried { kAnswered, kStopped, kOnlyOtherAnswers };
  // The tries of Exchange; with `answers`, datagrams it refuses are waited past. out_reply is
  // the answer when kAnswered.
  Tried Try(std::span<const std::uint8_t> message, std::stop_token stop, const AnswerTest& answers,
            std::span<const std::uint8_t>& out_reply);

  CUdpSession session_;
  int retries_;
  int timeout_ms_;
  std::wstring source_;
  logs::ITransactionSink& sink_;
  std::vector<std::uint8_t> send_buffer_;
  std::vector<std::uint8_t> receive_buffer_;
};

}  // namespace net
