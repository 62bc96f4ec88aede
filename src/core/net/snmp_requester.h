// CSnmpRequester: one SNMP agent for the length of one operation. The host is resolved, the
// socket opened and the buffers allocated once; then any number of requests are exchanged with
// retries, each datagram handed to the transaction sink. A Get makes one request with it, a
// walk thousands, a trap sends once. Every outcome comes back as one ExchangeResult: nothing
// is thrown past it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "logs/transaction_sink.h"
#include "net/exchange_result.h"
#include "net/udp_session.h"
#include "snmp/snmp_message.h"
#include "snmp/usm_user.h"
#include "snmp/v3_message.h"

namespace net {

class CSnmpRequester {
 public:
  // Resolves host, opens and binds the socket and fixes the peer; when one of them fails, every
  // request returns that failure (kResolve, kBind, kSocket) without sending. `source` names
  // the operation in the transaction log ("Get", "walkMIB" ...); `sink` receives every datagram.
  CSnmpRequester(const std::wstring& host, std::uint16_t port, const UdpSettings& settings,
                 std::wstring source, logs::ITransactionSink& sink, IUdpSocketOps* ops = nullptr);
  ~CSnmpRequester();
  CSnmpRequester(const CSnmpRequester&) = delete;
  CSnmpRequester& operator=(const CSnmpRequester&) = delete;

  // Encodes `request` and sends it up to retries + 1 times from the one socket, each try
  // followed by a wait of the request time-out, always the same bytes; an answer to any try is
  // taken, also one that comes while a later try waits. The answer is decoded into `response`
  // (a message of the response type) and checked against the request (see
  // snmp::ValidateResponse). A datagram that answers another request (its request id differs:
  // a late answer to an earlier request, or someone's flood) is logged and waited past within
  // the same try; when no try got anything else the result is that mismatch. A stop requested
  // through `stop` ends any wait within tvkutil::kStopPollSlice (kStopped).
  ExchangeResult Request(snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                         std::stop_token stop = {});

  // A trap: encoded, sent once and logged, never waited for (kBuild, kTransmit). A version 3
  // trap speaks as SetSecurity's user from this program's own engine (snmp::v3::LocalEngineId,
  // or the user's context engine ID when set).
  ExchangeResult SendOnce(snmp::CSNMPMessage& message);

  // Who SNMPv3 requests (version kSnmpVersion3) speak as; kept for the requester's life, with
  // the agent's engine ID, boots, time and the keys localised to it once learnt (RFC 3414 4:
  // the first request discovers them). Setting another user forgets the keys.
  void SetSecurity(const snmp::usm::UserSecurity& user);

  // What SNMPv3 requests learnt of the agent: its engine, clock and the keys localised to it.
  struct Engine {
    bool known = false;
    snmp::usm::Bytes id;
    std::uint32_t boots = 0;
    std::uint32_t time = 0;
    std::chrono::steady_clock::time_point learnt;
    snmp::usm::Bytes auth_key;  // localised
    snmp::usm::Bytes priv_key;  // localised and stretched
    bool reeder = false;        // the automatic choice fell back to the Reeder extension
  };
  // For a second requester of the same user to the same agent (a walk with several requests
  // in flight): it takes what the first learnt instead of discovering the engine again.
  const Engine& LearntEngine() const { return engine_; }
  void AdoptEngine(const Engine& engine) { engine_ = engine; }

  // The socket is open: requests will be sent.
  bool IsOpen() const { return session_.has_value(); }
  // See CUdpSession::SetQuickAnswerWait: for operations that make many requests in a row.
  void SetQuickAnswerWait(bool on);

 private:
  // The encoded message at the end of the send buffer; throws kSnmpBuildError when it cannot be
  // built.
  std::span<const std::uint8_t> Encode(snmp::CSNMPMessage& message);
  // Sends all of `message` and logs it; throws kSnmpTransmitError when not all of it went. A
  // first try drains what earlier requests left in the socket; a retry does not (see
  // CUdpSession::Send).
  void SendAndLog(std::span<const std::uint8_t> message, bool first_try = true);
  // Judges a datagram from the agent: false when it answers another request.
  using AnswerTest = std::function<bool(std::span<const std::uint8_t>)>;
  enum class Tried { kAnswered, kStopped, kOnlyOtherAnswers };
  // The tries of Request: datagrams `answers` refuses are waited past. Throws
  // kSnmpTimeoutError when no try got anything.
  Tried Try(std::span<const std::uint8_t> message, std::stop_token stop, const AnswerTest& answers);

  // SNMPv3 (RFC 3412, 3414): the user's request with discovery, one re-synchronisation of the
  // clock and, for AES-192/256 with the automatic choice, the other key extension once.
  ExchangeResult RequestV3(snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                           std::stop_token stop);
  // One v3 exchange of `request` (tries and waits as Request). `discovery`: noAuthNoPriv with
  // an empty engine ID and user, answered by a report that names the engine.
  ExchangeResult ExchangeV3(snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                            std::stop_token stop, bool discovery);
  ExchangeResult Discover(std::stop_token stop);
  // The whole v3 message of `message` in the send buffer (scoped PDU, encryption, digest), or
  // nothing when it cannot be built; `header` gets the salt.
  std::optional<std::span<const std::uint8_t>> EncodeV3(snmp::CSNMPMessage& message,
                                                        snmp::v3::Header& header, bool discovery);
  // A v3 notification, sent as its own authoritative engine.
  std::optional<std::span<const std::uint8_t>> EncodeTrapV3(snmp::CSNMPMessage& message);
  // The agent's clock now, as its boots and time plus what elapsed here since we learnt them.
  std::uint32_t EngineTime() const;
  void SetEngineClock(std::uint32_t boots, std::uint32_t time);
  // The passwords' keys (a megabyte hashed each) made on threads of their own while the
  // discovery's answer is awaited; LocaliseKeys takes them.
  void StartPasswordKeys();
  // The localised keys for the engine and key extension now in use.
  void LocaliseKeys();
  snmp::v3::Header HeaderFor(bool discovery);
  snmp::usm::KeyExtension Extension() const;

  snmp::usm::UserSecurity security_;
  Engine engine_;
  snmp::usm::Bytes auth_master_key_;  // the passwords' keys, made once
  snmp::usm::Bytes priv_master_key_;
  std::future<snmp::usm::Bytes> auth_key_made_;  // being made, when valid
  std::future<snmp::usm::Bytes> priv_key_made_;
  std::int32_t next_msg_id_ = 0;
  std::uint64_t next_salt_ = 0;
  snmp::v3::Header last_report_;  // the header of the last report, for its engine's clock
  std::vector<std::uint8_t> scoped_buffer_;
  std::optional<CUdpSession> session_;  // empty when it could not be opened
  ExchangeResult open_failure_;
  int retries_;
  int timeout_ms_;
  std::wstring source_;
  logs::ITransactionSink& sink_;
  std::vector<std::uint8_t> send_buffer_;
  std::vector<std::uint8_t> receive_buffer_;
};

// One request from start to end through a requester of its own: resolve, open, exchange, close.
// For operations that make a single request; `security` for an SNMPv3 request.
ExchangeResult ExchangeRequest(const std::wstring& host, std::uint16_t port,
                               const UdpSettings& settings, std::wstring_view source,
                               snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                               logs::ITransactionSink& sink, IUdpSocketOps* ops = nullptr,
                               std::stop_token stop = {},
                               const snmp::usm::UserSecurity& security = {});

}  // namespace net
