// A real net-snmp snmptrapd accepting every community (unless told otherwise) and writing each
// trap as one line:
//   enterprise ~ agent address ~ generic ~ .specific ~ time stamp ~ varbind ~ varbind ...
// each varbind "OID = TYPE: value" with numeric OIDs; a v2c trap starts ". ~ 0.0.0.0 ~ 0 ~ 0 ~ 0".
#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <sstream>
#include <thread>

#include "support/snmpd_process.h"

namespace testing_support {

// The engine ID our traps go out from, for snmptrapd's createUser -e, by hand: RFC 3411 text
// format under enterprise 59871 (80 00 e9 df 04), "sondara@" and the host name, 27 bytes at most.
inline std::string OurEngineIdHex() {
  char host[256] = {};
  ::gethostname(host, sizeof host - 1);
  std::string engine = "0x8000e9df04";
  for (const char c : (std::string("sondara@") + host).substr(0, 27)) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned char>(c));
    engine += pair;
  }
  return engine;
}

class SnmptrapdProcess : public NetSnmpDaemon {
 public:
  // Empty when it started; otherwise why not. `extra_conf` adds snmptrapd.conf lines; without
  // `accept_all` only what they authorise is written.
  std::string Start(const std::string& extra_conf = "", bool accept_all = true) {
    if (!Prepare("snmptrapd"))
      return "no temporary folder";
    const std::string conf = folder_ + "/snmptrapd.conf";
    out_ = folder_ + "/traps.log";
    std::ofstream(conf) << (accept_all ? "disableAuthorization yes\n" : "") << extra_conf;
    if (!Spawn({"/usr/sbin/snmptrapd", "-f", "-C", "-c", conf, "-m", "", "-On", "-Lf", out_, "-F",
                "%V~%N~%a~%w~%q~%T~%v\n", Endpoint()},
               {"MIBS="}))
      return "snmptrapd could not be started";
    return WaitUntilBound("snmptrapd");
  }

  // The traps written so far, each split at '~', waiting up to 10 s for at least `count`.
  std::vector<std::vector<std::string>> TrapFields(std::size_t count) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;) {
      std::vector<std::vector<std::string>> traps;
      std::ifstream in(out_);
      for (std::string line; std::getline(in, line);) {
        if (line.find('~') == std::string::npos)
          continue;
        std::istringstream fields(line);
        traps.emplace_back();
        for (std::string field; std::getline(fields, field, '~');)
          traps.back().push_back(field);
      }
      if (traps.size() >= count || std::chrono::steady_clock::now() >= deadline)
        return traps;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

 private:
  std::string out_;
};

}  // namespace testing_support
