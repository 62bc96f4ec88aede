// The two codec paths every request takes, shared by codec_bench and netsnmp_codec_bench so that
// both time exactly the same work: encoding a GetRequest for sysDescr.0 from its text, and
// decoding plus checking a one-binding GetResponse that carries an OCTET STRING of 60 bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "snmp/response_check.h"

namespace bench {

inline constexpr std::wstring_view kSysDescrText = L".1.3.6.1.2.1.1.1.0";
inline constexpr std::wstring_view kCommunity = L"getcom";
inline constexpr std::int32_t kReplyRequestId = 7;

class CCodecWork {
 public:
  CCodecWork()
      : buf_(snmp::kMessageBufferLen),
        request_(snmp::kSnmpVersion1, kCommunity, snmp::kPduGetRequest) {
    request_.SetRequestId(kReplyRequestId);
    request_.AddNullVarBind(kSysDescrText);
    snmp::CSNMPMessage reply(snmp::kSnmpVersion1, kCommunity, snmp::kPduResponse);
    reply.SetRequestId(kReplyRequestId);
    reply.AddVarBind(kSysDescrText, snmp::kTagOctetString,
                     L"Linux gateway-7 6.1.0-18-amd64 #1 SMP Debian x86_64 rack 4/2");
    std::span<const std::uint8_t> bytes;
    if (reply.EncodeInto(buf_, bytes))
      reply_.assign(bytes.begin(), bytes.end());
  }

  // A GetRequest built from text and encoded; the encoded size (0 when it failed).
  std::size_t EncodeGet(std::int32_t request_id) {
    snmp::CSNMPMessage get(snmp::kSnmpVersion1, kCommunity, snmp::kPduGetRequest);
    get.SetRequestId(request_id);
    get.AddNullVarBind(kSysDescrText);
    std::span<const std::uint8_t> out;
    return get.EncodeInto(buf_, out) ? out.size() : 0;
  }

  // The reply decoded into a fresh response and checked against the request; the check's result.
  snmp::ResponseCheck DecodeReply() const {
    snmp::CSNMPMessage response(snmp::kPduResponse);
    return snmp::ValidateResponse(reply_, response, request_);
  }

  // The GetResponse's bytes (version 1, community getcom, request id 7).
  const std::vector<std::uint8_t>& Reply() const { return reply_; }

 private:
  std::vector<std::uint8_t> buf_;
  snmp::CSNMPMessage request_;
  std::vector<std::uint8_t> reply_;
};

}  // namespace bench
