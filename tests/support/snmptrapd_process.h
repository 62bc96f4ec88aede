// A real net-snmp snmptrapd on 127.0.0.1 at a free port, accepting every community and writing
// each trap as one line of its output file, stopped by its own process id. A line reads
//   enterprise ~ agent address ~ generic ~ .specific ~ time stamp ~ varbind ~ varbind ...
// with each varbind as "OID = TYPE: value" and numeric OIDs. Version 2c traps leave the first
// five fields empty or zero (". ~ 0.0.0.0 ~ 0 ~ 0 ~ 0").
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/snmpd_process.h"

namespace testing_support {

class SnmptrapdProcess {
 public:
  // Empty when it started; otherwise why not.
  std::string Start() {
    folder_ = (std::filesystem::temp_directory_path() / "sondara-snmptrapd-XXXXXX").string();
    if (::mkdtemp(folder_.data()) == nullptr)
      return "no temporary folder";
    port_ = SnmpdProcess::FreeUdpPort();
    const std::string conf = folder_ + "/snmptrapd.conf",
                      endpoint = "udp:127.0.0.1:" + std::to_string(port_);
    out_ = folder_ + "/traps.log";
    std::ofstream(conf) << "disableAuthorization yes\n";
    std::string env[] = {"SNMP_PERSISTENT_DIR=" + folder_ + "/persist", "PATH=/usr/bin:/bin",
                         "HOME=" + folder_, "MIBS="};
    char* const envp[] = {env[0].data(), env[1].data(), env[2].data(), env[3].data(), nullptr};
    pid_ = ::fork();
    if (pid_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGTERM);
      const int null_fd = ::open("/dev/null", O_RDWR);
      for (int fd : {0, 1, 2})
        ::dup2(null_fd, fd);
      ::execle("/usr/sbin/snmptrapd", "snmptrapd", "-f", "-C", "-c", conf.c_str(), "-m", "", "-On",
               "-Lf", out_.c_str(), "-F", "%V~%N~%a~%w~%q~%T~%v\n", endpoint.c_str(), nullptr,
               envp);
      ::_exit(127);
    }
    if (pid_ < 0)
      return "snmptrapd could not be started";
    // Ready once its socket is bound: 127.0.0.1 and the port, as the kernel lists them.
    char bound[32];
    std::snprintf(bound, sizeof bound, "0100007F:%04X", port_);
    for (int i = 0; i < 100; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
        pid_ = -1;
        return "snmptrapd exited (is /usr/sbin/snmptrapd installed?)";
      }
      std::ifstream udp("/proc/net/udp");
      for (std::string line; std::getline(udp, line);) {
        if (line.find(bound) != std::string::npos)
          return "";
      }
    }
    return "snmptrapd did not start within 5 s";
  }

  ~SnmptrapdProcess() {
    if (pid_ > 0) {
      ::kill(pid_, SIGTERM);
      ::waitpid(pid_, nullptr, 0);
    }
    std::error_code ec;
    std::filesystem::remove_all(folder_, ec);
  }

  std::uint16_t Port() const { return port_; }

  // The trap lines written so far, waiting up to `timeout` for at least `count` of them.
  std::vector<std::string> Traps(
      std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(3)) const {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      std::vector<std::string> traps;
      std::ifstream in(out_);
      for (std::string line; std::getline(in, line);) {
        if (line.find('~') != std::string::npos)
          traps.push_back(line);
      }
      if (traps.size() >= count || std::chrono::steady_clock::now() >= deadline)
        return traps;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

 private:
  std::string folder_;
  std::string out_;
  std::uint16_t port_ = 0;
  pid_t pid_ = -1;
};

}  // namespace testing_support
