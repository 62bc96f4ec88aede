// Fuzz target: the transaction log's decoded tree stays inside the datagram, nests properly and
// ends in at most one damage node, which says what was wrong; a tree without damage covers
// every byte. And it reads the datagram as the codec does: whatever the codec decodes, the tree
// shows without damage (bar the leniencies named below) and with the same version, community,
// PDU fields and bindings. SNMPv3 messages are held to the shape rules only.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "snmp/message_tree.h"
#include "snmp/snmp_message.h"

namespace {

using namespace snmp;

// What the codec takes on purpose and the view names: the indefinite length byte (read as 0),
// exception values in a version 1 message (the response check refuses them), content bytes of
// a Null (not read), and lengths the codec does not bound by: the PDU ends with the datagram,
// not with the message's length, and so do the bindings of a list and the fields of a binding
// (a field's content or its very length octets may run past its binding).
bool IsLeniency(const MessageNode& damage) {
  const std::wstring& v = damage.value;
  return v == L"indefinite length (0x80) is not allowed in SNMP" ||
         v.ends_with(L" in a version 1 message (SNMPv2 only)") ||
         v.ends_with(L" of content (none allowed)") ||
         v.find(L"runs past the end of the") != std::wstring::npos ||
         v.find(L"length octets run past the end of the") != std::wstring::npos ||
         v.find(L" after the end of the ") != std::wstring::npos ||
         v.find(L" ends before ") != std::wstring::npos;
}

// The first node named `field` after node `from`, or the end.
const MessageNode* Find(const MessageTree& tree, const wchar_t* field, std::size_t& from) {
  for (; from < tree.nodes.size(); ++from) {
    if (tree.nodes[from].field == field)
      return &tree.nodes[from++];
  }
  return nullptr;
}

void Check(bool same) {
  if (!same)
    std::abort();
}

// The first `field` shows `text`, or, for a number, starts with it before a space: "0 (noError)".
void Same(const MessageTree& tree, const wchar_t* field, const std::wstring& text,
          bool number = false) {
  std::size_t at = 0;
  const MessageNode* n = Find(tree, field, at);
  Check(n != nullptr && n->value.starts_with(text) &&
        (n->value.size() == text.size() || (number && n->value[text.size()] == L' ')));
}
void SameNumber(const MessageTree& tree, const wchar_t* field, std::int64_t number) {
  Same(tree, field, std::to_wstring(number), true);
}

void CompareFields(const MessageTree& tree, const CSNMPMessage& msg) {
  SameNumber(tree, L"version", msg.Version());
  Same(tree, L"community", msg.Community());
  std::size_t at = 0;
  const MessageNode* pdu = Find(tree, L"PDU", at);
  Check(pdu != nullptr && static_cast<std::uint32_t>(pdu->tag) == msg.PduType());
  if (msg.IsTrap()) {
    Same(tree, L"enterprise", msg.Enterprise());
    Same(tree, L"agent-addr", msg.AgentAddress());
    SameNumber(tree, L"generic-trap", msg.GenericTrap());
    SameNumber(tree, L"specific-trap", msg.SpecificTrap());
    SameNumber(tree, L"time-stamp", msg.TimeStamp());
  } else {
    const bool bulk = msg.PduType() == kPduGetBulkRequest;
    SameNumber(tree, L"request-id", msg.RequestId());
    SameNumber(tree, bulk ? L"non-repeaters" : L"error-status", msg.ErrorStatus());
    SameNumber(tree, bulk ? L"max-repetitions" : L"error-index", msg.ErrorIndex());
  }
  std::size_t names = 0, values = 0;
  for (int i = 1; i <= msg.VarBinds().Count(); ++i) {
    const CVarBind* bind = msg.GetVarBind(i);
    const MessageNode* name = Find(tree, L"name", names);
    const MessageNode* value = Find(tree, L"value", values);
    Check(name != nullptr && value != nullptr && bind->Name() != nullptr &&
          name->value == bind->Name()->Text());
    std::wstring text;
    std::uint32_t tag = 0;
    (void)bind->ValueText(text, tag);
    Check(value->value == text && static_cast<std::uint32_t>(value->tag) == tag);
  }
  Check(Find(tree, L"name", names) == nullptr);  // no binding the codec did not see
}

void CheckShape(const MessageTree& tree, std::size_t size) {
  Check(!tree.nodes.empty());
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    const MessageNode& n = tree.nodes[i];
    const bool last = i + 1 == tree.nodes.size();
    Check(std::size_t{n.offset} + n.size <= size && (!n.damage || (last && !n.value.empty())));
    Check(n.parent < static_cast<int>(i));
    if (n.parent >= 0) {
      // A child lies within its parent's bytes, one level below it.
      const MessageNode& p = tree.nodes[static_cast<std::size_t>(n.parent)];
      Check(n.depth == p.depth + 1 && n.offset >= p.offset &&
            std::size_t{n.offset} + n.size <= std::size_t{p.offset} + p.size);
    }
  }
  Check(tree.Damage() != nullptr || tree.nodes.front().size == size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> bytes(data, size);
  const MessageTree tree = DecodeMessageTree(bytes);
  CheckShape(tree, size);
  for (std::uint32_t type : {kPduGetRequest, kPduGetNextRequest, kPduResponse, kPduSetRequest,
                             kPduGetBulkRequest, kPduTrapV1, kPduTrapV2}) {
    CSNMPMessage msg(type);
    // Version 3 with a community is no message of either kind: the view reads msgVersion 3 as
    // RFC 3412's form, which the codec does not decode yet.
    if (msg.DecodeFrom(bytes) != BerStatus::kOk || msg.Version() == kSnmpVersion3)
      continue;
    if (const MessageNode* damage = tree.Damage())
      Check(IsLeniency(*damage));
    else
      CompareFields(tree, msg);
    // What the codec read, encoded again, shows in full and field for field.
    static std::vector<std::uint8_t> buffer(kMessageBufferLen);
    std::span<const std::uint8_t> encoded;
    Check(msg.EncodeInto(buffer, encoded));
    const MessageTree again = DecodeMessageTree(encoded);
    if (const MessageNode* damage = again.Damage())
      Check(damage->value.ends_with(L" in a version 1 message (SNMPv2 only)"));
    else
      CompareFields(again, msg);
  }
  return 0;
}
