// COid: OBJECT IDENTIFIER (tag 6), an ordered list of unsigned 32-bit arcs.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "snmp/asn_data_type.h"

namespace snmp {

// Appends ".1.3.6.1" for `arcs`, each an unsigned decimal.
void AppendArcsText(std::wstring& text, std::span<const std::uint32_t> arcs);

class COid final : public CASNDataType {
 public:
  COid() : CASNDataType(kTagOid) {}
  // Dotted text; empty pieces are skipped, so ".1.3.6", "1.3.6" and "1..3.6" are the same
  // identifier. Each piece is read as an unsigned decimal; one above 4294967295 saturates
  // (callers validate the text first).
  explicit COid(std::wstring_view text) : COid() { SetFromText(text); }
  explicit COid(std::span<const std::uint32_t> arcs) : COid() {
    arcs_.assign(arcs.begin(), arcs.end());
  }

  void SetFromText(std::wstring_view text);
  // ".1.3.6.1" form, each arc an unsigned decimal. With fewer than two arcs, out_text is left as
  // it was and the answer is false.
  bool ToText(std::wstring& out_text) const;
  // ToText into an empty string.
  std::wstring Text() const;

  // Compared and ordered arc by arc.
  const COidArcs& Arcs() const { return arcs_; }
  bool operator==(const COid& other) const { return arcs_ == other.arcs_; }

 protected:
  // Fails for arcs that cannot start an identifier (IsEncodableOid), or with more than can be
  // decoded again (128).
  bool EncodeContent(CBerWriter& out) override;
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  COidArcs arcs_;
};

}  // namespace snmp
