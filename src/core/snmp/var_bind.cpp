#include "snmp/var_bind.h"

#include <vector>

#include "snmp/ber.h"
#include "snmp/type_names.h"

namespace snmp {

CVarBind::CVarBind(std::wstring_view name_text, std::uint32_t value_tag,
                   std::wstring_view value_text)
    : CASNDataType(kTagSequence), name_(name_text), has_name_(true) {
  value_.Set(value_tag, value_text);
}

bool CVarBind::ValueText(std::wstring& out_text, std::uint32_t& out_tag) const {
  const CASNDataType* value = value_.Get();
  if (value == nullptr) {
    out_text.clear();
    out_tag = 0;
    return false;
  }
  out_tag = value->Tag();
  return ValueToText(*value, out_text);
}

bool CVarBind::EncodeContent(CBerWriter& out) {
  CASNDataType* value = value_.Get();
  if (!has_name_ || value == nullptr)
    return false;
  const std::int32_t free_before = out.FreeCount();
  // Backwards: the value first, so the name comes first on the wire.
  if (!value->Encode(out) || !name_.Encode(out))
    return false;
  SetContentLength(WrittenSince(out, free_before));
  return true;
}

BerStatus CVarBind::DecodeContent(CBerReader& in) {
  if (ExceedsInput(ContentLength(), in))
    return BerStatus::kExhausted;
  // The name's arcs are overwritten in place; an old value goes as soon as the name fails.
  has_name_ = true;
  if (const BerStatus r = name_.Decode(in); r != BerStatus::kOk) {
    value_.Reset();
    return r;
  }
  std::uint8_t tag = 0;
  if (!in.Peek(tag)) {
    value_.Reset();
    return BerStatus::kExhausted;
  }
  if (!value_.Set(tag))
    return BerStatus::kUnsupportedType;
  return value_.Get()->Decode(in);
}

bool CVarBind::CopyTo(CVarBind& out) const {
  // Encoding only records the lengths it works out, the same ones each time.
  auto& self = const_cast<CVarBind&>(*this);
  for (std::size_t size = 256; size <= 65536; size *= 4) {
    std::vector<std::uint8_t> buffer(size);
    CBerWriter writer(&buffer.back(), static_cast<std::int32_t>(size));
    if (!self.Encode(writer))
      continue;
    CBerReader reader(writer.Begin(), static_cast<std::int32_t>(size) - writer.FreeCount());
    return out.Decode(reader) == BerStatus::kOk;
  }
  return false;
}

}  // namespace snmp
