#include "snmp/request_id.h"

#include "util/text.h"

namespace snmp {

std::int32_t CRequestIdCounter::Next(const std::wstring& host, const std::wstring& second_target,
                                     std::uint16_t port, int operation,
                                     const std::wstring& id_text) {
  // Every condition is evaluated (not short-circuited) so that each remembered value is updated.
  bool restart = counter_ > 255;
  restart |= !tvkutil::EqualsNoCase(host, last_host_);
  restart |= !tvkutil::EqualsNoCase(second_target, last_second_target_);
  restart |= port != last_port_;
  std::wstring& last_id_text = last_id_text_[operation];  // empty before the first request
  restart |= !tvkutil::EqualsNoCase(last_id_text, id_text);
  last_host_ = host;
  last_second_target_ = second_target;
  last_port_ = port;
  last_id_text = id_text;
  if (restart)
    counter_ = 0;
  return counter_++;
}

}  // namespace snmp
