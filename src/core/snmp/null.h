// CNull (tag 5) and the three v2c exception values that share its empty content.
#pragma once

#include "snmp/asn_data_type.h"

namespace snmp {

class CNull : public CASNDataType {
 public:
  CNull() : CASNDataType(kTagNull) {}

 protected:
  explicit CNull(AsnTag tag) : CASNDataType(tag) {}

  bool EncodeContent(CBerWriter& out) override;
  // Reads nothing: content bytes of a non-zero length are left for the next element to read.
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;
};

class CNoSuchObject : public CNull {
 public:
  CNoSuchObject() : CNull(kTagNoSuchObject) {}
};

class CNoSuchInstance : public CNull {
 public:
  CNoSuchInstance() : CNull(kTagNoSuchInstance) {}
};

class CEndOfMibView : public CNull {
 public:
  CEndOfMibView() : CNull(kTagEndOfMibView) {}
};

}  // namespace snmp
