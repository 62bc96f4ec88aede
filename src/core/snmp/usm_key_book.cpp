#include "snmp/usm_key_book.h"

#include <mutex>
#include <string>
#include <vector>

#include "snmp/ber.h"

namespace snmp::usm {
namespace {

struct KeptKey {
  Bytes engine_id;
  std::string user;
  PrivProtocol priv = PrivProtocol::kNone;
  Bytes key;
};

// Few users and engines in one run; a walk remembers its key once, not per request.
constexpr std::size_t kMaxKeptKeys = 64;

std::mutex g_mutex;
std::vector<KeptKey>& Book() {
  static std::vector<KeptKey> book;
  return book;
}

// A plaintext is a scoped PDU when it is one SEQUENCE that fills it, but for DES's padding of
// less than a block (RFC 3414 8.1.1.2).
bool IsWholeScopedPdu(const Bytes& plain) {
  CBerReader in(plain.data(), static_cast<std::int32_t>(plain.size()));
  BerHeader h;
  if (in.ReadHeader(h, BerLengths::kStrict) != BerStatus::kOk || h.tag != 0x30)
    return false;
  return plain.size() - (h.Size() + h.length) < 8;
}

}  // namespace

void RememberPrivacyKey(std::span<const std::uint8_t> engine_id, std::string_view user,
                        PrivProtocol priv, std::span<const std::uint8_t> key) {
  if (key.empty())
    return;
  const std::lock_guard lock(g_mutex);
  std::vector<KeptKey>& book = Book();
  std::erase_if(book, [&](const KeptKey& k) {
    return k.user == user && k.priv == priv && std::ranges::equal(k.engine_id, engine_id) &&
           std::ranges::equal(k.key, key);
  });
  if (book.size() == kMaxKeptKeys)
    book.erase(book.begin());
  book.push_back({Bytes(engine_id.begin(), engine_id.end()), std::string(user), priv,
                  Bytes(key.begin(), key.end())});
}

std::optional<Bytes> DecryptWithRememberedKey(const EncryptedScopedPdu& pdu) {
  const std::string_view user(reinterpret_cast<const char*>(pdu.user_name.data()),
                              pdu.user_name.size());
  std::vector<KeptKey> candidates;
  {
    const std::lock_guard lock(g_mutex);
    for (const KeptKey& k : Book()) {
      if (k.user == user && std::ranges::equal(k.engine_id, pdu.engine_id))
        candidates.push_back(k);
    }
  }
  for (auto k = candidates.rbegin(); k != candidates.rend(); ++k) {
    std::optional<Bytes> plain =
        Decrypt(k->priv, k->key, static_cast<std::uint32_t>(pdu.boots),
                static_cast<std::uint32_t>(pdu.time), pdu.privacy_parameters, pdu.cipher_text);
    if (plain && IsWholeScopedPdu(*plain))
      return plain;
  }
  return std::nullopt;
}

}  // namespace snmp::usm
