// A real net-snmp snmpd for tests: started on 127.0.0.1 and a free port with a generated
// configuration (read community "getcom", write community "setcomm"), its state in a folder of
// its own, stopped by its own process id.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/hex_bytes.h"

namespace testing_support {

inline constexpr char kSnmpdSysDescr[] = "Sondara test agent";

class SnmpdProcess {
 public:
  // Empty when it started and answers; otherwise why not (the test skips or fails with it).
  std::string Start() {
    if (::access("/usr/sbin/snmpd", X_OK) != 0)
      return "snmpd is not installed (Debian: snmpd)";
    std::string pattern =
        (std::filesystem::temp_directory_path() / "sondara-snmpd-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
      return "no temporary folder";
    folder_ = pattern;
    port_ = FreeUdpPort();
    const std::string conf = folder_ + "/snmpd.conf";
    {
      std::ofstream out(conf);
      out << "rocommunity getcom 127.0.0.1\n"
          << "rwcommunity setcomm 127.0.0.1\n"
          << "sysdescr " << kSnmpdSysDescr << "\n"
          << "syslocation Test bench\n";  // sysContact stays unset, so it can be written
    }
    const std::string endpoint = "udp:127.0.0.1:" + std::to_string(port_);
    const std::string log = folder_ + "/snmpd.log";
    std::vector<std::string> args = {"/usr/sbin/snmpd", "-f", "-C", "-c", conf, "-Lf", log,
                                     endpoint};
    std::vector<char*> argv;
    for (auto& a : args)
      argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> env_strings = {"SNMP_PERSISTENT_DIR=" + folder_ + "/persist",
                                            "PATH=/usr/bin:/bin", "HOME=" + folder_};
    std::vector<char*> envp;
    for (auto& e : env_strings)
      envp.push_back(e.data());
    envp.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
      // It must not outlive a test that crashes, nor hold the test's output open (ctest
      // waits for that to close).
      ::prctl(PR_SET_PDEATHSIG, SIGTERM);
      const int null_fd = ::open("/dev/null", O_RDWR);
      ::dup2(null_fd, 0);
      ::dup2(null_fd, 1);
      ::dup2(null_fd, 2);
      ::execve(argv[0], argv.data(), envp.data());
      ::_exit(127);
    }
    if (pid_ < 0)
      return "snmpd could not be started";
    // Up to 5 s for it to answer a Get of sysDescr.0 with "getcom".
    for (int i = 0; i < 50; ++i) {
      if (Answers())
        return "";
      int status;
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        return "snmpd exited; see " + log;
      }
    }
    return "snmpd did not answer within 5 s";
  }

  ~SnmpdProcess() {
    if (pid_ > 0) {
      ::kill(pid_, SIGTERM);
      int status;
      ::waitpid(pid_, &status, 0);
    }
    std::error_code ec;
    if (!folder_.empty())
      std::filesystem::remove_all(folder_, ec);
  }

  std::uint16_t Port() const { return port_; }

 private:
  static std::uint16_t FreeUdpPort() {
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t len = sizeof a;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    ::close(fd);
    return ntohs(a.sin_port);
  }

  // One v2c Get of sysDescr.0, written out by hand, and a 100 ms wait for any answer.
  bool Answers() const {
    const auto request =
        Hex("30 26 02 01 01 04 06 67 65 74 63 6f 6d a0 19 02 01 01 02 01 00 02 01 00"
            "30 0e 30 0c 06 08 2b 06 01 02 01 01 01 00 05 00");
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port_);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::sendto(fd, request.data(), request.size(), 0, reinterpret_cast<sockaddr*>(&a), sizeof a);
    pollfd p{fd, POLLIN, 0};
    const bool answered = ::poll(&p, 1, 100) > 0;
    ::close(fd);
    if (!answered)
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return answered;
  }

  std::string folder_;
  std::uint16_t port_ = 0;
  pid_t pid_ = -1;
};

}  // namespace testing_support
