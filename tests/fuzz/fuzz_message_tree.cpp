// Fuzz target: the transaction log's decoded tree stays inside the datagram, nests properly and
// ends in at most one damage node, which says what was wrong; a tree without damage covers
// every byte.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "snmp/message_tree.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const snmp::MessageTree tree = snmp::DecodeMessageTree(std::span(data, size));
  if (tree.nodes.empty())
    std::abort();
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const snmp::MessageNode& n = tree.nodes[i];
    const bool last = i + 1 == tree.nodes.size();
    if (std::size_t{n.offset} + n.size > size || (n.damage && (!last || n.value.empty())))
      std::abort();
    if (n.parent >= static_cast<int>(i) ||
        (n.parent >= 0 && n.depth != tree.nodes[static_cast<std::size_t>(n.parent)].depth + 1))
      std::abort();
    if (n.parent >= 0) {
      // A child lies within its parent's bytes.
      const snmp::MessageNode& p = tree.nodes[static_cast<std::size_t>(n.parent)];
      if (n.offset < p.offset || std::size_t{n.offset} + n.size > std::size_t{p.offset} + p.size)
        std::abort();
    }
  }
  if (tree.Damage() == nullptr && tree.nodes.front().size != size)
    std::abort();
  return 0;
}
