// The SNMPv3 envelope around a PDU (RFC 3412 6, RFC 3414 2.4): msgVersion 3, msgGlobalData,
// the USM's msgSecurityParameters and msgData, a scoped PDU in the clear or encrypted. The PDU
// itself stays in a CSNMPMessage as for v1/v2c, so everything that reads bindings reads it the
// same way; only the requester wraps and unwraps it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "snmp/response_check.h"
#include "snmp/snmp_message.h"
#include "snmp/usm_crypto.h"

namespace snmp::v3 {

using usm::Bytes;

inline constexpr std::uint32_t kPduReport = 0xA8;
// msgFlags bits (RFC 3412 6.4).
inline constexpr std::uint8_t kFlagAuth = 0x01;
inline constexpr std::uint8_t kFlagPriv = 0x02;
inline constexpr std::uint8_t kFlagReportable = 0x04;
inline constexpr std::int32_t kSecurityModelUsm = 3;
// The largest UDP payload over IPv4: what we can take in one datagram.
inline constexpr std::int32_t kMaxMessageSize = 65507;

// msgGlobalData and the USM's msgSecurityParameters.
struct Header {
  std::int32_t msg_id = 0;
  std::int32_t max_size = kMaxMessageSize;
  std::uint8_t flags = 0;
  std::int32_t security_model = kSecurityModelUsm;
  Bytes engine_id;  // msgAuthoritativeEngineID
  std::uint32_t boots = 0;
  std::uint32_t time = 0;
  std::string user_name;
  Bytes auth_params;  // the digest; zeros of its length while it is computed
  Bytes priv_params;  // the salt
};

// A message as the reader found it: the header, where the digest sits in the bytes (to zero it
// for verification) and msgData: the scoped PDU element itself, or the encrypted text.
struct Incoming {
  Header header;
  std::size_t auth_offset = 0;
  std::span<const std::uint8_t> data;
  bool encrypted = false;
};

// Writes the scoped PDU (contextEngineID, contextName, the message's PDU) backwards into `out`.
[[nodiscard]] bool EncodeScopedPdu(CBerWriter& out, std::span<const std::uint8_t> context_engine_id,
                                   std::string_view context_name, CSNMPMessage& message);

// Writes the whole message into `buffer` (backwards, ending at its last byte): `data` is the
// encoded scoped PDU, or with `encrypted` its cipher text, which goes in an OCTET STRING. On
// success `out_message` views the message and `out_auth_offset` is where auth_params' bytes
// are in it.
[[nodiscard]] bool EncodeMessage(std::span<std::uint8_t> buffer, const Header& header,
                                 std::span<const std::uint8_t> data, bool encrypted,
                                 std::span<const std::uint8_t>& out_message,
                                 std::size_t& out_auth_offset);

// Reads msgVersion (kWrongTag when it is not 3), msgGlobalData, the USM parameters and msgData;
// nothing may follow the message (kTrailing).
[[nodiscard]] BerStatus DecodeMessage(std::span<const std::uint8_t> bytes, Incoming& out);

// The digest of `message` with its auth_params zeroed, compared with what it carries (RFC 3414
// 3.2.6). False for a digest of the wrong length.
bool DigestMatches(usm::AuthProtocol auth, std::span<const std::uint8_t> key,
                   std::span<const std::uint8_t> message, const Incoming& incoming);

// A scoped PDU's parts; `pdu` is the PDU element (identifier onwards). Bytes after the scoped
// PDU are allowed only when `padded` (a DES text is padded to whole blocks).
struct ScopedPdu {
  Bytes context_engine_id;
  std::string context_name;
  std::span<const std::uint8_t> pdu;
};
[[nodiscard]] BerStatus DecodeScopedPdu(std::span<const std::uint8_t> bytes, bool padded,
                                        ScopedPdu& out);

// This program's own engine ID, for the notifications it sends (RFC 3411 SnmpEngineID: our
// enterprise number, format 4 "text", then "sondara@" and the host name, 32 bytes at most), the
// same on every run on one host.
Bytes LocalEngineId();

// The counters a report names (RFC 3414 5: usmStats; RFC 3412: snmpUnknownContexts...).
enum class ReportKind : std::uint8_t {
  kNone,
  kUnsupportedSecLevel,  // usmStatsUnsupportedSecLevels
  kNotInTimeWindow,
  kUnknownUserName,
  kUnknownEngineId,
  kWrongDigest,
  kDecryptionError,
  kOther,  // any other counter: its OID is told
};
struct Report {
  ReportKind kind = ReportKind::kNone;
  std::int32_t request_id = 0;
  std::wstring oid;  // the first binding's name
};
// The report a PDU element is, or kind kNone when it is no Report-PDU (or does not decode).
Report ReadReport(std::span<const std::uint8_t> pdu);

}  // namespace snmp::v3
