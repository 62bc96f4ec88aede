// The decoded tree of one SNMP datagram, for people reading it rather than for the exchange:
// every element with its offset, identifier octet, length, BER type and meaning in SNMP. Unlike
// the codec it keeps going as far as the bytes allow and, where they stop making sense, ends in
// one node that says where and why. It never throws and never reads past the datagram.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace snmp {

struct MessageNode {
  int parent = -1;           // index of the enclosing node, -1 at the top
  int depth = 0;             // 0 at the top
  std::uint32_t offset = 0;  // first byte: the identifier octet, or where the damage is
  std::uint32_t size = 0;    // bytes covered: identifier, length octets and content
  int tag = -1;              // the identifier octet found there, -1 when there is none
  std::uint32_t length = 0;  // content length from the length octets
  std::wstring field;        // what it is in SNMP: "version", "community", "request-id" ...
  std::wstring type;         // the BER type: "INTEGER", "SEQUENCE", "GetRequest-PDU" ...
  std::wstring value;        // the value as the pages show it; for damage, what was wrong
  bool damage = false;       // the one node that says why decoding stopped
  bool decrypted = false;    // offset and size count in MessageTree::plaintext, not the datagram
};

struct MessageTree {
  // Pre-order: each node comes after its parent and before its next sibling. At most one node
  // is damage, and it is the last.
  std::vector<MessageNode> nodes;
  // The decrypted scoped PDU of an SNMPv3 message, when the caller could decrypt it.
  std::vector<std::uint8_t> plaintext;

  const MessageNode* Damage() const {
    return !nodes.empty() && nodes.back().damage ? &nodes.back() : nullptr;
  }
};

// What a caller needs to decrypt the encryptedPDU of an SNMPv3 message (RFC 3414 8.3.2, RFC
// 3826 3.1.4), all views into the datagram.
struct EncryptedScopedPdu {
  std::span<const std::uint8_t> engine_id;  // msgAuthoritativeEngineID
  std::int32_t boots = 0;
  std::int32_t time = 0;
  std::span<const std::uint8_t> user_name;
  std::span<const std::uint8_t> privacy_parameters;  // the salt
  std::span<const std::uint8_t> cipher_text;
};
// The plaintext, padding and all, with the key of the message's user; nothing without one.
using ScopedPduDecrypter =
    std::function<std::optional<std::vector<std::uint8_t>>(const EncryptedScopedPdu&)>;

// Decodes a v1/v2c message with any PDU of 0xA0 to 0xA8 (GetBulkRequest and the v1 trap with
// their own fields), or an SNMPv3 message (RFC 3412) with USM security parameters (RFC 3414).
// An encrypted scoped PDU is shown decrypted too when `decrypt` gives its plaintext.
MessageTree DecodeMessageTree(std::span<const std::uint8_t> bytes,
                              const ScopedPduDecrypter& decrypt = {}) noexcept;

// "noError", "tooBig" ... "inconsistentName"; empty for any other status.
std::wstring ErrorStatusName(std::int32_t status);

}  // namespace snmp
