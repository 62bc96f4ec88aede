#include "snmp/usm_crypto.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/provider.h>

#include <algorithm>
#include <array>
#include <memory>

namespace snmp::usm {

namespace {

constexpr std::size_t kPasswordStretch = 1048576;  // RFC 3414 A.2.1: one megabyte
constexpr std::size_t kSaltLength = 8;
constexpr std::size_t kDesBlock = 8;

const EVP_MD* Md(AuthProtocol auth) {
  switch (auth) {
    case AuthProtocol::kMd5:
      return EVP_md5();
    case AuthProtocol::kSha1:
      return EVP_sha1();
    case AuthProtocol::kSha224:
      return EVP_sha224();
    case AuthProtocol::kSha256:
      return EVP_sha256();
    case AuthProtocol::kSha384:
      return EVP_sha384();
    case AuthProtocol::kSha512:
      return EVP_sha512();
    case AuthProtocol::kNone:
      break;
  }
  return nullptr;
}

using DigestContext = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

// Hash of the pieces one after the other; empty when the hash fails.
Bytes Hash(AuthProtocol auth, std::initializer_list<std::span<const std::uint8_t>> pieces) {
  const EVP_MD* md = Md(auth);
  DigestContext ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  if (md == nullptr || ctx == nullptr || EVP_DigestInit_ex(ctx.get(), md, nullptr) != 1)
    return {};
  for (std::span<const std::uint8_t> piece : pieces) {
    if (EVP_DigestUpdate(ctx.get(), piece.data(), piece.size()) != 1)
      return {};
  }
  Bytes out(static_cast<std::size_t>(EVP_MD_get_size(md)));
  unsigned int len = 0;
  if (EVP_DigestFinal_ex(ctx.get(), out.data(), &len) != 1)
    return {};
  out.resize(len);
  return out;
}

// DES lives in OpenSSL's legacy provider; it is loaded into a context of its own so that no
// other algorithm of the program can come from there.
const EVP_CIPHER* Cipher(PrivProtocol priv) {
  static EVP_CIPHER* const des = [] {
    OSSL_LIB_CTX* legacy = OSSL_LIB_CTX_new();
    if (legacy == nullptr || OSSL_PROVIDER_load(legacy, "legacy") == nullptr ||
        OSSL_PROVIDER_load(legacy, "default") == nullptr)
      return static_cast<EVP_CIPHER*>(nullptr);
    return EVP_CIPHER_fetch(legacy, "DES-CBC", nullptr);
  }();
  switch (priv) {
    case PrivProtocol::kDes:
      return des;
    case PrivProtocol::kAes128:
      return EVP_aes_128_cfb128();
    case PrivProtocol::kAes192:
      return EVP_aes_192_cfb128();
    case PrivProtocol::kAes256:
      return EVP_aes_256_cfb128();
    case PrivProtocol::kNone:
      break;
  }
  return nullptr;
}

void PutBigEndian(std::uint8_t* out, std::uint64_t value, std::size_t bytes) {
  for (std::size_t i = bytes; i-- > 0; value >>= 8)
    out[i] = static_cast<std::uint8_t>(value);
}

// The IV of either cipher, from the key's pre-IV (DES) or the engine's clock (AES), and the salt.
std::array<std::uint8_t, 16> Iv(PrivProtocol priv, std::span<const std::uint8_t> key,
                                std::uint32_t boots, std::uint32_t time,
                                std::span<const std::uint8_t> salt) {
  std::array<std::uint8_t, 16> iv{};
  if (priv == PrivProtocol::kDes) {
    for (std::size_t i = 0; i < kDesBlock; ++i)
      iv[i] = static_cast<std::uint8_t>(key[kDesBlock + i] ^ salt[i]);
  } else {
    PutBigEndian(iv.data(), boots, 4);
    PutBigEndian(iv.data() + 4, time, 4);
    std::copy(salt.begin(), salt.end(), iv.begin() + 8);
  }
  return iv;
}

std::optional<Bytes> Run(PrivProtocol priv, std::span<const std::uint8_t> key,
                         const std::array<std::uint8_t, 16>& iv, std::span<const std::uint8_t> in,
                         bool encrypt) {
  const EVP_CIPHER* cipher = Cipher(priv);
  CipherContext ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  if (cipher == nullptr || ctx == nullptr || key.size() < PrivKeyLength(priv) ||
      EVP_CipherInit_ex(ctx.get(), cipher, nullptr, key.data(), iv.data(), encrypt ? 1 : 0) != 1)
    return std::nullopt;
  EVP_CIPHER_CTX_set_padding(ctx.get(), 0);  // DES texts are padded by us, AES needs none
  Bytes out(in.size() + kDesBlock);
  int len = 0, last = 0;
  if (EVP_CipherUpdate(ctx.get(), out.data(), &len, in.data(), static_cast<int>(in.size())) != 1 ||
      EVP_CipherFinal_ex(ctx.get(), out.data() + len, &last) != 1)
    return std::nullopt;
  out.resize(static_cast<std::size_t>(len + last));
  return out;
}

}  // namespace

std::size_t HashLength(AuthProtocol auth) {
  const EVP_MD* md = Md(auth);
  return md == nullptr ? 0 : static_cast<std::size_t>(EVP_MD_get_size(md));
}

std::size_t DigestLength(AuthProtocol auth) {
  switch (auth) {
    case AuthProtocol::kMd5:
    case AuthProtocol::kSha1:
      return 12;  // HMAC-MD5-96, HMAC-SHA-96
    case AuthProtocol::kSha224:
      return 16;  // RFC 7860: usmHMAC128SHA224AuthProtocol ...
    case AuthProtocol::kSha256:
      return 24;
    case AuthProtocol::kSha384:
      return 32;
    case AuthProtocol::kSha512:
      return 48;
    case AuthProtocol::kNone:
      break;
  }
  return 0;
}

std::size_t PrivKeyLength(PrivProtocol priv) {
  switch (priv) {
    case PrivProtocol::kDes:
    case PrivProtocol::kAes128:
      return 16;
    case PrivProtocol::kAes192:
      return 24;
    case PrivProtocol::kAes256:
      return 32;
    case PrivProtocol::kNone:
      break;
  }
  return 0;
}

Bytes PasswordToKey(AuthProtocol auth, std::string_view password) {
  if (password.empty())
    return {};
  // The password repeated to one megabyte, hashed once: keys are made once per agent.
  Bytes stretched;
  stretched.reserve(kPasswordStretch + password.size());
  while (stretched.size() < kPasswordStretch)
    stretched.insert(stretched.end(), password.begin(), password.end());
  stretched.resize(kPasswordStretch);
  return Hash(auth, {stretched});
}

Bytes LocalizeKey(AuthProtocol auth, std::span<const std::uint8_t> key,
                  std::span<const std::uint8_t> engine_id) {
  if (key.empty())
    return {};
  return Hash(auth, {key, engine_id, key});
}

Bytes PrivacyKey(AuthProtocol auth, PrivProtocol priv, KeyExtension extension,
                 std::string_view password, std::span<const std::uint8_t> engine_id) {
  const std::size_t needed = PrivKeyLength(priv);
  Bytes key = LocalizeKey(auth, PasswordToKey(auth, password), engine_id);
  if (needed == 0 || key.empty())
    return {};
  Bytes segment = key;
  while (key.size() < needed) {
    if (extension == KeyExtension::kBlumenthal) {
      segment = Hash(auth, {key});  // the hash of all there is so far
    } else {
      // The last localised key, as a password, gives the next one.
      const std::string_view as_password(reinterpret_cast<const char*>(segment.data()),
                                         segment.size());
      segment = LocalizeKey(auth, PasswordToKey(auth, as_password), engine_id);
    }
    if (segment.empty())
      return {};
    key.insert(key.end(), segment.begin(), segment.end());
  }
  key.resize(needed);
  return key;
}

Bytes Digest(AuthProtocol auth, std::span<const std::uint8_t> localized_key,
             std::span<const std::uint8_t> message) {
  const EVP_MD* md = Md(auth);
  if (md == nullptr)
    return {};
  Bytes mac(EVP_MAX_MD_SIZE);
  unsigned int len = 0;
  if (HMAC(md, localized_key.data(), static_cast<int>(localized_key.size()), message.data(),
           message.size(), mac.data(), &len) == nullptr)
    return {};
  mac.resize(std::min<std::size_t>(len, DigestLength(auth)));
  return mac;
}

std::optional<Encrypted> Encrypt(PrivProtocol priv, std::span<const std::uint8_t> key,
                                 std::uint32_t boots, std::uint32_t time, std::uint64_t local,
                                 std::span<const std::uint8_t> plain) {
  Encrypted out;
  out.salt.resize(kSaltLength);
  if (priv == PrivProtocol::kDes) {
    PutBigEndian(out.salt.data(), boots, 4);
    PutBigEndian(out.salt.data() + 4, static_cast<std::uint32_t>(local), 4);
  } else {
    PutBigEndian(out.salt.data(), local, kSaltLength);
  }
  if (key.size() < PrivKeyLength(priv) || priv == PrivProtocol::kNone)
    return std::nullopt;
  Bytes text(plain.begin(), plain.end());
  if (priv == PrivProtocol::kDes)
    text.resize((text.size() + kDesBlock - 1) / kDesBlock * kDesBlock);  // zeros pad
  std::optional<Bytes> sealed = Run(priv, key, Iv(priv, key, boots, time, out.salt), text, true);
  if (!sealed)
    return std::nullopt;
  out.text = std::move(*sealed);
  return out;
}

std::optional<Bytes> Decrypt(PrivProtocol priv, std::span<const std::uint8_t> key,
                             std::uint32_t boots, std::uint32_t time,
                             std::span<const std::uint8_t> salt,
                             std::span<const std::uint8_t> cipher_text) {
  if (salt.size() != kSaltLength || key.size() < PrivKeyLength(priv) ||
      priv == PrivProtocol::kNone ||
      (priv == PrivProtocol::kDes && cipher_text.size() % kDesBlock != 0))
    return std::nullopt;
  return Run(priv, key, Iv(priv, key, boots, time, salt), cipher_text, false);
}

}  // namespace snmp::usm
