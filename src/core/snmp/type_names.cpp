#include "snmp/type_names.h"

#include "snmp/any_value.h"
#include "util/text.h"

namespace snmp {

namespace {

struct TypeName {
  std::wstring_view name;
  std::uint32_t tag;
};

constexpr TypeName kTypeNames[] = {
    {L"Integer32", kTagInteger32},
    {L"Octet String", kTagOctetString},
    {L"Null", kTagNull},
    {L"Object Identifier", kTagOid},
    {L"IPAddress", kTagIpAddress},
    {L"Counter32", kTagCounter32},
    {L"Gauge32", kTagGauge32},
    {L"Timeticks", kTagTimeTicks},
    {L"Opaque", kTagOpaque},
    {L"Counter64", kTagCounter64},
    {L"UInteger32", kTagUnsigned32},
    {L"noSuchObject", kTagNoSuchObject},
    {L"noSuchInstance", kTagNoSuchInstance},
    {L"endOfMibView", kTagEndOfMibView},
};

}  // namespace

std::wstring TimeTicksText(std::uint32_t ticks) {
  const std::uint32_t seconds = ticks / 100;
  const std::uint32_t days = seconds / 86400;
  const auto two = [](std::uint32_t n) { return (n < 10 ? L"0" : L"") + std::to_wstring(n); };
  std::wstring text = std::to_wstring(ticks) + L" (";
  if (days > 0)
    text += std::to_wstring(days) + (days == 1 ? L" day, " : L" days, ");
  return text + std::to_wstring(seconds / 3600 % 24) + L":" + two(seconds / 60 % 60) + L":" +
         two(seconds % 60) + L"." + two(ticks % 100) + L")";
}

std::wstring TypeNameOfTag(std::uint32_t tag) {
  for (const TypeName& t : kTypeNames) {
    if (t.tag == tag)
      return std::wstring(t.name);
  }
  return {};
}

std::uint32_t TagOfTypeName(std::wstring_view name) {
  for (const TypeName& t : kTypeNames) {
    if (tvkutil::EqualsNoCase(t.name, name))
      return t.tag;
  }
  return kTagOctetString;
}

bool IsValueTag(std::uint32_t tag) {
  return !TypeNameOfTag(tag).empty();
}

std::unique_ptr<CASNDataType> CreateValue(std::uint32_t tag) {
  return WithValueClass(tag, []<typename T>() -> std::unique_ptr<CASNDataType> {
    if constexpr (std::is_void_v<T>)
      return nullptr;
    else
      return std::make_unique<T>();
  });
}

std::unique_ptr<CASNDataType> CreateValue(std::uint32_t tag, std::wstring_view text) {
  return WithValueClass(tag, [text]<typename T>() -> std::unique_ptr<CASNDataType> {
    if constexpr (std::is_void_v<T>)
      return nullptr;
    else if constexpr (std::is_constructible_v<T, std::wstring_view>)
      return std::make_unique<T>(text);
    else
      return std::make_unique<T>();  // the Null family carries no text
  });
}

bool ValueToText(const CASNDataType& value, std::wstring& out_text) {
  switch (value.Tag()) {
    case kTagInteger32:
      out_text = std::to_wstring(static_cast<const CInteger32&>(value).Value());
      return true;
    case kTagOctetString:
    case kTagOpaque:
      out_text = static_cast<const COctetString&>(value).Text();
      return true;
    case kTagOid:
      return static_cast<const COid&>(value).ToText(out_text);
    case kTagIpAddress:
      out_text = static_cast<const CIPAddress&>(value).ToText();
      return true;
    case kTagCounter32:
    case kTagGauge32:
    case kTagTimeTicks:
    case kTagUnsigned32:
      out_text = std::to_wstring(static_cast<const CUnsigned32&>(value).Value());
      return true;
    case kTagCounter64:
      out_text = std::to_wstring(static_cast<const CCounter64&>(value).Value());
      return true;
    default:
      out_text.clear();
      return false;
  }
}

bool IsGenericTrapName(std::wstring_view name) {
  for (std::wstring_view n : kGenericTrapNames) {
    if (tvkutil::EqualsNoCase(n, name))
      return true;
  }
  return false;
}

std::int32_t GenericTrapNumber(std::wstring_view name) {
  for (std::int32_t i = 0; i < kEnterpriseSpecificTrap; ++i) {
    if (tvkutil::EqualsNoCase(kGenericTrapNames[static_cast<std::size_t>(i)], name))
      return i;
  }
  return kEnterpriseSpecificTrap;
}

}  // namespace snmp
