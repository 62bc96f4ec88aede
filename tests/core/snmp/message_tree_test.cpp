// The transaction log's decoded tree: nodes at their offsets, one named damage node if broken.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "snmp/message_tree.h"
#include "support/ber_builder.h"
#include "support/hex_bytes.h"

namespace {

using snmp::DecodeMessageTree;
using snmp::MessageNode;
using snmp::MessageTree;
using namespace testing_support;

// The Get request of sysDescr.0 with community "getcom", version 1, request id 0.
const Bytes kGet =
    Hex("30 26 02 01 00 04 06 67 65 74 63 6f 6d a0 19 02 01 00 02 01 00 02 01 00 30 0e 30 0c 06 08"
        "2b 06 01 02 01 01 01 00 05 00");

// RFC 3414 4 discovery: noAuthNoPriv, reportable, empty engine ID and user, a Get of nothing.
const Bytes kDiscovery =
    Hex("30 3c 02 01 03 30 11 02 04 12 34 56 78 02 03 00 ff e3 04 01 04 02 01 03 04 10 30 0e 04 00"
        "02 01 00 02 01 00 04 00 04 00 04 00 30 12 04 00 04 00 a0 0c 02 02 01 f4 02 01 00 02 01 00"
        "30 00");

// An authPriv request from user "bob", its scoped PDU 40 bytes of cipher text.
const Bytes kAuthPriv =
    Cat({Hex("30 78 02 01 03 30 11 02 04 00 00 30 39 02 03 00 ff e3 04 01 07 02 01 03 04 36 30 34"
             "04 0d 80 00 1f 88 80 5a 1b 3c 4d 5e 6f 70 81 02 01 05 02 03 01 e2 40 04 03 62 6f 62"
             "04 0c 11 22 33 44 55 66 77 88 99 aa bb cc 04 08 01 02 03 04 05 06 07 08 04 28"),
         Bytes(40, 0xc5)});
// What it decrypts to: a Get of sysDescr.0 and the 7 bytes DES pads it with.
const Bytes kAuthPrivPlain =
    Hex("30 1f 04 00 04 00 a0 19 02 01 01 02 01 00 02 01 00 30 0e 30 0c 06 08 2b 06 01 02 01 01"
        "01 00 05 00 07 07 07 07 07 07 07");

struct Node {
  std::wstring field;
  std::uint32_t offset, size;
  int depth;
  std::wstring value;
};

void ExpectNodes(const MessageTree& tree, const std::vector<Node>& expected) {
  ASSERT_EQ(tree.nodes.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const MessageNode& n = tree.nodes[i];
    const Node& e = expected[i];
    EXPECT_EQ(std::tie(n.field, n.offset, n.size, n.depth, n.value),
              std::tie(e.field, e.offset, e.size, e.depth, e.value))
        << "node " << i;
  }
}

const MessageNode* Field(const MessageTree& tree, const std::wstring& field) {
  for (const MessageNode& n : tree.nodes) {
    if (n.field == field && !n.damage)
      return &n;
  }
  return nullptr;
}

// Whatever the bytes, the tree stays inside them and ends in at most one damage node.
void ExpectWellFormed(const MessageTree& tree, std::size_t size) {
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const MessageNode& n = tree.nodes[i];
    EXPECT_LE(n.offset + n.size, n.decrypted ? tree.plaintext.size() : size) << "node " << i;
    EXPECT_LT(n.parent, static_cast<int>(i));
    EXPECT_TRUE(!n.damage || i + 1 == tree.nodes.size()) << "damage before the end";
  }
}

// A v2c Response with one binding of .1.3.6.1.2.1.1.5.0 and the given value TLV.
Bytes ResponseWith(const Bytes& value) {
  return Response(1, "public", 7, 0, 0, VarBind(Hex("2b 06 01 02 01 01 05 00"), value));
}

// Where the value of ResponseWith(value) starts.
std::uint32_t ValueOffset(const Bytes& value) {
  return static_cast<std::uint32_t>(ResponseWith(value).size() - value.size());
}

// An OBJECT IDENTIFIER of `n` arcs, .1.3.1.1...: its TLV and its text.
std::pair<Bytes, std::wstring> Arcs(int n) {
  std::wstring text = L".1.3";
  for (int i = 2; i < n; ++i)
    text += L".1";
  return {Tlv(0x06, Cat({Hex("2b"), Bytes(n - 2, 1)})), text};
}

// Tag, length and BER type beside the offset (the v3 test lists every node of the same PDU).
TEST(MessageTree, TheGetExampleShowsEachFieldsTagLengthAndType) {
  const MessageTree tree = DecodeMessageTree(kGet);
  ASSERT_EQ(tree.nodes.size(), 11u);
  for (const auto& [i, field, offset, tag, length, type] :
       {std::tuple(0u, L"message", 0u, 0x30, 38u, L"SEQUENCE"),
        {2u, L"community", 5u, 0x04, 6u, L"OCTET STRING"},
        {3u, L"PDU", 13u, 0xA0, 25u, L"GetRequest-PDU"},
        {9u, L"name", 28u, 0x06, 8u, L"OBJECT IDENTIFIER"},
        {10u, L"value", 38u, 0x05, 0u, L"NULL"}}) {
    const MessageNode& n = tree.nodes.at(i);
    EXPECT_EQ(std::tuple(n.field, n.offset, n.tag, n.length, n.type),
              std::tuple(std::wstring(field), offset, tag, length, std::wstring(type)));
  }
}

TEST(MessageTree, ValuesAndLengthFormsReadAsThePagesShowThem) {
  const struct {
    const char* what;
    Bytes value;
    std::wstring type, text;
    std::uint32_t length;
  } cases[] = {
      {"128 bytes as 81 80", Tlv(0x04, Bytes(128, 'b')), L"OCTET STRING", std::wstring(128, L'b'),
       128},
      {"256 bytes as 82 01 00", Tlv(0x04, Bytes(256, 'c')), L"OCTET STRING",
       std::wstring(256, L'c'), 256},
      {"85 00 00 00 00 05", Hex("04 85 00 00 00 00 05 48 65 6c 6c 6f"), L"OCTET STRING", L"Hello",
       5},
      {"-129", Hex("02 02 ff 7f"), L"INTEGER", L"-129", 2},
      {"Counter64 above 2^32", Hex("46 05 01 00 00 00 00"), L"Counter64", L"4294967296", 5},
      {"2.999.3", Hex("06 03 88 37 03"), L"OBJECT IDENTIFIER", L".2.999.3", 3},
      {"arc 2^32-1", Hex("06 06 2b 8f ff ff ff 7f"), L"OBJECT IDENTIFIER", L".1.3.4294967295", 6},
      {"128 arcs", Arcs(128).first, L"OBJECT IDENTIFIER", Arcs(128).second, 127},
      {"address", Hex("40 04 0a 00 00 01"), L"IpAddress", L"10.0.0.1", 4},
      {"Timeticks", Hex("43 03 05 7e 40"), L"TimeTicks", L"360000", 3},
      {"endOfMibView", Hex("82 00"), L"endOfMibView", L"", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Bytes message = ResponseWith(c.value);
    const MessageTree tree = DecodeMessageTree(message);
    ASSERT_EQ(tree.Damage(), nullptr);
    const MessageNode* v = Field(tree, L"value");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->type, c.type);
    EXPECT_EQ(v->value, c.text);
    EXPECT_EQ(v->length, c.length);
    EXPECT_EQ(v->offset, message.size() - c.value.size());
    EXPECT_EQ(v->size, c.value.size());
    EXPECT_EQ(Field(tree, L"varbind 1")->value, L".1.3.6.1.2.1.1.5.0");
  }
}

TEST(MessageTree, EveryPduKindShowsItsOwnFields) {
  const Bytes binds = Tlv(0x30, VarBind(Hex("2b 06 01 02 01 01 03 00"), Hex("43 01 2a")));
  const Bytes bulk =
      Tlv(0x30, Cat({Int(1), Str("public"), Tlv(0xA5, Cat({Int(9), Int(1), Int(10), binds}))}));
  const Bytes trap =
      Tlv(0x30, Cat({Int(0), Str("trapcom"),
                     Tlv(0xA4, Cat({Tlv(0x06, Hex("2b 06 01 04 01")), Hex("40 04 7f 00 00 01"),
                                    Int(3), Int(0), Hex("43 02 01 00"), binds}))}));
  const Bytes v2trap =
      Tlv(0x30, Cat({Int(1), Str("public"), Tlv(0xA7, Cat({Int(4), Int(0), Int(0), binds}))}));
  const Bytes refused = Response(1, "public", 5, 2, 1, VarBind(Hex("2b 06 01"), Hex("05 00")));
  // An SNMPv3 Report of usmStatsUnknownEngineIDs.0 (RFC 3414 3.2, step 3).
  auto report = [&](std::uint8_t flags, const char* engine_id) {
    const Bytes id = Tlv(0x04, Hex(engine_id));
    const Bytes usm = Tlv(0x30, Cat({id, Int(2), Int(1234), Str(""), Str(""), Str("")}));
    const Bytes pdu =
        Tlv(0xA8, Cat({Int(7), Int(0), Int(0),
                       Tlv(0x30, VarBind(Hex("2b 06 01 06 03 0f 01 01 04 00"), Hex("41 01 01")))}));
    return Tlv(0x30, Cat({Int(3), Tlv(0x30, Cat({Int(7), Int(65507), Tlv(0x04, {flags}), Int(3)})),
                          Tlv(0x04, usm), Tlv(0x30, Cat({id, Str("ctx"), pdu}))}));
  };
  const struct {
    const char* what;
    Bytes message;
    std::wstring fields;  // "field: value", " | " between them
  } cases[] = {
      {"GetBulkRequest", bulk,
       L"PDU: GetBulkRequest | request-id: 9 | non-repeaters: 1 | max-repetitions: 10 | value: 42"},
      {"v1 trap", trap,
       L"version: 0 (SNMPv1) | PDU: Trap | enterprise: .1.3.6.1.4.1 | agent-addr: 127.0.0.1 | "
       L"generic-trap: 3 (linkUp) | specific-trap: 0 | time-stamp: 256"},
      {"v2c trap", v2trap, L"version: 1 (SNMPv2c) | PDU: SNMPv2-Trap"},
      {"error status", refused, L"error-status: 2 (noSuchName) | error-index: 1"},
      {"v3 Report", report(0x00, "80 00 1f 88 80 5a 1b 3c 4d"),
       L"msgFlags: 0x00 (none) | msgAuthoritativeEngineID: 80 00 1f 88 80 5a 1b 3c 4d (enterprise "
       L"8072, format 128: enterprise-specific) | msgAuthoritativeEngineBoots: 2 | "
       L"msgAuthoritativeEngineTime: 1234 | msgData: plaintext ScopedPDU | contextName: ctx | "
       L"PDU: Report | "
       L"name: .1.3.6.1.6.3.15.1.1.4.0 | value: 1"},
      {"v3 engine ID of an address", report(0x05, "80 00 00 09 01 c0 00 02 01"),
       L"msgFlags: 0x05 (auth, reportable) | contextEngineID: 80 00 00 09 01 c0 00 02 01 "
       L"(enterprise 9, format 1: IPv4 address 192.0.2.1)"},
      {"v3 engine ID of text", report(0x01, "80 00 1f 88 04 6f 6e 65"),
       L"msgFlags: 0x01 (auth) | msgAuthoritativeEngineID: 80 00 1f 88 04 6f 6e 65 (enterprise "
       L"8072, format 4: text 'one')"},
      {"v3 engine ID before RFC 3411", report(0x00, "00 00 00 09 01 02 03 04 05 06 07 08"),
       L"msgAuthoritativeEngineID: 00 00 00 09 01 02 03 04 05 06 07 08"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const MessageTree tree = DecodeMessageTree(c.message);
    EXPECT_EQ(tree.Damage(), nullptr);
    for (std::wstring rest = c.fields; !rest.empty();) {
      const std::size_t colon = rest.find(L": "), bar = std::min(rest.find(L" | "), rest.size());
      const MessageNode* n = Field(tree, rest.substr(0, colon));
      ASSERT_NE(n, nullptr) << testing::PrintToString(rest.substr(0, colon));
      EXPECT_EQ(n->value, rest.substr(colon + 2, bar - colon - 2));
      rest.erase(0, bar + 3);
    }
  }
}

TEST(MessageTree, EachKindOfDamageEndsInItsNamedNode) {
  auto with = [](std::size_t at, std::initializer_list<std::uint8_t> bytes) {
    Bytes b = kGet;
    std::copy(bytes.begin(), bytes.end(), b.begin() + static_cast<std::ptrdiff_t>(at));
    return b;
  };
  Bytes long_outer(kGet.begin(), kGet.begin() + 19);
  long_outer[1] = 0x40;
  Bytes trailing = kGet;
  trailing.insert(trailing.end(), {0, 0, 0});
  const Bytes arcs_129 = Arcs(129).first;
  auto v3 = [](std::size_t at, std::uint8_t byte) {
    Bytes b = kDiscovery;
    b[at] = byte;
    return b;
  };
  const struct {
    const char* what;
    Bytes message;
    std::uint32_t offset;
    std::wstring text;
  } cases[] = {
      {"empty", {}, 0, L"the message is empty"},
      {"length past the end", long_outer, 1,
       L"length 64 runs past the end of the message (17 bytes left)"},
      {"wrong tag", with(5, {0x40}), 5, L"expected OCTET STRING (0x04), found 0x40"},
      {"trailing bytes", trailing, 40, L"3 bytes after the end of the message"},
      {"a 0x80 length", with(1, {0x80}), 1, L"indefinite length (0x80) is not allowed in SNMP"},
      {"an OID arc off the end", with(37, {0x81}), 28,
       L"arc 9 of the OBJECT IDENTIFIER runs past its end (0x81 asks for one more byte)"},
      {"inner length past its sequence", with(25, {0x0F}), 25,
       L"length 15 runs past the end of the PDU (14 bytes left)"},
      {"length too wide", ResponseWith(Hex("04 85 01 00 00 00 05 48 65 6c 6c 6f")),
       ValueOffset(Hex("04 85 01 00 00 00 05 48 65 6c 6c 6f")) + 1,
       L"a length of 5 bytes does not fit in 32 bits"},
      {"six-byte INTEGER", ResponseWith(Hex("02 06 01 02 03 04 05 06")),
       ValueOffset(Hex("02 06 01 02 03 04 05 06")), L"INTEGER of 6 bytes (1 to 5 allowed)"},
      {"empty INTEGER", with(15, {0x02, 0x00, 0x02}), 15, L"INTEGER of 0 bytes (1 to 5 allowed)"},
      {"unknown value type", with(38, {0x45}), 38, L"unsupported value type 0x45"},
      {"not a PDU", with(13, {0x30}), 13, L"expected a PDU (0xA0 to 0xA8), found 0x30"},
      {"129 arcs", ResponseWith(arcs_129), ValueOffset(arcs_129),
       L"OBJECT IDENTIFIER of more than 128 arcs"},
      {"msgFlags of 2 bytes", v3(19, 0x02), 18, L"msgFlags of 2 bytes (1 expected)"},
      {"privFlag on plaintext", v3(20, 0x07), 42, L"expected OCTET STRING (0x04), found 0x30"},
      {"no USM sequence", v3(26, 0x31), 26, L"expected SEQUENCE (0x30), found 0x31"},
      {"boots not an INTEGER", v3(30, 0x04), 30, L"expected INTEGER (0x02), found 0x04"},
      {"USM past its OCTET STRING", v3(27, 0x0f), 27,
       L"length 15 runs past the end of the msgSecurityParameters (14 bytes left)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const MessageTree tree = DecodeMessageTree(c.message);
    ExpectWellFormed(tree, c.message.size());
    const MessageNode* damage = tree.Damage();
    ASSERT_NE(damage, nullptr);
    EXPECT_EQ(damage->value, c.text);
    EXPECT_EQ(damage->offset, c.offset);
  }
}

TEST(MessageTree, AnEncryptedScopedPduShowsDecryptedWithTheCallersPlaintext) {
  std::vector<Bytes> given;
  std::pair<std::int32_t, std::int32_t> clock;
  const snmp::ScopedPduDecrypter decrypt = [&](const snmp::EncryptedScopedPdu& e) {
    given = {Bytes(e.engine_id.begin(), e.engine_id.end()),
             Bytes(e.user_name.begin(), e.user_name.end()),
             Bytes(e.privacy_parameters.begin(), e.privacy_parameters.end()),
             Bytes(e.cipher_text.begin(), e.cipher_text.end())};
    clock = {e.boots, e.time};
    return std::optional<Bytes>(kAuthPrivPlain);
  };
  const std::vector<Node> outside = {
      {L"message", 0, 122, 0, L""},
      {L"msgVersion", 2, 3, 1, L"3 (SNMPv3)"},
      {L"msgGlobalData", 5, 19, 1, L""},
      {L"msgID", 7, 6, 2, L"12345"},
      {L"msgMaxSize", 13, 5, 2, L"65507"},
      {L"msgFlags", 18, 3, 2, L"0x07 (auth, priv, reportable)"},
      {L"msgSecurityModel", 21, 3, 2, L"3 (USM)"},
      {L"msgSecurityParameters", 24, 56, 1, L""},
      {L"UsmSecurityParameters", 26, 54, 2, L""},
      {L"msgAuthoritativeEngineID", 28, 15, 3,
       L"80 00 1f 88 80 5a 1b 3c 4d 5e 6f 70 81 (enterprise 8072, format 128: "
       L"enterprise-specific)"},
      {L"msgAuthoritativeEngineBoots", 43, 3, 3, L"5"},
      {L"msgAuthoritativeEngineTime", 46, 5, 3, L"123456"},
      {L"msgUserName", 51, 5, 3, L"bob"},
      {L"msgAuthenticationParameters", 56, 14, 3, L"11 22 33 44 55 66 77 88 99 aa bb cc"},
      {L"msgPrivacyParameters", 70, 10, 3, L"01 02 03 04 05 06 07 08"},
      {L"msgData", 80, 42, 1, L"encryptedPDU (40 bytes, encrypted)"}};
  ExpectNodes(DecodeMessageTree(kAuthPriv), outside);

  std::vector<Node> inside = outside;
  inside.insert(inside.end(), {{L"decrypted with the key of user 'bob'", 82, 40, 2, L"40 bytes"},
                               {L"ScopedPDU", 0, 33, 3, L""},
                               {L"contextEngineID", 2, 2, 4, L""},
                               {L"contextName", 4, 2, 4, L""},
                               {L"PDU", 6, 27, 4, L"GetRequest"},
                               {L"request-id", 8, 3, 5, L"1"},
                               {L"error-status", 11, 3, 5, L"0 (noError)"},
                               {L"error-index", 14, 3, 5, L"0"},
                               {L"variable-bindings", 17, 16, 5, L"1 binding"},
                               {L"varbind 1", 19, 14, 6, L".1.3.6.1.2.1.1.1.0"},
                               {L"name", 21, 10, 7, L".1.3.6.1.2.1.1.1.0"},
                               {L"value", 31, 2, 7, L""},
                               {L"padding", 33, 7, 3, L"7 bytes"}});
  const MessageTree tree = DecodeMessageTree(kAuthPriv, decrypt);
  ExpectNodes(tree, inside);
  EXPECT_EQ(tree.plaintext, kAuthPrivPlain);
  for (std::size_t i = 0; i < tree.nodes.size(); ++i)
    EXPECT_EQ(tree.nodes[i].decrypted, i > outside.size()) << "node " << i;
  EXPECT_EQ(given,
            (std::vector<Bytes>{Hex("80 00 1f 88 80 5a 1b 3c 4d 5e 6f 70 81"), Hex("62 6f 62"),
                                Hex("01 02 03 04 05 06 07 08"), Bytes(40, 0xc5)}));
  EXPECT_EQ(clock, std::pair(5, 123456));

  // A wrong key decrypts to noise, which shows where it stops making sense.
  const MessageTree noise = DecodeMessageTree(kAuthPriv, [](const snmp::EncryptedScopedPdu&) {
    return std::optional<Bytes>(Bytes{4, 0});
  });
  ExpectWellFormed(noise, kAuthPriv.size());
  ASSERT_NE(noise.Damage(), nullptr);
  EXPECT_TRUE(noise.Damage()->decrypted);
  EXPECT_EQ(noise.Damage()->offset, 0u);
  EXPECT_EQ(noise.Damage()->value, L"expected SEQUENCE (0x30), found 0x04");
}

}  // namespace
