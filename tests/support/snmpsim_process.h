// snmpsim on 127.0.0.1 at a free port: a v3 agent not by net-snmp, whose "AES256" stretches keys
// the Reeder way as many switches do; its objects are under the context kSnmpsimContext.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/snmpd_process.h"

namespace testing_support {

inline constexpr char kSnmpsimContext[] = "recorded";

class SnmpsimProcess : public NetSnmpDaemon {
 public:
  // Empty when started, else why not; `snmprec`: "OID|tag|value" lines; `user_options`: --v3-*.
  std::string Start(const std::string& snmprec, const std::vector<std::string>& user_options) {
    if (!Prepare("snmpsim"))
      return "no temporary folder";
    const std::string data = folder_ + "/data", cache = folder_ + "/cache";
    std::filesystem::create_directories(data);
    std::filesystem::create_directories(cache);
    std::ofstream(data + "/" + kSnmpsimContext + ".snmprec") << snmprec;
    std::vector<std::string> argv = {"/usr/bin/snmpsimd",
                                     "--data-dir=" + data,
                                     "--cache-dir=" + cache,
                                     "--agent-udpv4-endpoint=127.0.0.1:" + std::to_string(port_),
                                     "--v3-only",
                                     "--logging-method=file:" + folder_ + "/snmpsim.log"};
    argv.insert(argv.end(), user_options.begin(), user_options.end());
    if (::geteuid() == 0) {
      // It refuses to run as root; the user it becomes must reach its folders.
      argv.insert(argv.end(), {"--process-user=nobody", "--process-group=nogroup"});
      for (const std::string& dir : {folder_, data, cache})
        ::chmod(dir.c_str(), 0777);
    }
    if (!Spawn(argv, {}))
      return "snmpsimd could not be started";
    // Python and its SNMP modules load slowly on a busy machine.
    return WaitUntilBound("snmpsimd", 60);
  }
};

}  // namespace testing_support
