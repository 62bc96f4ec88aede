#include "ops/notification_usm.h"

#include <algorithm>
#include <random>

#include "ops/notification_listen_operation.h"
#include "ops/usm_fields.h"
#include "snmp/octet_string.h"
#include "snmp/snmp_message.h"
#include "snmp/usm_key_book.h"
#include "snmp/v3_message.h"
#include "util/text.h"

namespace pages {

namespace {

using snmp::usm::Bytes;
namespace v3 = snmp::v3;

constexpr wchar_t kSection[] = L"Notifications";
constexpr wchar_t kEngineIdKey[] = L"EngineID";
// RFC 3414 3.2.7: a message more than 150 seconds off our engine's time is not taken.
constexpr std::uint32_t kTimeWindowS = 150;
// usmStats counters (RFC 3414 5): usmStats.N.0.
constexpr std::uint32_t kNotInTimeWindows = 2;
constexpr std::uint32_t kUnknownEngineIds = 4;
constexpr std::uint8_t kUsmStats[] = {0x2b, 6, 1, 6, 3, 15, 1, 1};
constexpr std::size_t kMaxKeyedEngines = 1024;

// One BER element, written forwards (the lengths here never pass 65535).
Bytes Tlv(std::uint8_t tag, std::span<const std::uint8_t> content) {
  const std::size_t n = content.size();
  // Sized once and filled by index: g++ 12 at -O3 takes inserts into a fresh vector for
  // overflows (-Warray-bounds) that cannot happen.
  const std::size_t head = n < 0x80 ? 2 : n < 0x100 ? 3 : 4;
  Bytes out(head + n);
  out[0] = tag;
  if (head == 3)
    out[1] = 0x81;
  if (head == 4) {
    out[1] = 0x82;
    out[2] = static_cast<std::uint8_t>(n >> 8);
  }
  out[head - 1] = static_cast<std::uint8_t>(n);
  std::copy(content.begin(), content.end(), out.begin() + static_cast<std::ptrdiff_t>(head));
  return out;
}

// INTEGER or Counter32 (X.690 8.3): big-endian, without the leading bytes that only repeat
// the sign.
Bytes Number(std::uint8_t tag, std::int64_t value) {
  Bytes content;
  for (int shift = 32; shift >= 0; shift -= 8)
    content.push_back(static_cast<std::uint8_t>(value >> shift));
  while (content.size() > 1 &&
         ((content[0] == 0 && content[1] < 0x80) || (content[0] == 0xFF && content[1] >= 0x80)))
    content.erase(content.begin());
  return Tlv(tag, content);
}

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts)
    out.insert(out.end(), p.begin(), p.end());
  return out;
}

Bytes ScopedPdu(std::span<const std::uint8_t> context_engine, const std::string& context_name,
                std::span<const std::uint8_t> pdu) {
  const Bytes name(context_name.begin(), context_name.end());
  return Tlv(0x30,
             Cat({Tlv(0x04, context_engine), Tlv(0x04, name), Bytes(pdu.begin(), pdu.end())}));
}

// A PDU as the PDU of a v2c message with an empty community, so that the v1/v2c reader takes it.
Bytes WrapPdu(std::span<const std::uint8_t> pdu) {
  return Tlv(0x30, Cat({Number(0x02, 1), Tlv(0x04, {}), Bytes(pdu.begin(), pdu.end())}));
}

std::wstring UserText(const std::string& name) {
  return L"'" + tvkutil::FromUtf8Lenient(name) + L"'";
}

}  // namespace

Bytes NotificationEngineId(tvkutil::IProfileStore& profile, bool keep) {
  const std::wstring kept = profile.GetProfileString(kSection, kEngineIdKey, L"");
  if (const std::optional<Bytes> id = ReadHexBytes(kept);
      id && id->size() >= kMinEngineIdLen && id->size() <= kMaxEngineIdLen)
    return *id;
  Bytes id = v3::LocalEngineId();
  if (keep) {
    profile.WriteProfileString(kSection, kEngineIdKey, snmp::HexPairsText(id));
  }
  return id;
}

CNotificationUsm::CNotificationUsm(std::vector<snmp::usm::UserSecurity> users, Bytes engine_id)
    : users_(std::move(users)),
      engine_id_(engine_id.empty() ? v3::LocalEngineId() : std::move(engine_id)),
      // snmpEngineBoots must grow with every start, or a sender that knows our engine from
      // before would take our new, smaller time as a replay and never resynchronise. Seconds
      // since 2020 grow without anything to store (and last until 2088).
      boots_(static_cast<std::uint32_t>(
          std::max<std::int64_t>(1, std::chrono::duration_cast<std::chrono::seconds>(
                                        std::chrono::system_clock::now().time_since_epoch())
                                            .count() -
                                        1577836800))),
      started_(std::chrono::steady_clock::now()),
      salt_(std::random_device{}()) {}

std::uint32_t CNotificationUsm::Time() const {
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - started_)
          .count());
}

const CNotificationUsm::Keys& CNotificationUsm::KeysFor(const snmp::usm::UserSecurity& user,
                                                        const Bytes& engine, bool priv) {
  std::pair<std::string, Bytes> at{user.user_name, engine};
  // Messages naming ever new engines must not grow the book without end.
  if (keys_.size() >= kMaxKeyedEngines && !keys_.contains(at))
    keys_.clear();
  auto [it, added] = keys_.try_emplace(std::move(at));
  Keys& k = it->second;
  if (added) {
    auto [master, fresh] = auth_masters_.try_emplace(user.user_name);
    if (fresh)
      master->second = snmp::usm::PasswordToKey(user.auth, user.auth_password);
    k.auth = snmp::usm::LocalizeKey(user.auth, master->second, engine);
  }
  if (priv && !k.priv_made && user.priv != snmp::usm::PrivProtocol::kNone) {
    using snmp::usm::KeyExtension;
    const bool reeder = user.extension == snmp::usm::KeyExtensionChoice::kReeder;
    k.priv = snmp::usm::PrivacyKey(user.auth, user.priv,
                                   reeder ? KeyExtension::kReeder : KeyExtension::kBlumenthal,
                                   user.priv_password, engine);
    if (user.extension == snmp::usm::KeyExtensionChoice::kAutomatic &&
        snmp::usm::PrivKeyLength(user.priv) > snmp::usm::HashLength(user.auth))
      k.priv_other = snmp::usm::PrivacyKey(user.auth, user.priv, KeyExtension::kReeder,
                                           user.priv_password, engine);
    k.priv_made = true;
  }
  return k;
}

bool CNotificationUsm::Send(const std::string& user_name, std::int32_t msg_id, std::uint8_t flags,
                            const snmp::usm::UserSecurity* user, const Keys* keys,
                            std::span<const std::uint8_t> scoped_pdu, const AnswerFn& answer) {
  v3::Header h;
  h.msg_id = msg_id;
  h.flags = flags;
  h.engine_id = engine_id_;
  h.boots = boots_;
  h.time = Time();
  h.user_name = user_name;
  const bool auth = (flags & v3::kFlagAuth) != 0 && user != nullptr && keys != nullptr;
  if (auth)
    h.auth_params.assign(snmp::usm::DigestLength(user->auth), 0);
  Bytes data(scoped_pdu.begin(), scoped_pdu.end());
  const bool encrypt = auth && (flags & v3::kFlagPriv) != 0;
  if (encrypt) {
    const std::optional<snmp::usm::Encrypted> sealed =
        snmp::usm::Encrypt(user->priv, keys->priv, h.boots, h.time, ++salt_, scoped_pdu);
    if (!sealed)
      return false;
    h.priv_params = sealed->salt;
    data = sealed->text;
  }
  Bytes buffer(data.size() + h.user_name.size() + h.engine_id.size() + 128);
  std::span<const std::uint8_t> encoded;
  std::size_t auth_offset = 0;
  if (!v3::EncodeMessage(buffer, h, data, encrypt, encoded, auth_offset))
    return false;
  Bytes message(encoded.begin(), encoded.end());
  if (auth) {
    const Bytes digest = snmp::usm::Digest(user->auth, keys->auth, message);
    std::copy(digest.begin(), digest.end(),
              message.begin() + static_cast<std::ptrdiff_t>(auth_offset));
  }
  return answer && answer(message);
}

bool CNotificationUsm::Report(std::uint32_t counter, std::int32_t msg_id, std::int32_t request_id,
                              std::uint8_t flags, const std::string& user_name,
                              const snmp::usm::UserSecurity* user, const Keys* keys,
                              const AnswerFn& answer) {
  Bytes oid(std::begin(kUsmStats), std::end(kUsmStats));
  oid.insert(oid.end(), {static_cast<std::uint8_t>(counter), 0});
  const Bytes bind = Tlv(0x30, Cat({Tlv(0x06, oid), Number(0x41, ++counters_[counter])}));
  const Bytes pdu =
      Tlv(static_cast<std::uint8_t>(v3::kPduReport),
          Cat({Number(0x02, request_id), Number(0x02, 0), Number(0x02, 0), Tlv(0x30, bind)}));
  return Send(user_name, msg_id, flags, user, keys, ScopedPdu(engine_id_, "", pdu), answer);
}

NotificationRow CNotificationUsm::Judge(std::span<const std::uint8_t> bytes,
                                        const AnswerFn& answer) {
  NotificationRow row;
  row.version = L"3";
  row.kind = NotificationKind::kOther;
  row.bytes.assign(bytes.begin(), bytes.end());
  v3::Incoming in;
  if (v3::DecodeMessage(bytes, in) != snmp::BerStatus::kOk) {
    row.kind = NotificationKind::kMalformed;
    row.problem = L"does not decode as an SNMPv3 message";
    return row;
  }
  const v3::Header& h = in.header;
  row.community = tvkutil::FromUtf8Lenient(h.user_name);
  if (h.security_model != v3::kSecurityModelUsm) {
    row.problem = L"security model " + std::to_wstring(h.security_model) +
                  L": only the User-based Security Model (3) is taken";
    return row;
  }
  const bool auth = (h.flags & v3::kFlagAuth) != 0;
  const bool priv = (h.flags & v3::kFlagPriv) != 0;
  const bool reportable = (h.flags & v3::kFlagReportable) != 0;
  // The request-id for a Report, where the PDU is in the clear.
  auto request_id = [&] {
    v3::ScopedPdu plain;
    if (in.encrypted || v3::DecodeScopedPdu(in.data, false, plain) != snmp::BerStatus::kOk ||
        plain.pdu.empty())
      return 0;
    snmp::CSNMPMessage m(plain.pdu[0]);
    return m.DecodeFrom(WrapPdu(plain.pdu)) == snmp::BerStatus::kOk ? m.RequestId() : 0;
  };
  if (h.engine_id.empty()) {
    // Engine discovery (RFC 3414 4): a sender of informs asks for our engine ID and time.
    const bool answered = reportable && Report(kUnknownEngineIds, h.msg_id, request_id(), 0,
                                               h.user_name, nullptr, nullptr, answer);
    row.problem = answered ? L"engine discovery: answered with this program's engine ID"
                           : L"engine discovery";
    return row;
  }
  const auto user = std::find_if(users_.begin(), users_.end(),
                                 [&](const auto& u) { return u.user_name == h.user_name; });
  if (user == users_.end()) {
    row.problem = L"unknown SNMPv3 user " + UserText(h.user_name) +
                  L": no values shown (add the user to take its notifications)";
    return row;
  }
  if ((priv && !auth) || (auth && user->auth == snmp::usm::AuthProtocol::kNone) ||
      (priv && user->priv == snmp::usm::PrivProtocol::kNone)) {
    row.problem = L"security level not supported for user " + UserText(h.user_name) +
                  L" as set up here: no values shown";
    return row;
  }
  const Keys* keys = &KeysFor(*user, h.engine_id, false);
  if (auth && !v3::DigestMatches(user->auth, keys->auth, bytes, in)) {
    row.problem = L"authentication failed for user " + UserText(h.user_name) +
                  L" (wrong digest): check the authentication password and protocol; no values "
                  L"shown";
    return row;
  }
  const bool ours = h.engine_id == engine_id_;
  if (ours && auth) {
    const std::uint32_t now = Time();
    const std::uint32_t off = h.time > now ? h.time - now : now - h.time;
    if (h.boots != boots_ || off > kTimeWindowS) {
      const bool answered = reportable && Report(kNotInTimeWindows, h.msg_id, 0, v3::kFlagAuth,
                                                 h.user_name, &*user, keys, answer);
      row.problem = std::wstring(L"not in this engine's time window") +
                    (answered ? L": answered with its time" : L"") + L"; no values shown";
      return row;
    }
  }
  Bytes plain(in.data.begin(), in.data.end());
  v3::ScopedPdu scoped;
  snmp::BerStatus read = snmp::BerStatus::kOk;
  if (priv) {
    read = snmp::BerStatus::kWrongTag;
    // The privacy keys cost hashing a password: made only for a message that authenticated.
    keys = &KeysFor(*user, h.engine_id, true);
    for (const Bytes* key : {&keys->priv, &keys->priv_other}) {
      if (key->empty())
        continue;
      std::optional<Bytes> opened =
          snmp::usm::Decrypt(user->priv, *key, h.boots, h.time, h.priv_params, in.data);
      if (!opened || v3::DecodeScopedPdu(*opened, true, scoped) != snmp::BerStatus::kOk)
        continue;
      // So that the decoded views show it decrypted.
      snmp::usm::RememberPrivacyKey(h.engine_id, h.user_name, user->priv, *key);
      plain = std::move(*opened);
      read = v3::DecodeScopedPdu(plain, true, scoped);
      break;
    }
    if (read != snmp::BerStatus::kOk) {
      row.problem = L"decryption failed for user " + UserText(h.user_name) +
                    L": check the privacy password and protocol; no values shown";
      return row;
    }
  } else {
    read = v3::DecodeScopedPdu(plain, false, scoped);
  }
  if (read != snmp::BerStatus::kOk || scoped.pdu.empty()) {
    row.kind = NotificationKind::kMalformed;
    row.problem = L"the scoped PDU does not decode";
    return row;
  }
  const Bytes wrapped = WrapPdu(scoped.pdu);
  const std::size_t prefix = wrapped.size() - scoped.pdu.size();
  const bool may_answer = ours;  // an inform names its receiver's engine (RFC 3412 7.1)
  NotificationRow inner =
      CNotificationListenOperation::Judge(wrapped, [&](std::span<const std::uint8_t> response) {
        if (!may_answer)
          return false;
        const Bytes out =
            ScopedPdu(scoped.context_engine_id, scoped.context_name, response.subspan(prefix));
        return Send(h.user_name, h.msg_id,
                    static_cast<std::uint8_t>(h.flags & ~v3::kFlagReportable), &*user, keys, out,
                    answer);
      });
  if (inner.kind == NotificationKind::kInform && !may_answer)
    inner.problem = L"an inform for another engine than this program's: not answered";
  if (inner.kind == NotificationKind::kMalformed)
    inner.damage_offset = 0;
  inner.version = L"3";
  inner.community = row.community;
  inner.bytes = std::move(row.bytes);
  return inner;
}

}  // namespace pages
