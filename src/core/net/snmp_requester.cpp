#include "net/snmp_requester.h"

#include <chrono>

#include "snmp/response_check.h"

namespace net {

CSnmpRequester::CSnmpRequester(const std::wstring& host, std::uint16_t port,
                               const UdpSettings& settings, std::wstring source,
                               logs::ITransactionSink& sink, IUdpSocketOps* ops)
    : retries_(settings.retries),
      timeout_ms_(settings.request_timeout_ms),
      source_(std::move(source)),
      sink_(sink),
      send_buffer_(snmp::kMessageBufferLen),
      receive_buffer_(snmp::kMessageBufferLen) {
  try {
    session_.emplace(host, port, settings, true, ops);
    session_->SetPeer();
  } catch (SNMPINTERNALERROR code) {
    session_.reset();
    open_failure_ = ExchangeResult::Thrown(code);
  }
}

CSnmpRequester::~CSnmpRequester() = default;

void CSnmpRequester::SetQuickAnswerWait(bool on) {
  if (session_)
    session_->SetQuickAnswerWait(on);
}

std::span<const std::uint8_t> CSnmpRequester::Encode(snmp::CSNMPMessage& message) {
  std::span<const std::uint8_t> encoded;
  if (!message.EncodeInto(send_buffer_, encoded) || encoded.empty())
    throw kSnmpBuildError;
  return encoded;
}

void CSnmpRequester::SendAndLog(std::span<const std::uint8_t> message, bool first_try) {
  const auto len = static_cast<std::int32_t>(message.size());
  if (session_->Send(message.data(), len, first_try) < len)
    throw kSnmpTransmitError;
  sink_.LogDatagram(logs::kDirectionSent, source_, message, session_->Ends());
}

CSnmpRequester::Tried CSnmpRequester::Try(std::span<const std::uint8_t> message,
                                          std::stop_token stop, const AnswerTest& answers) {
  bool other_answers = false;
  for (int attempts = 0;;) {
    SendAndLog(message, attempts == 0);
    // One deadline per try: nothing the agent or anyone else sends moves it.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms_);
    for (;;) {
      const std::int32_t received = session_->ReceiveUntil(
          receive_buffer_.data(), snmp::kMessageBufferLen, kReceiveOne, deadline, stop);
      if (received == kReceiveStopped)
        return Tried::kStopped;
      if (received == kNothingReceived)
        break;
      const std::span<const std::uint8_t> reply(receive_buffer_.data(),
                                                static_cast<std::size_t>(received));
      sink_.LogDatagram(logs::kDirectionReceived, source_, reply, session_->Ends());
      if (answers(reply))
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

ExchangeResult CSnmpRequester::Request(snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                                       std::stop_token stop) {
  if (!session_)
    return open_failure_;
  snmp::ResponseCheck check;
  const AnswerTest answers = [&](std::span<const std::uint8_t> reply) {
    // The checks stop at the request id, before any binding is read, so `response` takes the
    // next datagram as it took the first.
    check = snmp::ValidateResponse(reply, response, request);
    return check.failure != snmp::CheckFailure::kRequestIdMismatch;
  };
  try {
    if (Try(Encode(request), stop, answers) == Tried::kStopped) {
      ExchangeResult stopped;
      stopped.failure = ExchangeFailure::kStopped;
      return stopped;
    }
  } catch (SNMPINTERNALERROR code) {
    return ExchangeResult::Thrown(code);
  }
  return ExchangeResult::Checked(check);
}

ExchangeResult CSnmpRequester::SendOnce(snmp::CSNMPMessage& message) {
  if (!session_)
    return open_failure_;
  try {
    SendAndLog(Encode(message));
  } catch (SNMPINTERNALERROR code) {
    return ExchangeResult::Thrown(code);
  }
  return {};
}

ExchangeResult ExchangeRequest(const std::wstring& host, std::uint16_t port,
                               const UdpSettings& settings, std::wstring_view source,
                               snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                               logs::ITransactionSink& sink, IUdpSocketOps* ops,
                               std::stop_token stop, const snmp::usm::UserSecurity& security) {
  CSnmpRequester requester(host, port, settings, std::wstring(source), sink, ops);
  requester.SetSecurity(security);
  return requester.Request(request, response, stop);
}

}  // namespace net
