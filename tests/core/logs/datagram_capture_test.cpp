// The transaction log's datagrams: limits, Reset, and the pcapng file as tshark reads it.
#include <gtest/gtest.h>

#include <netdb.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "logs/pcapng_file.h"
#include "logs/transaction_log.h"
#include "support/hex_bytes.h"
#include "support/temp_folder.h"
#include "support/tshark.h"

namespace {

using logs::CDatagramStore;
using logs::DatagramEnds;
using testing_support::Hex;

// Numeric addresses and ports as the two ends of a datagram.
DatagramEnds Ends(const char* local, std::uint16_t local_port, const char* remote,
                  std::uint16_t remote_port) {
  const auto end_at = [](const char* address, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    sockaddr_storage end{};
    if (::getaddrinfo(address, std::to_string(port).c_str(), &hints, &found) == 0) {
      std::memcpy(&end, found->ai_addr, found->ai_addrlen);
      ::freeaddrinfo(found);
    }
    return end;
  };
  return {end_at(local, local_port), end_at(remote, remote_port)};
}

TEST(DatagramStore, KeepsTheNewestWithinCountAndMemoryAndForgetsOnReset) {
  const std::vector<std::uint8_t> ten(10, 0x30);
  const std::size_t each = CDatagramStore::Cost(ten.size());
  const struct {
    std::size_t max_count, max_bytes;
    std::size_t kept;
  } limits[] = {{3, 1 << 20, 3}, {100, 3 * each, 3}, {100, 3 * each - 1, 2}, {1, 1, 0}};
  for (const auto& l : limits) {
    SCOPED_TRACE(testing::Message() << l.max_count << " datagrams, " << l.max_bytes << " bytes");
    CDatagramStore store(l.max_count, l.max_bytes);
    for (int i = 0; i < 5; ++i)
      EXPECT_EQ(store.Add(logs::kDirectionSent, L"Get", ten, {}, i), std::uint64_t(i + 1));
    ASSERT_EQ(store.Count(), l.kept);
    EXPECT_LE(store.MemoryBytes(), l.max_bytes);
    const auto kept = store.Snapshot();
    for (std::size_t i = 0; i < kept.size(); ++i)
      EXPECT_EQ(kept[i]->number, 5 - l.kept + 1 + i);
    EXPECT_EQ(store.Find(5 - l.kept), nullptr);
    if (l.kept != 0) {
      EXPECT_EQ(store.Find(5)->time_us, 4);
    }
  }

  // Reset forgets what the pane has shown; a datagram still pending keeps its row and bytes.
  logs::CTransactionLog log;
  log.AddDatagram(logs::kDirectionSent, L"Get", ten, Ends("127.0.0.1", 40000, "127.0.0.1", 161));
  const std::string ping = "Ping command sent to IP ::1.";
  log.AddTransaction(1, L"Ping", reinterpret_cast<const std::uint8_t*>(ping.data()), ping.size(),
                     1);
  log.MovePending();
  log.AddTransaction(logs::kDirectionReceived, L"Get", ten.data(), ten.size(), 0);
  EXPECT_EQ(log.Datagrams().Count(), 2U);  // the text row is no datagram
  EXPECT_EQ(log.Shown(1).datagram, 0U);
  log.Reset();
  log.MovePending();
  ASSERT_EQ(log.ShownCount(), 1U);
  ASSERT_EQ(log.Datagrams().Count(), 1U);
  const auto left = log.Datagrams().Find(log.Shown(0).datagram);
  ASSERT_NE(left, nullptr);
  EXPECT_EQ(left->direction, logs::kDirectionReceived);
  EXPECT_EQ(left->remote.family, 0);  // logged without its ends
}

TEST(PcapngFile, TsharkReadsAddressesPortsTimesDirectionsAndChecksums) {
  if (std::system("command -v tshark >/dev/null") != 0)
    GTEST_SKIP() << "tshark is not installed";
  const auto get = Hex(
      "30 26 02 01 00 04 06 67 65 74 63 6f 6d a0 19 02 01 07 02 01 00 02 01 00 30 0e 30 0c 06 08"
      "2b 06 01 02 01 01 01 00 05 00");
  CDatagramStore store;
  const std::int64_t t0 = 1700000000123456;
  store.Add(logs::kDirectionSent, L"Get", get, Ends("192.0.2.7", 40001, "198.51.100.9", 161), t0);
  store.Add(logs::kDirectionReceived, L"walkMIB",
            std::vector<std::uint8_t>(get.begin(), get.end() - 1),
            Ends("192.0.2.7", 40001, "198.51.100.9", 161), t0 + 1);  // odd length
  store.Add(logs::kDirectionSent, L"sendTrap", get, Ends("fe80::1", 50000, "2001:db8::5", 162),
            t0 + 2000001);
  store.Add(logs::kDirectionSent, L"Get", get, {}, t0 + 3000000);  // ends unknown
  sondara_test::TempFolder dir;
  const std::string file = dir / "capture.pcapng";
  ASSERT_EQ(logs::WritePcapngFile(file, store.Snapshot()), std::error_code());

  const std::vector<std::string> lines = sondara_test::TsharkLines(
      file,
      "-o udp.check_checksum:TRUE -o ip.check_checksum:TRUE -d udp.port==161,snmp "
      "-d udp.port==162,snmp -T fields -E separator='|' -e frame.time_epoch -e ip.src -e ip.dst "
      "-e ipv6.src -e ipv6.dst -e udp.srcport -e udp.dstport -e frame.packet_flags_direction "
      "-e ip.checksum.status -e udp.checksum.status -e frame.comment -e snmp.request_id "
      "-e _ws.malformed");
  const std::vector<std::string> expected = {
      "1700000000.123456000|192.0.2.7|198.51.100.9|||40001|161|0x00000002|1|1|Get|7|",
      // Direction 2 is outbound, 1 inbound; checksum status 1 is good. The last byte is missing:
      // SNMP sees a short message, but IP and UDP are whole.
      "1700000000.123457000|198.51.100.9|192.0.2.7|||161|40001|0x00000001|1|1|walkMIB",
      "1700000002.123457000|||fe80::1|2001:db8::5|50000|162|0x00000002||1|sendTrap|7|",
      "1700000003.123456000|0.0.0.0|0.0.0.0|||0|0|0x00000002|1|1|Get||",
  };
  ASSERT_EQ(lines.size(), expected.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    // The second up to the comment: its SNMP part is malformed on purpose.
    const std::size_t end = i == 1 ? expected[i].size() : std::string::npos;
    EXPECT_EQ(lines[i].substr(0, end), expected[i]) << "packet " << i;
  }
}

}  // namespace
