// CVarBind: a SEQUENCE of an object identifier and a value (tag 0x30).
#pragma once

#include <memory>
#include <string>

#include "snmp/asn_data_type.h"
#include "snmp/oid.h"

namespace snmp {

class CVarBind : public CASNDataType {
 public:
  CVarBind() : CASNDataType(kTagSequence) {}
  // Name from dotted text, value of the given tag from the value text. A tag that no value
  // type has leaves the value absent, and such a binding cannot be encoded.
  CVarBind(const std::wstring& name_text, std::uint32_t value_tag, const std::wstring& value_text);

  const COid* Name() const { return name_.get(); }
  const CASNDataType* Value() const { return value_.get(); }

  // The value as text (see ValueToText) and its tag; false for Null, the exception values or
  // an absent value.
  bool ValueText(std::wstring& out_text, std::uint32_t& out_tag) const;
  // Replaces the value by Null, as a request for the name carries it.
  void SetNullValue();

 protected:
  // Fails when the name or the value is absent.
  bool EncodeContent(CBerWriter& out) override;
  // Reads the name, then chooses the value's class by the tag it finds; a tag no value type
  // has gives kUnsupportedType.
  int DecodeContent(CBerReader& in) override;

 private:
  std::unique_ptr<COid> name_;
  std::unique_ptr<CASNDataType> value_;
};

}  // namespace snmp
