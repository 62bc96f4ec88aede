// Primitive and value codecs: hex tables of valid encodings (round-tripped), invalid inputs each
// with the rule it breaks, and the text forms users type and read.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "snmp/integer32.h"
#include "snmp/octet_string.h"
#include "snmp/oid.h"
#include "snmp/type_names.h"
#include "support/hex_bytes.h"
#include "util/text.h"

namespace snmp {
namespace {

using testing_support::Hex;
using testing_support::ToHex;

// Encodes a whole object into a buffer of `room` bytes; "FAIL" when it does not fit.
std::string EncodeHex(CASNDataType& value, std::int32_t room = 4096) {
  std::vector<std::uint8_t> buf(static_cast<std::size_t>(room) + 1, 0xEE);
  CBerWriter w(&buf[static_cast<std::size_t>(room) - 1], room);
  if (!value.Encode(w))
    return "FAIL";
  EXPECT_EQ(buf.back(), 0xEE) << "wrote past the end";
  return ToHex({w.Begin(), static_cast<std::size_t>(room - w.FreeCount())});
}

std::wstring Text(const CASNDataType& value) {
  std::wstring t = L"<unchanged>";
  (void)ValueToText(value, t);  // Null and the exception values read as the empty text
  return t;
}

struct TextCase {
  std::uint32_t tag;
  std::wstring text;   // as the user types it
  const char* hex;     // whole TLV
  std::wstring shown;  // as it reads back after decoding
};

const TextCase kTextCases[] = {
    // INTEGER: minimal two's complement.
    {kTagInteger32, L"0", "02 01 00", L"0"},
    {kTagInteger32, L"127", "02 01 7f", L"127"},
    {kTagInteger32, L"128", "02 02 00 80", L"128"},
    {kTagInteger32, L"-1", "02 01 ff", L"-1"},
    {kTagInteger32, L"-128", "02 01 80", L"-128"},
    {kTagInteger32, L"-129", "02 02 ff 7f", L"-129"},
    {kTagInteger32, L"-2147483648", "02 04 80 00 00 00", L"-2147483648"},
    {kTagInteger32, L"99999999999", "02 04 7f ff ff ff", L"2147483647"},  // saturates
    {kTagInteger32, L" 12abc", "02 01 0c", L"12"},
    {kTagInteger32, L"abc", "02 01 00", L"0"},
    // Unsigned 32: base 0 reading, a zero in front when the top bit is set.
    {kTagCounter32, L"0", "41 01 00", L"0"},
    {kTagCounter32, L"255", "41 02 00 ff", L"255"},
    {kTagGauge32, L"4294967295", "42 05 00 ff ff ff ff", L"4294967295"},
    {kTagTimeTicks, L"0x1F", "43 01 1f", L"31"},
    {kTagUnsigned32, L"010", "47 01 08", L"8"},
    {kTagUnsigned32, L"-1", "47 05 00 ff ff ff ff", L"4294967295"},
    {kTagUnsigned32, L"99999999999", "47 05 00 ff ff ff ff", L"4294967295"},
    // Counter64 encodes 64 bits.
    {kTagCounter64, L"18446744073709551615", "46 09 00 ff ff ff ff ff ff ff ff", L"4294967295"},
    {kTagCounter64, L"4294967296", "46 05 01 00 00 00 00", L"0"},
    {kTagCounter64, L"1000", "46 02 03 e8", L"1000"},
    // OBJECT IDENTIFIER: one-byte first sub-identifier, base 128 after it.
    {kTagOid, L".1.3.6.1", "06 03 2b 06 01", L".1.3.6.1"},
    {kTagOid, L"1..3.6.1", "06 03 2b 06 01", L".1.3.6.1"},
    {kTagOid, L"1.3.128", "06 03 2b 81 00", L".1.3.128"},
    {kTagOid, L"1.3.2147483647", "06 06 2b 87 ff ff ff 7f", L".1.3.2147483647"},
    {kTagOid, L"1.3.6.1.2.1.1.1.0", "06 08 2b 06 01 02 01 01 01 00", L".1.3.6.1.2.1.1.1.0"},
    {kTagOid, L"2.999", "06 01 37", L".1.15"},  // 2*40+999 wraps in the single first byte
    // Strings are UTF-8; the length is the byte count.
    {kTagOctetString, L"Hello", "04 05 48 65 6c 6c 6f", L"Hello"},
    {kTagOctetString, L"", "04 00", L""},
    {kTagOctetString, L"caf\u00e9", "04 05 63 61 66 c3 a9", L"caf\u00e9"},
    {kTagOpaque, L"ab", "44 02 61 62", L"ab"},
    // IP addresses travel byte for byte, zeros included.
    {kTagIpAddress, L"10.0.0.1", "40 04 0a 00 00 01", L"10.0.0.1"},
    {kTagIpAddress, L"255.255.255.255", "40 04 ff ff ff ff", L"255.255.255.255"},
    {kTagIpAddress, L"1.2.x.4", "40 04 01 02 00 04", L"1.2.0.4"},
    {kTagIpAddress, L"10.0.0.256", "40 00", L""},
    {kTagIpAddress, L"1.2.3", "40 00", L""},
    {kTagIpAddress, L"1.2.3.4.", "40 00", L""},
    {kTagIpAddress, L"1.2.3.1234", "40 00", L""},
    {kTagIpAddress, L"001.002.003.004", "40 04 01 02 03 04", L"1.2.3.4"},
    {kTagNull, L"", "05 00", L""},
    {kTagEndOfMibView, L"", "82 00", L""},
};

TEST(ValueCodec, TextEncodesAndDecodesBack) {
  for (const TextCase& c : kTextCases) {
    SCOPED_TRACE(c.hex);
    auto value = CreateValue(c.tag, c.text);
    ASSERT_NE(value, nullptr);
    ASSERT_EQ(EncodeHex(*value), c.hex);

    const std::vector<std::uint8_t> bytes = Hex(c.hex);
    auto decoded = CreateValue(c.tag);
    CBerReader r(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    ASSERT_EQ(decoded->Decode(r), kBerOk);
    EXPECT_TRUE(r.Empty());
    EXPECT_EQ(Text(*decoded), c.shown);
  }
}

struct DecodeCase {
  std::uint32_t tag;
  const char* hex;
  int result;
  std::wstring shown;
  const char* rule;
};

const DecodeCase kDecodeCases[] = {
    {kTagInteger32, "02 84 00 00 00 01 05", kBerOk, L"5", "four length bytes"},
    {kTagInteger32, "02 85 00 00 00 00 01 05", kBerOk, L"5", "leading zero beyond four skipped"},
    {kTagInteger32, "02 05 80 00 00 00 01", kBerOk, L"1", "a fifth byte shifts the first out"},
    {kTagCounter64, "46 05 01 00 00 00 00", kBerOk, L"0", "only the last four bytes count"},
    {kTagCounter64, "46 09 00 ff ff ff ff ff ff ff fe", kBerOk, L"4294967294", "9 bytes allowed"},
    {kTagOid, "06 01 88", kBerOk, L".-3.0", "first byte read as signed"},
    {kTagOctetString, "04 06 48 65 6c 6c 6f 00", kBerOk, std::wstring(L"Hello\0", 6),
     "a zero as the last byte is still text"},
    {kTagOctetString, "04 03 48 00 65", kBerOk, L"48 00 65", "an inner zero makes it data"},
    {kTagOctetString, "04 03 00 1a ff", kBerOk, L"00 1a ff", "binary shown as hex pairs"},
    {kTagOctetString, "04 02 c3 28", kBerOk, L"c3 28", "malformed UTF-8 shown as hex"},
    {kTagOctetString, "04 04 61 09 0d 0a", kBerOk, L"a\t\r\n", "white space is text"},
    {kTagOctetString, "04 80", kBerOk, L"", "0x80 read as length 0"},
    {kTagIpAddress, "40 04 0a 00 00 00", kBerOk, L"10.0.0.0", "zero bytes kept exactly"},
    {kTagNull, "05 02", kBerOk, L"", "Null reads no content, whatever the length"},
    // Invalid inputs, each with the rule it breaks.
    {kTagInteger32, "", kBerExhausted, L"", "no identifier octet"},
    {kTagInteger32, "02", kBerExhausted, L"", "no length octet"},
    {kTagInteger32, "04 01 41", kBerWrongTag, L"", "another type's tag"},
    {kTagInteger32, "02 00", kBerBadLength, L"", "INTEGER of 0 bytes"},
    {kTagInteger32, "02 06 01 02 03 04 05 06", kBerBadLength, L"", "INTEGER of 6 bytes"},
    {kTagInteger32, "02 02 01", kBerExhausted, L"", "content longer than the input"},
    {kTagInteger32, "02 85 01 00 00 00 01 05", kBerBadLength, L"", "length beyond 32 bits"},
    {kTagInteger32, "02 84 00 00", kBerExhausted, L"", "fewer length bytes than announced"},
    {kTagInteger32, "02 84 ff ff ff ff 00", kBerExhausted, L"", "huge length, tiny input"},
    {kTagCounter32, "41 06 00 00 00 00 00 01", kBerBadLength, L"", "unsigned of 6 bytes"},
    {kTagCounter64, "46 0a 00 00 00 00 00 00 00 00 00 01", kBerBadLength, L"", "10 bytes"},
    {kTagOid, "06 00", kBerBadLength, L"", "empty identifier"},
    {kTagOid, "06 02 2b 86", kBerExhausted, L"", "sub-identifier runs past the input"},
    {kTagOctetString, "04 05 41 42", kBerExhausted, L"", "string longer than the input"},
};

TEST(ValueCodec, DecodeTable) {
  for (const DecodeCase& c : kDecodeCases) {
    SCOPED_TRACE(std::string(c.rule) + ": " + c.hex);
    const std::vector<std::uint8_t> bytes = Hex(c.hex);
    auto value = CreateValue(c.tag);
    CBerReader r(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    EXPECT_EQ(value->Decode(r), c.result);
    if (c.result == kBerOk) {
      EXPECT_EQ(Text(*value), c.shown);
    }
  }
}

TEST(ValueCodec, LengthOctetForms) {
  const std::pair<std::size_t, std::string> cases[] = {{127, "04 7f"},
                                                       {128, "04 81 80"},
                                                       {255, "04 81 ff"},
                                                       {256, "04 82 01 00"},
                                                       {65536, "04 83 01 00 00"}};
  for (const auto& [content_len, prefix] : cases) {
    COctetString s(std::wstring(content_len, L'a'));
    EXPECT_EQ(EncodeHex(s, 70000).substr(0, prefix.size()), prefix) << content_len;
  }
}

TEST(ValueCodec, WriterNeverOverrunsItsRoom) {
  // The whole TLV needs exactly its size; one byte less fails cleanly.
  CInteger32 i(-129);
  EXPECT_EQ(EncodeHex(i, 4), "02 02 ff 7f");
  EXPECT_EQ(EncodeHex(i, 3), "FAIL");
  COctetString s(std::wstring(200, L'x'));
  EXPECT_NE(EncodeHex(s, 203), "FAIL");
  EXPECT_EQ(EncodeHex(s, 202), "FAIL");

  // Long-form lengths keep one byte of slack: the last two length bytes need three free.
  std::uint8_t buf[4] = {};
  CBerWriter two(&buf[1], 2);
  EXPECT_FALSE(two.PutLength(200));
  CBerWriter three(&buf[2], 3);
  EXPECT_TRUE(three.PutLength(200));
  EXPECT_EQ(buf[1], 0x81);
  EXPECT_EQ(buf[2], 200);
}

TEST(ValueCodec, OidArcLimits) {
  // 128 arcs (126 sub-identifiers after the first byte) decode; 129 do not.
  for (int subids : {126, 127}) {
    std::vector<std::uint8_t> bytes = {0x06, static_cast<std::uint8_t>(subids + 1), 0x2b};
    bytes.insert(bytes.end(), static_cast<std::size_t>(subids), 0x01);
    COid oid;
    CBerReader r(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    EXPECT_EQ(oid.Decode(r), subids == 126 ? kBerOk : kBerBadLength) << subids;
    if (subids == 126) {
      EXPECT_EQ(oid.Arcs().size(), 128u);
    }
  }
  COid one(L"1");
  EXPECT_EQ(EncodeHex(one), "FAIL");
  std::wstring text = L"as given";
  EXPECT_FALSE(one.ToText(text));
  EXPECT_EQ(text, L"as given");
}

TEST(TypeNames, TablesAndFallbacks) {
  EXPECT_EQ(TagOfTypeName(L"counter32"), kTagCounter32);
  EXPECT_EQ(TagOfTypeName(L"String"), kTagOctetString);  // unknown names mean a string
  EXPECT_EQ(TypeNameOfTag(0x45), L"");
  EXPECT_EQ(CreateValue(0x45), nullptr);
  for (std::uint32_t tag : {2u, 4u, 5u, 6u, 64u, 65u, 66u, 67u, 68u, 70u, 71u, 128u, 129u, 130u}) {
    EXPECT_EQ(TagOfTypeName(TypeNameOfTag(tag)), tag);
    EXPECT_EQ(CreateValue(tag)->Tag(), tag);
  }
  EXPECT_EQ(GenericTrapNumber(L"LINKUP"), 3);
  EXPECT_EQ(GenericTrapNumber(L"coldStart"), 0);
  EXPECT_EQ(GenericTrapNumber(L"whatever"), 6);
  EXPECT_TRUE(IsGenericTrapName(L"EGPNEIGHBORLOSS"));
  EXPECT_FALSE(IsGenericTrapName(L"whatever"));
}

TEST(Format, PrintfSubsetWithoutVarargs) {
  using tvkutil::FormatN;
  EXPECT_EQ(FormatN(L"Error Code:%d, Error Index:%d", 100, -2, 7), L"Error Code:-2, Error Index:7");
  EXPECT_EQ(FormatN(L"%02x|%5s|%-3d|%I64u|%%", 100, 10u, L"ab", 4, 18446744073709551615ULL),
            L"0a|   ab|4  |18446744073709551615|%");
  EXPECT_EQ(FormatN(L"%s and %s", 100, L"one"), L"one and %s");  // a missing argument
  EXPECT_EQ(FormatN(L"%d", 100, L"text"), L"%d");                // a wrong kind
  EXPECT_EQ(FormatN(L"abcdef%s", 4, L"xyz"), L"abcd");
}

}  // namespace
}  // namespace snmp
