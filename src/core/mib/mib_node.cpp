#include "mib/mib_node.h"

namespace mib {

const char* KindName(NodeKind kind) {
  switch (kind) {
    case NodeKind::kNode:
      return "node";
    case NodeKind::kScalar:
      return "scalar";
    case NodeKind::kTable:
      return "table";
    case NodeKind::kRow:
      return "row";
    case NodeKind::kColumn:
      return "column";
    case NodeKind::kNotification:
      return "notification";
    case NodeKind::kGroup:
      return "group";
  }
  return "node";
}

}  // namespace mib
