#include "snmp/octet_string.h"

#include "util/text.h"

namespace snmp {

namespace {

bool IsShownAsText(wchar_t c) {
  if (c == L' ' || (c >= L'\t' && c <= L'\r'))
    return true;  // white space
  if (c < 0x20 || c == 0x7F)
    return false;               // C0 controls, DEL
  return c < 0x80 || c > 0x9F;  // C1 controls are not text
}

}  // namespace

std::wstring OctetsToText(const std::uint8_t* bytes, std::uint32_t bytes_len) {
  if (bytes_len == 0)
    return {};
  std::wstring text;
  if (tvkutil::FromUtf8(bytes, bytes_len, text)) {
    bool printable = true;
    for (std::size_t i = 0; i < text.size() && printable; ++i) {
      // A terminating zero, as some agents send, still counts as text.
      printable = IsShownAsText(text[i]) || (text[i] == 0 && i + 1 == text.size());
    }
    if (printable)
      return text;
  }
  static constexpr wchar_t kHex[] = L"0123456789abcdef";
  text.clear();
  text.reserve(bytes_len * 3);
  for (std::uint32_t i = 0; i < bytes_len; ++i) {
    if (i != 0)
      text.push_back(L' ');
    text.push_back(kHex[bytes[i] >> 4]);
    text.push_back(kHex[bytes[i] & 0x0F]);
  }
  return text;
}

bool COctetString::EncodeContent(CBerWriter& out) {
  const std::string bytes = tvkutil::ToUtf8(text_);
  const auto len = static_cast<std::uint32_t>(bytes.size());
  if (!out.PutBytes(reinterpret_cast<const std::uint8_t*>(bytes.data()), len))
    return false;
  SetContentLength(len);
  return true;
}

int COctetString::DecodeContent(CBerReader& in) {
  const std::uint32_t len = ContentLength();
  const std::uint8_t* bytes = in.Cursor();
  if (const int r = in.Skip(len); r != kBerOk)
    return r;
  text_ = OctetsToText(bytes, len);
  return kBerOk;
}

}  // namespace snmp
