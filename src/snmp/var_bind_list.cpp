#include "snmp/var_bind_list.h"

namespace snmp {

void CVarBindList::Add(const std::wstring& name_text, std::uint32_t value_tag,
                       const std::wstring& value_text) {
  binds_.push_back(std::make_unique<CVarBind>(name_text, value_tag, value_text));
}

const CVarBind* CVarBindList::Get(int index) const {
  if (index < 1 || index > Count())
    return nullptr;
  return binds_[static_cast<std::size_t>(index - 1)].get();
}

bool CVarBindList::KeepOnlyNameOf(int index) {
  if (index < 1 || index > Count())
    return false;
  std::unique_ptr<CVarBind> kept = std::move(binds_[static_cast<std::size_t>(index - 1)]);
  kept->SetNullValue();
  binds_.clear();
  binds_.push_back(std::move(kept));
  return true;
}

bool CVarBindList::Insert(int index, const std::wstring& name_text, std::uint32_t value_tag,
                          const std::wstring& value_text) {
  if (index < 1 || index > Count() + 1)
    return false;
  binds_.insert(binds_.begin() + (index - 1),
                std::make_unique<CVarBind>(name_text, value_tag, value_text));
  return true;
}

bool CVarBindList::Replace(int index, const std::wstring& name_text, std::uint32_t value_tag,
                           const std::wstring& value_text) {
  if (Get(index) == nullptr)
    return false;
  binds_[static_cast<std::size_t>(index - 1)] =
      std::make_unique<CVarBind>(name_text, value_tag, value_text);
  return true;
}

bool CVarBindList::Remove(int index) {
  if (Get(index) == nullptr)
    return false;
  binds_.erase(binds_.begin() + (index - 1));
  return true;
}

void CVarBindList::CopyFrom(const CVarBindList& other, int count) {
  if (&other == this)
    return;
  RemoveAll();
  for (const auto& bind : other.binds_) {
    if (Count() >= count)
      break;
    std::wstring name;
    if (bind->Name() != nullptr)
      (void)bind->Name()->ToText(name);
    std::wstring value;
    std::uint32_t tag = 0;
    (void)bind->ValueText(value, tag);
    Add(name, tag, value);
  }
}

bool CVarBindList::EncodeContent(CBerWriter& out) {
  const std::int32_t free_before = out.FreeCount();
  for (auto it = binds_.rbegin(); it != binds_.rend(); ++it) {
    if (*it != nullptr && !(*it)->Encode(out))
      return false;
  }
  SetContentLength(WrittenSince(out, free_before));
  return true;
}

int CVarBindList::DecodeContent(CBerReader& in) {
  if (ExceedsInput(ContentLength(), in))
    return kBerExhausted;
  RemoveAll();
  while (!in.Empty()) {
    auto bind = std::make_unique<CVarBind>();
    if (const int r = bind->Decode(in); r != kBerOk)
      return r;
    binds_.push_back(std::move(bind));
  }
  return kBerOk;
}

}  // namespace snmp
