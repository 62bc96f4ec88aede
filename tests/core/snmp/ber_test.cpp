// Primitive and value codecs: exact bytes, the text forms users type and read, and invalid inputs.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "snmp/octet_string.h"
#include "snmp/oid.h"
#include "snmp/type_names.h"
#include "support/hex_bytes.h"

namespace snmp {
namespace {

using namespace testing_support;
using namespace std::string_literals;
using enum BerStatus;

// Encodes a whole object into a buffer of `room` bytes; "FAIL" when it does not fit.
std::string EncodeHex(CASNDataType& value, std::int32_t room = 4096) {
  std::vector<std::uint8_t> buf(static_cast<std::size_t>(room) + 1, 0xEE);
  CBerWriter w(&buf[static_cast<std::size_t>(room) - 1], room);
  if (!value.Encode(w))
    return "FAIL";
  EXPECT_EQ(buf.back(), 0xEE) << "wrote past the end";
  return ToHex({w.Begin(), static_cast<std::size_t>(room - w.FreeCount())});
}

template <typename S>
S Times(int n, const S& s) {
  return n == 0 ? S() : s + Times(n - 1, s);
}

// Decodes `hex` as a value of `tag`; the result, and the text when it decoded.
std::pair<BerStatus, std::wstring> Decode(std::uint32_t tag, const std::string& hex) {
  const std::vector<std::uint8_t> bytes = Hex(hex);
  auto value = CreateValue(tag);
  CBerReader r(bytes.data(), static_cast<std::int32_t>(bytes.size()));
  const BerStatus result = value->Decode(r);
  std::wstring text = L"<unchanged>";  // Null and the exception values read as the empty text
  if (result == kOk)
    (void)ValueToText(*value, text);
  return {result, result != kOk ? L"" : r.Empty() ? text : text + L" (bytes left)"};
}

TEST(ValueCodec, TextEncodesAndDecodesBack) {
  // Tag, text as typed, the whole TLV, and the text as it reads back after decoding (the widest
  // Counter64, 2.999.x and the empty string: sondara-cli's exact values against snmpget).
  const std::tuple<std::uint32_t, std::wstring, const char*, std::wstring> cases[] = {
      {kTagInteger32, L"127", "02 01 7f", L"127"},
      {kTagInteger32, L"128", "02 02 00 80", L"128"},
      {kTagInteger32, L"-128", "02 01 80", L"-128"},
      {kTagInteger32, L"-129", "02 02 ff 7f", L"-129"},
      {kTagCounter32, L"255", "41 02 00 ff", L"255"},
      {kTagGauge32, L"4294967295", "42 05 00 ff ff ff ff", L"4294967295"},
      {kTagTimeTicks, L"0x1F", "43 01 1f", L"31"},
      {kTagCounter64, L"4294967296", "46 05 01 00 00 00 00", L"4294967296"},
      {kTagOid, L"1.3.128", "06 03 2b 81 00", L".1.3.128"},
      {kTagOid, L"1.39", "06 01 4f", L".1.39"},
      {kTagOid, L"2.0", "06 01 50", L".2.0"},
      {kTagOid, L"2.4294967295", "06 05 90 80 80 80 4f", L".2.4294967295"},  // 2^32+79
      {kTagOid, L"1.3.2147483648.2147483647.0.4294967295",
       "06 11 2b 88 80 80 80 00 87 ff ff ff 7f 00 8f ff ff ff 7f",
       L".1.3.2147483648.2147483647.0.4294967295"},
      // A piece that is not a number reads as 0, even a character next to the digits.
      {kTagOid, L"1.3./.:", "06 03 2b 00 00", L".1.3.0.0"},
      {kTagOctetString, L"caf\u00e9", "04 05 63 61 66 c3 a9", L"caf\u00e9"},  // UTF-8 bytes
      {kTagIpAddress, L"10.0.0.1", "40 04 0a 00 00 01", L"10.0.0.1"},
      {kTagIpAddress, L"1.2.x.4", "40 04 01 02 00 04", L"1.2.0.4"},
      {kTagEndOfMibView, L"", "82 00", L""},
  };
  for (const auto& [tag, text, hex, shown] : cases) {
    auto value = CreateValue(tag, text);
    ASSERT_NE(value, nullptr) << hex;
    EXPECT_EQ(EncodeHex(*value), hex);
    EXPECT_EQ(Decode(tag, hex), std::pair(kOk, shown)) << hex;
  }
}

TEST(ValueCodec, DecodeTable) {
  const std::tuple<std::uint32_t, std::string, BerStatus, std::wstring> cases[] = {
      {kTagInteger32, "02 84 00 00 00 01 05", kOk, L"5"},
      {kTagInteger32, "02 85 00 00 00 00 01 05", kOk, L"5"},         // zero beyond four skipped
      {kTagInteger32, "02 05 ff 80 00 00 00", kOk, L"-2147483648"},  // fifth byte: the sign
      // Wider than the type: refused, not cut to four bytes (causes: the response check's test).
      {kTagInteger32, "02 05 80 00 00 00 01", kBadLength, L""},
      {kTagInteger32, "02 05 00 ff ff ff ff", kBadLength, L""},
      {kTagTimeTicks, "43 06 00 00 00 00 00 05", kBadLength, L""},
      {kTagIpAddress, "40 00", kBadLength, L""},
      // A sub-identifier that runs past the OID's length, even into bytes that follow it.
      {kTagOid, "06 01 88", kBadLength, L""},
      {kTagOid, "06 02 2b 81 00", kBadLength, L""},
      {kTagOid, "06 05 90 80 80 80 50", kBadLength, L""},  // 2.(2^32)
      {kTagOctetString, "04 06 48 65 6c 6c 6f 00", kOk, std::wstring(L"Hello\0", 6)},
      {kTagOctetString, "04 03 48 00 65", kOk, L"48 00 65"},  // an inner zero makes it data
      {kTagOctetString, "04 02 c3 28", kOk, L"c3 28"},        // malformed UTF-8
      {kTagOctetString, "04 80", kOk, L""},                   // 0x80 read as length 0
      {kTagNull, "05 02", kOk, L""},                          // Null reads no content
      {kTagInteger32, "04 01 41", kWrongTag, L""},
      {kTagInteger32, "02 00", kBadLength, L""},
      {kTagInteger32, "02 06 01 02 03 04 05 06", kBadLength, L""},
      {kTagInteger32, "02 85 01 00 00 00 01 05", kBadLength, L""},
      {kTagInteger32, "02 84 ff ff ff ff 00", kExhausted, L""},
      {kTagCounter64, "46 0a 00 00 00 00 00 00 00 00 00 01", kBadLength, L""},
      {kTagOid, "06 00", kBadLength, L""},
      // 128 arcs (126 sub-identifiers after the first byte) decode; 129 do not.
      {kTagOid, "06 7f 2b" + Times(126, " 01"s), kOk, L".1.3" + Times(126, L".1"s)},
      {kTagOid, "06 81 80 2b" + Times(127, " 01"s), kBadLength, L""},
  };
  for (const auto& [tag, hex, result, shown] : cases)
    EXPECT_EQ(Decode(tag, hex), std::pair(result, shown)) << hex;
}

TEST(ValueCodec, LengthFormsAndTheWritersRoom) {
  const std::pair<std::size_t, std::string> forms[] = {
      {127, "04 7f"},       {128, "04 81 80"},      {255, "04 81 ff"},
      {256, "04 82 01 00"}, {65535, "04 82 ff ff"}, {65536, "04 83 01 00 00"}};
  for (const auto& [len, prefix] : forms) {
    COctetString s(std::wstring(len, L'a'));
    const std::string hex = EncodeHex(s, 70000);
    EXPECT_EQ(hex.substr(0, prefix.size()), prefix) << len;
    EXPECT_EQ(Decode(kTagOctetString, hex), std::pair(kOk, std::wstring(len, L'a'))) << len;
  }
  // Long-form lengths keep one byte of slack: 200 bytes of content need 203 bytes of room.
  COctetString s(std::wstring(200, L'x'));
  EXPECT_NE(EncodeHex(s, 203), "FAIL");
  EXPECT_EQ(EncodeHex(s, 202), "FAIL");
  // One arc, or first arcs X.690 8.19.4 has no encoding for.
  for (const wchar_t* text : {L"1", L"1.40", L"0.40.1", L"3.1"}) {
    COid oid(text);
    EXPECT_EQ(EncodeHex(oid), "FAIL") << oid.Text();
  }
}

TEST(TypeNames, UnknownNamesMeanAStringAndUnknownTagsNoValue) {
  EXPECT_EQ(TagOfTypeName(L"counter32"), kTagCounter32);
  EXPECT_EQ(TagOfTypeName(L"String"), kTagOctetString);
  EXPECT_EQ(CreateValue(0x45), nullptr);
  EXPECT_EQ(TimeTicksText(179788), L"179788 (0:29:57.88)");
  EXPECT_EQ(TimeTicksText(8640000 + 744405), L"9384405 (1 day, 2:04:04.05)");
  EXPECT_EQ(TimeTicksText(4294967295U), L"4294967295 (497 days, 2:27:52.95)");
}

}  // namespace
}  // namespace snmp
