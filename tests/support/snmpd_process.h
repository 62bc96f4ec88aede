// Real net-snmp daemons on 127.0.0.1 at a free port, each with its state in a folder of its own
// and stopped by its own process id. snmpd reads with community "getcom", writes with "setcomm".
#pragma once

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
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

#include "support/hex_bytes.h"

namespace testing_support {

// A UDP port on 127.0.0.1 that nobody used a moment ago.
inline std::uint16_t FreeUdpPort() {
  const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in a{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t len = sizeof a;
  ::bind(fd, reinterpret_cast<sockaddr*>(&a), len);
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
  ::close(fd);
  return ntohs(a.sin_port);
}

class NetSnmpDaemon {
 public:
  ~NetSnmpDaemon() {
    if (pid_ > 0) {
      ::kill(pid_, SIGTERM);
      ::waitpid(pid_, nullptr, 0);
    }
    std::error_code ec;
    std::filesystem::remove_all(folder_, ec);
  }
  std::uint16_t Port() const { return port_; }

 protected:
  // Makes the folder and picks a free port.
  bool Prepare(const std::string& name) {
    folder_ = (std::filesystem::temp_directory_path() / ("sondara-" + name + "-XXXXXX")).string();
    port_ = FreeUdpPort();
    return ::mkdtemp(folder_.data()) != nullptr;
  }
  std::string Endpoint() const { return "udp:127.0.0.1:" + std::to_string(port_); }
  // Starts argv[0] with argv and a small environment of its own plus `env`.
  bool Spawn(std::vector<std::string> argv, std::vector<std::string> env) {
    env.insert(env.end(), {"SNMP_PERSISTENT_DIR=" + folder_ + "/persist", "PATH=/usr/bin:/bin",
                           "HOME=" + folder_});
    std::vector<char*> args, envp;  // made before fork: other threads may hold locks
    for (std::string& a : argv)
      args.push_back(a.data());
    for (std::string& e : env)
      envp.push_back(e.data());
    args.push_back(nullptr);
    envp.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
      // Neither outlive a crashed test nor hold its output open (ctest waits for that).
      ::prctl(PR_SET_PDEATHSIG, SIGTERM);
      const int null_fd = ::open("/dev/null", O_RDWR);
      for (int fd : {0, 1, 2})
        ::dup2(null_fd, fd);
      ::execve(args[0], args.data(), envp.data());
      ::_exit(127);
    }
    return pid_ > 0;
  }
  // Empty once the daemon's socket is bound to 127.0.0.1 and the port, as the kernel lists
  // them (datagrams sent from then on wait for it), else why not within `seconds`.
  std::string WaitUntilBound(const std::string& name, int seconds = 30) {
    char bound[32];
    std::snprintf(bound, sizeof bound, "0100007F:%04X", port_);
    for (int i = 0; i < seconds * 20; ++i) {
      if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
        pid_ = -1;
        return name + " exited (is " + name + " installed?); see " + folder_;
      }
      std::ifstream udp("/proc/net/udp");
      for (std::string line; std::getline(udp, line);) {
        if (line.find(bound) != std::string::npos)
          return "";
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return name + " did not start within " + std::to_string(seconds) + " s";
  }

  std::string folder_;
  std::uint16_t port_ = 0;
  pid_t pid_ = -1;
};

class SnmpdProcess : public NetSnmpDaemon {
 public:
  // Empty when it started and answers; otherwise why not. `extra_conf` adds snmpd.conf lines.
  std::string Start(const std::string& extra_conf = "") {
    if (!Prepare("snmpd"))
      return "no temporary folder";
    const std::string conf = folder_ + "/snmpd.conf", log = folder_ + "/snmpd.log";
    // sysContact stays unset, so it can be written.
    std::ofstream(conf) << "rocommunity getcom 127.0.0.1\nrwcommunity setcomm 127.0.0.1\n"
                           "sysdescr Sondara test agent\nsyslocation Test bench\n"
                        << extra_conf;
    argv_ = {"/usr/sbin/snmpd", "-f", "-C", "-c", conf, "-Lf", log, Endpoint()};
    if (!Spawn(argv_, {}))
      return "snmpd could not be started";
    return WaitUntilBound("snmpd");
  }
  // Stops and restarts the daemon on its port with its state, as a device reboots (one more boot).
  std::string Restart() {
    ::kill(pid_, SIGTERM);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
    // -C reads no state on its own: what the daemon saved at its end is named beside the config.
    std::vector<std::string> argv = argv_;
    argv[4] += "," + folder_ + "/persist/snmpd.conf";
    if (!Spawn(argv, {}))
      return "snmpd could not be started again";
    return WaitUntilBound("snmpd");
  }

 private:
  std::vector<std::string> argv_;
};

}  // namespace testing_support
