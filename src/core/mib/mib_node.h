// One node of a MIB module as this program knows it, whoever read it: the table built from the
// standard modules at build time, or a module file of the user's read through libsmi.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace mib {

enum class NodeKind : std::uint8_t {
  kNode,          // an OBJECT IDENTIFIER, OBJECT-IDENTITY or MODULE-IDENTITY: a place in the tree
  kScalar,        // an OBJECT-TYPE with one instance, .0
  kTable,         // SEQUENCE OF
  kRow,           // the table's entry: its INDEX names the instance
  kColumn,        // an OBJECT-TYPE in a row
  kNotification,  // NOTIFICATION-TYPE or TRAP-TYPE
  kGroup,         // OBJECT-GROUP, NOTIFICATION-GROUP, MODULE-COMPLIANCE, AGENT-CAPABILITIES
};

// "node", "scalar", "table", "row", "column", "notification", "group": as the MIB tree shows it.
const char* KindName(NodeKind kind);

struct MibNode {
  std::vector<std::uint32_t> oid;
  std::string module;  // "IF-MIB"
  std::string name;    // "ifOperStatus"
  NodeKind kind = NodeKind::kNode;
  // The base type as it goes on the wire: "INTEGER", "OCTET STRING", "OBJECT IDENTIFIER",
  // "Integer32", "Unsigned32", "Counter32", "Counter64", "Gauge32", "TimeTicks", "IpAddress",
  // "Opaque", "BITS"; empty for what has no value.
  std::string syntax;
  std::string type_name;     // the textual convention, "DisplayString"; empty when none
  std::string display_hint;  // RFC 2579 3.1, "255a", "1x:"; empty when none
  std::vector<std::pair<std::int64_t, std::string>> enums;  // or BITS' named bits
  std::string access;  // "read-only", "read-write", "read-create", "not-accessible",
                       // "accessible-for-notify"; empty for what has none
  std::string status;  // "current", "deprecated", "obsolete"
  std::string units;
  std::vector<std::string> index;  // a row's INDEX objects; "IMPLIED ifName" for the implied one
  std::string augments;            // the row this one AUGMENTS, when it does
  std::string description;

  bool operator==(const MibNode&) const = default;
};

}  // namespace mib
