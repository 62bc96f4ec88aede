// An independent decoder agrees with our encoder: every kind of message we send is written to a
// capture file and read back by tshark's SNMP dissector, field by field.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "snmp/snmp_message.h"
#include "snmp/type_names.h"

namespace snmp {
namespace {

constexpr std::uint16_t kPort = 16161;

// pcap with LINKTYPE_RAW: each record is an IPv4/UDP datagram from 127.0.0.1 to kPort.
class PcapWriter {
 public:
  explicit PcapWriter(const std::filesystem::path& path) : out_(path, std::ios::binary) {
    for (std::uint32_t v : {0xa1b2c3d4u, 0x00040002u, 0u, 0u, 65535u, 101u /* LINKTYPE_RAW */})
      Put32(v);  // magic, version 2.4, zone, accuracy, snap length, link type
  }

  void AddUdp(std::span<const std::uint8_t> payload) {
    const auto udp_len = static_cast<std::uint16_t>(8 + payload.size());
    const auto ip_len = static_cast<std::uint16_t>(20 + udp_len);
    std::vector<std::uint8_t> p = {0x45, 0, Hi(ip_len), Lo(ip_len), 0, 1, 0,   0, 64, 17,
                                   0,    0, 127,        0,          0, 1, 127, 0, 0,  1};
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < 20; i += 2)
      sum += static_cast<std::uint32_t>(p[i] << 8 | p[i + 1]);
    while (sum > 0xFFFF)
      sum = (sum & 0xFFFF) + (sum >> 16);
    const auto csum = static_cast<std::uint16_t>(~sum);
    p[10] = Hi(csum);
    p[11] = Lo(csum);
    for (std::uint8_t b : {Hi(40000), Lo(40000), Hi(kPort), Lo(kPort), Hi(udp_len), Lo(udp_len),
                           std::uint8_t{0}, std::uint8_t{0}}) {
      p.push_back(b);
    }
    p.insert(p.end(), payload.begin(), payload.end());
    const auto size = static_cast<std::uint32_t>(p.size());
    for (std::uint32_t v : {++seconds_, 0u, size, size})
      Put32(v);
    out_.write(reinterpret_cast<const char*>(p.data()), static_cast<std::streamsize>(p.size()));
  }

 private:
  static std::uint8_t Hi(std::uint16_t v) { return static_cast<std::uint8_t>(v >> 8); }
  static std::uint8_t Lo(std::uint16_t v) { return static_cast<std::uint8_t>(v); }
  void Put32(std::uint32_t v) { out_.write(reinterpret_cast<const char*>(&v), 4); }

  std::ofstream out_;
  std::uint32_t seconds_ = 1700000000;
};

std::string RunCommand(const std::string& cmd) {
  std::string out;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(cmd.c_str(), "r"), pclose);
  if (!pipe)
    return out;
  char buf[4096];
  while (std::fgets(buf, sizeof buf, pipe.get()) != nullptr)
    out += buf;
  return out;
}

struct Expected {
  std::unique_ptr<CSNMPMessage> msg;
  // tshark field name -> expected text
  std::map<std::string, std::string> fields;
};

std::unique_ptr<CSNMPMessage> Make(std::uint32_t version, const wchar_t* community,
                                   std::uint32_t pdu, std::int32_t id) {
  auto m = std::make_unique<CSNMPMessage>(version, community, pdu);
  m->SetRequestId(id);
  return m;
}

std::vector<Expected> Messages() {
  std::vector<Expected> all;
  auto add = [&](std::unique_ptr<CSNMPMessage> m, std::map<std::string, std::string> f) {
    all.push_back({std::move(m), std::move(f)});
  };
  auto get = Make(kSnmpVersion1, L"getcom", kPduGetRequest, 17);
  get->AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  add(std::move(get), {{"snmp.version", "0"},
                       {"snmp.community", "getcom"},
                       {"snmp.data", "0"},
                       {"snmp.request_id", "17"},
                       {"snmp.name", "1.3.6.1.2.1.1.1.0"}});

  auto next = Make(kSnmpVersion2c, L"public", kPduGetNextRequest, 255);
  next->AddNullVarBind(L".1.3.6.1.2.1.1");
  add(std::move(next), {{"snmp.version", "1"},
                        {"snmp.data", "1"},
                        {"snmp.request_id", "255"},
                        {"snmp.name", "1.3.6.1.2.1.1"}});

  // One Set for each type a user can set, with the field tshark shows its value in.
  struct SetCase {
    std::uint32_t tag;
    const wchar_t* text;
    const char* field;
    const char* shown;
  };
  const SetCase sets[] = {
      {kTagInteger32, L"-129", "snmp.value.int", "-129"},
      {kTagOctetString, L"Rack 4 \u00e9", "snmp.value.octets", "5261636b203420c3a9"},
      {kTagOid, L".1.3.6.1.4.1.8072.3.2.10", "snmp.value.oid", "1.3.6.1.4.1.8072.3.2.10"},
      {kTagIpAddress, L"10.0.0.1", "snmp.value.ipv4", "10.0.0.1"},
      {kTagCounter32, L"4294967295", "snmp.value.counter", "4294967295"},
      {kTagGauge32, L"128", "snmp.value.g32", "128"},
      {kTagTimeTicks, L"360000", "snmp.value.timeticks", "360000"},
      {kTagOpaque, L"ab", "snmp.value.opaque", "6162"},
      {kTagCounter64, L"18446744073709551615", "snmp.value.counter", "18446744073709551615"},
      {kTagUnsigned32, L"65536", "snmp.value.u32", "65536"},
  };
  int id = 100;
  for (const SetCase& s : sets) {
    auto set = Make(kSnmpVersion2c, L"setcomm", kPduSetRequest, ++id);
    set->AddVarBind(L".1.3.6.1.2.1.1.4.0", s.tag, s.text);
    add(std::move(set), {{"snmp.data", "3"},
                         {"snmp.community", "setcomm"},
                         {"snmp.request_id", std::to_string(id)},
                         {"snmp.name", "1.3.6.1.2.1.1.4.0"},
                         {s.field, s.shown}});
  }

  auto trap = std::make_unique<CSNMPMessage>(kSnmpVersion1, L"trapcom", kPduTrapV1);
  trap->SetEnterprise(L".1.3.6.1.4.1.99999");
  trap->SetAgentAddress(L"192.0.2.10");
  trap->SetGenericTrap(6);
  trap->SetSpecificTrap(42);
  trap->SetTimeStamp(123456);
  trap->AddVarBind(L".1.3.6.1.4.1.99999.1.1", kTagOctetString, L"door open");
  add(std::move(trap), {{"snmp.version", "0"},
                        {"snmp.data", "4"},
                        {"snmp.enterprise", "1.3.6.1.4.1.99999"},
                        {"snmp.agent_addr", "192.0.2.10"},
                        {"snmp.generic_trap", "6"},
                        {"snmp.specific_trap", "42"},
                        {"snmp.time_stamp", "123456"},
                        {"snmp.value.octets", "646f6f72206f70656e"}});

  auto trap2 = Make(kSnmpVersion2c, L"trapcom", kPduTrapV2, 3);
  trap2->AddVarBind(L".1.3.6.1.2.1.1.3.0", kTagTimeTicks, L"4711");
  trap2->AddVarBind(L".1.3.6.1.6.3.1.1.4.1.0", kTagOid, L".1.3.6.1.6.3.1.1.5.3");
  add(std::move(trap2), {{"snmp.version", "1"},
                         {"snmp.data", "7"},
                         {"snmp.request_id", "3"},
                         {"snmp.name", "1.3.6.1.2.1.1.3.0,1.3.6.1.6.3.1.1.4.1.0"},
                         {"snmp.value.timeticks", "4711"},
                         {"snmp.value.oid", "1.3.6.1.6.3.1.1.5.3"}});
  return all;
}

TEST(TsharkOracle, AgreesWithEveryMessageWeSend) {
  if (RunCommand("command -v tshark").empty())
    GTEST_SKIP() << "tshark is not installed";
  const auto dir =
      std::filesystem::temp_directory_path() / ("sondara-tshark-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  const auto pcap = dir / "messages.pcap";

  std::vector<Expected> messages = Messages();
  {
    PcapWriter writer(pcap);
    for (Expected& e : messages) {
      std::vector<std::uint8_t> buf(kMessageBufferLen);
      std::span<const std::uint8_t> bytes;
      ASSERT_TRUE(e.msg->EncodeInto(buf, bytes));
      writer.AddUdp(bytes);
    }
  }

  std::set<std::string> names = {"_ws.malformed", "_ws.expert.severity"};
  for (const Expected& e : messages) {
    for (const auto& [field, value] : e.fields)
      names.insert(field);
  }
  std::string cmd = "tshark -n -r '" + pcap.string() + "' -d udp.port==" + std::to_string(kPort) +
                    ",snmp -T fields -E separator='|' -E occurrence=a -E aggregator=,";
  for (const std::string& n : names)
    cmd += " -e " + n;
  // tshark's notes (such as running as root) go to stderr, kept apart from the fields.
  const std::string output = RunCommand(cmd + " 2>'" + (dir / "tshark.err").string() + "'");

  std::istringstream lines(output);
  std::string line;
  std::size_t row = 0;
  while (std::getline(lines, line) && row < messages.size()) {
    SCOPED_TRACE("message " + std::to_string(row + 1) + ": " + line);
    std::map<std::string, std::string> got;
    std::istringstream cells(line);
    for (const std::string& n : names)
      std::getline(cells, got[n], '|');
    EXPECT_EQ(got["_ws.malformed"], "");
    // Expert items of warning severity (0x600000) or worse mark a suspect encoding.
    std::istringstream severities(got["_ws.expert.severity"]);
    for (std::string s; std::getline(severities, s, ',');) {
      EXPECT_LT(std::stoul(s), 0x600000u) << "expert item of severity " << s;
    }
    for (const auto& [field, value] : messages[row].fields)
      EXPECT_EQ(got[field], value) << field;
    ++row;
  }
  std::ifstream err(dir / "tshark.err");
  EXPECT_EQ(row, messages.size()) << output << std::string(std::istreambuf_iterator<char>(err), {});
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace snmp
