// sondara-cli listen against net-snmp's snmptrap and snmpinform, our own trap command and
// hand-written bytes, and how each way of ending it shows in its exit status.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "cli/cli_process.h"
#include "support/recorders.h"
#include "support/snmpd_process.h"

namespace {

using sondara_test::Cli;
using sondara_test::ProcessResult;
using sondara_test::RunningProcess;

// A UDP socket on 127.0.0.1 at a port the kernel chose; closed with the object.
struct HeldPort {
  HeldPort() {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len) == 0)
      port = ntohs(a.sin_port);
  }
  ~HeldPort() { ::close(fd); }
  HeldPort(const HeldPort&) = delete;
  HeldPort& operator=(const HeldPort&) = delete;
  int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  std::uint16_t port = 0;
};

// `args` (a listen) started, once it has said that it listens.
std::unique_ptr<RunningProcess> StartListening(const Cli& cli, std::vector<std::string> args) {
  auto run = cli.Start(args);
  testing_support::WaitUntil(
      [&] { return run->OutputSoFar().find("Listening for notifications") != std::string::npos; },
      std::chrono::seconds(30));
  return run;
}

// Four notifications from net-snmp and one datagram that is none (from bash): each line as sent,
// the inform answered (snmpinform exits 0 only then), and the run ends after the fourth.
TEST(CliListen, PrintsEachNotificationAsSentAndAnswersInforms) {
  const std::string port = std::to_string(testing_support::FreeUdpPort());
  const std::string to = "127.0.0.1:" + port;
  Cli cli;
  // An IPv6 socket takes IPv4 senders too, and shows them by their IPv4 address.
  auto listen =
      StartListening(cli, {"listen", "-6", "--port", port, "--count", "4", "-t", "120", "-On"});
  struct Case {
    std::vector<std::string> sender;
    std::string printed;  // a regex of the lines after the time
  };
  const std::string v1 =
      "/usr/bin/snmptrap|-v|1|-c|public|" + to + "|.1.3.6.1.4.1.8072.2.3|10.1.2.3|";
  const Case cases[] = {
      {sondara_test::Args(v1 + "2|0|12345|.1.3.6.1.2.1.2.2.1.1.2|i|2"),
       R"( v1 community=public Trap notification=\.1\.3\.6\.1\.6\.3\.1\.1\.5\.3 sysUpTime=12345 )"
       R"(enterprise=\.1\.3\.6\.1\.4\.1\.8072\.2\.3 agent-address=10\.1\.2\.3 generic=2 specific=0)"
       "\n  \\.1\\.3\\.6\\.1\\.2\\.1\\.2\\.2\\.1\\.1\\.2 = Integer32: 2\n"},
      {sondara_test::Args("/usr/bin/snmptrap|-v|2c|-c|trap,com|" + to +
                          "|555|.1.3.6.1.6.3.1.1.5.4|.1.3.6.1.2.1.1.5.0|s|door 3"),
       R"( v2c community=trap,com SNMPv2-Trap notification=\.1\.3\.6\.1\.6\.3\.1\.1\.5\.4 )"
       "sysUpTime=555\n  \\.1\\.3\\.6\\.1\\.2\\.1\\.1\\.5\\.0 = Octet String: door 3\n"},
      {sondara_test::Args("/usr/bin/snmpinform|-v|2c|-c|pub2|-r|0|-t|5|udp6:[::1]:" + port +
                          "|777|.1.3.6.1.4.1.8072.2.3.0.1|.1.3.6.1.2.1.1.6.0|s|hall"),
       R"( v2c community=pub2 InformRequest answered notification=\.1\.3\.6\.1\.4\.1\.8072\.2\.3\.0\.1 )"
       "sysUpTime=777\n  \\.1\\.3\\.6\\.1\\.2\\.1\\.1\\.6\\.0 = Octet String: hall\n"},
      // Hand-written bytes that are no message: a length past the end.
      {{"/bin/bash", "-c", "printf '\\x30\\x05\\x02\\x01\\x00\\x04' >/dev/udp/127.0.0.1/" + port},
       " malformed at offset 1: length 5 runs past the end of the message \\(4 bytes left\\)\n"},
      {sondara_test::Args(v1 + "6|17|1"),
       R"( v1 community=public Trap notification=\.1\.3\.6\.1\.4\.1\.8072\.2\.3\.0\.17 sysUpTime=1 )"},
  };
  for (const Case& c : cases) {
    const ProcessResult sent = RunningProcess(c.sender).Wait();
    EXPECT_EQ(sent.status, 0) << c.sender.front() << sent.err;
    const std::regex printed(
        "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} (127\\.0\\.0\\.1|\\[::1\\]):\\d+" +
        c.printed);
    EXPECT_TRUE(testing_support::WaitUntil(
        [&] { return std::regex_search(listen->OutputSoFar(), printed); },
        std::chrono::seconds(30)))
        << c.printed << "\n"
        << listen->OutputSoFar();
  }
  const ProcessResult r = listen->Wait();
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("Stopped listening on UDP port " + port +
                       ": 4 notifications, 1 malformed, 0 dropped by the kernel."),
            std::string::npos)
      << r.out;
}

// SNMPv3 (authPriv, SHA and AES) from net-snmp: a trap from the sender's engine, an inform to
// ours (snmpinform exits 0 only when the Response comes from the engine it named), a wrong
// password and an inform for another engine; names as the other commands print them.
TEST(CliListen, TakesV3NotificationsOfItsUser) {
  const std::string to = "127.0.0.1:" + std::to_string(testing_support::FreeUdpPort());
  const std::string ours = "0x8000e9df04aabbccdd";
  const std::string user = "-v|3|-u|ops|-l|authPriv|-a|SHA|-x|AES|-X|privpass1|-r|0|";
  const std::string trap = "/usr/bin/snmptrap|-e|0x80001f8880aabbcc|" + user;
  const std::string inform = "/usr/bin/snmpinform|" + user;
  const std::string up = "|.1.3.6.1.6.3.1.1.5.4|.1.3.6.1.2.1.2.2.1.7.2|i|1";
  struct Send {
    std::string args;
    int status;
    std::string printed;
  };
  struct Run {
    std::string count;
    std::vector<Send> sends;
    std::string closing;
  };
  const Run runs[] = {
      {"1",
       {{"/usr/bin/snmptrap|-v|3|-u|stranger|-e|0x80001f8880aabbcc|" + to + "|4" + up, 0,
         " v3 ignored: unknown SNMPv3 user 'stranger': no values shown"},
        {trap + "-A|wrongpass1|" + to + "|5" + up, 0,
         " v3 ignored: authentication failed for user 'ops' \\(wrong digest\\)"},
        {inform + "-t|15|-A|authpass1|-e|" + ours + "|" + to + "|6" + up, 0,
         " v3 user=ops InformRequest answered notification=IF-MIB::linkUp sysUpTime=6\n"
         "  IF-MIB::ifAdminStatus.2 = Integer32: up\\(1\\)\n"}},
       ": 1 notification, 0 malformed"},
      {"2",
       {{inform + "-t|2|-A|authpass1|-e|0x8000e9df04aabbccee|" + to + "|7" + up, 1,
         " v3 user=ops InformRequest not answered notification=IF-MIB::linkUp"},
        {trap + "-A|authpass1|" + to + "|8" + up, 0,
         " v3 user=ops SNMPv2-Trap notification=IF-MIB::linkUp sysUpTime=8\n"}},
       ": 2 notifications, 0 malformed"},
  };
  Cli cli;
  for (const Run& run : runs) {
    auto listen = StartListening(
        cli, {"listen", "--port",   to.substr(10), "--count", run.count, "-u",        "ops",
              "-l",     "authPriv", "-a",          "SHA",     "-A",      "authpass1", "-x",
              "AES",    "-X",       "privpass1",   "-E",      ours,      "-t",        "60"});
    for (const Send& send : run.sends) {
      const ProcessResult sent = RunningProcess(sondara_test::Args(send.args)).Wait();
      EXPECT_EQ(sent.status != 0, send.status != 0) << send.args << sent.err;
      EXPECT_TRUE(testing_support::WaitUntil(
          [&] { return std::regex_search(listen->OutputSoFar(), std::regex(send.printed)); },
          std::chrono::seconds(30)))
          << send.printed << "\n"
          << listen->OutputSoFar();
    }
    const ProcessResult r = listen->Wait();
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_NE(r.out.find(run.closing), std::string::npos) << r.out;
  }
}

// --timeout, Ctrl+C, a port in use (named by the process that holds it) and a privileged port.
TEST(CliListen, EndsWithTheStatusOfWhatEndedIt) {
  const HeldPort held;
  std::string comm;
  std::getline(std::ifstream("/proc/self/comm"), comm);
  const std::string in_use = "Unable to listen on UDP port " + std::to_string(held.port) + ": " +
                             comm + " (pid " + std::to_string(::getpid()) +
                             ") already listens on it.";
  // The run that times out has closed the port before the next one takes it.
  const std::string free = std::to_string(testing_support::FreeUdpPort());
  // Arguments, whether Ctrl+C ends the run, its exit status and what it says.
  std::vector<std::tuple<std::vector<std::string>, bool, int, std::string>> cases = {
      {{"listen", "--port", free, "--timeout", "1"}, false, 3, "Stopped listening"},
      {{"listen", "--port", free}, true, 130, "Stopped listening"},
      {{"listen", "--port", std::to_string(held.port), "-t", "1"}, false, 2, in_use},
  };
  // As root the privileged port is tried as nobody in cli_ping_test's namespace.
  int unprivileged_start = 1024;
  std::ifstream("/proc/sys/net/ipv4/ip_unprivileged_port_start") >> unprivileged_start;
  if (::geteuid() != 0 && unprivileged_start > 162) {
    const std::string needs = "ports below 1024 need a privilege this program does not have";
    cases.push_back({{"listen", "--port", "162", "-t", "1"}, false, 2, needs});
  }
  Cli cli;
  for (const auto& [args, interrupt, status, says] : cases) {
    auto run = interrupt ? StartListening(cli, args) : nullptr;
    if (run)
      run->Signal(SIGINT);
    const ProcessResult r = run ? run->Wait() : cli.Run(args);
    const std::string said = r.out + r.err;
    EXPECT_EQ(r.status, status) << said;
    EXPECT_NE(said.find(says), std::string::npos) << said;
  }
}

}  // namespace
