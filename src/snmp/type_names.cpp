#include "snmp/type_names.h"

#include "snmp/counter64.h"
#include "snmp/integer32.h"
#include "snmp/ip_address.h"
#include "snmp/null.h"
#include "snmp/octet_string.h"
#include "snmp/oid.h"
#include "snmp/unsigned32.h"
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
  switch (tag) {
    case kTagInteger32:
      return std::make_unique<CInteger32>();
    case kTagOctetString:
      return std::make_unique<COctetString>();
    case kTagNull:
      return std::make_unique<CNull>();
    case kTagOid:
      return std::make_unique<COid>();
    case kTagIpAddress:
      return std::make_unique<CIPAddress>();
    case kTagCounter32:
      return std::make_unique<CCounter32>();
    case kTagGauge32:
      return std::make_unique<CGauge32>();
    case kTagTimeTicks:
      return std::make_unique<CTimeTicks>();
    case kTagOpaque:
      return std::make_unique<COpaque>();
    case kTagCounter64:
      return std::make_unique<CCounter64>();
    case kTagUnsigned32:
      return std::make_unique<CUnsigned32>();
    case kTagNoSuchObject:
      return std::make_unique<CNoSuchObject>();
    case kTagNoSuchInstance:
      return std::make_unique<CNoSuchInstance>();
    case kTagEndOfMibView:
      return std::make_unique<CEndOfMibView>();
    default:
      return nullptr;
  }
}

std::unique_ptr<CASNDataType> CreateValue(std::uint32_t tag, const std::wstring& text) {
  switch (tag) {
    case kTagInteger32:
      return std::make_unique<CInteger32>(text);
    case kTagOctetString:
      return std::make_unique<COctetString>(text);
    case kTagOid:
      return std::make_unique<COid>(text);
    case kTagIpAddress:
      return std::make_unique<CIPAddress>(text);
    case kTagCounter32:
      return std::make_unique<CCounter32>(text);
    case kTagGauge32:
      return std::make_unique<CGauge32>(text);
    case kTagTimeTicks:
      return std::make_unique<CTimeTicks>(text);
    case kTagOpaque:
      return std::make_unique<COpaque>(text);
    case kTagCounter64:
      return std::make_unique<CCounter64>(text);
    case kTagUnsigned32:
      return std::make_unique<CUnsigned32>(text);
    default:
      return CreateValue(tag);  // the Null family carries no text
  }
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
