// Keys against vectors by hand: RFC 3414 A.3 for MD5 and SHA-1; Python's hashlib and openssl for
// SHA-2 and the AES key extensions. Digests and cipher text are net-snmp's to judge.
#include "snmp/usm_crypto.h"

#include <gtest/gtest.h>

#include "snmp/usm_key_book.h"

#include <string>
#include <tuple>

#include "support/hex_bytes.h"

namespace {

using namespace snmp::usm;
using testing_support::Hex;

const Bytes kEngine = Hex("00 00 00 00 00 00 00 00 00 00 00 02");

TEST(UsmCrypto, PasswordsBecomeTheRfcKeysAndLocaliseToTheEngine) {
  const struct {
    AuthProtocol auth;
    const char *ku, *kul;
    std::size_t digest;
  } cases[] = {
      {AuthProtocol::kMd5, "9faf3283884e92834ebc9847d8edd963", "526f5eed9fcce26f8964c2930787d82b",
       12},
      {AuthProtocol::kSha1, "9fb5cc0381497b3793528939ff788d5d79145211",
       "6695febc9288e36282235fc7151f128497b38f3f", 12},
      {AuthProtocol::kSha224, "282a5867ee9aac639ad59df9572c7d3ac0fbc13a905b6df07dbbf00b",
       "0bd8827c6e29f8065e08e09237f177e410f69b90e1782be682075674", 16},
      {AuthProtocol::kSha256, "ab51014d1e077f6017df2b12bee5f5aa72993177e9bb569c4dff5a4ca0b4afac",
       "8982e0e549e866db361a6b625d84cccc11162d453ee8ce3a6445c2d6776f0f8b", 24},
      {AuthProtocol::kSha384,
       "e06eccdf2c68a06ed034723c9c26e0db3b669e1e2efed49150b55377a2e98f383c86fb836857444654b287c93f"
       "51ff64",
       "3b298f16164a11184279d5432bf169e2d2a48307de02b3d3f7e2b4f36eb6f0455a53689a3937eea07319a633d2"
       "ccba78",
       32},
      {AuthProtocol::kSha512,
       "7e4396de5aadc77be853819b98c9406265b3a9c37cc3176569847a4e4f6fba63dd3a73d04924d31a63f95a601f"
       "9385af6be4ed1b37f87d040f7c6ed6f8d38a91",
       "22a5a36cedfcc085807a128d7bc6c2382167ad6c0dbc5fdff856740f3d84c099ad1ea87a8db096714d9788bd54"
       "4047c9021e4229ce27e4c0a69250adfcffbb0b",
       48},
  };
  for (const auto& c : cases) {
    const Bytes ku = PasswordToKey(c.auth, "maplesyrup");
    EXPECT_EQ(ku, Hex(c.ku));
    EXPECT_EQ(LocalizeKey(c.auth, ku, kEngine), Hex(c.kul));
    EXPECT_EQ(DigestLength(c.auth), c.digest);
  }
  EXPECT_TRUE(PasswordToKey(AuthProtocol::kSha1, "").empty());
  EXPECT_TRUE(PasswordToKey(AuthProtocol::kNone, "maplesyrup").empty());
}

TEST(UsmCrypto, PrivacyKeysAreCutOrStretchedEitherWay) {
  const struct {
    AuthProtocol auth;
    PrivProtocol priv;
    KeyExtension extension;
    const char* key;
  } cases[] = {
      {AuthProtocol::kSha256, PrivProtocol::kAes128, KeyExtension::kBlumenthal,
       "8982e0e549e866db361a6b625d84cccc"},  // cut, whichever the extension
      {AuthProtocol::kMd5, PrivProtocol::kDes, KeyExtension::kReeder,
       "526f5eed9fcce26f8964c2930787d82b"},
      {AuthProtocol::kMd5, PrivProtocol::kAes256, KeyExtension::kBlumenthal,
       "526f5eed9fcce26f8964c2930787d82bfa24a92467426c2f4b09192be10dfaec"},
      {AuthProtocol::kMd5, PrivProtocol::kAes256, KeyExtension::kReeder,
       "526f5eed9fcce26f8964c2930787d82b79eff44a90650ee0a3a40abfac5acc12"},
      {AuthProtocol::kSha1, PrivProtocol::kAes256, KeyExtension::kBlumenthal,
       "6695febc9288e36282235fc7151f128497b38f3f505e07eb9af25568fa1f5dbe"},
      {AuthProtocol::kSha1, PrivProtocol::kAes256, KeyExtension::kReeder,
       "6695febc9288e36282235fc7151f128497b38f3f9b8b6d78936ba6e7d19dfd9c"},
      {AuthProtocol::kSha1, PrivProtocol::kAes192, KeyExtension::kReeder,
       "6695febc9288e36282235fc7151f128497b38f3f9b8b6d78"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(PrivacyKey(c.auth, c.priv, c.extension, "maplesyrup", kEngine), Hex(c.key));
}

// The cipher text is net-snmp's to judge; here, the salt each cipher sends and what it leaves.
TEST(UsmCrypto, CiphersTakeTheirSaltFromTheEngineClockAndOpenWhatTheySealed) {
  const std::string text = "a scoped PDU of 29 bytes here";
  const Bytes plain(text.begin(), text.end());
  const std::uint64_t local = 0x0102030405060708;
  // DES: boots, then the low half of the local number; AES: the whole local number.
  for (const auto& [priv, key_hex, salt] :
       {std::tuple{PrivProtocol::kDes, "526f5eed9fcce26f8964c2930787d82b", "0000000105060708"},
        {PrivProtocol::kAes128, "6695febc9288e36282235fc7151f1284", "0102030405060708"}}) {
    const Bytes key = Hex(key_hex);
    const auto sealed = Encrypt(priv, key, 1, 2, local, plain);
    ASSERT_TRUE(sealed.has_value()) << key_hex;
    EXPECT_EQ(sealed->salt, Hex(salt));
    const auto opened = Decrypt(priv, key, 1, 2, sealed->salt, sealed->text);
    ASSERT_TRUE(opened.has_value());
    EXPECT_EQ(Bytes(opened->begin(), opened->begin() + 29), plain);
    // Another engine time changes an AES IV, never a DES one.
    EXPECT_EQ(Decrypt(priv, key, 1, 3, sealed->salt, sealed->text) == opened,
              priv == PrivProtocol::kDes);
  }
  const Bytes des = Hex("526f5eed9fcce26f8964c2930787d82b");
  EXPECT_FALSE(Decrypt(PrivProtocol::kDes, des, 1, 2, Hex("0000000105060708"), Bytes(9, 0)));
  EXPECT_FALSE(Decrypt(PrivProtocol::kAes128, des, 1, 2, Hex("01"), Bytes(16, 0)));  // short salt
}

// The decoded view decrypts with the keys this run made: the one of the message's engine and
// user whose plaintext is a whole scoped PDU, whatever was remembered after it.
TEST(UsmKeyBook, DecryptsWithTheKeyOfTheMessagesEngineAndUser) {
  const Bytes plain = Hex("30 0a 04 00 04 00 a0 04 02 01 01 00");  // DES pads it to 16
  const Bytes engine = Hex("80 00 1f 88 04 6b 65 79 62 6f 6f 6b");
  const Bytes des_key = Hex("526f5eed9fcce26f8964c2930787d82b");
  const auto sealed = Encrypt(PrivProtocol::kDes, des_key, 7, 9, 42, plain);
  ASSERT_TRUE(sealed.has_value());
  const auto decrypt = [&](const char* user, const Bytes& engine_id) {
    const std::string name = user;
    return DecryptWithRememberedKey(
        {engine_id, 7, 9,
         std::span(reinterpret_cast<const std::uint8_t*>(name.data()), name.size()), sealed->salt,
         sealed->text});
  };
  EXPECT_FALSE(decrypt("keybook", engine));  // nothing remembered yet
  RememberPrivacyKey(engine, "keybook", PrivProtocol::kDes, des_key);
  RememberPrivacyKey(engine, "keybook", PrivProtocol::kDes,
                     Hex("00112233445566778899aabbccddeeff"));
  RememberPrivacyKey(engine, "other", PrivProtocol::kDes, des_key);
  const auto opened = decrypt("keybook", engine);
  ASSERT_TRUE(opened.has_value());
  EXPECT_EQ(Bytes(opened->begin(), opened->begin() + 12), plain);
  EXPECT_FALSE(decrypt("keybook", Hex("80 00 1f 88 04 6f 74 68 65 72")));
  EXPECT_FALSE(decrypt("keyboo", engine));
}

}  // namespace
