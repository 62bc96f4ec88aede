#include "net/snmp_requester.h"

#include "snmp/response_check.h"

namespace net {

CSnmpRequester::CSnmpRequester(const std::wstring& host, std::uint16_t port,
                               const UdpSettings& settings, std::wstring source,
                               logs::ITransactionSink& sink, IUdpSocketOps* ops)
    : session_(host, port, settings, true, ops),
      retries_(settings.retries),
      source_(std::move(source)),
      sink_(sink),
      send_buffer_(snmp::kMessageBufferLen),
      receive_buffer_(snmp::kMessageBufferLen) {
  session_.SetPeer();
}

std::span<const std::uint8_t> CSnmpRequester::Encode(snmp::CSNMPMessage& message) {
  std::span<const std::uint8_t> encoded;
  if (!message.EncodeInto(send_buffer_, encoded) || encoded.empty())
    throw kSnmpBuildError;
  return encoded;
}

void CSnmpRequester::SendAndLog(std::span<const std::uint8_t> message) {
  const auto len = static_cast<std::int32_t>(message.size());
  if (session_.Send(message.data(), len) < len)
    throw kSnmpTransmitError;
  sink_.LogDatagram(logs::kDirectionSent, source_, message, session_.Ends());
}

std::span<const std::uint8_t> CSnmpRequester::Exchange(snmp::CSNMPMessage& request,
                                                       const StopTest& stop) {
  const std::span<const std::uint8_t> message = Encode(request);
  for (int attempts = 0;;) {
    SendAndLog(message);
    const std::int32_t received =
        session_.Receive(receive_buffer_.data(), snmp::kMessageBufferLen, kReceiveOne);
    if (received > 0) {
      const std::span<const std::uint8_t> reply(receive_buffer_.data(),
                                                static_cast<std::size_t>(received));
      sink_.LogDatagram(logs::kDirectionReceived, source_, reply, session_.Ends());
      return reply;
    }
    if (stop && stop())
      return {};
    if (++attempts > retries_)
      throw kSnmpTimeoutError;
  }
}

std::optional<int> CSnmpRequester::Request(snmp::CSNMPMessage& request,
                                           snmp::CSNMPMessage& response, const StopTest& stop) {
  const std::span<const std::uint8_t> reply = Exchange(request, stop);
  if (reply.empty())
    return std::nullopt;
  return snmp::ValidateResponse(reply, response, request);
}

void CSnmpRequester::SendOnce(snmp::CSNMPMessage& message) {
  SendAndLog(Encode(message));
}

}  // namespace net
