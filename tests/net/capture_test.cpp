// The transaction log's capture of a long walk stays within the kept limits.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/transaction_log.h"
#include "net/snmp_requester.h"
#include "support/ber_builder.h"
#include "support/fake_agent.h"
#include "support/hex_bytes.h"
#include "support/request_reader.h"

namespace {

using snmp::CSNMPMessage;

// A scripted agent with 8,000 objects: each GetNext is answered with the next object, under the
// request's own id.
std::vector<testing_support::FakeAgent::Reply> NextObject(
    const testing_support::FakeAgent::Datagram& d, int n) {
  using namespace testing_support;
  if (n >= 8000)
    return {};
  const auto object = static_cast<std::uint32_t>(n) + 1;
  Bytes oid = Hex("2b 06 01 04 01 86 8d 1f 01");  // .1.3.6.1.4.1.99999.1
  if (object >= 0x80)
    oid.push_back(static_cast<std::uint8_t>(0x80 | (object >> 7)));
  oid.push_back(static_cast<std::uint8_t>(object & 0x7F));
  return {{Response(1, "public", ReadRequestFields(d.bytes).id, 0, 0,
                    VarBind(oid, Str("object value of some length")))}};
}

TEST(Capture, AWalkOf8000ObjectsStaysWithinTheKeptLimits) {
  testing_support::FakeAgent agent(NextObject);
  logs::CTransactionLog log(10000, 1 << 20);  // limits the walk goes far beyond
  logs::RegisterTransactionLog(&log);
  net::UdpSettings settings;
  settings.retries = 0;
  net::CSnmpRequester walk(L"127.0.0.1", agent.Port(), settings, L"walkMIB",
                           logs::TransactionLogSink());
  std::wstring oid = L".1.3.6.1.4.1.99999.1";
  for (int i = 0; i < 8000; ++i) {
    CSNMPMessage next(snmp::kSnmpVersion2c, L"public", snmp::kPduGetNextRequest),
        answer(snmp::kPduResponse);
    next.SetRequestId(i);
    next.AddNullVarBind(oid);
    ASSERT_EQ(walk.Request(next, answer), 0) << i;
    oid = answer.GetVarBind(1)->Name()->Text();
    if (i % 500 == 0)  // as the pane's timer would
      log.MovePending();
  }
  logs::RegisterTransactionLog(nullptr);
  EXPECT_EQ(oid, L".1.3.6.1.4.1.99999.1.8000");
  EXPECT_LE(log.Datagrams().Count(), 10000U);
  EXPECT_LE(log.Datagrams().MemoryBytes(), 1U << 20);
  EXPECT_GT(log.Datagrams().MemoryBytes(), (1U << 20) - 1000);  // full, not emptied
  // The newest are the ones kept, with no gap.
  const auto kept = log.Datagrams().Snapshot();
  EXPECT_EQ(kept.back()->number, 16000U);
  EXPECT_EQ(kept.back()->bytes, NextObject(agent.Received().back(), 7999).front().bytes);
  EXPECT_EQ(kept.front()->number, 16000U - kept.size() + 1);
}

}  // namespace
