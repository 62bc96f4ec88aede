// The transaction log's capture of real exchanges: a packet analyser reads the exported pcapng
// exactly as the tree decodes each datagram, and a long walk stays within the kept limits.
#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/pcapng_file.h"
#include "logs/transaction_log.h"
#include "net/request_exchange.h"
#include "net/snmp_requester.h"
#include "snmp/message_tree.h"
#include "support/ber_builder.h"
#include "support/fake_agent.h"
#include "support/hex_bytes.h"
#include "support/request_reader.h"
#include "support/snmpd_process.h"
#include "support/snmptrapd_process.h"
#include "support/temp_folder.h"
#include "support/tshark.h"

namespace {

using snmp::CSNMPMessage;

std::vector<std::string> Split(const std::string& line, char separator) {
  std::vector<std::string> cells;
  std::istringstream in(line);
  for (std::string cell; std::getline(in, cell, separator);)
    cells.push_back(cell);
  if (!line.empty() && line.back() == separator)
    cells.emplace_back();
  return cells;
}

std::string Narrow(const std::wstring& text) {
  return std::string(text.begin(), text.end());
}

// The fields tshark shows, as the decoded tree has them.
struct TreeFields {
  std::string version, community, pdu, request_id, names;
};

TreeFields FromTree(const std::vector<std::uint8_t>& bytes) {
  const snmp::MessageTree tree = snmp::DecodeMessageTree(bytes);
  EXPECT_EQ(tree.Damage(), nullptr);
  TreeFields f;
  for (const snmp::MessageNode& n : tree.nodes) {
    const std::string value = Narrow(n.value);
    if (n.field == L"version")
      f.version = value.substr(0, value.find(' '));  // "1 (SNMPv2c)"
    else if (n.field == L"community")
      f.community = value;
    else if (n.field == L"PDU")
      f.pdu = std::to_string(n.tag - 0xA0);
    else if (n.field == L"request-id")
      f.request_id = value;
    else if (n.field == L"name")
      f.names += (f.names.empty() ? "" : ",") + value.substr(1);  // no leading dot
  }
  return f;
}

std::string Address(const logs::DatagramEnd& end) {
  char text[INET6_ADDRSTRLEN] = {};
  ::inet_ntop(end.family, end.address.data(), text, sizeof text);
  return text;
}

TEST(Capture, GetSetWalkAndTrapReadByTsharkAsTheTreeDecodesThem) {
  if (std::system("command -v tshark >/dev/null") != 0)
    GTEST_SKIP() << "tshark is not installed";
  testing_support::SnmpdProcess snmpd;
  testing_support::SnmptrapdProcess trapd;
  const std::string snmpd_error = snmpd.Start();
  ASSERT_TRUE(snmpd_error.empty()) << snmpd_error;
  const std::string trapd_error = trapd.Start();
  ASSERT_TRUE(trapd_error.empty()) << trapd_error;
  logs::CTransactionLog log;
  logs::RegisterTransactionLog(&log);
  logs::ITransactionSink& sink = logs::TransactionLogSink();
  const net::UdpSettings settings;

  CSNMPMessage get(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetRequest),
      response(snmp::kPduResponse);
  get.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  ASSERT_EQ(net::ExchangeRequest(L"127.0.0.1", snmpd.Port(), settings, L"Get", get, response, sink),
            0);
  CSNMPMessage set(snmp::kSnmpVersion1, L"setcomm", snmp::kPduSetRequest);
  set.SetRequestId(1);
  set.AddVarBind(L".1.3.6.1.2.1.1.4.0", snmp::kTagOctetString, L"ops@example.test");
  ASSERT_EQ(net::ExchangeRequest(L"127.0.0.1", snmpd.Port(), settings, L"Set", set, response, sink),
            0);
  {
    net::CSnmpRequester walk(L"127.0.0.1", snmpd.Port(), settings, L"walkMIB", sink);
    std::wstring oid = L".1.3.6.1.2.1.1";
    for (int i = 0; i < 20; ++i) {
      CSNMPMessage next(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetNextRequest),
          answer(snmp::kPduResponse);
      next.SetRequestId(i);
      next.AddNullVarBind(oid);
      ASSERT_EQ(walk.Request(next, answer), 0);
      oid = answer.GetVarBind(1)->Name()->Text();
    }
  }
  CSNMPMessage trap(snmp::kSnmpVersion2c, L"public", snmp::kPduTrapV2);
  trap.SetRequestId(77);
  trap.AddVarBind(L".1.3.6.1.2.1.1.3.0", snmp::kTagTimeTicks, L"4200");
  trap.AddVarBind(L".1.3.6.1.6.3.1.1.4.1.0", snmp::kTagOid, L".1.3.6.1.6.3.1.1.5.4");
  net::CSnmpRequester(L"127.0.0.1", trapd.Port(), settings, L"sendTrap", sink).SendOnce(trap);
  logs::RegisterTransactionLog(nullptr);
  ASSERT_EQ(trapd.Traps(1).size(), 1U);

  const auto kept = log.Datagrams().Snapshot();
  ASSERT_EQ(kept.size(), 2U + 2U + 40U + 1U);
  sondara_test::TempFolder dir;
  const std::string file = dir / "exchange.pcapng";
  ASSERT_EQ(logs::WritePcapngFile(file, kept), std::error_code());
  const std::vector<std::string> lines = sondara_test::TsharkLines(
      file, "-d udp.port==" + std::to_string(snmpd.Port()) +
                ",snmp -d udp.port==" + std::to_string(trapd.Port()) +
                ",snmp -T fields -E separator='|' -E occurrence=a -E aggregator=, -e ip.src "
                "-e ip.dst -e udp.srcport -e udp.dstport -e frame.packet_flags_direction "
                "-e udp.payload -e snmp.version -e snmp.community -e snmp.data "
                "-e snmp.request_id -e snmp.name -e _ws.malformed -e _ws.expert.severity");
  std::size_t i = 0;
  for (; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    ASSERT_LT(i, kept.size());
    SCOPED_TRACE(line);
    const logs::KeptDatagram& d = *kept[i];
    const std::vector<std::string> c = Split(line, '|');
    ASSERT_EQ(c.size(), 13U);
    // Requests and answers alternate, each answer from the agent the request went to.
    const bool trap_datagram = i + 1 == kept.size();
    const bool sent = trap_datagram || i % 2 == 0;
    EXPECT_EQ(d.direction, sent ? logs::kDirectionSent : logs::kDirectionReceived);
    EXPECT_EQ(Address(d.local), "127.0.0.1");  // where it really went from, not 0.0.0.0
    EXPECT_EQ(d.remote.port, trap_datagram ? trapd.Port() : snmpd.Port());
    const std::string local = std::to_string(d.local.port), remote = std::to_string(d.remote.port);
    EXPECT_EQ(c[0] + " " + c[1], "127.0.0.1 127.0.0.1");
    EXPECT_EQ(c[2] + ">" + c[3], sent ? local + ">" + remote : remote + ">" + local);
    EXPECT_EQ(c[4], sent ? "0x00000002" : "0x00000001");  // outbound, inbound
    std::string payload = testing_support::ToHex(d.bytes);
    std::erase(payload, ' ');
    EXPECT_EQ(c[5], payload);
    const TreeFields tree = FromTree(d.bytes);
    EXPECT_EQ(c[6], tree.version);
    EXPECT_EQ(c[7], tree.community);
    EXPECT_EQ(c[8], tree.pdu);
    EXPECT_EQ(c[9], tree.request_id);
    EXPECT_EQ(c[10], tree.names);
    EXPECT_EQ(c[11], "") << "malformed";
    for (const std::string& severity : Split(c[12], ','))
      EXPECT_LT(std::stoul(severity, nullptr, 0), 0x600000u) << "expert item";
    if (i > 0 && !sent) {
      EXPECT_EQ(tree.request_id, FromTree(kept[i - 1]->bytes).request_id);
    }
  }
  EXPECT_EQ(i, kept.size());
}

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
