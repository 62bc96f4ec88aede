#include "snmp/ber.h"

#include <algorithm>
#include <cstring>

namespace snmp {

bool CBerWriter::PutByte(std::uint8_t b) {
  if (free_ < 1)
    return false;
  *cursor_-- = b;
  --free_;
  return true;
}

bool CBerWriter::PutBytes(const std::uint8_t* bytes, std::uint32_t bytes_len) {
  if (free_ < 0 || static_cast<std::uint32_t>(free_) < bytes_len)
    return false;
  cursor_ -= bytes_len;
  if (bytes_len != 0)
    std::memcpy(cursor_ + 1, bytes, bytes_len);
  free_ -= static_cast<std::int32_t>(bytes_len);
  return true;
}

bool CBerWriter::PutLength(std::uint32_t len) {
  if (len <= 127)
    return PutByte(static_cast<std::uint8_t>(len));
  std::uint8_t count = 0;
  while (len > 255) {
    if (!PutByte(static_cast<std::uint8_t>(len)))
      return false;
    len >>= 8;
    ++count;
  }
  // The last length byte and the count byte need three free bytes, not two: one byte of slack
  // that the format has always kept.
  free_ -= 2;
  if (free_ < 1)
    return false;
  *cursor_-- = static_cast<std::uint8_t>(len);
  ++count;
  *cursor_-- = static_cast<std::uint8_t>(0x80 | count);
  return true;
}

bool CBerReader::Peek(std::uint8_t& out_byte) const {
  if (remain_ <= 0)
    return false;
  out_byte = *cursor_;
  return true;
}

int CBerReader::GetByte(std::uint8_t& out_byte) {
  if (remain_ <= 0)
    return kBerExhausted;
  out_byte = *cursor_++;
  --remain_;
  return kBerOk;
}

int CBerReader::Skip(std::uint32_t len) {
  if (ExceedsInput(len, *this))
    return kBerExhausted;
  cursor_ += len;
  remain_ -= static_cast<std::int32_t>(len);
  return kBerOk;
}

int CBerReader::ExpectTag(std::uint32_t tag) {
  std::uint8_t b = 0;
  if (GetByte(b) != kBerOk)
    return kBerExhausted;
  return b == static_cast<std::uint8_t>(tag) && tag <= 0xFF ? kBerOk : kBerWrongTag;
}

int CBerReader::GetLength(std::uint32_t& out_len) {
  out_len = 0;
  std::uint8_t first = 0;
  if (GetByte(first) != kBerOk)
    return kBerExhausted;
  if (first < 0x80) {
    out_len = first;
    return kBerOk;
  }
  std::uint32_t n = first & 0x7Fu;
  if (ExceedsInput(n, *this))
    return kBerExhausted;
  std::uint8_t b = 0;
  for (; n > 4; --n) {
    if (GetByte(b) != kBerOk)
      return kBerExhausted;
    if (b != 0)
      return kBerBadLength;
  }
  std::uint32_t len = 0;
  for (; n > 0; --n) {
    if (GetByte(b) != kBerOk)
      return kBerExhausted;
    len = (len << 8) | b;
  }
  out_len = len;  // n == 0 (the byte 0x80) leaves 0
  return kBerOk;
}

int CBerReader::Split(std::uint32_t len, CBerReader& out_child) {
  if (ExceedsInput(len, *this))
    return kBerExhausted;
  out_child = CBerReader(cursor_, static_cast<std::int32_t>(len));
  return Skip(len);
}

bool EncodeSignedContent(CBerWriter& out, std::int32_t value, std::uint32_t& out_len) {
  // Minimal two's complement (X.690 8.3.2): drop leading bytes that only repeat the sign.
  const std::int32_t fill = value < 0 ? -1 : 0;
  std::uint32_t n = 0;
  std::int32_t rest = value;
  std::uint8_t last = 0;
  do {
    last = static_cast<std::uint8_t>(rest);
    if (!out.PutByte(last))
      return false;
    ++n;
    rest >>= 8;  // arithmetic shift (C++20)
  } while (rest != fill);
  if (((last & 0x80) != 0) != (value < 0)) {
    if (!out.PutByte(static_cast<std::uint8_t>(fill)))
      return false;
    ++n;
  }
  out_len = n;
  return true;
}

bool EncodeUnsignedContent(CBerWriter& out, std::uint64_t value, std::uint32_t& out_len) {
  std::uint32_t n = 0;
  std::uint8_t last = 0;
  do {
    last = static_cast<std::uint8_t>(value);
    if (!out.PutByte(last))
      return false;
    ++n;
    value >>= 8;
  } while (value != 0);
  // An unsigned value whose top bit is set needs a zero in front, or it would read negative.
  if ((last & 0x80) != 0) {
    if (!out.PutByte(0))
      return false;
    ++n;
  }
  out_len = n;
  return true;
}

int DecodeSignedContent(CBerReader& in, std::uint32_t len, std::int32_t& out_value) {
  if (ExceedsInput(len, in))
    return kBerExhausted;
  if (len == 0 || len > 5)
    return kBerBadLength;
  std::uint8_t b = 0;
  (void)in.Peek(b);
  std::uint32_t v = (b & 0x80) != 0 ? 0xFFFFFFFFu : 0u;
  for (std::uint32_t i = 0; i < len; ++i) {
    (void)in.GetByte(b);
    v = (v << 8) | b;  // a fifth byte shifts the first out of the 32 bits
  }
  out_value = static_cast<std::int32_t>(v);
  return kBerOk;
}

int DecodeUnsignedContent(CBerReader& in, std::uint32_t len, std::uint32_t max_len,
                          std::uint32_t& out_value) {
  if (ExceedsInput(len, in))
    return kBerExhausted;
  if (len == 0 || len > max_len)
    return kBerBadLength;
  std::uint32_t v = 0;
  std::uint8_t b = 0;
  for (std::uint32_t i = 0; i < len; ++i) {
    (void)in.GetByte(b);
    v = (v << 8) | b;
  }
  out_value = v;
  return kBerOk;
}

bool EncodeOidContent(CBerWriter& out, const std::vector<std::uint32_t>& arcs,
                      std::uint32_t& out_len) {
  if (arcs.size() < 2)
    return false;
  std::uint32_t n = 0;
  for (std::size_t i = arcs.size(); i-- > 2;) {
    // Base 128, most significant group first on the wire, continuation bit on all but the last.
    std::uint32_t arc = arcs[i];
    if (!out.PutByte(static_cast<std::uint8_t>(arc & 0x7F)))
      return false;
    ++n;
    for (arc >>= 7; arc != 0; arc >>= 7) {
      if (!out.PutByte(static_cast<std::uint8_t>(0x80 | (arc & 0x7F))))
        return false;
      ++n;
    }
  }
  // The combined first sub-identifier is always exactly one byte; a sum above 255 wraps.
  if (!out.PutByte(static_cast<std::uint8_t>(arcs[0] * 40 + arcs[1])))
    return false;
  out_len = n + 1;
  return true;
}

int DecodeOidContent(CBerReader& in, std::uint32_t len, std::vector<std::uint32_t>& out_arcs) {
  if (ExceedsInput(len, in))
    return kBerExhausted;
  if (len == 0)
    return kBerBadLength;
  out_arcs.clear();
  // One allocation for the whole identifier: each content byte after the first gives at most
  // one arc.
  out_arcs.reserve(std::min<std::size_t>(len + 1, kMaxOidArcs));
  std::uint8_t b = 0;
  (void)in.GetByte(b);
  const auto first = static_cast<std::int8_t>(b);
  out_arcs.push_back(static_cast<std::uint32_t>(first / 40));
  out_arcs.push_back(static_cast<std::uint32_t>(first % 40));
  std::uint32_t consumed = 1;
  while (consumed < len) {
    if (out_arcs.size() >= kMaxOidArcs)
      return kBerBadLength;
    std::uint32_t arc = 0;
    do {
      // A sub-identifier may run past the content length, but never past the input.
      if (in.GetByte(b) != kBerOk)
        return kBerExhausted;
      ++consumed;
      arc = (arc << 7) | (b & 0x7Fu);
    } while ((b & 0x80) != 0);
    out_arcs.push_back(arc);
  }
  return kBerOk;
}

}  // namespace snmp
