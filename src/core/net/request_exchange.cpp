#include "net/request_exchange.h"

#include "net/snmp_requester.h"

namespace net {

std::optional<snmp::ResponseCheck> ExchangeRequest(const std::wstring& host, std::uint16_t port,
                                   const UdpSettings& settings, std::wstring_view source,
                                   snmp::CSNMPMessage& request, snmp::CSNMPMessage& response,
                                   logs::ITransactionSink& sink, IUdpSocketOps* ops,
                                   std::stop_token stop) {
  CSnmpRequester requester(host, port, settings, std::wstring(source), sink, ops);
  return requester.Request(request, response, stop);
}

}  // namespace net
