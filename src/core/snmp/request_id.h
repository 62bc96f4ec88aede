// The request-identifier rule every page uses: identifiers run 0, 1, 2 ... per page and start
// again at 0 whenever the target changes or the counter has passed 255.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace snmp {

class CRequestIdCounter {
 public:
  // The identifier for the next request of operation `operation` (a page's own number, such as
  // get or set) with identifier text `id_text` (for example the OID). The counter restarts at 0
  // when it has passed 255, when host or second target differ from the previous request
  // (without regard to case), when the port differs, or when id_text differs (likewise) from
  // the one this operation used last.
  std::int32_t Next(const std::wstring& host, const std::wstring& second_target, std::uint16_t port,
                    int operation, const std::wstring& id_text);
  void Reset() { *this = CRequestIdCounter(); }

 private:
  std::int32_t counter_ = 0;
  std::wstring last_host_;
  std::wstring last_second_target_;
  std::uint16_t last_port_ = 0;
  std::map<int, std::wstring> last_id_text_;
};

}  // namespace snmp
