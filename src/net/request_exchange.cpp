#include "net/request_exchange.h"

#include <span>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/transaction_log.h"
#include "snmp/response_check.h"

namespace net {

int ExchangeRequest(const std::wstring& host, std::uint16_t port, const UdpSettings& settings,
                    std::wstring_view source, snmp::CSNMPMessage& request,
                    snmp::CSNMPMessage& response, IUdpSocketOps* ops) {
  std::vector<std::uint8_t> send_buffer(snmp::kMessageBufferLen);
  CUdpSession session(host, port, settings, true, ops);
  session.SetPeer();

  std::span<const std::uint8_t> message;
  if (!request.EncodeInto(send_buffer, message) || message.empty())
    throw kSnmpBuildError;
  const auto message_len = static_cast<std::int32_t>(message.size());

  const bool is_trap = request.IsTrap() || request.PduType() == snmp::kPduTrapV2;
  if (is_trap) {
    // A trap has no answer to wait for and is never repeated.
    if (session.Send(message.data(), message_len) < message_len)
      throw kSnmpTransmitError;
    logs::LogTransaction(logs::kDirectionSent, source, message.data(), message.size(), 0);
    session.Close();
    return 0;
  }

  std::vector<std::uint8_t> receive_buffer(snmp::kMessageBufferLen);
  std::int32_t received = 0;
  for (int attempts = 0;;) {
    if (session.Send(message.data(), message_len) < message_len)
      throw kSnmpTransmitError;
    logs::LogTransaction(logs::kDirectionSent, source, message.data(), message.size(), 0);
    received = session.Receive(receive_buffer.data(), snmp::kMessageBufferLen, kReceiveOne);
    if (received > 0)
      break;
    if (++attempts > settings.retries)
      throw kSnmpTimeoutError;
  }
  logs::LogTransaction(logs::kDirectionReceived, source, receive_buffer.data(),
                       static_cast<std::size_t>(received), 0);
  session.Close();
  return snmp::ValidateResponse(
      std::span<const std::uint8_t>(receive_buffer.data(), static_cast<std::size_t>(received)),
      response, request);
}

}  // namespace net
