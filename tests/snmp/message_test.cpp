// Bindings, lists, PDUs and whole messages: exact bytes, round trips, and decoders that survive
// every truncation and corruption of every message kind.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <tuple>
#include <vector>

#include "snmp/snmp_message.h"
#include "snmp/type_names.h"
#include "support/hex_bytes.h"

namespace snmp {
namespace {

using testing_support::Hex;
using testing_support::ToHex;

std::string EncodeHex(CSNMPMessage& msg, std::size_t room = kMessageBufferLen) {
  std::vector<std::uint8_t> buf(room);
  std::span<const std::uint8_t> out;
  if (!msg.EncodeInto(buf, out))
    return "FAIL";
  return ToHex(out);
}

std::vector<std::uint8_t> Encode(CSNMPMessage& msg) {
  const std::string hex = EncodeHex(msg);
  EXPECT_NE(hex, "FAIL");
  return hex == "FAIL" ? std::vector<std::uint8_t>{} : Hex(hex);
}

// One message of every kind the program sends, plus a response with every value type.
std::vector<std::function<std::unique_ptr<CSNMPMessage>()>> MessageKinds() {
  return {
      [] {
        auto m = std::make_unique<CSNMPMessage>(kSnmpVersion1, L"getcom", kPduGetRequest);
        m->AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
        return m;
      },
      [] {
        auto m = std::make_unique<CSNMPMessage>(kSnmpVersion2c, L"public", kPduGetNextRequest);
        m->SetRequestId(255);
        m->AddNullVarBind(L".1.3.6.1.2.1.1");
        return m;
      },
      [] {
        auto m = std::make_unique<CSNMPMessage>(kSnmpVersion2c, L"setcomm", kPduSetRequest);
        m->SetRequestId(7);
        m->AddVarBind(L".1.3.6.1.2.1.1.4.0", kTagOctetString, L"ops desk \u00e9");
        return m;
      },
      [] {
        auto m = std::make_unique<CSNMPMessage>(kSnmpVersion1, L"trapcom", kPduTrapV1);
        m->SetEnterprise(L".1.3.6.1.4.1.99999");
        m->SetAgentAddress(L"10.0.0.1");
        m->SetGenericTrap(6);
        m->SetSpecificTrap(42);
        m->SetTimeStamp(123456);
        m->AddVarBind(L".1.3.6.1.4.1.99999.1", kTagInteger32, L"-5");
        return m;
      },
      [] {
        auto m = std::make_unique<CSNMPMessage>(kSnmpVersion2c, L"trapcom", kPduTrapV2);
        m->AddVarBind(L".1.3.6.1.2.1.1.3.0", kTagTimeTicks, L"100");
        m->AddVarBind(L".1.3.6.1.6.3.1.1.4.1.0", kTagOid, L".1.3.6.1.6.3.1.1.5.1");
        return m;
      },
      [] {
        auto m = std::make_unique<CSNMPMessage>(kSnmpVersion2c, L"getcom", kPduResponse);
        int n = 0;
        for (std::uint32_t tag :
             {2u, 4u, 5u, 6u, 64u, 65u, 66u, 67u, 68u, 70u, 71u, 128u, 129u, 130u}) {
          const wchar_t* text = tag == kTagOid         ? L"1.3.6.1"
                                : tag == kTagIpAddress ? L"10.1.2.3"
                                                       : L"1";
          m->AddVarBind(L".1.3.6.1.4.1.1." + std::to_wstring(++n), tag, text);
        }
        return m;
      },
  };
}

TEST(Message, GetRequestBytesAndTheTrailingByte) {
  const char kGet[] =
      "30 26 02 01 00 04 06 67 65 74 63 6f 6d a0 19 02 01 00 02 01 00 02 01 00 30 0e 30 0c 06 08 "
      "2b 06 01 02 01 01 01 00 05 00";
  CSNMPMessage get(kSnmpVersion1, L"getcom", kPduGetRequest);
  get.SetRequestId(0);
  get.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  EXPECT_EQ(EncodeHex(get), kGet);
  EXPECT_EQ(EncodeHex(get, 40), kGet);
  EXPECT_EQ(EncodeHex(get, 39), "FAIL");

  auto bytes = Hex(kGet);
  CSNMPMessage ok(kPduGetRequest), trailing(kPduGetRequest);
  EXPECT_EQ(ok.DecodeFrom(bytes), kBerOk);
  bytes.push_back(0x00);
  EXPECT_EQ(trailing.DecodeFrom(bytes), kBerTrailing);
}

TEST(Message, EveryKindRoundTrips) {
  for (const auto& make : MessageKinds()) {
    auto msg = make();
    SCOPED_TRACE(msg->PduType());
    const std::vector<std::uint8_t> bytes = Encode(*msg);
    CSNMPMessage back(msg->PduType());
    ASSERT_EQ(back.DecodeFrom(bytes), kBerOk);
    EXPECT_EQ(Encode(back), bytes);
    EXPECT_EQ(back.Community(), msg->Community());
    EXPECT_EQ(back.VarBinds().Count(), msg->VarBinds().Count());
  }
}

TEST(Message, DecodersSurviveTruncationAndCorruption) {
  // Under the sanitizer build this is the guard against reading past the input.
  for (const auto& make : MessageKinds()) {
    auto msg = make();
    const std::vector<std::uint8_t> bytes = Encode(*msg);
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
      // Copy into an exact-size heap block so any overread lands outside it.
      std::vector<std::uint8_t> part(bytes.begin(), bytes.begin() + static_cast<long>(cut));
      CSNMPMessage back(msg->PduType());
      EXPECT_NE(back.DecodeFrom(part), kBerOk) << "cut at " << cut;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      for (std::uint8_t v : {0x00, 0x7f, 0x80, 0x84, 0xff}) {
        std::vector<std::uint8_t> bad = bytes;
        bad[i] = v;
        CSNMPMessage back(msg->PduType());
        (void)back.DecodeFrom(bad);
      }
    }
  }
}

TEST(Message, TrapFieldsAndRequestFieldsBelongToTheirPduKind) {
  CSNMPMessage trap(kPduTrapV1), get(kPduGetRequest);
  trap.SetRequestId(5);
  trap.SetPduType(kPduGetRequest);  // a trap stays a trap, a request stays a request
  EXPECT_EQ(std::tuple(trap.RequestId(), trap.ErrorStatus(), trap.PduType()),
            std::tuple(-1, -1, kPduTrapV1));
  get.SetEnterprise(L".1.3.6.1.4.1.1");
  get.SetPduType(kPduTrapV1);
  EXPECT_EQ(std::tuple(get.GenericTrap(), get.SpecificTrap(), get.Enterprise(), get.PduType()),
            std::tuple(-1, -1, std::wstring(), kPduGetRequest));
  get.SetPduType(kPduGetNextRequest);
  EXPECT_EQ(get.PduType(), kPduGetNextRequest);
}

TEST(VarBind, DecodeEdges) {
  struct {
    const char* hex;
    int result;
    int count;
  } const cases[] = {
      {"30 00", kBerOk, 0},                                 // empty list at the end
      {"30 07 30 05 06 01 2b 45 00", kUnsupportedType, 0},  // value tag 0x45
      {"30 05 30 03 06 01 2b", kBerExhausted, 0},           // name but no value
      {"30 08 30 06 06 01 2b 02 01 05", kBerOk, 1},
      // Bytes after the list's own length are read as further bindings.
      {"30 08 30 06 06 01 2b 02 01 05 30 06 06 01 2b 02 01 06", kBerOk, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.hex);
    const auto bytes = Hex(c.hex);
    CVarBindList list;
    CBerReader r(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    EXPECT_EQ(list.Decode(r), c.result);
    if (c.result == kBerOk) {
      EXPECT_EQ(list.Count(), c.count);
    }
  }
}

TEST(VarBind, ListAccessAndCopy) {
  CVarBindList list;
  list.Add(L"1.3.6.1.2.1.1.5.0", kTagOctetString, L"router-7");
  list.Add(L"1.3.6.1.2.1.1.3.0", kTagTimeTicks, L"42");
  list.Add(L"1.3", kTagIpAddress, L"192.0.2.9");
  EXPECT_EQ(list.Get(0), nullptr);  // numbered from 1
  EXPECT_EQ(list.Get(4), nullptr);
  ASSERT_NE(list.Get(3), nullptr);
  std::wstring text;
  std::uint32_t tag = 0;
  ASSERT_TRUE(list.Get(3)->ValueText(text, tag));
  EXPECT_EQ(list.Get(3)->Name()->Text() + L"=" + text, L".1.3=192.0.2.9");
  EXPECT_EQ(tag, kTagIpAddress);

  CSNMPMessage a(kPduSetRequest), b(kPduSetRequest);
  a.CopyVarBinds(list);
  b.CopyVarBinds(a.VarBinds());
  EXPECT_EQ(EncodeHex(a), EncodeHex(b));

  // A binding whose type no value class has cannot be encoded, and fails its message.
  CSNMPMessage bad(kPduSetRequest);
  bad.AddVarBind(L"1.3.6", 0x45, L"1");
  EXPECT_EQ(EncodeHex(bad), "FAIL");
  EXPECT_FALSE(bad.GetVarBind(1)->ValueText(text, tag));
}

}  // namespace
}  // namespace snmp
