// A tiny BER builder for test inputs, so replies never come from the product's encoder.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace testing_support {

using Bytes = std::vector<std::uint8_t>;

inline Bytes Tlv(std::uint8_t tag, const Bytes& content) {
  Bytes out{tag};
  const std::size_t len = content.size();
  if (len < 0x80) {
    out.push_back(static_cast<std::uint8_t>(len));
  } else if (len < 0x100) {
    out.insert(out.end(), {0x81, static_cast<std::uint8_t>(len)});
  } else {
    out.insert(out.end(),
               {0x82, static_cast<std::uint8_t>(len >> 8), static_cast<std::uint8_t>(len)});
  }
  out.insert(out.end(), content.begin(), content.end());
  return out;
}

inline Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const auto& p : parts)
    out.insert(out.end(), p.begin(), p.end());
  return out;
}

// Non-negative integers below 2^23 are all the tests need.
inline Bytes Int(std::uint32_t v) {
  if (v < 0x80)
    return Tlv(0x02, {static_cast<std::uint8_t>(v)});
  if (v < 0x8000)
    return Tlv(0x02, {static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)});
  return Tlv(0x02, {static_cast<std::uint8_t>(v >> 16), static_cast<std::uint8_t>(v >> 8),
                    static_cast<std::uint8_t>(v)});
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
