// CAnyValue: one value of any type a binding can carry, held in place as a tagged union of the
// value classes, so a binding costs no allocation for its value.
#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>
#include <variant>

#include "snmp/counter64.h"
#include "snmp/integer32.h"
#include "snmp/ip_address.h"
#include "snmp/null.h"
#include "snmp/octet_string.h"
#include "snmp/oid.h"
#include "snmp/unsigned32.h"

namespace snmp {

// Calls fn.template operator()<Class>() with the value class of `tag`, or with void for a tag
// that no value class has. The one place that maps tags to classes.
template <typename Fn>
decltype(auto) WithValueClass(std::uint32_t tag, Fn&& fn) {
  switch (tag) {
    case kTagInteger32:
      return fn.template operator()<CInteger32>();
    case kTagOctetString:
      return fn.template operator()<COctetString>();
    case kTagNull:
      return fn.template operator()<CNull>();
    case kTagOid:
      return fn.template operator()<COid>();
    case kTagIpAddress:
      return fn.template operator()<CIPAddress>();
    case kTagCounter32:
      return fn.template operator()<CCounter32>();
    case kTagGauge32:
      return fn.template operator()<CGauge32>();
    case kTagTimeTicks:
      return fn.template operator()<CTimeTicks>();
    case kTagOpaque:
      return fn.template operator()<COpaque>();
    case kTagCounter64:
      return fn.template operator()<CCounter64>();
    case kTagUnsigned32:
      return fn.template operator()<CUnsigned32>();
    case kTagNoSuchObject:
      return fn.template operator()<CNoSuchObject>();
    case kTagNoSuchInstance:
      return fn.template operator()<CNoSuchInstance>();
    case kTagEndOfMibView:
      return fn.template operator()<CEndOfMibView>();
    default:
      return fn.template operator()<void>();
  }
}

class CAnyValue {
 public:
  // An empty value of the tag's class; false, and no value, for a tag no class has.
  bool Set(std::uint32_t tag) {
    return WithValueClass(tag, [this]<typename T>() {
      if constexpr (std::is_void_v<T>) {
        value_.template emplace<std::monostate>();
        return false;
      } else {
        value_.template emplace<T>();
        return true;
      }
    });
  }
  // A value of the tag's class built from the user's text (the Null family ignores the text).
  bool Set(std::uint32_t tag, std::wstring_view text) {
    return WithValueClass(tag, [this, text]<typename T>() {
      if constexpr (std::is_void_v<T>) {
        value_.template emplace<std::monostate>();
        return false;
      } else if constexpr (std::is_constructible_v<T, std::wstring_view>) {
        value_.template emplace<T>(text);
        return true;
      } else {
        value_.template emplace<T>();
        return true;
      }
    });
  }
  void Reset() { value_.template emplace<std::monostate>(); }

  // The value, or null when there is none.
  CASNDataType* Get() { return std::visit(AsBase{}, value_); }
  const CASNDataType* Get() const { return std::visit(AsBase{}, value_); }

 private:
  struct AsBase {
    CASNDataType* operator()(std::monostate&) const { return nullptr; }
    const CASNDataType* operator()(const std::monostate&) const { return nullptr; }
    CASNDataType* operator()(CASNDataType& v) const { return &v; }
    const CASNDataType* operator()(const CASNDataType& v) const { return &v; }
  };

  std::variant<std::monostate, CInteger32, COctetString, COpaque, CNull, CNoSuchObject,
               CNoSuchInstance, CEndOfMibView, COid, CIPAddress, CCounter32, CGauge32, CTimeTicks,
               CUnsigned32, CCounter64>
      value_;
};

}  // namespace snmp
