// CPDU: the get, get-next, response, set, get-bulk and v2c-trap PDUs (RFC 1157 / RFC 3416 PDU
// layout): request-id, error-status, error-index, variable-bindings. A GetBulkRequest carries
// non-repeaters and max-repetitions where the others carry error-status and error-index.
#pragma once

#include "snmp/integer32.h"
#include "snmp/var_bind_list.h"

namespace snmp {

enum PduType : std::uint32_t {
  kPduGetRequest = 0xA0,
  kPduGetNextRequest = 0xA1,
  kPduResponse = 0xA2,
  kPduSetRequest = 0xA3,
  kPduTrapV1 = 0xA4,
  kPduGetBulkRequest = 0xA5,  // v2c only
  kPduTrapV2 = 0xA7,
};

class CPDU final : public CASNDataType {
 public:
  explicit CPDU(std::uint32_t pdu_type) : CASNDataType(pdu_type) {}

  void SetType(std::uint32_t pdu_type) { SetTag(pdu_type); }

  CInteger32& RequestId() { return request_id_; }
  const CInteger32& RequestId() const { return request_id_; }
  CInteger32& ErrorStatus() { return error_status_; }
  const CInteger32& ErrorStatus() const { return error_status_; }
  CInteger32& ErrorIndex() { return error_index_; }
  const CInteger32& ErrorIndex() const { return error_index_; }
  CVarBindList& VarBinds() { return varbinds_; }
  const CVarBindList& VarBinds() const { return varbinds_; }

 protected:
  bool EncodeContent(CBerWriter& out) override;
  // The members are read from this PDU's own content only, so bytes after it stay for the
  // message to find.
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  CInteger32 request_id_;
  CInteger32 error_status_;
  CInteger32 error_index_;
  CVarBindList varbinds_;
};

}  // namespace snmp
