// Bindings, lists, PDUs and whole messages: exact bytes, round trips, truncation and corruption.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "message_kinds.h"
#include "snmp/response_check.h"
#include "support/hex_bytes.h"

namespace snmp {
namespace {

using namespace testing_support;
using enum BerStatus;

std::string EncodeHex(CSNMPMessage& msg, std::size_t room = kMessageBufferLen) {
  std::vector<std::uint8_t> buf(room);
  std::span<const std::uint8_t> out;
  return msg.EncodeInto(buf, out) ? ToHex(out) : "FAIL";
}

TEST(Message, GetRequestBytesAndTheTrailingByte) {
  const char kGet[] =
      "30 26 02 01 00 04 06 67 65 74 63 6f 6d a0 19 02 01 00 02 01 00 02 01 00 30 0e 30 0c 06 08 "
      "2b 06 01 02 01 01 01 00 05 00";
  auto get = MakeMessage(kSnmpVersion1, L"getcom", kPduGetRequest, 0,
                         {{L".1.3.6.1.2.1.1.1.0", kTagNull, L""}});
  EXPECT_EQ(EncodeHex(*get, 40), kGet);
  EXPECT_EQ(EncodeHex(*get, 39), "FAIL");

  CSNMPMessage trailing(kPduGetRequest);
  EXPECT_EQ(trailing.DecodeFrom(Hex(std::string(kGet) + " 00")), kTrailing);
}

// A walk's GetBulk (RFC 3416): non-repeaters and max-repetitions where error-status and
// error-index sit. Its answer, whose binding count the check leaves to the agent, turns into the
// next request: the last name with a Null value.
TEST(Message, GetBulkRequestBytesAndTheNextRequestFromItsAnswer) {
  auto bulk =
      MakeMessage(kSnmpVersion2c, L"getcom", kPduGetBulkRequest, 5, {{L".1.3.6.1", kTagNull, L""}});
  bulk->SetNonRepeaters(0);
  bulk->SetMaxRepetitions(50);
  EXPECT_EQ(EncodeHex(*bulk),
            "30 21 02 01 01 04 06 67 65 74 63 6f 6d a5 14 02 01 05 02 01 00 02 01 32 30 09 30 07 "
            "06 03 2b 06 01 05 00");

  bulk->SetRequestId(6);
  CSNMPMessage answer(kPduResponse);
  ASSERT_TRUE(ValidateResponse(
                  Hex("30 37 02 01 01 04 06 67 65 74 63 6f 6d a2 2a 02 01 06 02 01 00 02 01 00 30 "
                      "1f 30 0e 06 08 2b 06 01 02 01 01 01 00 04 02 61 62 30 0d 06 08 2b 06 01 02 "
                      "01 01 03 00 43 01 2a"),
                  answer, *bulk)
                  .Ok());
  ASSERT_EQ(answer.VarBinds().Count(), 2);
  EXPECT_FALSE(answer.VarBinds().KeepOnlyNameOf(3));
  ASSERT_TRUE(answer.VarBinds().KeepOnlyNameOf(2));
  answer.SetPduType(kPduGetBulkRequest);
  answer.SetMaxRepetitions(50);
  EXPECT_EQ(EncodeHex(answer),
            "30 26 02 01 01 04 06 67 65 74 63 6f 6d a5 19 02 01 06 02 01 00 02 01 32 30 0e 30 0c "
            "06 08 2b 06 01 02 01 01 03 00 05 00");
}

// Under the sanitizer build the cuts guard against reading past the input (the fuzz targets
// replay corrupted messages).
TEST(Message, EveryKindRoundTripsAndSurvivesTruncation) {
  for (const auto& kind : MessageKinds()) {
    CSNMPMessage& msg = *kind;
    const std::string hex = EncodeHex(msg);
    SCOPED_TRACE(hex);
    ASSERT_NE(hex, "FAIL");
    const std::vector<std::uint8_t> bytes = Hex(hex);
    CSNMPMessage back(msg.PduType());
    ASSERT_EQ(back.DecodeFrom(bytes), kOk);
    if (msg.GetVarBind(1)->Value()->Tag() != kTagCounter64) {  // its decoding keeps 32 bits
      EXPECT_EQ(EncodeHex(back), hex);
    }
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
      // An exact-size heap block, so any overread lands outside it.
      std::vector<std::uint8_t> part(bytes.begin(), bytes.begin() + static_cast<long>(cut));
      CSNMPMessage partial(msg.PduType());
      EXPECT_NE(partial.DecodeFrom(part), kOk) << "cut at " << cut;
    }
  }
}

TEST(Message, TrapFieldsAndRequestFieldsBelongToTheirPduKind) {
  CSNMPMessage trap(kPduTrapV1), get(kPduGetRequest);
  trap.SetPduType(kPduGetRequest);  // a trap stays a trap, a request stays a request
  get.SetPduType(kPduTrapV1);
  EXPECT_EQ(std::tuple(trap.RequestId(), trap.PduType(), get.GenericTrap(), get.PduType()),
            std::tuple(-1, kPduTrapV1, -1, kPduGetRequest));
}

TEST(VarBind, DecodeEdges) {
  const std::tuple<const char*, BerStatus, int> cases[] = {
      {"30 00", kOk, 0},                                    // empty list at the end
      {"30 07 30 05 06 01 2b 45 00", kUnsupportedType, 0},  // value tag 0x45
      // Bytes after the list's own length are read as further bindings.
      {"30 08 30 06 06 01 2b 02 01 05 30 06 06 01 2b 02 01 06", kOk, 2},
  };
  for (const auto& [hex, result, count] : cases) {
    const auto bytes = Hex(hex);
    CVarBindList list;
    CBerReader r(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    EXPECT_EQ(list.Decode(r), result) << hex;
    EXPECT_EQ(list.Count(), count) << hex;
  }
}

TEST(VarBind, ListAccessAndCopy) {
  CVarBindList list;
  list.Add(L"1.3.6.1.2.1.1.5.0", kTagOctetString, L"router-7");
  list.Add(L"1.3", kTagIpAddress, L"192.0.2.9");
  EXPECT_EQ(list.Get(0), nullptr);                  // numbered from 1
  EXPECT_EQ(list.Get(2)->Name()->Text(), L".1.3");  // the count is the last
  CSNMPMessage copy(kPduSetRequest);
  copy.CopyVarBinds(list);
  EXPECT_EQ(
      EncodeHex(copy),
      "30 33 02 01 00 04 00 a3 2c 02 01 00 02 01 00 02 01 00 30 21 30 14 06 08 2b 06 01 02 01 "
      "01 05 00 04 08 72 6f 75 74 65 72 2d 37 30 09 06 01 2b 40 04 c0 00 02 09");
  // A binding whose type no value class has cannot be encoded, and fails its message.
  copy.AddVarBind(L"1.3.6", 0x45, L"1");
  EXPECT_EQ(EncodeHex(copy), "FAIL");
}

}  // namespace
}  // namespace snmp
