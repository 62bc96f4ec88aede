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
  return HexPairsText({bytes, bytes_len});
}

std::wstring HexPairsText(std::span<const std::uint8_t> bytes) {
  static constexpr wchar_t kHex[] = L"0123456789abcdef";
  std::wstring text;
  text.reserve(bytes.size() * 3);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i != 0)
      text.push_back(L' ');
    text.push_back(kHex[bytes[i] >> 4]);
    text.push_back(kHex[bytes[i] & 0x0F]);
  }
  return text;
}

std::wstring COctetString::Text() const {
  if (received_)
    return OctetsToText(bytes_.data(), static_cast<std::uint32_t>(bytes_.size()));
  return tvkutil::FromUtf8Lenient(
      std::string_view(reinterpret_cast<const char*>(bytes_.data()), bytes_.size()));
}

void COctetString::SetText(std::wstring_view text) {
  received_ = false;
  bytes_.resize_uninitialized(text.size());
  std::uint8_t* out = bytes_.data();
  for (wchar_t c : text) {
    if (static_cast<std::uint32_t>(c) >= 0x80) {
      const std::string utf8 = tvkutil::ToUtf8(text);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
      bytes_.assign(bytes, bytes + utf8.size());
      return;
    }
    *out++ = static_cast<std::uint8_t>(c);  // ASCII, the common case, byte for byte
  }
}

bool COctetString::EncodeContent(CBerWriter& out) {
  const auto len = static_cast<std::uint32_t>(bytes_.size());
  if (!out.PutBytes(bytes_.data(), len))
    return false;
  SetContentLength(len);
  return true;
}

BerStatus COctetString::DecodeContent(CBerReader& in) {
  const std::uint32_t len = ContentLength();
  const std::uint8_t* bytes = in.Take(len);
  if (bytes == nullptr)
    return BerStatus::kExhausted;
  bytes_.assign(bytes, bytes + len);
  received_ = true;
  return BerStatus::kOk;
}

}  // namespace snmp
