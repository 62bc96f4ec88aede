// The User-based Security Model's keys and ciphers (RFC 3414, RFC 3826, RFC 7860): passwords
// to keys, keys localised to an agent's engine, message digests, and the privacy ciphers. The
// hashes and ciphers themselves are OpenSSL's libcrypto; what is ours is how SNMP feeds them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace snmp::usm {

using Bytes = std::vector<std::uint8_t>;

enum class AuthProtocol : std::uint8_t { kNone, kMd5, kSha1, kSha224, kSha256, kSha384, kSha512 };

// AES keys longer than a short hash's output are stretched one of two ways: the AES draft's
// (draft-blumenthal-aes-usm-04, hashing what there is so far) or the 3DES draft's
// (draft-reeder-snmpv3-usm-3desede-00, the localised key taken as a new password), which many
// switch vendors use.
enum class KeyExtension : std::uint8_t { kBlumenthal, kReeder };

enum class PrivProtocol : std::uint8_t { kNone, kDes, kAes128, kAes192, kAes256 };

// Bytes of the hash and of the digest a message carries (msgAuthenticationParameters).
std::size_t HashLength(AuthProtocol auth);
std::size_t DigestLength(AuthProtocol auth);
// Bytes of key a cipher takes from the localised privacy key (DES: 8 of key and 8 of pre-IV).
std::size_t PrivKeyLength(PrivProtocol priv);

// RFC 3414 A.2: the password repeated to one megabyte and hashed. Empty for kNone or an empty
// password.
Bytes PasswordToKey(AuthProtocol auth, std::string_view password);
// RFC 3414 A.2: H(key | engineID | key).
Bytes LocalizeKey(AuthProtocol auth, std::span<const std::uint8_t> key,
                  std::span<const std::uint8_t> engine_id);
// The localised privacy key for a cipher, stretched when the hash is too short for it.
Bytes PrivacyKey(AuthProtocol auth, PrivProtocol priv, KeyExtension extension,
                 std::string_view password, std::span<const std::uint8_t> engine_id);
// The same from the password's key, PasswordToKey(auth, password), made beforehand.
Bytes PrivacyKeyOf(AuthProtocol auth, PrivProtocol priv, KeyExtension extension,
                   std::span<const std::uint8_t> password_key,
                   std::span<const std::uint8_t> engine_id);

// HMAC of the whole message, its digest field zeroed, cut to DigestLength (RFC 3414 6.3.1,
// RFC 7860 4.2).
Bytes Digest(AuthProtocol auth, std::span<const std::uint8_t> localized_key,
             std::span<const std::uint8_t> message);

// Encrypts a scoped PDU. DES (RFC 3414 8.1.1): salt = boots then `local`, IV = pre-IV xor salt,
// the text padded to whole blocks. AES (RFC 3826 3.1.2): IV = boots, time, salt = `local`.
// The salt becomes msgPrivacyParameters. Nothing on a cipher failure.
struct Encrypted {
  Bytes salt;
  Bytes text;
};
std::optional<Encrypted> Encrypt(PrivProtocol priv, std::span<const std::uint8_t> key,
                                 std::uint32_t boots, std::uint32_t time, std::uint64_t local,
                                 std::span<const std::uint8_t> plain);
// The reverse: nothing when the salt is not 8 bytes, a DES text is not whole blocks, or the
// cipher fails. (A wrong key decrypts to noise; only the scoped PDU's decoding can tell.)
std::optional<Bytes> Decrypt(PrivProtocol priv, std::span<const std::uint8_t> key,
                             std::uint32_t boots, std::uint32_t time,
                             std::span<const std::uint8_t> salt,
                             std::span<const std::uint8_t> cipher_text);

}  // namespace snmp::usm
