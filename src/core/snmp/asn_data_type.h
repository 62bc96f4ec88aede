// CASNDataType: the root of every SNMP object (values, bindings, lists, PDUs, the message).
#pragma once

#include <cstdint>

#include "snmp/ber.h"

namespace snmp {

// BER identifier octets of the value types (one byte each).
enum AsnTag : std::uint32_t {
  kTagInteger32 = 0x02,
  kTagOctetString = 0x04,
  kTagNull = 0x05,
  kTagOid = 0x06,
  kTagSequence = 0x30,
  kTagIpAddress = 0x40,
  kTagCounter32 = 0x41,
  kTagGauge32 = 0x42,
  kTagTimeTicks = 0x43,
  kTagOpaque = 0x44,
  kTagCounter64 = 0x46,
  kTagUnsigned32 = 0x47,
  kTagNoSuchObject = 0x80,
  kTagNoSuchInstance = 0x81,
  kTagEndOfMibView = 0x82,
};

class CASNDataType {
 public:
  explicit CASNDataType(std::uint32_t tag) : tag_(tag) {}
  virtual ~CASNDataType() = default;
  CASNDataType(const CASNDataType&) = delete;
  CASNDataType& operator=(const CASNDataType&) = delete;

  std::uint32_t Tag() const { return tag_; }
  std::uint32_t ContentLength() const { return content_len_; }

  // Whole object, backwards: content, length octets, identifier octet. False as soon as the
  // writer runs out of room; the partly written buffer is then to be discarded.
  [[nodiscard]] bool Encode(CBerWriter& out) {
    return EncodeContent(out) && out.PutLength(content_len_) && out.PutTag(tag_);
  }
  // Whole object, forwards: identifier octet (must be this object's tag), length, content.
  // Returns kOk or the first fault; the object may be left partly filled.
  [[nodiscard]] BerStatus Decode(CBerReader& in) {
    if (const BerStatus r = in.ExpectTag(tag_); r != BerStatus::kOk)
      return r;
    if (const BerStatus r = in.GetLength(content_len_); r != BerStatus::kOk)
      return r;
    return DecodeContent(in);
  }

 protected:
  // Values are held in place (a binding's value slot, a list's bindings), so they move; a copy
  // through the base would slice.
  CASNDataType(CASNDataType&&) = default;
  CASNDataType& operator=(CASNDataType&&) = default;

  // The class's own content codecs. The encoder stores the content length it wrote; the
  // decoder reads the content whose length the length octets gave (content_len_).
  [[nodiscard]] virtual bool EncodeContent(CBerWriter& out) = 0;
  [[nodiscard]] virtual BerStatus DecodeContent(CBerReader& in) = 0;

  void SetContentLength(std::uint32_t len) { content_len_ = len; }
  void SetTag(std::uint32_t tag) { tag_ = tag; }
  // Bytes a constructed type's children wrote since the writer had `free_before` bytes free.
  static std::uint32_t WrittenSince(const CBerWriter& out, std::int32_t free_before) {
    return static_cast<std::uint32_t>(free_before - out.FreeCount());
  }

 private:
  std::uint32_t tag_;
  std::uint32_t content_len_ = 0;
};

}  // namespace snmp
