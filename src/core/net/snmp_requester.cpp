#include "net/snmp_requester.h"

#include <chrono>

namespace net {

CSnmpRequester::CSnmpRequester(const std::wstring& host, std::uint16_t port,
                               const UdpSettings& settings, std::wstring source,
                               logs::ITransactionSink& sink, IUdpSocketOps* ops)
    : session_(host, port, settings, true, ops),
      retries_(settings.retries),
      timeout_ms_(settings.request_timeout_ms),
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

void CSnmpRequester::SendAndLog(std::span<const std::uint8_t> message, bool first_try) {
  const auto len = static_cast<std::int32_t>(message.size());
  if (session_.Send(message.data(), len, first_try) < len)
    throw kSnmpTransmitError;
  sink_.LogDatagram(logs::kDirectionSent, source_, message, session_.Ends());
}

CSnmpRequester::Tried CSnmpRequester::Try(std::span<const std::uint8_t> message,
                                          std::stop_token stop, const AnswerTest& answers,
                                          std::span<const std::uint8_t>& out_reply) {
  bool other_answers = false;
  for (int attempts = 0;;) {
    SendAndLog(message, attempts == 0);
    // One deadline per try: nothing the agent or anyone else sends moves it.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms_);
    for (;;) {
      const std::int32_t received = session_.ReceiveUntil(
          receive_buffer_.data(), snmp::kMessageBufferLen, kReceiveOne, deadline, stop);
      if (received == kReceiveStopped)
        return Tried::kStopped;
      if (received == kNothingReceived)
        break;
      out_reply =
          std::span<const std::uint8_t>(receive_buffer_.data(), static_cast<std::size_t>(received));
      sink_.LogDatagram(logs::kDirectionReceived, source_, out_reply, session_.Ends());
      if (!answers || answers(out_reply))
        return Tried::kAnswered;
      other_answers = true;
    }
    if (stop.stop_requested())
      return Tried::kStopped;
    if (++attempts > retries_) {
      if (other_answers)
        return Tried::kOnlyOtherAnswers;
      throw kSnmpTimeoutError;
    }
  }
}

std::optional<std::span<const std::uint8_t>> CSnmpRequester::Exchange(snmp::CSNMPMessage& request,
                                                                      std::stop_token stop) {
  std::span<const std::uint8_t> reply;
  if (Try(Encode(request), stop, {}, reply) == Tried::kStopped)
    return std::nullopt;
  return reply;
}

std::optional<snmp::ResponseCheck> CSnmpRequester::Request(snmp::CSNMPMessage& request,
                                                           snmp::CSNMPMessage& response,
                                                           std::stop_token stop) {
  snmp::ResponseCheck result;
  const AnswerTest answers = [&](std::span<const std::uint8_t> reply) {
    // The checks stop at the request id, before any binding is read, so `response` takes the
    // next datagram as it took the first.
    result = snmp::ValidateResponse(reply, response, request);
    return result.failure != snmp::CheckFailure::kRequestIdMismatch;
  };
  std::span<const std::uint8_t> reply;
  if (Try(Encode(request), stop, answers, reply) == Tried::kStopped)
    return std::nullopt;
  return result;
}

void CSnmpRequester::SendOnce(snmp::CSNMPMessage& message) {
  SendAndLog(Encode(message));
}

}  // namespace net
