// Values as their MIB node describes them: enumerations as "down(2)", BITS by the names of the
// bits that are set, OCTET STRINGs and integers by their DISPLAY-HINT (RFC 2579 3.1), units
// after the number.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "mib/mib_node.h"
#include "snmp/asn_data_type.h"
#include "snmp/var_bind.h"

namespace mib {

// Octets by an octet-format hint ("255a", "1x:", "2d-1d-1d,1d:1d:1d.1d,1a1d:1d"); nothing
// when the hint is not one.
std::optional<std::string> OctetsByHint(std::string_view hint,
                                        std::span<const std::uint8_t> octets);
// An integer by an integer-format hint ("d-2" is 1234 -> "12.34", "x", "o", "b").
std::optional<std::string> IntegerByHint(std::string_view hint, std::int64_t value);

// `value` as `node` describes it (UTF-8), or nothing when the node says nothing about such a
// value (another type, an exception value, TimeTicks): the caller then shows it as always.
std::optional<std::string> ValueText(const MibNode& node, const snmp::CASNDataType& value);

// A binding's value as names show it (UTF-8): an OID value by its name, any other by the node
// of the binding's name (ValueText) in CMibSet::Builtin(); nothing when neither says more.
std::optional<std::string> NamedValueText(const snmp::CVarBind& bind);
// The same for a value whose binding's node is already known (null when none is).
std::optional<std::string> NamedValueText(const snmp::CASNDataType& value, const MibNode* node);

}  // namespace mib
