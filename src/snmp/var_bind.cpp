#include "snmp/var_bind.h"

#include "snmp/type_names.h"

namespace snmp {

CVarBind::CVarBind(const std::wstring& name_text, std::uint32_t value_tag,
                   const std::wstring& value_text)
    : CASNDataType(kTagSequence),
      name_(std::make_unique<COid>(name_text)),
      value_(CreateValue(value_tag, value_text)) {}

bool CVarBind::ValueText(std::wstring& out_text, std::uint32_t& out_tag) const {
  if (value_ == nullptr) {
    out_text.clear();
    out_tag = 0;
    return false;
  }
  out_tag = value_->Tag();
  return ValueToText(*value_, out_text);
}

void CVarBind::SetNullValue() {
  value_ = CreateValue(kTagNull);
}

bool CVarBind::EncodeContent(CBerWriter& out) {
  if (name_ == nullptr || value_ == nullptr)
    return false;
  const std::int32_t free_before = out.FreeCount();
  // Backwards: the value first, so the name comes first on the wire.
  if (!value_->Encode(out) || !name_->Encode(out))
    return false;
  SetContentLength(WrittenSince(out, free_before));
  return true;
}

int CVarBind::DecodeContent(CBerReader& in) {
  if (ExceedsInput(ContentLength(), in))
    return kBerExhausted;
  name_ = std::make_unique<COid>();
  value_.reset();
  if (const int r = name_->Decode(in); r != kBerOk)
    return r;
  std::uint8_t tag = 0;
  if (!in.Peek(tag))
    return kBerExhausted;
  value_ = CreateValue(tag);
  if (value_ == nullptr)
    return kUnsupportedType;
  return value_->Decode(in);
}

}  // namespace snmp
