// The fields of an SNMP request as a scripted agent reads them: a reader of its own, so that a
// fault in the product's decoder cannot hide a fault in its encoder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace testing_support {

struct ReadRequest {
  std::uint32_t version = 0;
  std::string community;
  std::uint8_t pdu = 0;
  std::uint32_t id = 0, second = 0, third = 0;  // error status/index, or GetBulk's two numbers
  std::vector<std::uint8_t> oid;                // content of the first binding's name
};

// Throws std::out_of_range when the bytes end early.
inline ReadRequest ReadRequestFields(const std::vector<std::uint8_t>& d) {
  std::size_t p = 0;
  const auto header = [&](std::size_t& len) {  // the tag; len gets the length, short or long
    const std::uint8_t tag = d.at(p++);
    len = d.at(p++);
    if ((len & 0x80) != 0) {
      const std::size_t count = len & 0x7F;
      len = 0;
      for (std::size_t i = 0; i < count; ++i)
        len = len << 8 | d.at(p++);
    }
    return tag;
  };
  const auto integer = [&] {
    std::size_t len = 0;
    header(len);
    std::uint32_t v = 0;
    while (len-- > 0)
      v = v << 8 | d.at(p++);
    return v;
  };
  const auto content = [&](std::size_t len) {
    d.at(p + len - (len > 0 ? 1 : 0));
    std::vector<std::uint8_t> out(d.begin() + static_cast<long>(p),
                                  d.begin() + static_cast<long>(p + len));
    p += len;
    return out;
  };
  ReadRequest r;
  std::size_t len = 0;
  header(len);  // the message
  r.version = integer();
  header(len);
  const std::vector<std::uint8_t> community = content(len);
  r.community.assign(community.begin(), community.end());
  r.pdu = header(len);
  r.id = integer();
  r.second = integer();
  r.third = integer();
  header(len);  // the binding list
  header(len);  // the first binding
  header(len);  // its name
  r.oid = content(len);
  return r;
}

}  // namespace testing_support
