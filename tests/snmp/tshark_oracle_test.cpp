// An independent decoder agrees: every kind of message we send is read back by tshark's dissector.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "message_kinds.h"
#include "support/hex_bytes.h"

namespace snmp {
namespace {

TEST(TsharkOracle, AgreesWithEveryMessageWeSend) {
  if (std::system("command -v tshark text2pcap >/dev/null") != 0)
    GTEST_SKIP() << "tshark is not installed";
  const auto dir =
      std::filesystem::temp_directory_path() / ("sondara-tshark-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  const std::string dump = (dir / "messages.txt").string(), pcap = (dir / "messages.pcap").string();
  const std::string err = " 2>>'" + (dir / "tools.err").string() + "'";

  // A text2pcap hex dump, one message per line, later wrapped in IPv4/UDP to port 16161.
  std::vector<MessageKind> kinds = MessageKinds();
  std::set<std::string> names = {"_ws.malformed", "_ws.expert.severity"};
  std::ofstream out(dump);
  for (MessageKind& k : kinds) {
    std::vector<std::uint8_t> buf(kMessageBufferLen);
    std::span<const std::uint8_t> bytes;
    ASSERT_TRUE(k.msg->EncodeInto(buf, bytes));
    out << "000000 " << testing_support::ToHex(bytes) << '\n';
    std::istringstream fields(k.fields);
    for (std::string f; fields >> f;)
      names.insert(f.substr(0, f.find('=')));
  }
  out.close();
  std::string cmd = "text2pcap -q -4 127.0.0.1,127.0.0.1 -u 40000,16161 '" + dump + "' '" + pcap +
                    "'" + err + " && tshark -n -r '" + pcap +
                    "' -d udp.port==16161,snmp -T fields -E separator='|' -E occurrence=a "
                    "-E aggregator=,";
  for (const std::string& n : names)
    cmd += " -e " + n;
  EXPECT_EQ(std::system((cmd + " >'" + (dir / "fields.txt").string() + "'" + err).c_str()), 0);
  std::ifstream lines(dir / "fields.txt");

  std::size_t row = 0;
  for (std::string line; row < kinds.size() && std::getline(lines, line); ++row) {
    SCOPED_TRACE(line);
    std::map<std::string, std::string> got;
    std::istringstream cells(line);
    for (const std::string& n : names)
      std::getline(cells, got[n], '|');
    EXPECT_EQ(got["_ws.malformed"], "");
    // Expert items of warning severity (0x600000) or worse mark a suspect encoding.
    std::istringstream severities(got["_ws.expert.severity"]);
    for (std::string s; std::getline(severities, s, ',');)
      EXPECT_LT(std::stoul(s), 0x600000u) << "expert item of severity " << s;
    std::istringstream fields(kinds[row].fields);
    for (std::string f; fields >> f;) {
      const std::string name = f.substr(0, f.find('='));
      EXPECT_EQ(name + "=" + got[name], f);
    }
  }
  std::ifstream errors(dir / "tools.err");
  EXPECT_EQ(row, kinds.size()) << std::string(std::istreambuf_iterator<char>(errors), {});
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace snmp
