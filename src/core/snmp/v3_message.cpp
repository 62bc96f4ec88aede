#include "snmp/v3_message.h"

#include <openssl/crypto.h>
#include <unistd.h>

#include <algorithm>

#include <array>
#include <vector>

#include "snmp/integer32.h"
#include "snmp/pdu.h"

namespace snmp::v3 {

namespace {

bool PutOctets(CBerWriter& out, std::span<const std::uint8_t> bytes) {
  return out.PutBytes(bytes.data(), static_cast<std::uint32_t>(bytes.size())) &&
         out.PutLength(static_cast<std::uint32_t>(bytes.size())) && out.PutTag(kTagOctetString);
}

bool PutInteger(CBerWriter& out, std::int64_t value) {
  // boots and time run to 2147483647 (RFC 3414 2.2.1), so every value here fits INTEGER32.
  CInteger32 v(static_cast<std::int32_t>(value));
  return v.Encode(out);
}

// Wraps what was written since `free_before` in a constructed element.
bool Wrap(CBerWriter& out, std::int32_t free_before, std::uint32_t tag) {
  return out.PutLength(static_cast<std::uint32_t>(free_before - out.FreeCount())) &&
         out.PutTag(tag);
}

std::span<const std::uint8_t> AsBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

BerStatus Enter(CBerReader& in, std::uint32_t tag, CBerReader& content) {
  std::uint32_t len = 0;
  if (const BerStatus r = in.ExpectTag(tag); r != BerStatus::kOk)
    return r;
  if (const BerStatus r = in.GetLength(len); r != BerStatus::kOk)
    return r;
  return in.Split(len, content);
}

BerStatus GetOctets(CBerReader& in, std::span<const std::uint8_t>& out) {
  CBerReader content(nullptr, 0);
  if (const BerStatus r = Enter(in, kTagOctetString, content); r != BerStatus::kOk)
    return r;
  out = {content.Cursor(), static_cast<std::size_t>(content.Remaining())};
  return BerStatus::kOk;
}

BerStatus GetInteger(CBerReader& in, std::int32_t& out) {
  CInteger32 v;
  const BerStatus r = v.Decode(in);
  out = v.Value();
  return r;
}

// boots and time are 0 to 2^31-1 (RFC 3414 2.2.1).
BerStatus GetCount(CBerReader& in, std::uint32_t& out) {
  std::int32_t v = 0;
  const BerStatus r = GetInteger(in, v);
  if (r == BerStatus::kOk && v < 0)
    return BerStatus::kBadLength;
  out = static_cast<std::uint32_t>(v);
  return r;
}

}  // namespace

bool EncodeScopedPdu(CBerWriter& out, std::span<const std::uint8_t> context_engine_id,
                     std::string_view context_name, CSNMPMessage& message) {
  const std::int32_t free_before = out.FreeCount();
  return message.EncodePdu(out) && PutOctets(out, AsBytes(context_name)) &&
         PutOctets(out, context_engine_id) && Wrap(out, free_before, kTagSequence);
}

bool EncodeMessage(std::span<std::uint8_t> buffer, const Header& header,
                   std::span<const std::uint8_t> data, bool encrypted,
                   std::span<const std::uint8_t>& out_message, std::size_t& out_auth_offset) {
  if (buffer.empty() || buffer.size() > static_cast<std::size_t>(INT32_MAX))
    return false;
  CBerWriter out(&buffer.back(), static_cast<std::int32_t>(buffer.size()));
  const std::int32_t whole = out.FreeCount();
  if (!(encrypted ? PutOctets(out, data)
                  : out.PutBytes(data.data(), static_cast<std::uint32_t>(data.size()))))
    return false;

  // msgSecurityParameters: the USM SEQUENCE inside an OCTET STRING.
  const std::int32_t usm_end = out.FreeCount();
  if (!PutOctets(out, header.priv_params))
    return false;
  const std::int32_t auth_end = out.FreeCount();
  if (!PutOctets(out, header.auth_params))
    return false;
  // The digest's bytes sit just before what followed them; they are found again from the end.
  const std::size_t auth_from_end =
      static_cast<std::size_t>(whole - auth_end) + header.auth_params.size();
  if (!PutOctets(out, AsBytes(header.user_name)) || !PutInteger(out, header.time) ||
      !PutInteger(out, header.boots) || !PutOctets(out, header.engine_id) ||
      !Wrap(out, usm_end, kTagSequence) || !Wrap(out, usm_end, kTagOctetString))
    return false;

  const std::int32_t global_end = out.FreeCount();
  const std::array<std::uint8_t, 1> flags = {header.flags};
  if (!PutInteger(out, header.security_model) || !PutOctets(out, flags) ||
      !PutInteger(out, header.max_size) || !PutInteger(out, header.msg_id) ||
      !Wrap(out, global_end, kTagSequence) || !PutInteger(out, kSnmpVersion3) ||
      !Wrap(out, whole, kTagSequence))
    return false;
  const auto size = static_cast<std::size_t>(whole - out.FreeCount());
  out_message = {out.Begin(), size};
  out_auth_offset = size - auth_from_end;
  return true;
}

BerStatus DecodeMessage(std::span<const std::uint8_t> bytes, Incoming& out) {
  if (bytes.size() > static_cast<std::size_t>(INT32_MAX))
    return BerStatus::kBadLength;
  CBerReader in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
  CBerReader message(nullptr, 0);
  if (const BerStatus r = Enter(in, kTagSequence, message); r != BerStatus::kOk)
    return r;
  if (!in.Empty())
    return BerStatus::kTrailing;
  std::int32_t version = 0;
  if (const BerStatus r = GetInteger(message, version); r != BerStatus::kOk)
    return r;
  if (version != kSnmpVersion3)
    return BerStatus::kWrongTag;

  Header& h = out.header;
  CBerReader global(nullptr, 0);
  std::span<const std::uint8_t> flags;
  BerStatus r = Enter(message, kTagSequence, global);
  if (r == BerStatus::kOk)
    r = GetInteger(global, h.msg_id);
  if (r == BerStatus::kOk)
    r = GetInteger(global, h.max_size);
  if (r == BerStatus::kOk)
    r = GetOctets(global, flags);
  if (r == BerStatus::kOk)
    r = GetInteger(global, h.security_model);
  if (r != BerStatus::kOk)
    return r;
  if (flags.size() != 1 || !global.Empty())
    return BerStatus::kBadLength;
  h.flags = flags[0];

  std::span<const std::uint8_t> usm_octets;
  if (r = GetOctets(message, usm_octets); r != BerStatus::kOk)
    return r;
  CBerReader usm_outer(usm_octets.data(), static_cast<std::int32_t>(usm_octets.size()));
  CBerReader usm(nullptr, 0);
  std::span<const std::uint8_t> engine, user, auth, priv;
  r = Enter(usm_outer, kTagSequence, usm);
  if (r == BerStatus::kOk)
    r = GetOctets(usm, engine);
  if (r == BerStatus::kOk)
    r = GetCount(usm, h.boots);
  if (r == BerStatus::kOk)
    r = GetCount(usm, h.time);
  if (r == BerStatus::kOk)
    r = GetOctets(usm, user);
  if (r == BerStatus::kOk)
    r = GetOctets(usm, auth);
  if (r == BerStatus::kOk)
    r = GetOctets(usm, priv);
  if (r != BerStatus::kOk)
    return r;
  if (!usm.Empty() || !usm_outer.Empty())
    return BerStatus::kTrailing;
  h.engine_id.assign(engine.begin(), engine.end());
  h.user_name.assign(user.begin(), user.end());
  h.auth_params.assign(auth.begin(), auth.end());
  h.priv_params.assign(priv.begin(), priv.end());
  out.auth_offset = static_cast<std::size_t>(auth.data() - bytes.data());

  std::uint8_t tag = 0;
  if (!message.Peek(tag))
    return BerStatus::kExhausted;
  out.encrypted = tag == kTagOctetString;
  if (out.encrypted) {
    if (r = GetOctets(message, out.data); r != BerStatus::kOk)
      return r;
  } else {
    const std::uint8_t* start = message.Cursor();
    CBerReader scoped(nullptr, 0);
    if (r = Enter(message, kTagSequence, scoped); r != BerStatus::kOk)
      return r;
    out.data = {start, static_cast<std::size_t>(message.Cursor() - start)};
  }
  return message.Empty() ? BerStatus::kOk : BerStatus::kTrailing;
}

bool DigestMatches(usm::AuthProtocol auth, std::span<const std::uint8_t> key,
                   std::span<const std::uint8_t> message, const Incoming& incoming) {
  const std::size_t len = usm::DigestLength(auth);
  if (len == 0 || incoming.header.auth_params.size() != len ||
      incoming.auth_offset + len > message.size())
    return false;
  std::vector<std::uint8_t> zeroed(message.begin(), message.end());
  std::fill_n(zeroed.begin() + static_cast<std::ptrdiff_t>(incoming.auth_offset), len, 0);
  const Bytes digest = usm::Digest(auth, key, zeroed);
  return digest.size() == len &&
         CRYPTO_memcmp(digest.data(), incoming.header.auth_params.data(), len) == 0;
}

BerStatus DecodeScopedPdu(std::span<const std::uint8_t> bytes, bool padded, ScopedPdu& out) {
  CBerReader in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
  CBerReader scoped(nullptr, 0);
  std::span<const std::uint8_t> engine, name;
  BerStatus r = Enter(in, kTagSequence, scoped);
  if (r == BerStatus::kOk)
    r = GetOctets(scoped, engine);
  if (r == BerStatus::kOk)
    r = GetOctets(scoped, name);
  if (r != BerStatus::kOk)
    return r;
  if (!padded && !in.Empty())
    return BerStatus::kTrailing;
  out.context_engine_id.assign(engine.begin(), engine.end());
  out.context_name.assign(name.begin(), name.end());
  out.pdu = {scoped.Cursor(), static_cast<std::size_t>(scoped.Remaining())};
  return BerStatus::kOk;
}

Bytes LocalEngineId() {
  // The program's private enterprise number (the default enterprise of its v1 traps).
  constexpr std::uint32_t kEnterprise = 59871;
  Bytes id = {static_cast<std::uint8_t>(0x80 | (kEnterprise >> 24)),
              static_cast<std::uint8_t>(kEnterprise >> 16),
              static_cast<std::uint8_t>(kEnterprise >> 8), static_cast<std::uint8_t>(kEnterprise),
              4};
  std::array<char, 256> host{};
  if (::gethostname(host.data(), host.size() - 1) != 0)
    host[0] = '\0';
  const std::string text = std::string("sondara@") + host.data();
  id.insert(id.end(), text.begin(),
            text.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(text.size(), 27)));
  return id;
}

Report ReadReport(std::span<const std::uint8_t> pdu_bytes) {
  Report report;
  CPDU pdu(kPduReport);
  CBerReader in(pdu_bytes.data(), static_cast<std::int32_t>(pdu_bytes.size()));
  if (pdu.Decode(in) != BerStatus::kOk)
    return report;
  report.request_id = pdu.RequestId().Value();
  report.kind = ReportKind::kOther;
  const CVarBind* bind = pdu.VarBinds().Get(1);
  if (bind == nullptr || bind->Name() == nullptr)
    return report;
  report.oid = bind->Name()->Text();
  // usmStats (1.3.6.1.6.3.15.1.1), RFC 3414 5: the counters 1 to 6, instance 0.
  static constexpr std::array<std::uint32_t, 9> kUsmStats = {1, 3, 6, 1, 6, 3, 15, 1, 1};
  const COidArcs& arcs = bind->Name()->Arcs();
  if (arcs.size() != kUsmStats.size() + 2 || arcs[kUsmStats.size() + 1] != 0)
    return report;
  for (std::size_t i = 0; i < kUsmStats.size(); ++i) {
    if (arcs[i] != kUsmStats[i])
      return report;
  }
  static constexpr std::array<ReportKind, 6> kKinds = {
      ReportKind::kUnsupportedSecLevel, ReportKind::kNotInTimeWindow, ReportKind::kUnknownUserName,
      ReportKind::kUnknownEngineId,     ReportKind::kWrongDigest,     ReportKind::kDecryptionError};
  const std::uint32_t counter = arcs[kUsmStats.size()];
  if (counter >= 1 && counter <= kKinds.size())
    report.kind = kKinds[counter - 1];
  return report;
}

}  // namespace snmp::v3
