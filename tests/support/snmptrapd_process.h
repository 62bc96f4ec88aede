// A real net-snmp snmptrapd accepting every community and writing each trap as one line:
//   enterprise ~ agent address ~ generic ~ .specific ~ time stamp ~ varbind ~ varbind ...
// each varbind "OID = TYPE: value" with numeric OIDs; a v2c trap starts ". ~ 0.0.0.0 ~ 0 ~ 0 ~ 0".
#pragma once

#include <chrono>
#include <cstdio>
#include <sstream>
#include <thread>

#include "support/snmpd_process.h"

namespace testing_support {

class SnmptrapdProcess : public NetSnmpDaemon {
 public:
  // Empty when it started; otherwise why not. `extra_conf` adds snmptrapd.conf lines.
  std::string Start(const std::string& extra_conf = "") {
    if (!Prepare("snmptrapd"))
      return "no temporary folder";
    const std::string conf = folder_ + "/snmptrapd.conf";
    out_ = folder_ + "/traps.log";
    std::ofstream(conf) << "disableAuthorization yes\n" << extra_conf;
    if (!Spawn({"/usr/sbin/snmptrapd", "-f", "-C", "-c", conf, "-m", "", "-On", "-Lf", out_, "-F",
                "%V~%N~%a~%w~%q~%T~%v\n", Endpoint()},
               {"MIBS="}))
      return "snmptrapd could not be started";
    return WaitUntilBound("snmptrapd");
  }

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
  // The same, each split into its fields.
  std::vector<std::vector<std::string>> TrapFields(std::size_t count) const {
    std::vector<std::vector<std::string>> traps;
    for (const std::string& line : Traps(count)) {
      std::istringstream in(line);
      traps.emplace_back();
      for (std::string field; std::getline(in, field, '~');)
        traps.back().push_back(field);
    }
    return traps;
  }

 private:
  std::string out_;
};

}  // namespace testing_support
