// BER primitives shared by every SNMP object (X.690 basic encoding rules, definite lengths).
//
// Encoding runs backwards into a caller-owned buffer: the writer's cursor points at the last free
// byte, each byte is stored there and the cursor moves towards the start. Content goes first,
// then the length octets, then the identifier octet, so no length is known in advance and
// nothing is ever moved. Decoding runs forwards over a span that is consumed as it is read.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

#include "util/small_vector.h"

namespace snmp {

// What decoding found: kOk, or the first fault that stopped it.
enum class [[nodiscard]] BerStatus : std::uint8_t{
    kOk,
    kExhausted,        // fewer bytes remain than are needed
    kTrailing,         // bytes left inside an element after its last field, or after the message
    kWrongTag,         // identifier octet differs from the expected one
    kBadLength,        // a length out of the range the content type accepts
    kUnsupportedType,  // a binding's value has a tag no value type has
};

// Backwards writer over [buffer_start, cursor]. The free count is signed on purpose: one length
// rule (below) lowers it before checking it.
class CBerWriter {
 public:
  // `last` points at the last byte of the buffer; `free_count` is how many bytes may be written.
  CBerWriter(std::uint8_t* last, std::int32_t free_count) : cursor_(last), free_(free_count) {}

  // Stores one byte at the cursor; false when no byte is free.
  [[nodiscard]] bool PutByte(std::uint8_t b) {
    if (free_ < 1)
      return false;
    *cursor_-- = b;
    --free_;
    return true;
  }
  // Stores bytes so that the last one lands at the cursor; false when they do not fit.
  [[nodiscard]] bool PutBytes(const std::uint8_t* bytes, std::uint32_t bytes_len) {
    std::uint8_t* room = Reserve(bytes_len);
    if (room == nullptr)
      return false;
    if (bytes_len != 0)
      std::memcpy(room, bytes, bytes_len);
    return true;
  }
  // Room for `count` bytes in front of what is written so far, as if each had been put: the
  // first of them, to be filled forwards, or null (and nothing changed) when they do not fit.
  [[nodiscard]] std::uint8_t* Reserve(std::uint32_t count) {
    if (free_ < 0 || static_cast<std::uint32_t>(free_) < count)
      return nullptr;
    cursor_ -= count;
    free_ -= static_cast<std::int32_t>(count);
    return cursor_ + 1;
  }

  // Identifier octet (only single-octet tags exist here).
  [[nodiscard]] bool PutTag(std::uint32_t tag) { return PutByte(static_cast<std::uint8_t>(tag)); }
  // Length octets, minimal definite form (X.690 8.1.3). Long form keeps one byte of slack: the
  // last two bytes need three free bytes.
  [[nodiscard]] bool PutLength(std::uint32_t len) {
    return len <= 127 ? PutByte(static_cast<std::uint8_t>(len)) : PutLongLength(len);
  }

  // The first byte written so far (one after the cursor) and the free count left.
  const std::uint8_t* Begin() const { return cursor_ + 1; }
  std::int32_t FreeCount() const { return free_; }

 private:
  [[nodiscard]] bool PutLongLength(std::uint32_t len);

  std::uint8_t* cursor_;
  std::int32_t free_;
};

// How length octets are read. The codec takes 0x80 (the indefinite form, which SNMP never
// sends) as length 0, as replies have always been taken; the decoded message view refuses it by
// name.
enum class BerLengths : std::uint8_t { kLenient, kStrict };

// An element's identifier and length octets as read, or what stopped them being read.
struct BerHeader {
  enum class Fault : std::uint8_t {
    kNone,
    kNoIdentifier,         // nothing left
    kNoLength,             // the identifier octet is the last byte
    kIndefinite,           // 0x80, under BerLengths::kStrict
    kLengthOctetsPastEnd,  // 0x8n with fewer than n bytes left
    kLengthTooWide,        // a length above 2^32-1
    kContentPastEnd,       // the content runs past what is left
  };
  std::uint8_t tag = 0;
  std::uint32_t length_octets = 0;  // n of a long form 0x8n, 0 for the short form
  std::uint32_t length = 0;         // the content's length
  Fault fault = Fault::kNone;

  // Identifier and length octets.
  std::uint32_t Size() const { return 2 + length_octets; }
};

// Forward reader over a span; every successful read consumes what it read.
class CBerReader {
 public:
  CBerReader(const std::uint8_t* data, std::int32_t remain)
      : cursor_(data), remain_(remain < 0 ? 0 : remain) {}

  std::int32_t Remaining() const { return remain_; }
  bool Empty() const { return remain_ <= 0; }
  const std::uint8_t* Cursor() const { return cursor_; }

  // Next byte without consuming it; false when nothing remains.
  [[nodiscard]] bool Peek(std::uint8_t& out_byte) const {
    if (remain_ <= 0)
      return false;
    out_byte = *cursor_;
    return true;
  }
  // Consumes one byte; kExhausted when nothing remains.
  [[nodiscard]] BerStatus GetByte(std::uint8_t& out_byte) {
    if (remain_ <= 0)
      return BerStatus::kExhausted;
    out_byte = *cursor_++;
    --remain_;
    return BerStatus::kOk;
  }
  // Consumes `len` bytes; kExhausted (and nothing consumed) when fewer remain.
  [[nodiscard]] BerStatus Skip(std::uint32_t len) {
    return Take(len) != nullptr ? BerStatus::kOk : BerStatus::kExhausted;
  }
  // Consumes `len` bytes and answers where they start; null (and nothing consumed) when fewer
  // remain.
  [[nodiscard]] const std::uint8_t* Take(std::uint32_t len) {
    if (static_cast<std::int64_t>(len) > remain_)
      return nullptr;
    const std::uint8_t* taken = cursor_;
    cursor_ += len;
    remain_ -= static_cast<std::int32_t>(len);
    return taken;
  }

  // Identifier octet: kExhausted if none, kWrongTag if it is not `tag`.
  [[nodiscard]] BerStatus ExpectTag(std::uint32_t tag) {
    std::uint8_t b = 0;
    if (GetByte(b) != BerStatus::kOk)
      return BerStatus::kExhausted;
    return b == static_cast<std::uint8_t>(tag) && tag <= 0xFF ? BerStatus::kOk
                                                              : BerStatus::kWrongTag;
  }
  // Length octets (X.690 8.1.3) into out_len. Up to four significant bytes; leading zero bytes
  // beyond four are skipped, a non-zero one gives kBadLength. 0x80 (the indefinite form) is
  // read as length 0 on purpose.
  [[nodiscard]] BerStatus GetLength(std::uint32_t& out_len) {
    if (remain_ > 0 && *cursor_ < 0x80) {  // the short form, by far the most common
      out_len = *cursor_++;
      --remain_;
      return BerStatus::kOk;
    }
    return GetLongLength(out_len);
  }

  // Identifier and length octets of the next element, whatever its tag, checked against what
  // is left for its content; on success they are consumed and the content is next. Otherwise
  // nothing is consumed and out.fault says why: kExhausted or kBadLength.
  [[nodiscard]] BerStatus ReadHeader(BerHeader& out, BerLengths rules);

  // Splits off the next `len` bytes as their own reader and consumes them here.
  [[nodiscard]] BerStatus Split(std::uint32_t len, CBerReader& out_child) {
    if (static_cast<std::int64_t>(len) > remain_)
      return BerStatus::kExhausted;
    out_child = CBerReader(cursor_, static_cast<std::int32_t>(len));
    return Skip(len);
  }

 private:
  [[nodiscard]] BerStatus GetLongLength(std::uint32_t& out_len);
  // Length octets into out (length_octets, length, fault), consumed only on success.
  [[nodiscard]] BerStatus ReadLength(BerHeader& out, BerLengths rules);

  const std::uint8_t* cursor_;
  std::int32_t remain_;
};

// True when a content of `len` bytes does not fit in what the reader has left.
inline bool ExceedsInput(std::uint32_t len, const CBerReader& in) {
  return static_cast<std::int64_t>(len) > in.Remaining();
}

// An identifier's arcs, in place up to a length that covers nearly every name a MIB has.
inline constexpr std::size_t kMaxOidArcs = 128;
using COidArcs = tvkutil::CSmallVector<std::uint32_t, 32>;

// Content codecs of the primitive types. Each encoder reports the content length it wrote.
[[nodiscard]] bool EncodeSignedContent(CBerWriter& out, std::int32_t value, std::uint32_t& out_len);
[[nodiscard]] bool EncodeUnsignedContent(CBerWriter& out, std::uint64_t value,
                                         std::uint32_t& out_len);
// Signed INTEGER content of `len` bytes: 1 to 5 bytes and a value that fits in 32 bits (a
// fifth byte only as the sign of the other four), else kBadLength.
[[nodiscard]] BerStatus DecodeSignedContent(CBerReader& in, std::uint32_t len,
                                            std::int32_t& out_value);
// Unsigned 32-bit content: 1 to 5 bytes, a fifth only as a leading 00 (0xFFFFFFFF is
// 00 FF FF FF FF); anything wider gives kBadLength.
[[nodiscard]] BerStatus DecodeUnsignedContent(CBerReader& in, std::uint32_t len,
                                              std::uint32_t& out_value);
// Unsigned 64-bit content (Counter64): 1 to 9 bytes, a ninth only as a leading 00.
[[nodiscard]] BerStatus DecodeUnsigned64Content(CBerReader& in, std::uint32_t len,
                                                std::uint64_t& out_value);
// True when arcs can start an OBJECT IDENTIFIER (X.690 8.19.4): at least two, the first 0, 1 or
// 2, and the second below 40 under 0 or 1.
bool IsEncodableOid(std::span<const std::uint32_t> arcs);
// OBJECT IDENTIFIER content (X.690 8.19): the first sub-identifier is first arc * 40 + second,
// base 128 like the others, so 2.999 takes two bytes. Fails for arcs IsEncodableOid refuses.
[[nodiscard]] bool EncodeOidContent(CBerWriter& out, std::span<const std::uint32_t> arcs,
                                    std::uint32_t& out_len);
// At most kMaxOidArcs arcs; more gives kBadLength, and so does an arc above 2^32-1 or a last
// sub-identifier that runs past the content's length.
[[nodiscard]] BerStatus DecodeOidContent(CBerReader& in, std::uint32_t len, COidArcs& out_arcs);

}  // namespace snmp
