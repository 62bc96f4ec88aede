// A tiny BER builder for test inputs, so replies never come from the product's encoder.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace testing_support {

using Bytes = std::vector<std::uint8_t>;

inline Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const auto& p : parts)
    out.insert(out.end(), p.begin(), p.end());
  return out;
}

// Definite lengths up to 0xFFFF.
inline Bytes Tlv(std::uint8_t tag, const Bytes& content) {
  const auto n = content.size();
  const auto b = [](std::size_t v) { return static_cast<std::uint8_t>(v); };
  return Cat({n < 0x80    ? Bytes{tag, b(n)}
              : n < 0x100 ? Bytes{tag, 0x81, b(n)}
                          : Bytes{tag, 0x82, b(n >> 8), b(n)},
              content});
}

// Non-negative integers, shortest form.
inline Bytes Int(std::uint32_t v) {
  Bytes content;
  do {
    content.insert(content.begin(), static_cast<std::uint8_t>(v));
    v >>= 8;
  } while (v != 0 || content.front() >= 0x80);
  return Tlv(0x02, content);
}

inline Bytes Str(std::string_view s) {
  return Tlv(0x04, Bytes(s.begin(), s.end()));
}

// A GetResponse: version, community, request id, status, index and the bindings as given.
inline Bytes Response(std::uint32_t version, std::string_view community, std::uint32_t request_id,
                      std::uint32_t status, std::uint32_t index, const Bytes& varbinds) {
  return Tlv(
      0x30, Cat({Int(version), Str(community),
                 Tlv(0xA2, Cat({Int(request_id), Int(status), Int(index), Tlv(0x30, varbinds)}))}));
}

inline Bytes VarBind(const Bytes& oid_content, const Bytes& value) {
  return Tlv(0x30, Cat({Tlv(0x06, oid_content), value}));
}

}  // namespace testing_support
