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

BerStatus CBerReader::GetLongLength(std::uint32_t& out_len) {
  BerHeader h;
  const BerStatus r = ReadLength(h, BerLengths::kLenient);
  out_len = h.length;
  return r;
}

BerStatus CBerReader::ReadLength(BerHeader& out, BerLengths rules) {
  using Fault = BerHeader::Fault;
  CBerReader at = *this;
  std::uint8_t first = 0;
  if (at.GetByte(first) != BerStatus::kOk) {
    out.fault = Fault::kNoLength;
    return BerStatus::kExhausted;
  }
  out.length_octets = 0;
  out.length = first;
  if (first < 0x80) {
    *this = at;
    return BerStatus::kOk;
  }
  if (first == 0x80 && rules == BerLengths::kStrict) {
    out.length = 0;
    out.fault = Fault::kIndefinite;
    return BerStatus::kBadLength;
  }
  const std::uint32_t n = first & 0x7Fu;
  out.length_octets = n;
  out.length = 0;
  const std::uint8_t* octets = at.Take(n);
  if (octets == nullptr) {
    out.fault = Fault::kLengthOctetsPastEnd;
    return BerStatus::kExhausted;
  }
  // Leading zero octets are allowed however many there are; the value must fit in 32 bits.
  std::uint64_t len = 0;
  for (std::uint32_t i = 0; i < n; ++i) {
    len = (len << 8) | octets[i];
    if (len > 0xFFFFFFFFu) {
      out.fault = Fault::kLengthTooWide;
      return BerStatus::kBadLength;
    }
  }
  out.length = static_cast<std::uint32_t>(len);  // n == 0 (the byte 0x80) leaves 0
  *this = at;
  return BerStatus::kOk;
}

BerStatus CBerReader::ReadHeader(BerHeader& out, BerLengths rules) {
  out = BerHeader{};
  CBerReader at = *this;
  if (at.GetByte(out.tag) != BerStatus::kOk) {
    out.fault = BerHeader::Fault::kNoIdentifier;
    return BerStatus::kExhausted;
  }
  if (const BerStatus r = at.ReadLength(out, rules); r != BerStatus::kOk)
    return r;
  if (ExceedsInput(out.length, at)) {
    out.fault = BerHeader::Fault::kContentPastEnd;
    return BerStatus::kExhausted;
  }
  *this = at;
  return BerStatus::kOk;
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

BerStatus DecodeSignedContent(CBerReader& in, std::uint32_t len, std::int32_t& out_value) {
  if (ExceedsInput(len, in))
    return BerStatus::kExhausted;
  if (len == 0 || len > 5)
    return BerStatus::kBadLength;
  const std::uint8_t* bytes = in.Take(len);
  // A fifth byte may only repeat the sign of the four after it; anything else is wider than 32
  // bits and would be cut short.
  if (len == 5 && bytes[0] != ((bytes[1] & 0x80) != 0 ? 0xFF : 0x00))
    return BerStatus::kBadLength;
  std::uint32_t v = (bytes[0] & 0x80) != 0 ? 0xFFFFFFFFu : 0u;
  for (std::uint32_t i = 0; i < len; ++i)
    v = (v << 8) | bytes[i];
  out_value = static_cast<std::int32_t>(v);
  return BerStatus::kOk;
}

namespace {

// Unsigned content of `len` bytes into a value of `width` bytes; one more byte is allowed only
// as the leading 00 that keeps a top bit from reading as a sign.
template <typename T>
BerStatus DecodeUnsignedAs(CBerReader& in, std::uint32_t len, T& out_value) {
  constexpr std::uint32_t kWidth = sizeof(T);
  if (ExceedsInput(len, in))
    return BerStatus::kExhausted;
  if (len == 0 || len > kWidth + 1)
    return BerStatus::kBadLength;
  const std::uint8_t* bytes = in.Take(len);
  if (len == kWidth + 1 && bytes[0] != 0)
    return BerStatus::kBadLength;
  T v = 0;
  for (std::uint32_t i = 0; i < len; ++i)
    v = static_cast<T>((v << 8) | bytes[i]);  // the leading 00 of a ninth byte shifts out
  out_value = v;
  return BerStatus::kOk;
}

}  // namespace

BerStatus DecodeUnsignedContent(CBerReader& in, std::uint32_t len, std::uint32_t& out_value) {
  return DecodeUnsignedAs(in, len, out_value);
}

BerStatus DecodeUnsigned64Content(CBerReader& in, std::uint32_t len, std::uint64_t& out_value) {
  return DecodeUnsignedAs(in, len, out_value);
}

namespace {

// Bytes of one sub-identifier in base 128.
std::uint32_t Base128Length(std::uint64_t arc) {
  std::uint32_t n = 1;
  while ((arc >>= 7) != 0)
    ++n;
  return n;
}

// Base 128, most significant group first, continuation bit on all but the last.
std::uint8_t* PutBase128(std::uint8_t* out, std::uint64_t arc) {
  if (arc >= 0x80) {
    for (std::uint32_t shift = 7 * (Base128Length(arc) - 1); shift != 0; shift -= 7)
      *out++ = static_cast<std::uint8_t>(0x80 | ((arc >> shift) & 0x7F));
  }
  *out++ = static_cast<std::uint8_t>(arc & 0x7F);
  return out;
}

}  // namespace

bool IsEncodableOid(std::span<const std::uint32_t> arcs) {
  return arcs.size() >= 2 && arcs[0] <= 2 && (arcs[0] == 2 || arcs[1] < 40);
}

bool EncodeOidContent(CBerWriter& out, std::span<const std::uint32_t> arcs,
                      std::uint32_t& out_len) {
  if (!IsEncodableOid(arcs))
    return false;
  // 2.x may exceed 32 bits once 80 is added (X.690 8.19.4).
  const std::uint64_t first = std::uint64_t{arcs[0]} * 40 + arcs[1];
  std::uint32_t n = first < 0x80 ? 1 : Base128Length(first);
  for (std::size_t i = 2; i < arcs.size(); ++i)
    n += arcs[i] < 0x80 ? 1 : Base128Length(arcs[i]);
  std::uint8_t* room = out.Reserve(n);
  if (room == nullptr)
    return false;
  room = PutBase128(room, first);
  for (std::size_t i = 2; i < arcs.size(); ++i)
    room = PutBase128(room, arcs[i]);
  out_len = n;
  return true;
}

BerStatus DecodeOidContent(CBerReader& in, std::uint32_t len, COidArcs& out_arcs) {
  if (ExceedsInput(len, in))
    return BerStatus::kExhausted;
  if (len == 0)
    return BerStatus::kBadLength;
  const std::uint8_t* const start = in.Cursor();
  const std::uint8_t* const end = start + len;
  (void)in.Skip(len);  // cannot fail: the length was checked above
  // Each content byte after the first gives at most one arc.
  out_arcs.resize_uninitialized(len + 1 < kMaxOidArcs ? len + 1 : kMaxOidArcs);
  std::uint32_t* const arcs = out_arcs.data();
  const std::uint8_t* p = start;
  // The first sub-identifier holds two arcs; nearly always it is one byte.
  std::uint64_t first = *p++;
  if (first >= 0x80) {
    first &= 0x7F;
    for (std::uint8_t b = 0x80; (b & 0x80) != 0;) {
      if (p == end || first > (0xFFFFFFFFull + 80) >> 7) {
        out_arcs.clear();
        return BerStatus::kBadLength;
      }
      b = *p++;
      first = (first << 7) | (b & 0x7Fu);
    }
    if (first > 0xFFFFFFFFull + 80) {
      out_arcs.clear();
      return BerStatus::kBadLength;
    }
  }
  arcs[0] = first < 40 ? 0 : first < 80 ? 1 : 2;
  arcs[1] = static_cast<std::uint32_t>(first - 40 * arcs[0]);
  std::size_t count = 2;
  BerStatus result = BerStatus::kOk;
  while (p < end) {
    if (count >= kMaxOidArcs) {
      result = BerStatus::kBadLength;
      break;
    }
    std::uint32_t b = *p++;
    if (b < 0x80) {  // most arcs are one byte
      arcs[count++] = b;
      continue;
    }
    // A sub-identifier must end inside the content, and fit in 32 bits: no value before a
    // shift may reach 2^25.
    std::uint32_t arc = b & 0x7Fu;
    std::uint32_t before_shifts = 0;
    do {
      if (p == end) {
        result = BerStatus::kBadLength;
        break;
      }
      before_shifts |= arc;
      b = *p++;
      arc = (arc << 7) | (b & 0x7Fu);
    } while ((b & 0x80) != 0);
    if (result != BerStatus::kOk || (before_shifts >> 25) != 0) {
      result = BerStatus::kBadLength;
      break;
    }
    arcs[count++] = arc;
  }
  out_arcs.resize_uninitialized(count);
  return result;
}

}  // namespace snmp
