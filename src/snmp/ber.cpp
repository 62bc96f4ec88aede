#include "snmp/ber.h"

namespace snmp {

bool CBerWriter::PutLongLength(std::uint32_t len) {
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

int CBerReader::GetLongLength(std::uint32_t& out_len) {
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

bool EncodeSignedContent(CBerWriter& out, std::int32_t value, std::uint32_t& out_len) {
  // Minimal two's complement (X.690 8.3.2): as few bytes as hold the value with its sign.
  const std::uint32_t n = value >= -0x80 && value < 0x80           ? 1
                          : value >= -0x8000 && value < 0x8000     ? 2
                          : value >= -0x800000 && value < 0x800000 ? 3
                                                                   : 4;
  std::uint8_t* room = out.Reserve(n);
  if (room == nullptr)
    return false;
  auto rest = static_cast<std::uint32_t>(value);
  for (std::uint32_t i = n; i-- > 0; rest >>= 8)
    room[i] = static_cast<std::uint8_t>(rest);
  out_len = n;
  return true;
}

bool EncodeUnsignedContent(CBerWriter& out, std::uint64_t value, std::uint32_t& out_len) {
  std::uint32_t n = 1;
  while (n < 8 && (value >> (8 * n)) != 0)
    ++n;
  // An unsigned value whose top bit is set needs a zero in front, or it would read negative.
  if (((value >> (8 * n - 8)) & 0x80) != 0)
    ++n;
  std::uint8_t* room = out.Reserve(n);
  if (room == nullptr)
    return false;
  for (std::uint32_t i = n; i-- > 0; value >>= 8)
    room[i] = static_cast<std::uint8_t>(value);
  out_len = n;
  return true;
}

int DecodeSignedContent(CBerReader& in, std::uint32_t len, std::int32_t& out_value) {
  if (ExceedsInput(len, in))
    return kBerExhausted;
  if (len == 0 || len > 5)
    return kBerBadLength;
  const std::uint8_t* bytes = in.Take(len);
  std::uint32_t v = (bytes[0] & 0x80) != 0 ? 0xFFFFFFFFu : 0u;
  for (std::uint32_t i = 0; i < len; ++i)
    v = (v << 8) | bytes[i];  // a fifth byte shifts the first out of the 32 bits
  out_value = static_cast<std::int32_t>(v);
  return kBerOk;
}

int DecodeUnsignedContent(CBerReader& in, std::uint32_t len, std::uint32_t max_len,
                          std::uint32_t& out_value) {
  if (ExceedsInput(len, in))
    return kBerExhausted;
  if (len == 0 || len > max_len)
    return kBerBadLength;
  const std::uint8_t* bytes = in.Take(len);
  std::uint32_t v = 0;
  for (std::uint32_t i = 0; i < len; ++i)
    v = (v << 8) | bytes[i];
  out_value = v;
  return kBerOk;
}

namespace {

// Bytes of one arc in base 128.
std::uint32_t Base128Length(std::uint32_t arc) {
  return arc < (1u << 7)    ? 1
         : arc < (1u << 14) ? 2
         : arc < (1u << 21) ? 3
         : arc < (1u << 28) ? 4
                            : 5;
}

}  // namespace

bool EncodeOidContent(CBerWriter& out, std::span<const std::uint32_t> arcs,
                      std::uint32_t& out_len) {
  if (arcs.size() < 2)
    return false;
  std::uint32_t n = 1;
  for (std::size_t i = 2; i < arcs.size(); ++i)
    n += Base128Length(arcs[i]);
  std::uint8_t* room = out.Reserve(n);
  if (room == nullptr)
    return false;
  // The combined first sub-identifier is always exactly one byte; a sum above 255 wraps.
  *room++ = static_cast<std::uint8_t>(arcs[0] * 40 + arcs[1]);
  for (std::size_t i = 2; i < arcs.size(); ++i) {
    // Base 128, most significant group first, continuation bit on all but the last.
    const std::uint32_t arc = arcs[i];
    if (arc >= 0x80) {
      for (std::uint32_t shift = 7 * (Base128Length(arc) - 1); shift != 0; shift -= 7)
        *room++ = static_cast<std::uint8_t>(0x80 | ((arc >> shift) & 0x7F));
    }
    *room++ = static_cast<std::uint8_t>(arc & 0x7F);
  }
  out_len = n;
  return true;
}

int DecodeOidContent(CBerReader& in, std::uint32_t len, COidArcs& out_arcs) {
  if (ExceedsInput(len, in))
    return kBerExhausted;
  if (len == 0)
    return kBerBadLength;
  const std::uint8_t* const start = in.Cursor();
  const std::uint8_t* const input_end = start + in.Remaining();
  const std::uint8_t* const content_end = start + len;
  // Each content byte after the first gives at most one arc.
  out_arcs.resize_uninitialized(len + 1 < kMaxOidArcs ? len + 1 : kMaxOidArcs);
  std::uint32_t* const arcs = out_arcs.data();
  const auto first = static_cast<std::int8_t>(*start);
  arcs[0] = static_cast<std::uint32_t>(first / 40);
  arcs[1] = static_cast<std::uint32_t>(first % 40);
  std::size_t count = 2;
  const std::uint8_t* p = start + 1;
  int result = kBerOk;
  while (p < content_end && result == kBerOk) {
    if (count >= kMaxOidArcs) {
      result = kBerBadLength;
      break;
    }
    std::uint32_t arc = 0;
    std::uint8_t b = 0;
    do {
      // A sub-identifier may run past the content length, but never past the input.
      if (p == input_end) {
        result = kBerExhausted;
        break;
      }
      b = *p++;
      arc = (arc << 7) | (b & 0x7Fu);
    } while ((b & 0x80) != 0);
    if (result == kBerOk)
      arcs[count++] = arc;
  }
  out_arcs.resize_uninitialized(count);
  (void)in.Skip(static_cast<std::uint32_t>(p - start));
  return result;
}

}  // namespace snmp
