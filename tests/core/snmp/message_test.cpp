// Bindings, lists, PDUs and whole messages: exact bytes, round trips, truncation and corruption.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "snmp/response_check.h"
#include "snmp/snmp_message.h"
#include "snmp/v3_message.h"
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
  CSNMPMessage get(kSnmpVersion1, L"getcom", kPduGetRequest);
  get.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  EXPECT_EQ(EncodeHex(get, 40), kGet);
  EXPECT_EQ(EncodeHex(get, 39), "FAIL");

  CSNMPMessage trailing(kPduGetRequest);
  EXPECT_EQ(trailing.DecodeFrom(Hex(std::string(kGet) + " 00")), kTrailing);
}

// A walk's GetBulk answer (RFC 3416), whose binding count the check leaves to the agent, turns
// into the next request: the last name with a Null value (the fields on the wire: tshark's).
TEST(Message, GetBulkAnswerTurnsIntoTheNextRequest) {
  CSNMPMessage bulk(kSnmpVersion2c, L"getcom", kPduGetBulkRequest);
  bulk.SetRequestId(6);
  bulk.AddNullVarBind(L".1.3.6.1");
  CSNMPMessage answer(kPduResponse);
  ASSERT_TRUE(ValidateResponse(
                  Hex("30 37 02 01 01 04 06 67 65 74 63 6f 6d a2 2a 02 01 06 02 01 00 02 01 00 30 "
                      "1f 30 0e 06 08 2b 06 01 02 01 01 01 00 04 02 61 62 30 0d 06 08 2b 06 01 02 "
                      "01 01 03 00 43 01 2a"),
                  answer, bulk)
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

namespace snmp::v3 {
namespace {

using namespace testing_support;

// An authNoPriv GetRequest of user "ops" (RFC 3412 6, RFC 3414 2.4), written by hand; the
// digest's 12 bytes are still zero, as they are while it is computed.
constexpr char kV3Get[] =
    "30 66 02 01 03 "
    "30 0f 02 02 12 34 02 03 00 ff e3 04 01 05 02 01 03 "  // msgID, msgMaxSize, flags, USM
    "04 29 30 27 04 09 80 00 1f 88 04 61 62 63 64 02 01 02 02 02 01 00 "  // engine, boots, time
    "04 03 6f 70 73 04 0c 00 00 00 00 00 00 00 00 00 00 00 00 04 00 "     // user, digest, salt
    "30 25 04 09 80 00 1f 88 04 61 62 63 64 04 00 "  // contextEngineID, contextName
    "a0 16 02 01 07 02 01 00 02 01 00 30 0b 30 09 06 05 2b 06 01 02 01 05 00";
constexpr std::size_t kDigestAt = 51;

TEST(V3Message, HeaderAndUsmParametersEncodeAndDecodeAsWritten) {
  Header h;
  h.msg_id = 0x1234;
  h.flags = kFlagAuth | kFlagReportable;
  h.engine_id = Hex("80 00 1f 88 04 61 62 63 64");
  h.boots = 2;
  h.time = 256;
  h.user_name = "ops";
  h.auth_params.assign(12, 0);
  CSNMPMessage get(kSnmpVersion3, L"", kPduGetRequest);
  get.SetRequestId(7);
  get.AddNullVarBind(L".1.3.6.1.2.1");
  std::vector<std::uint8_t> scoped_buffer(64), buffer(200);
  CBerWriter scoped(&scoped_buffer.back(), 64);
  ASSERT_TRUE(EncodeScopedPdu(scoped, h.engine_id, "", get));
  const std::span<const std::uint8_t> scoped_pdu(
      scoped.Begin(), scoped_buffer.size() - static_cast<std::size_t>(scoped.FreeCount()));
  std::span<const std::uint8_t> message;
  std::size_t digest_at = 0;
  ASSERT_TRUE(EncodeMessage(buffer, h, scoped_pdu, false, message, digest_at));
  EXPECT_EQ(ToHex(message), kV3Get);
  EXPECT_EQ(digest_at, kDigestAt);

  Incoming in;
  const std::vector<std::uint8_t> bytes = Hex(kV3Get);  // `in` views them
  ASSERT_EQ(DecodeMessage(bytes, in), BerStatus::kOk);
  const auto fields = [](const Header& x) {
    return std::tie(x.msg_id, x.max_size, x.flags, x.security_model, x.engine_id, x.boots, x.time,
                    x.user_name, x.auth_params, x.priv_params);
  };
  EXPECT_EQ(fields(in.header), fields(h));
  EXPECT_EQ(in.auth_offset, kDigestAt);
  EXPECT_FALSE(in.encrypted);
  EXPECT_EQ(ToHex(in.data), ToHex(scoped_pdu));
  ScopedPdu pdu;
  ASSERT_EQ(DecodeScopedPdu(in.data, false, pdu), BerStatus::kOk);
  EXPECT_EQ(pdu.context_engine_id, h.engine_id);
  EXPECT_EQ(ToHex(pdu.pdu).substr(0, 5), "a0 16");

  // Version 2c, a byte after the message, a flags string of two bytes.
  std::vector<std::uint8_t> bad = bytes;
  bad[4] = 1;
  EXPECT_EQ(DecodeMessage(bad, in), BerStatus::kWrongTag);
  EXPECT_EQ(DecodeMessage(Hex(std::string(kV3Get) + " 00"), in), BerStatus::kTrailing);
}

// RFC 3414 6.3.2: the digest is checked over the whole message with its own field zeroed; any
// byte changed, the digest's own included, fails it.
TEST(V3Message, DigestFailsOnAnyFlippedByte) {
  const usm::Bytes key = Hex("52 6f 5e ed 9f cc e2 6f 89 64 c2 93 07 87 d8 2b");  // RFC 3414 A.3.1
  std::vector<std::uint8_t> message = Hex(kV3Get);
  const usm::Bytes digest = usm::Digest(usm::AuthProtocol::kMd5, key, message);
  std::copy(digest.begin(), digest.end(), message.begin() + kDigestAt);
  Incoming in;
  ASSERT_EQ(DecodeMessage(message, in), BerStatus::kOk);
  EXPECT_TRUE(DigestMatches(usm::AuthProtocol::kMd5, key, message, in));
  EXPECT_FALSE(DigestMatches(usm::AuthProtocol::kSha1, key, message, in));  // 12 bytes, other hash
  for (std::size_t i = 0; i < message.size(); ++i) {
    std::vector<std::uint8_t> changed = message;
    changed[i] ^= 0x01;
    Incoming read;
    if (DecodeMessage(changed, read) == BerStatus::kOk) {
      EXPECT_FALSE(DigestMatches(usm::AuthProtocol::kMd5, key, changed, read)) << "byte " << i;
    }
  }
}

// RFC 3414 5: usmStats 1 to 6 by name; any other counter by its OID; a Response is no report.
TEST(V3Message, ReportsNameTheirCounter) {
  const auto report = [](const std::string& oid) {
    return Hex("a8 1c 02 01 2a 02 01 00 02 01 00 30 11 30 0f 06 0a " + oid + " 41 01 05");
  };
  const std::vector<std::pair<std::string, ReportKind>> cases = {
      {"2b 06 01 06 03 0f 01 01 01 00", ReportKind::kUnsupportedSecLevel},
      {"2b 06 01 06 03 0f 01 01 02 00", ReportKind::kNotInTimeWindow},
      {"2b 06 01 06 03 0f 01 01 03 00", ReportKind::kUnknownUserName},
      {"2b 06 01 06 03 0f 01 01 04 00", ReportKind::kUnknownEngineId},
      {"2b 06 01 06 03 0f 01 01 05 00", ReportKind::kWrongDigest},
      {"2b 06 01 06 03 0f 01 01 06 00", ReportKind::kDecryptionError},
      {"2b 06 01 06 03 0f 01 01 07 00", ReportKind::kOther},
      {"2b 06 01 06 03 0b 02 01 03 00", ReportKind::kOther},  // snmpUnknownPDUHandlers
  };
  for (const auto& [oid, kind] : cases) {
    const Report r = ReadReport(report(oid));
    EXPECT_EQ(r.kind, kind) << oid;
    EXPECT_EQ(r.request_id, 42);
  }
  EXPECT_EQ(ReadReport(report("2b 06 01 06 03 0b 02 01 03 00")).oid, L".1.3.6.1.6.3.11.2.1.3.0");
  std::vector<std::uint8_t> response = report("2b 06 01 06 03 0f 01 01 03 00");
  response[0] = 0xa2;
  EXPECT_EQ(ReadReport(response).kind, ReportKind::kNone);
}

}  // namespace
}  // namespace snmp::v3
