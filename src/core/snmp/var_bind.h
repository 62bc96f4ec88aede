// CVarBind: a SEQUENCE of an object identifier and a value (tag 0x30).
#pragma once

#include <string>
#include <string_view>

#include "snmp/any_value.h"
#include "snmp/asn_data_type.h"
#include "snmp/oid.h"

namespace snmp {

class CVarBind final : public CASNDataType {
 public:
  CVarBind() : CASNDataType(kTagSequence) {}
  // Name from dotted text, value of the given tag from the value text. A tag that no value
  // type has leaves the value absent, and such a binding cannot be encoded.
  CVarBind(std::wstring_view name_text, std::uint32_t value_tag, std::wstring_view value_text);

  const COid* Name() const { return has_name_ ? &name_ : nullptr; }
  const CASNDataType* Value() const { return value_.Get(); }

  // The value as text (see ValueToText) and its tag; false for Null, the exception values or
  // an absent value.
  bool ValueText(std::wstring& out_text, std::uint32_t& out_tag) const;
  // Replaces the value by Null, as a request for the name carries it.
  void SetNullValue() { value_.Set(kTagNull); }
  // Makes `out` this binding again, read back from this one's encoding: the same name and
  // value, byte for byte. False when it does not encode.
  bool CopyTo(CVarBind& out) const;

 protected:
  // Fails when the name or the value is absent.
  bool EncodeContent(CBerWriter& out) override;
  // Reads the name, then chooses the value's class by the tag it finds; a tag no value type
  // has gives kUnsupportedType.
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  // Both held in place; "absent" is a flag for the name and an empty slot for the value.
  COid name_;
  bool has_name_ = false;
  CAnyValue value_;
};

}  // namespace snmp
