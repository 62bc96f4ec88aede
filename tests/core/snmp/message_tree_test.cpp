// The decoded tree of the transaction log: right nodes at the right offsets for well-formed
// messages, and one named damage node for each kind of broken one.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "snmp/message_tree.h"
#include "support/ber_builder.h"
#include "support/hex_bytes.h"

namespace {

using snmp::DecodeMessageTree;
using snmp::MessageNode;
using snmp::MessageTree;
using testing_support::Bytes;
using testing_support::Hex;

// The Get request of sysDescr.0 with community "getcom", version 1, request id 0.
const Bytes kGet =
    Hex("30 26 02 01 00 04 06 67 65 74 63 6f 6d a0 19 02 01 00 02 01 00 02 01 00 30 0e 30 0c 06 08"
        "2b 06 01 02 01 01 01 00 05 00");

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
    EXPECT_LE(n.offset + n.size, size) << "node " << i;
    EXPECT_LT(n.parent, static_cast<int>(i));
    EXPECT_TRUE(!n.damage || i + 1 == tree.nodes.size()) << "damage before the end";
  }
}

// A v2c Response with one binding of .1.3.6.1.2.1.1.5.0 and the given value TLV.
Bytes ResponseWith(const Bytes& value) {
  using namespace testing_support;
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
  return {testing_support::Tlv(0x06, testing_support::Cat({Hex("2b"), Bytes(n - 2, 1)})), text};
}

TEST(MessageTree, TheGetExampleShowsEveryFieldAtItsOffset) {
  const MessageTree tree = DecodeMessageTree(kGet);
  ASSERT_EQ(tree.Damage(), nullptr);
  const struct {
    std::wstring field;
    std::uint32_t offset, size, length;
    int tag, depth;
    std::wstring type, value;
  } expected[] = {
      {L"message", 0, 40, 38, 0x30, 0, L"SEQUENCE", L""},
      {L"version", 2, 3, 1, 0x02, 1, L"INTEGER", L"0 (SNMPv1)"},
      {L"community", 5, 8, 6, 0x04, 1, L"OCTET STRING", L"getcom"},
      {L"PDU", 13, 27, 25, 0xA0, 1, L"GetRequest-PDU", L"GetRequest"},
      {L"request-id", 15, 3, 1, 0x02, 2, L"INTEGER", L"0"},
      {L"error-status", 18, 3, 1, 0x02, 2, L"INTEGER", L"0 (noError)"},
      {L"error-index", 21, 3, 1, 0x02, 2, L"INTEGER", L"0"},
      {L"variable-bindings", 24, 16, 14, 0x30, 2, L"SEQUENCE", L"1 binding"},
      {L"varbind 1", 26, 14, 12, 0x30, 3, L"SEQUENCE", L".1.3.6.1.2.1.1.1.0"},
      {L"name", 28, 10, 8, 0x06, 4, L"OBJECT IDENTIFIER", L".1.3.6.1.2.1.1.1.0"},
      {L"value", 38, 2, 0, 0x05, 4, L"NULL", L""},
  };
  ASSERT_EQ(tree.nodes.size(), std::size(expected));
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const MessageNode& n = tree.nodes[i];
    const auto& e = expected[i];
    EXPECT_EQ(std::tie(n.field, n.offset, n.size, n.length, n.tag, n.depth, n.type, n.value),
              std::tie(e.field, e.offset, e.size, e.length, e.tag, e.depth, e.type, e.value))
        << "node " << i;
  }
}

TEST(MessageTree, ValuesAndLengthFormsReadAsThePagesShowThem) {
  using testing_support::Tlv;
  const struct {
    const char* what;
    Bytes value;
    std::wstring type, text;
    std::uint32_t length;
  } cases[] = {
      {"127 bytes, one length byte", Tlv(0x04, Bytes(127, 'a')), L"OCTET STRING",
       std::wstring(127, L'a'), 127},
      {"128 bytes as 81 80", Tlv(0x04, Bytes(128, 'b')), L"OCTET STRING", std::wstring(128, L'b'),
       128},
      {"256 bytes as 82 01 00", Tlv(0x04, Bytes(256, 'c')), L"OCTET STRING",
       std::wstring(256, L'c'), 256},
      {"84 00 00 00 05", Hex("04 84 00 00 00 05 48 65 6c 6c 6f"), L"OCTET STRING", L"Hello", 5},
      {"85 00 00 00 00 05", Hex("04 85 00 00 00 00 05 48 65 6c 6c 6f"), L"OCTET STRING", L"Hello",
       5},
      {"-129", Hex("02 02 ff 7f"), L"INTEGER", L"-129", 2},
      {"Counter64 above 2^32", Hex("46 05 01 00 00 00 00"), L"Counter64", L"4294967296", 5},
      {"2.999.3", Hex("06 03 88 37 03"), L"OBJECT IDENTIFIER", L".2.999.3", 3},
      {"arc 2^32-1", Hex("06 06 2b 8f ff ff ff 7f"), L"OBJECT IDENTIFIER", L".1.3.4294967295", 6},
      {"OID .1.3.6.1", Hex("06 03 2b 06 01"), L"OBJECT IDENTIFIER", L".1.3.6.1", 3},
      {"arc 128 as 81 00", Hex("06 03 2b 81 00"), L"OBJECT IDENTIFIER", L".1.3.128", 3},
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
  using namespace testing_support;
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
  const struct {
    const char* what;
    Bytes message;
    std::vector<std::pair<std::wstring, std::wstring>> fields;
  } cases[] = {
      {"GetBulkRequest",
       bulk,
       {{L"PDU", L"GetBulkRequest"},
        {L"request-id", L"9"},
        {L"non-repeaters", L"1"},
        {L"max-repetitions", L"10"},
        {L"value", L"42"}}},
      {"v1 trap",
       trap,
       {{L"version", L"0 (SNMPv1)"},
        {L"PDU", L"Trap"},
        {L"enterprise", L".1.3.6.1.4.1"},
        {L"agent-addr", L"127.0.0.1"},
        {L"generic-trap", L"3 (linkUp)"},
        {L"specific-trap", L"0"},
        {L"time-stamp", L"256"}}},
      {"v2c trap", v2trap, {{L"version", L"1 (SNMPv2c)"}, {L"PDU", L"SNMPv2-Trap"}}},
      {"error status", refused, {{L"error-status", L"2 (noSuchName)"}, {L"error-index", L"1"}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const MessageTree tree = DecodeMessageTree(c.message);
    EXPECT_EQ(tree.Damage(), nullptr);
    for (const auto& [field, value] : c.fields) {
      const MessageNode* n = Field(tree, field);
      ASSERT_NE(n, nullptr) << std::string(field.begin(), field.end());
      EXPECT_EQ(n->value, value);
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

TEST(MessageTree, TruncatedAtEveryByteEndsInADamageNodeWithinTheBytes) {
  using namespace testing_support;
  const Bytes trap =
      Tlv(0x30, Cat({Int(0), Str("t"),
                     Tlv(0xA4, Cat({Tlv(0x06, Hex("2b 06 01 04 01 82 37")),
                                    Hex("40 04 7f 00 00 01"), Int(6), Int(1), Hex("43 02 01 00"),
                                    Tlv(0x30, VarBind(Hex("2b 06 01"), Str("up")))}))}));
  for (const Bytes& whole : {kGet, trap, ResponseWith(Hex("46 09 00 ff ff ff ff ff ff ff ff"))}) {
    ASSERT_EQ(DecodeMessageTree(whole).Damage(), nullptr);
    for (std::size_t n = 0; n < whole.size(); ++n) {
      SCOPED_TRACE(n);
      const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
      const MessageTree tree = DecodeMessageTree(cut);
      ExpectWellFormed(tree, n);
      ASSERT_NE(tree.Damage(), nullptr);
      EXPECT_FALSE(tree.Damage()->value.empty());
    }
  }
}

}  // namespace
