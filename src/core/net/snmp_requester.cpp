#include "net/snmp_requester.h"

#include <chrono>
#include <cstring>
#include <random>

#include "snmp/response_check.h"
#include "snmp/usm_key_book.h"

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
  if (request.Version() == snmp::kSnmpVersion3)
    return RequestV3(request, response, stop);
  snmp::ResponseCheck check;
  std::size_t answer_bytes = 0;
  const AnswerTest answers = [&](std::span<const std::uint8_t> reply) {
    // The checks stop at the request id, before any binding is read, so `response` takes the
    // next datagram as it took the first.
    check = snmp::ValidateResponse(reply, response, request);
    answer_bytes = reply.size();
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
  ExchangeResult result = ExchangeResult::Checked(check);
  result.answer_bytes = answer_bytes;
  return result;
}

ExchangeResult CSnmpRequester::SendOnce(snmp::CSNMPMessage& message) {
  if (!session_)
    return open_failure_;
  try {
    if (message.Version() == snmp::kSnmpVersion3) {
      const std::optional<std::span<const std::uint8_t>> encoded = EncodeTrapV3(message);
      if (!encoded)
        throw kSnmpBuildError;
      SendAndLog(*encoded);
      return {};
    }
    SendAndLog(Encode(message));
  } catch (SNMPINTERNALERROR code) {
    return ExchangeResult::Thrown(code);
  }
  return {};
}

// --- SNMPv3 ---------------------------------------------------------------------------------

namespace {

using snmp::usm::AuthProtocol;
using snmp::usm::PrivProtocol;
using snmp::usm::SecurityLevel;
using snmp::v3::ReportKind;

bool Authenticates(const snmp::usm::UserSecurity& user) {
  return user.level != SecurityLevel::kNoAuthNoPriv && user.auth != AuthProtocol::kNone;
}
bool Encrypts(const snmp::usm::UserSecurity& user) {
  return user.level == SecurityLevel::kAuthPriv && user.priv != PrivProtocol::kNone &&
         Authenticates(user);
}
// AES keys longer than the hash are stretched one of two ways (see usm_crypto.h).
bool StretchesKey(const snmp::usm::UserSecurity& user) {
  return Encrypts(user) && snmp::usm::PrivKeyLength(user.priv) > snmp::usm::HashLength(user.auth);
}

ExchangeResult Failed(ExchangeFailure failure) {
  ExchangeResult result;
  result.failure = failure;
  return result;
}

ExchangeResult NotDecoded(snmp::BerStatus why) {
  return ExchangeResult::Checked(snmp::ResponseCheck::NotDecoded(why));
}

}  // namespace

void CSnmpRequester::SetSecurity(const snmp::usm::UserSecurity& user) {
  if (auth_key_made_.valid())
    auth_key_made_.wait();  // made for the old user: dropped
  if (priv_key_made_.valid())
    priv_key_made_.wait();
  auth_key_made_ = {};
  priv_key_made_ = {};
  security_ = user;
  engine_ = {};
  auth_master_key_.clear();
  priv_master_key_.clear();
  if (scoped_buffer_.empty()) {
    std::random_device seed;
    next_msg_id_ = static_cast<std::int32_t>(seed() & 0x3FFFFFFF);
    next_salt_ = (static_cast<std::uint64_t>(seed()) << 32) | seed();
  }
}

snmp::usm::KeyExtension CSnmpRequester::Extension() const {
  switch (security_.extension) {
    case snmp::usm::KeyExtensionChoice::kReeder:
      return snmp::usm::KeyExtension::kReeder;
    case snmp::usm::KeyExtensionChoice::kBlumenthal:
      return snmp::usm::KeyExtension::kBlumenthal;
    case snmp::usm::KeyExtensionChoice::kAutomatic:
      break;
  }
  return engine_.reeder ? snmp::usm::KeyExtension::kReeder : snmp::usm::KeyExtension::kBlumenthal;
}

void CSnmpRequester::StartPasswordKeys() {
  if (!Authenticates(security_) || !auth_master_key_.empty() || auth_key_made_.valid())
    return;
  const auto make = [auth = security_.auth](std::string password) {
    return snmp::usm::PasswordToKey(auth, password);
  };
  auth_key_made_ = std::async(std::launch::async, make, security_.auth_password);
  if (Encrypts(security_))
    priv_key_made_ = std::async(std::launch::async, make, security_.priv_password);
}

void CSnmpRequester::LocaliseKeys() {
  engine_.auth_key.clear();
  engine_.priv_key.clear();
  if (!Authenticates(security_))
    return;
  if (auth_key_made_.valid())
    auth_master_key_ = auth_key_made_.get();
  if (priv_key_made_.valid())
    priv_master_key_ = priv_key_made_.get();
  if (auth_master_key_.empty())
    auth_master_key_ = snmp::usm::PasswordToKey(security_.auth, security_.auth_password);
  engine_.auth_key = snmp::usm::LocalizeKey(security_.auth, auth_master_key_, engine_.id);
  if (Encrypts(security_)) {
    if (priv_master_key_.empty())
      priv_master_key_ = snmp::usm::PasswordToKey(security_.auth, security_.priv_password);
    engine_.priv_key = snmp::usm::PrivacyKeyOf(security_.auth, security_.priv, Extension(),
                                               priv_master_key_, engine_.id);
    // The transaction log's decoded view shows these messages' scoped PDUs with it.
    snmp::usm::RememberPrivacyKey(engine_.id, security_.user_name, security_.priv,
                                  engine_.priv_key);
  }
}

void CSnmpRequester::SetEngineClock(std::uint32_t boots, std::uint32_t time) {
  engine_.boots = boots;
  engine_.time = time;
  engine_.learnt = std::chrono::steady_clock::now();
}

std::uint32_t CSnmpRequester::EngineTime() const {
  const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(
                           std::chrono::steady_clock::now() - engine_.learnt)
                           .count();
  const std::int64_t now = static_cast<std::int64_t>(engine_.time) + elapsed;
  return static_cast<std::uint32_t>(std::min<std::int64_t>(now, INT32_MAX));
}

snmp::v3::Header CSnmpRequester::HeaderFor(bool discovery) {
  snmp::v3::Header h;
  h.msg_id = next_msg_id_;
  next_msg_id_ = next_msg_id_ == INT32_MAX ? 1 : next_msg_id_ + 1;
  h.flags = snmp::v3::kFlagReportable;
  if (discovery)
    return h;
  h.engine_id = engine_.id;
  h.boots = engine_.boots;
  h.time = EngineTime();
  h.user_name = security_.user_name;
  if (Authenticates(security_)) {
    h.flags |= snmp::v3::kFlagAuth;
    h.auth_params.assign(snmp::usm::DigestLength(security_.auth), 0);
  }
  if (Encrypts(security_))
    h.flags |= snmp::v3::kFlagPriv;
  return h;
}

std::optional<std::span<const std::uint8_t>> CSnmpRequester::EncodeV3(snmp::CSNMPMessage& message,
                                                                      snmp::v3::Header& header,
                                                                      bool discovery) {
  if (scoped_buffer_.empty())
    scoped_buffer_.resize(snmp::kMessageBufferLen);
  const bool encrypts = !discovery && Encrypts(security_);
  const bool authenticates = !discovery && Authenticates(security_);

  // The scoped PDU first, on its own: it may have to be encrypted before it is wrapped.
  snmp::CBerWriter scoped(&scoped_buffer_.back(), static_cast<std::int32_t>(scoped_buffer_.size()));
  const snmp::usm::Bytes& context_engine =
      discovery || !security_.context_engine_id.empty() ? security_.context_engine_id : engine_.id;
  if (!snmp::v3::EncodeScopedPdu(scoped, discovery ? snmp::usm::Bytes{} : context_engine,
                                 discovery ? std::string() : security_.context_name, message))
    return std::nullopt;
  std::span<const std::uint8_t> data(
      scoped.Begin(), scoped_buffer_.size() - static_cast<std::size_t>(scoped.FreeCount()));
  std::optional<snmp::usm::Encrypted> sealed;
  if (encrypts) {
    sealed = snmp::usm::Encrypt(security_.priv, engine_.priv_key, header.boots, header.time,
                                next_salt_++, data);
    if (!sealed)
      return std::nullopt;
    header.priv_params = sealed->salt;
    data = sealed->text;
  }
  std::span<const std::uint8_t> encoded;
  std::size_t auth_offset = 0;
  if (!snmp::v3::EncodeMessage(send_buffer_, header, data, encrypts, encoded, auth_offset))
    return std::nullopt;
  if (authenticates) {
    const snmp::usm::Bytes digest = snmp::usm::Digest(security_.auth, engine_.auth_key, encoded);
    if (digest.size() != header.auth_params.size())
      return std::nullopt;
    const auto at = static_cast<std::size_t>(encoded.data() - send_buffer_.data()) + auth_offset;
    std::memcpy(send_buffer_.data() + at, digest.data(), digest.size());
  }
  return encoded;
}

ExchangeResult CSnmpRequester::ExchangeV3(snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                                          std::stop_token stop, bool discovery) {
  snmp::v3::Header header = HeaderFor(discovery);
  const bool encrypts = !discovery && Encrypts(security_);
  const bool authenticates = !discovery && Authenticates(security_);
  const std::optional<std::span<const std::uint8_t>> message = EncodeV3(request, header, discovery);
  if (!message)
    return Failed(ExchangeFailure::kBuild);

  ExchangeResult outcome;
  const AnswerTest answers = [&](std::span<const std::uint8_t> reply) {
    snmp::v3::Incoming in;
    if (const snmp::BerStatus r = snmp::v3::DecodeMessage(reply, in); r != snmp::BerStatus::kOk) {
      outcome = NotDecoded(r);
      return true;
    }
    if (in.header.msg_id != header.msg_id)
      return false;  // an answer to another message
    const bool signed_reply = (in.header.flags & snmp::v3::kFlagAuth) != 0;
    // Nothing of an answer is believed before its digest is (RFC 3414 3.2.6); only a report may
    // come unsigned, since the agent could not sign it for a user it refused.
    if (authenticates && signed_reply &&
        !snmp::v3::DigestMatches(security_.auth, engine_.auth_key, reply, in)) {
      outcome = Failed(ExchangeFailure::kBadDigest);
      return true;
    }
    std::span<const std::uint8_t> plain = in.data;
    std::optional<snmp::usm::Bytes> opened;
    if (in.encrypted) {
      if (!encrypts || !signed_reply) {
        outcome = NotDecoded(snmp::BerStatus::kWrongTag);
        return true;
      }
      opened = snmp::usm::Decrypt(security_.priv, engine_.priv_key, in.header.boots, in.header.time,
                                  in.header.priv_params, in.data);
      if (!opened) {
        outcome = NotDecoded(snmp::BerStatus::kBadLength);
        return true;
      }
      plain = *opened;
    }
    snmp::v3::ScopedPdu scoped_pdu;
    if (const snmp::BerStatus r = snmp::v3::DecodeScopedPdu(plain, in.encrypted, scoped_pdu);
        r != snmp::BerStatus::kOk) {
      outcome = NotDecoded(r);
      return true;
    }
    if (!scoped_pdu.pdu.empty() && scoped_pdu.pdu[0] == snmp::v3::kPduReport) {
      snmp::v3::Report report = snmp::v3::ReadReport(scoped_pdu.pdu);
      if (report.kind == ReportKind::kNone) {
        outcome = NotDecoded(snmp::BerStatus::kBadLength);
        return true;
      }
      outcome = Failed(ExchangeFailure::kReport);
      outcome.v3 = V3Outcome{report.kind, report.oid, {}, {}, {}};
      last_report_ = std::move(in.header);
      return true;
    }
    if (authenticates && !signed_reply) {
      outcome = Failed(ExchangeFailure::kBadDigest);  // an unsigned answer to a signed request
      return true;
    }
    const snmp::ResponseCheck check =
        snmp::ValidateScopedResponse(scoped_pdu.pdu, response, request);
    if (check.failure == snmp::CheckFailure::kRequestIdMismatch)
      return false;
    outcome = ExchangeResult::Checked(check);
    outcome.answer_bytes = reply.size();
    // A signed answer carries the agent's clock: keep ours moving with it (RFC 3414 3.2.7 b).
    if (authenticates && (in.header.boots > engine_.boots ||
                          (in.header.boots == engine_.boots && in.header.time > EngineTime())))
      SetEngineClock(in.header.boots, in.header.time);
    return true;
  };
  try {
    switch (Try(*message, stop, answers)) {
      case Tried::kStopped:
        return Failed(ExchangeFailure::kStopped);
      case Tried::kOnlyOtherAnswers:
        return ExchangeResult::Checked(
            snmp::ResponseCheck::Failed(snmp::CheckFailure::kRequestIdMismatch));
      case Tried::kAnswered:
        break;
    }
  } catch (SNMPINTERNALERROR code) {
    return ExchangeResult::Thrown(code);
  }
  return outcome;
}

std::optional<std::span<const std::uint8_t>> CSnmpRequester::EncodeTrapV3(
    snmp::CSNMPMessage& message) {
  // A notification's sender is the authoritative engine (RFC 3414 1.5.1): our own engine ID
  // (the user's context engine ID when given), our boots and time. The receiver knows the user
  // by that engine ID (net-snmp: createUser -e).
  if (!engine_.known) {
    engine_.known = true;
    engine_.id = security_.context_engine_id.empty() ? snmp::v3::LocalEngineId()
                                                     : security_.context_engine_id;
    SetEngineClock(1, 0);
    LocaliseKeys();
  }
  snmp::v3::Header header = HeaderFor(false);
  header.flags &= static_cast<std::uint8_t>(~snmp::v3::kFlagReportable);  // nobody answers
  return EncodeV3(message, header, false);
}

ExchangeResult CSnmpRequester::Discover(std::stop_token stop) {
  // RFC 3414 4: a request with no engine ID and no user is answered by a report of
  // usmStatsUnknownEngineIDs that carries the agent's engine ID, boots and time.
  snmp::CSNMPMessage probe(snmp::kSnmpVersion3, L"", snmp::kPduGetRequest);
  probe.SetRequestId(next_msg_id_);
  snmp::CSNMPMessage answer(snmp::kPduResponse);
  StartPasswordKeys();
  ExchangeResult result = ExchangeV3(probe, answer, stop, true);
  if (result.failure != ExchangeFailure::kReport ||
      result.v3->report != ReportKind::kUnknownEngineId || last_report_.engine_id.empty()) {
    return result.failure == ExchangeFailure::kNone ||
                   result.failure == ExchangeFailure::kAgentError
               ? NotDecoded(snmp::BerStatus::kWrongTag)  // no report: no engine to speak to
               : result;
  }
  engine_.known = true;
  engine_.id = last_report_.engine_id;
  SetEngineClock(last_report_.boots, last_report_.time);
  LocaliseKeys();
  return {};
}

ExchangeResult CSnmpRequester::RequestV3(snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                                         std::stop_token stop) {
  const auto finish = [&](ExchangeResult result) {
    if (!result.Ok() && result.failure != ExchangeFailure::kStopped) {
      V3Outcome who = result.v3.value_or(V3Outcome{});
      who.user_name = security_.user_name;
      who.level = security_.level;
      who.priv = security_.priv;
      result.v3 = std::move(who);
    }
    return result;
  };
  if (!engine_.known) {
    // Silence here is no sign of a wrong privacy key: nothing encrypted has gone yet.
    if (ExchangeResult found = Discover(stop); !found.Ok())
      return found.failure == ExchangeFailure::kTimeout ? found : finish(std::move(found));
  }
  bool resynchronised = false;
  bool rediscovered = false;
  bool other_extension = false;
  for (;;) {
    ExchangeResult result = ExchangeV3(request, response, stop, false);
    const ReportKind report = result.v3 ? result.v3->report : ReportKind::kNone;
    if (report == ReportKind::kNotInTimeWindow && !resynchronised) {
      // The agent rebooted or its clock ran away from ours: take its clock once (RFC 3414 4).
      resynchronised = true;
      SetEngineClock(last_report_.boots, last_report_.time);
      continue;
    }
    if (report == ReportKind::kUnknownEngineId && !rediscovered) {
      // The agent's engine ID changed under us (a replaced device at the same address).
      rediscovered = true;
      engine_.known = false;
      if (ExchangeResult found = Discover(stop); !found.Ok())
        return finish(std::move(found));
      continue;
    }
    const bool undecryptable = report == ReportKind::kDecryptionError ||
                               (result.failure == ExchangeFailure::kTimeout && Encrypts(security_));
    if (undecryptable && !other_extension &&
        security_.extension == snmp::usm::KeyExtensionChoice::kAutomatic &&
        StretchesKey(security_)) {
      // Agents stretch AES-192/256 keys one of two ways; try the other one once.
      other_extension = true;
      engine_.reeder = !engine_.reeder;
      LocaliseKeys();
      continue;
    }
    if (other_extension) {
      if (result.Ok()) {
        result.note = std::wstring(L"The agent accepted ") +
                      (security_.priv == PrivProtocol::kAes192 ? L"AES-192" : L"AES-256") +
                      L" keys stretched the " + (engine_.reeder ? L"Reeder" : L"Blumenthal") +
                      L" way.";
      } else if (result.failure != ExchangeFailure::kStopped) {
        engine_.reeder = !engine_.reeder;  // neither way worked: back to the first
        LocaliseKeys();
      }
    }
    return finish(std::move(result));
  }
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
