// CVarBindList: the SEQUENCE OF bindings that is the payload of every PDU (tag 0x30).
#pragma once

#include <string>
#include <string_view>

#include "snmp/var_bind.h"

namespace snmp {

class CVarBindList : public CASNDataType {
 public:
  CVarBindList() : CASNDataType(kTagSequence) {}

  // Appends a binding built from text (see CVarBind).
  void Add(std::wstring_view name_text, std::uint32_t value_tag, std::wstring_view value_text);
  // The binding at a 1-based index; null below 1 or beyond the count.
  const CVarBind* Get(int index) const;
  int Count() const { return static_cast<int>(binds_.size()); }
  void RemoveAll() { binds_.clear(); }
  // Keeps only the binding at a 1-based index, its value replaced by Null: how a walk turns the
  // response it got into its next request. False (and nothing changed) without such a binding.
  bool KeepOnlyNameOf(int index);
  // Inserts a binding built from text so that it stands at the 1-based index (Count() + 1
  // appends); false, and nothing inserted, for any other index.
  bool Insert(int index, std::wstring_view name_text, std::uint32_t value_tag,
              std::wstring_view value_text);
  // Puts a binding built from text in place of the one at the 1-based index; false when there
  // is none.
  bool Replace(int index, std::wstring_view name_text, std::uint32_t value_tag,
               std::wstring_view value_text);
  // Removes the binding at the 1-based index; false when there is none.
  bool Remove(int index);
  // Replaces this list with new bindings made from the text of the other's bindings; the
  // second form takes only the first `count` of them.
  void CopyFrom(const CVarBindList& other) { CopyFrom(other, other.Count()); }
  void CopyFrom(const CVarBindList& other, int count);

 protected:
  bool EncodeContent(CBerWriter& out) override;
  // Reads bindings until the input ends, not until the list's own length does: the list is
  // always the last element of a PDU, so whatever follows it is read as further bindings.
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  // A request's few bindings live in place; a long answer's go to the heap.
  tvkutil::CSmallVector<CVarBind, 4> binds_;
};

}  // namespace snmp
