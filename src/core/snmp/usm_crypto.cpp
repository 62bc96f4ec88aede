#include "snmp/usm_crypto.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/provider.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>

namespace snmp::usm {

namespace {

constexpr std::size_t kPasswordStretch = 1048576;  // RFC 3414 A.2.1: one megabyte
constexpr std::size_t kSaltLength = 8;
constexpr std::size_t kDesBlock = 8;

// OpenSSL 3 looks an algorithm up by name on every use of EVP_sha256() and the like; fetched
// once here, a walk's thousands of digests and ciphers skip that. Each is fetched on its first
// use only, and kept until exit.
const EVP_MD* Md(AuthProtocol auth) {
  // In the order of AuthProtocol.
  static constexpr std::array<const char*, 7> kNames = {nullptr,  "MD5",    "SHA1",  "SHA224",
                                                        "SHA256", "SHA384", "SHA512"};
  static std::array<std::once_flag, 7> fetched;
  static std::array<EVP_MD*, 7> mds{};
  const auto i = static_cast<std::size_t>(auth);
  if (i == 0 || i >= mds.size())
    return nullptr;
  std::call_once(fetched[i], [i] { mds[i] = EVP_MD_fetch(nullptr, kNames[i], nullptr); });
  return mds[i];
}

struct MacContextFree {
  void operator()(EVP_MAC_CTX* ctx) const { EVP_MAC_CTX_free(ctx); }
};

// One HMAC context per hash and thread, keyed afresh for each message: no lookup by name and no
// allocation per message.
EVP_MAC_CTX* HmacContext(AuthProtocol auth) {
  static EVP_MAC* const hmac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
  thread_local std::array<std::unique_ptr<EVP_MAC_CTX, MacContextFree>, 7> contexts;
  const EVP_MD* md = Md(auth);
  if (hmac == nullptr || md == nullptr)
    return nullptr;
  std::unique_ptr<EVP_MAC_CTX, MacContextFree>& ctx = contexts[static_cast<std::size_t>(auth)];
  if (ctx == nullptr) {
    ctx.reset(EVP_MAC_CTX_new(hmac));
    const OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST,
                                         const_cast<char*>(EVP_MD_get0_name(md)), 0),
        OSSL_PARAM_construct_end()};
    if (ctx != nullptr && EVP_MAC_CTX_set_params(ctx.get(), params) != 1)
      ctx.reset();
  }
  return ctx.get();
}

using DigestContext = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

// Hash of the pieces one after the other; empty when the hash fails.
Bytes Hash(AuthProtocol auth, std::span<const std::span<const std::uint8_t>> pieces) {
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
Bytes Hash(AuthProtocol auth, std::initializer_list<std::span<const std::uint8_t>> pieces) {
  return Hash(auth, std::span(pieces.begin(), pieces.size()));
}

// DES lives in OpenSSL's legacy provider; it is loaded into a context of its own so that no
// other algorithm of the program can come from there.
const EVP_CIPHER* Cipher(PrivProtocol priv) {
  switch (priv) {
    case PrivProtocol::kDes: {
      // Loading a provider costs milliseconds: only DES users pay it.
      static EVP_CIPHER* const des = [] {
        OSSL_LIB_CTX* legacy = OSSL_LIB_CTX_new();
        if (legacy == nullptr || OSSL_PROVIDER_load(legacy, "legacy") == nullptr ||
            OSSL_PROVIDER_load(legacy, "default") == nullptr)
          return static_cast<EVP_CIPHER*>(nullptr);
        return EVP_CIPHER_fetch(legacy, "DES-CBC", nullptr);
      }();
      return des;
    }
    case PrivProtocol::kAes128:
    case PrivProtocol::kAes192:
    case PrivProtocol::kAes256: {
      static constexpr std::array<const char*, 3> kNames = {"AES-128-CFB", "AES-192-CFB",
                                                            "AES-256-CFB"};
      static std::array<std::once_flag, 3> fetched;
      static std::array<EVP_CIPHER*, 3> aes{};
      const std::size_t i =
          static_cast<std::size_t>(priv) - static_cast<std::size_t>(PrivProtocol::kAes128);
      std::call_once(fetched[i], [i] { aes[i] = EVP_CIPHER_fetch(nullptr, kNames[i], nullptr); });
      return aes[i];
    }
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
  // The password repeated to one megabyte, hashed once: keys are made once per agent. A few
  // kilobytes of whole repetitions stand for the megabyte, hashed over and over.
  Bytes chunk;
  while (chunk.size() < 4096)
    chunk.insert(chunk.end(), password.begin(), password.end());
  std::vector<std::span<const std::uint8_t>> stretched;
  for (std::size_t done = 0; done < kPasswordStretch; done += chunk.size())
    stretched.emplace_back(chunk.data(), std::min(chunk.size(), kPasswordStretch - done));
  return Hash(auth, stretched);
}

Bytes LocalizeKey(AuthProtocol auth, std::span<const std::uint8_t> key,
                  std::span<const std::uint8_t> engine_id) {
  if (key.empty())
    return {};
  return Hash(auth, {key, engine_id, key});
}

Bytes PrivacyKey(AuthProtocol auth, PrivProtocol priv, KeyExtension extension,
                 std::string_view password, std::span<const std::uint8_t> engine_id) {
  return PrivacyKeyOf(auth, priv, extension, PasswordToKey(auth, password), engine_id);
}

Bytes PrivacyKeyOf(AuthProtocol auth, PrivProtocol priv, KeyExtension extension,
                   std::span<const std::uint8_t> password_key,
                   std::span<const std::uint8_t> engine_id) {
  const std::size_t needed = PrivKeyLength(priv);
  Bytes key = LocalizeKey(auth, password_key, engine_id);
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
  EVP_MAC_CTX* ctx = HmacContext(auth);
  Bytes mac(EVP_MAX_MD_SIZE);
  std::size_t len = 0;
  if (ctx == nullptr || localized_key.empty() ||
      EVP_MAC_init(ctx, localized_key.data(), localized_key.size(), nullptr) != 1 ||
      EVP_MAC_update(ctx, message.data(), message.size()) != 1 ||
      EVP_MAC_final(ctx, mac.data(), &len, mac.size()) != 1)
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
