#include "snmp/var_bind_list.h"

namespace snmp {

void CVarBindList::Add(std::wstring_view name_text, std::uint32_t value_tag,
                       std::wstring_view value_text) {
  binds_.emplace_back(name_text, value_tag, value_text);
}

const CVarBind* CVarBindList::Get(int index) const {
  if (index < 1 || index > Count())
    return nullptr;
  return &binds_[static_cast<std::size_t>(index - 1)];
}

bool CVarBindList::KeepOnlyNameOf(int index) {
  if (index < 1 || index > Count())
    return false;
  if (index != 1)
    binds_[0] = std::move(binds_[static_cast<std::size_t>(index - 1)]);
  while (binds_.size() > 1)
    binds_.pop_back();
  binds_[0].SetNullValue();
  return true;
}

bool CVarBindList::Insert(int index, std::wstring_view name_text, std::uint32_t value_tag,
                          std::wstring_view value_text) {
  if (index < 1 || index > Count() + 1)
    return false;
  binds_.emplace_at(static_cast<std::size_t>(index - 1), name_text, value_tag, value_text);
  return true;
}

bool CVarBindList::Replace(int index, std::wstring_view name_text, std::uint32_t value_tag,
                           std::wstring_view value_text) {
  if (Get(index) == nullptr)
    return false;
  binds_[static_cast<std::size_t>(index - 1)] = CVarBind(name_text, value_tag, value_text);
  return true;
}

bool CVarBindList::Remove(int index) {
  if (Get(index) == nullptr)
    return false;
  binds_.erase_at(static_cast<std::size_t>(index - 1));
  return true;
}

void CVarBindList::CopyFrom(const CVarBindList& other, int count) {
  if (&other == this)
    return;
  RemoveAll();
  for (const CVarBind& bind : other.binds_) {
    if (Count() >= count)
      break;
    std::wstring name;
    if (bind.Name() != nullptr)
      (void)bind.Name()->ToText(name);
    std::wstring value;
    std::uint32_t tag = 0;
    (void)bind.ValueText(value, tag);
    Add(name, tag, value);
  }
}

bool CVarBindList::EncodeContent(CBerWriter& out) {
  const std::int32_t free_before = out.FreeCount();
  for (std::size_t i = binds_.size(); i-- > 0;) {
    if (!binds_[i].Encode(out))
      return false;
  }
  SetContentLength(WrittenSince(out, free_before));
  return true;
}

BerStatus CVarBindList::DecodeContent(CBerReader& in) {
  if (ExceedsInput(ContentLength(), in))
    return BerStatus::kExhausted;
  RemoveAll();
  while (!in.Empty()) {
    if (const BerStatus r = binds_.emplace_back().Decode(in); r != BerStatus::kOk) {
      binds_.pop_back();
      return r;
    }
  }
  return BerStatus::kOk;
}

}  // namespace snmp
