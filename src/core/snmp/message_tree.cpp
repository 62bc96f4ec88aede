#include "snmp/message_tree.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "snmp/ber.h"
#include "snmp/octet_string.h"
#include "snmp/pdu.h"
#include "snmp/snmp_message.h"
#include "snmp/type_names.h"

namespace snmp {

namespace {

constexpr std::uint8_t kFirstPduTag = 0xA0;
constexpr std::uint8_t kLastPduTag = 0xA8;
constexpr std::uint8_t kGetBulkTag = 0xA5;

constexpr std::array<std::wstring_view, 19> kErrorStatusNames = {L"noError",
                                                                 L"tooBig",
                                                                 L"noSuchName",
                                                                 L"badValue",
                                                                 L"readOnly",
                                                                 L"genErr",
                                                                 L"noAccess",
                                                                 L"wrongType",
                                                                 L"wrongLength",
                                                                 L"wrongEncoding",
                                                                 L"wrongValue",
                                                                 L"noCreation",
                                                                 L"inconsistentValue",
                                                                 L"resourceUnavailable",
                                                                 L"commitFailed",
                                                                 L"undoFailed",
                                                                 L"authorizationError",
                                                                 L"notWritable",
                                                                 L"inconsistentName"};

constexpr std::array<std::wstring_view, 4> kVersionNames = {L"SNMPv1", L"SNMPv2c", L"", L"SNMPv3"};

// msgSecurityModel numbers (RFC 3411 5, RFC 5591 for TSM).
constexpr std::array<std::wstring_view, 5> kSecurityModelNames = {L"any", L"SNMPv1", L"SNMPv2c",
                                                                  L"USM", L"TSM"};
constexpr std::int32_t kUsmModel = 3;

// msgFlags bits (RFC 3412 6.4).
constexpr std::uint8_t kAuthFlag = 0x01;
constexpr std::uint8_t kPrivFlag = 0x02;
constexpr std::uint8_t kReportableFlag = 0x04;

// PDU names by tag - 0xA0.
constexpr std::array<std::wstring_view, 9> kPduNames = {
    L"GetRequest",     L"GetNextRequest", L"Response",    L"SetRequest", L"Trap",
    L"GetBulkRequest", L"InformRequest",  L"SNMPv2-Trap", L"Report"};

std::wstring BerTypeName(std::uint8_t tag) {
  switch (tag) {
    case kTagInteger32:
      return L"INTEGER";
    case kTagOctetString:
      return L"OCTET STRING";
    case kTagNull:
      return L"NULL";
    case kTagOid:
      return L"OBJECT IDENTIFIER";
    case kTagSequence:
      return L"SEQUENCE";
    case kTagIpAddress:
      return L"IpAddress";
    case kTagCounter32:
      return L"Counter32";
    case kTagGauge32:
      return L"Gauge32";
    case kTagTimeTicks:
      return L"TimeTicks";
    case kTagOpaque:
      return L"Opaque";
    case kTagCounter64:
      return L"Counter64";
    case kTagUnsigned32:
      return L"UInteger32";
    case kTagNoSuchObject:
      return L"noSuchObject";
    case kTagNoSuchInstance:
      return L"noSuchInstance";
    case kTagEndOfMibView:
      return L"endOfMibView";
    default:
      if (tag >= kFirstPduTag && tag <= kLastPduTag)
        return std::wstring(kPduNames[tag - kFirstPduTag]) + L"-PDU";
      return {};
  }
}

std::wstring HexByte(std::uint8_t b) {
  static constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
  return {L'0', L'x', kDigits[b >> 4], kDigits[b & 0x0F]};
}

// "1 byte", "17 bytes".
std::wstring Counted(std::size_t n, std::wstring_view what) {
  std::wstring text = std::to_wstring(n);
  text.append(L" ").append(what);
  if (n != 1)
    text.push_back(L's');
  return text;
}

std::wstring Bytes(std::size_t n) {
  return Counted(n, L"byte");
}

std::wstring Named(std::int32_t number, std::wstring_view name) {
  std::wstring text = std::to_wstring(number);
  if (!name.empty())
    text.append(L" (").append(name).append(L")");
  return text;
}

// "0x05 (auth, reportable)".
std::wstring FlagsText(std::uint8_t flags) {
  std::wstring words;
  for (const auto& [bit, word] : {std::pair{kAuthFlag, L"auth"}, std::pair{kPrivFlag, L"priv"},
                                  std::pair{kReportableFlag, L"reportable"}}) {
    if ((flags & bit) == 0)
      continue;
    if (!words.empty())
      words += L", ";
    words += word;
  }
  // Privacy without authentication is not a level USM knows (RFC 3412 7.2, step 5).
  if ((flags & (kAuthFlag | kPrivFlag)) == kPrivFlag)
    words += L"; priv without auth is not allowed";
  return HexByte(flags) + L" (" + (words.empty() ? L"none" : words) + L")";
}

// An SnmpEngineID in hex and, in the RFC 3411 form (top bit set, enterprise number, format
// octet), what it says: "80 00 1f 88 04 6f 6e 65 (enterprise 8072, format 4: text 'one')".
std::wstring EngineIdText(std::span<const std::uint8_t> id) {
  std::wstring text = HexPairsText(id);
  if (id.size() < 5 || (id[0] & 0x80) == 0)
    return text;
  const std::uint32_t enterprise = (std::uint32_t{id[0] & 0x7Fu} << 24) |
                                   (std::uint32_t{id[1]} << 16) | (std::uint32_t{id[2]} << 8) |
                                   id[3];
  const std::uint8_t format = id[4];
  const std::span<const std::uint8_t> rest = id.subspan(5);
  std::wstring what;
  switch (format) {
    case 1:
      what = L"IPv4 address";
      if (rest.size() == 4) {
        what += L' ';
        for (std::size_t i = 0; i < 4; ++i)
          what += (i == 0 ? L"" : L".") + std::to_wstring(rest[i]);
      }
      break;
    case 2:
      what = L"IPv6 address";
      break;
    case 3:
      what = L"MAC address";
      break;
    case 4:
      what = L"text '" + OctetsToText(rest.data(), static_cast<std::uint32_t>(rest.size())) + L"'";
      break;
    case 5:
      what = L"octets";
      break;
    default:
      what = format < 128 ? L"reserved" : L"enterprise-specific";
      break;
  }
  return text + L" (enterprise " + std::to_wstring(enterprise) + L", format " +
         std::to_wstring(format) + L": " + what + L")";
}

class CTreeDecoder {
 public:
  CTreeDecoder(std::span<const std::uint8_t> bytes, const ScopedPduDecrypter& decrypt)
      : data_(bytes.data()), size_(bytes.size()), decrypt_(decrypt) {}

  MessageTree Run() {
    if (size_ == 0) {
      Fail(-1, 0, 0, L"message", L"the message is empty");
      return Result();
    }
    Span top{0, size_, -1, L"message"};
    Tlv m;
    if (!Element(top, L"message", Want::kTag, kTagSequence, m))
      return Result();
    Span msg{m.content, m.content + m.length, m.node, L"message"};
    if (!NamedInteger(msg, L"version", kVersionNames, &version_))
      return Result();
    bool whole = false;
    if (version_ == kSnmpVersion3) {
      nodes_.back().field = L"msgVersion";
      whole = V3Message(msg) && End(msg, L"msgData");
    } else {
      whole = Typed(msg, L"community", kTagOctetString) && Pdu(msg) && End(msg, L"PDU");
    }
    if (whole)
      End(top, L"message");
    return Result();
  }

 private:
  // The content of a constructed element, read from pos up to end.
  struct Span {
    std::size_t pos;
    std::size_t end;
    int node;
    std::wstring name;
  };
  struct Tlv {
    std::size_t offset = 0;
    std::uint8_t tag = 0;
    std::size_t content = 0;
    std::size_t length = 0;
    int node = -1;
  };
  enum class Want { kTag, kPdu, kValue };
  // What an encrypted scoped PDU is decrypted with, from the USM security parameters.
  struct Usm {
    bool present = false;
    std::span<const std::uint8_t> engine_id;
    std::int32_t boots = 0;
    std::int32_t time = 0;
    std::span<const std::uint8_t> user_name;
    std::wstring user;
    std::span<const std::uint8_t> privacy_parameters;
  };

  MessageTree Result() {
    MessageTree tree;
    tree.nodes = std::move(nodes_);
    tree.plaintext = std::move(plaintext_);
    return tree;
  }

  int DepthUnder(int parent) const {
    return parent < 0 ? 0 : nodes_[static_cast<std::size_t>(parent)].depth + 1;
  }

  void Fail(int parent, std::size_t offset, std::size_t size, std::wstring field, std::wstring what,
            int tag = -1) {
    MessageNode n;
    n.parent = parent;
    n.depth = DepthUnder(parent);
    n.offset = static_cast<std::uint32_t>(offset);
    n.size = static_cast<std::uint32_t>(size);
    n.tag = tag;
    n.field = std::move(field);
    n.value = std::move(what);
    n.damage = true;
    n.decrypted = decrypting_;
    nodes_.push_back(std::move(n));
  }

  // Turns a node whose header was fine into the damage node: its content is what is wrong.
  bool FailContent(const Tlv& t, std::wstring what) {
    MessageNode& n = nodes_[static_cast<std::size_t>(t.node)];
    n.damage = true;
    n.value = std::move(what);
    return false;
  }

  // Identifier and length octets of the next element of `in`, checked against what may stand
  // there and against the end of `in`; on success its node is added and `in` moves past it.
  bool Element(Span& in, const std::wstring& field, Want want, std::uint8_t expected, Tlv& out) {
    if (in.pos >= in.end) {
      Fail(in.node, in.pos, 0, field, L"the " + in.name + L" ends before its " + field);
      return false;
    }
    const std::size_t start = in.pos;
    const std::uint8_t tag = data_[start];
    if (want == Want::kTag && tag != expected) {
      Fail(in.node, start, 1, field,
           L"expected " + BerTypeName(expected) + L" (" + HexByte(expected) + L"), found " +
               HexByte(tag),
           tag);
      return false;
    }
    if (want == Want::kPdu && (tag < kFirstPduTag || tag > kLastPduTag)) {
      Fail(in.node, start, 1, field,
           L"expected a PDU (" + HexByte(kFirstPduTag) + L" to " + HexByte(kLastPduTag) +
               L"), found " + HexByte(tag),
           tag);
      return false;
    }
    if (want == Want::kValue && !IsValueTag(tag)) {
      Fail(in.node, start, 1, field, L"unsupported value type " + HexByte(tag), tag);
      return false;
    }
    // The codec's own reader, with the strict length rule.
    CBerReader reader(data_ + start, static_cast<std::int32_t>(in.end - start));
    BerHeader h;
    if (reader.ReadHeader(h, BerLengths::kStrict) != BerStatus::kOk) {
      FailHeader(h, in, field, start);
      return false;
    }
    const std::size_t len = h.length;
    const std::size_t p = start + h.Size();
    MessageNode n;
    n.parent = in.node;
    n.depth = DepthUnder(in.node);
    n.offset = static_cast<std::uint32_t>(start);
    n.size = static_cast<std::uint32_t>(p - start + len);
    n.tag = tag;
    n.length = static_cast<std::uint32_t>(len);
    n.field = field;
    n.type = BerTypeName(tag);
    n.decrypted = decrypting_;
    nodes_.push_back(std::move(n));
    out = Tlv{start, tag, p, len, static_cast<int>(nodes_.size() - 1)};
    in.pos = p + len;
    return true;
  }

  // The damage node for identifier and length octets that did not read: it covers the length
  // octets, or the identifier octet when there are none.
  void FailHeader(const BerHeader& h, const Span& in, const std::wstring& field,
                  std::size_t start) {
    using Fault = BerHeader::Fault;
    const std::size_t octets = 1 + h.length_octets;  // after the identifier octet
    switch (h.fault) {
      case Fault::kNoLength:
        return Fail(in.node, start, 1, field,
                    in.node < 0 ? L"the message ends after its identifier octet"
                                : L"the " + in.name + L" ends before the length of its " + field,
                    h.tag);
      case Fault::kIndefinite:
        return Fail(in.node, start + 1, 1, field,
                    L"indefinite length (0x80) is not allowed in SNMP", h.tag);
      case Fault::kLengthOctetsPastEnd:
        return Fail(in.node, start + 1, in.end - (start + 1), field,
                    L"length octets run past the end of the " + in.name + L" (" +
                        Bytes(h.length_octets) + L" needed, " +
                        std::to_wstring(in.end - (start + 2)) + L" left)",
                    h.tag);
      case Fault::kLengthTooWide:
        return Fail(in.node, start + 1, octets, field,
                    L"a length of " + Bytes(h.length_octets) + L" does not fit in 32 bits", h.tag);
      default:  // the content runs past the end
        return Fail(in.node, start + 1, octets, field,
                    L"length " + std::to_wstring(h.length) + L" runs past the end of the " +
                        in.name + L" (" + Bytes(in.end - (start + 1 + octets)) + L" left)",
                    h.tag);
    }
  }

  // Bytes left in `in` after its last element.
  bool End(const Span& in, const std::wstring& last) {
    if (in.pos >= in.end)
      return true;
    Fail(in.node, in.pos, in.end - in.pos, L"",
         Bytes(in.end - in.pos) + L" after the end of the " + last);
    return false;
  }

  // The content rules of the value types, as the codec applies them, with the object
  // identifier's arcs checked against its own end (the codec only stops at the datagram's).
  bool CheckContent(const Tlv& t) {
    const std::wstring type = BerTypeName(t.tag);
    switch (t.tag) {
      case kTagInteger32:
        if (t.length < 1 || t.length > 5)
          return FailContent(t, type + L" of " + Bytes(t.length) + L" (1 to 5 allowed)");
        // A fifth byte may only repeat the sign of the other four.
        if (t.length == 5 && data_[t.content] != ((data_[t.content + 1] & 0x80) != 0 ? 0xFF : 0))
          return FailContent(t, type + L" wider than 32 bits");
        return true;
      case kTagCounter32:
      case kTagGauge32:
      case kTagTimeTicks:
      case kTagUnsigned32:
        return CheckUnsigned(t, type, 4);
      case kTagCounter64:
        return CheckUnsigned(t, type, 8);
      case kTagNoSuchObject:
      case kTagNoSuchInstance:
      case kTagEndOfMibView:
        if (version_ == 0)
          return FailContent(t, type + L" in a version 1 message (SNMPv2 only)");
        [[fallthrough]];
      case kTagNull:
        if (t.length != 0)
          return FailContent(t, type + L" with " + Bytes(t.length) + L" of content (none allowed)");
        return true;
      case kTagIpAddress:
        if (t.length != 4)
          return FailContent(t, type + L" of " + Bytes(t.length) + L" (4 expected)");
        return true;
      case kTagOid:
        return CheckOid(t);
      default:
        return true;
    }
  }

  // Up to `width` bytes, one more only as a leading 00 (a top bit set needs it).
  bool CheckUnsigned(const Tlv& t, const std::wstring& type, std::size_t width) {
    if (t.length < 1 || t.length > width + 1)
      return FailContent(t, type + L" of " + Bytes(t.length) + L" (1 to " +
                                std::to_wstring(width + 1) + L" allowed)");
    if (t.length == width + 1 && data_[t.content] != 0)
      return FailContent(t, type + L" wider than " + std::to_wstring(width * 8) + L" bits");
    return true;
  }

  bool CheckOid(const Tlv& t) {
    if (t.length == 0)
      return FailContent(t, L"empty OBJECT IDENTIFIER");
    // The first sub-identifier holds the first two arcs (X.690 8.19.4); the second of them may
    // be as large as any arc once 80 is taken off.
    const std::size_t end = t.content + t.length;
    std::size_t arcs = 1;
    for (std::size_t p = t.content; p < end;) {
      if (arcs >= kMaxOidArcs)
        return FailContent(
            t, L"OBJECT IDENTIFIER of more than " + std::to_wstring(kMaxOidArcs) + L" arcs");
      ++arcs;
      const std::uint64_t max = p == t.content ? 0xFFFFFFFFull + 80 : 0xFFFFFFFFull;
      std::uint64_t arc = 0;
      for (;;) {
        if (p >= end)
          return FailContent(t, L"arc " + std::to_wstring(arcs) +
                                    L" of the OBJECT IDENTIFIER runs past its end (" +
                                    HexByte(data_[p - 1]) + L" asks for one more byte)");
        const std::uint8_t b = data_[p++];
        arc = (arc << 7) | (b & 0x7Fu);
        if (arc > max)
          return FailContent(t, L"arc " + std::to_wstring(arcs) +
                                    L" of the OBJECT IDENTIFIER does not fit in 32 bits");
        if ((b & 0x80) == 0)
          break;
      }
    }
    return true;
  }

  // The value as the pages show it, through the codec's own value classes.
  std::wstring Render(const Tlv& t) const {
    std::unique_ptr<CASNDataType> value = CreateValue(t.tag);
    if (value == nullptr)
      return {};
    CBerReader in(data_ + t.offset, static_cast<std::int32_t>(t.content + t.length - t.offset));
    std::wstring text;
    if (value->Decode(in) == BerStatus::kOk)
      (void)ValueToText(*value, text);
    return text;
  }

  // An element of one value type (or of any value type with Want::kValue), checked and shown.
  bool Typed(Span& in, const std::wstring& field, std::uint8_t tag, Want want = Want::kTag) {
    Tlv t;
    if (!Element(in, field, want, tag, t) || !CheckContent(t))
      return false;
    nodes_[static_cast<std::size_t>(t.node)].value = Render(t);
    return true;
  }

  bool Integer(Span& in, const std::wstring& field, std::int32_t& value) {
    if (!Typed(in, field, kTagInteger32))
      return false;
    const MessageNode& n = nodes_.back();
    CBerReader content(data_ + n.offset + (n.size - n.length), static_cast<std::int32_t>(n.length));
    (void)DecodeSignedContent(content, n.length, value);  // CheckContent took length and width
    return true;
  }

  // An INTEGER whose numbers have names.
  template <std::size_t N>
  bool NamedInteger(Span& in, const std::wstring& field,
                    const std::array<std::wstring_view, N>& names, std::int32_t* out = nullptr) {
    std::int32_t value = 0;
    if (!Integer(in, field, value))
      return false;
    if (out != nullptr)
      *out = value;
    const std::wstring_view name = value >= 0 && static_cast<std::size_t>(value) < N
                                       ? names[static_cast<std::size_t>(value)]
                                       : std::wstring_view();
    nodes_.back().value = Named(value, name);
    return true;
  }

  bool Pdu(Span& msg) {
    Tlv t;
    if (!Element(msg, L"PDU", Want::kPdu, 0, t))
      return false;
    nodes_[static_cast<std::size_t>(t.node)].value = std::wstring(kPduNames[t.tag - kFirstPduTag]);
    Span pdu{t.content, t.content + t.length, t.node, L"PDU"};
    std::int32_t number = 0;
    bool fields = false;
    if (t.tag == kPduTrapV1) {
      fields = Typed(pdu, L"enterprise", kTagOid) && Typed(pdu, L"agent-addr", kTagIpAddress) &&
               NamedInteger(pdu, L"generic-trap", kGenericTrapNames) &&
               Integer(pdu, L"specific-trap", number) && Typed(pdu, L"time-stamp", kTagTimeTicks);
    } else if (t.tag == kGetBulkTag) {
      fields = Integer(pdu, L"request-id", number) && Integer(pdu, L"non-repeaters", number) &&
               Integer(pdu, L"max-repetitions", number);
    } else {
      fields = Integer(pdu, L"request-id", number) &&
               NamedInteger(pdu, L"error-status", kErrorStatusNames) &&
               Integer(pdu, L"error-index", number);
    }
    return fields && VarBinds(pdu) && End(pdu, L"variable-bindings");
  }

  bool VarBinds(Span& pdu) {
    Tlv l;
    if (!Element(pdu, L"variable-bindings", Want::kTag, kTagSequence, l))
      return false;
    Span list{l.content, l.content + l.length, l.node, L"variable-bindings"};
    for (std::size_t count = 1; list.pos < list.end; ++count) {
      nodes_[static_cast<std::size_t>(l.node)].value = Counted(count, L"binding");
      const std::wstring field = L"varbind " + std::to_wstring(count);
      Tlv b;
      if (!Element(list, field, Want::kTag, kTagSequence, b))
        return false;
      Span bind{b.content, b.content + b.length, b.node, field};
      if (!Typed(bind, L"name", kTagOid))
        return false;
      nodes_[static_cast<std::size_t>(b.node)].value = nodes_.back().value;
      if (!Typed(bind, L"value", 0, Want::kValue) || !End(bind, L"value"))
        return false;
    }
    if (list.pos == l.content)
      nodes_[static_cast<std::size_t>(l.node)].value = L"0 bindings";
    return true;
  }

  // An OCTET STRING shown by the text rule; `content` views its bytes.
  bool Octets(Span& in, const std::wstring& field, std::span<const std::uint8_t>& content) {
    Tlv t;
    if (!Element(in, field, Want::kTag, kTagOctetString, t))
      return false;
    nodes_[static_cast<std::size_t>(t.node)].value = Render(t);
    content = {data_ + t.content, t.length};
    return true;
  }

  // RFC 3412 6: msgGlobalData, msgSecurityParameters and msgData after msgVersion.
  bool V3Message(Span& msg) {
    Tlv g;
    if (!Element(msg, L"msgGlobalData", Want::kTag, kTagSequence, g))
      return false;
    Span global{g.content, g.content + g.length, g.node, L"msgGlobalData"};
    std::int32_t number = 0;
    std::int32_t model = 0;
    std::uint8_t flags = 0;
    if (!Integer(global, L"msgID", number) || !Integer(global, L"msgMaxSize", number) ||
        !Flags(global, flags) ||
        !NamedInteger(global, L"msgSecurityModel", kSecurityModelNames, &model) ||
        !End(global, L"msgSecurityModel"))
      return false;
    Tlv p;
    if (!Element(msg, L"msgSecurityParameters", Want::kTag, kTagOctetString, p))
      return false;
    Usm usm;
    if (model == kUsmModel) {
      if (!UsmParameters(p, usm))
        return false;
    } else {
      nodes_[static_cast<std::size_t>(p.node)].value = HexPairsText({data_ + p.content, p.length});
    }
    // The privFlag says which of the two msgData forms must stand there (RFC 3412 6.4).
    if ((flags & kPrivFlag) != 0)
      return EncryptedPdu(msg, usm);
    return ScopedPdu(msg, L"msgData", L"plaintext ScopedPDU");
  }

  bool Flags(Span& in, std::uint8_t& flags) {
    Tlv t;
    if (!Element(in, L"msgFlags", Want::kTag, kTagOctetString, t))
      return false;
    if (t.length != 1)
      return FailContent(t, L"msgFlags of " + Bytes(t.length) + L" (1 expected)");
    flags = data_[t.content];
    nodes_[static_cast<std::size_t>(t.node)].value = FlagsText(flags);
    return true;
  }

  // RFC 3414 2.4: UsmSecurityParameters, BER-encoded inside the OCTET STRING.
  bool UsmParameters(const Tlv& p, Usm& usm) {
    Span outer{p.content, p.content + p.length, p.node, L"msgSecurityParameters"};
    Tlv s;
    if (!Element(outer, L"UsmSecurityParameters", Want::kTag, kTagSequence, s))
      return false;
    Span in{s.content, s.content + s.length, s.node, L"UsmSecurityParameters"};
    std::span<const std::uint8_t> auth;
    if (!Octets(in, L"msgAuthoritativeEngineID", usm.engine_id))
      return false;
    nodes_.back().value = EngineIdText(usm.engine_id);
    if (!Integer(in, L"msgAuthoritativeEngineBoots", usm.boots) ||
        !Integer(in, L"msgAuthoritativeEngineTime", usm.time) ||
        !Octets(in, L"msgUserName", usm.user_name))
      return false;
    usm.user = nodes_.back().value;
    if (!Octets(in, L"msgAuthenticationParameters", auth))
      return false;
    nodes_.back().value = HexPairsText(auth);
    if (!Octets(in, L"msgPrivacyParameters", usm.privacy_parameters))
      return false;
    nodes_.back().value = HexPairsText(usm.privacy_parameters);
    usm.present = true;
    return End(in, L"msgPrivacyParameters") && End(outer, L"UsmSecurityParameters");
  }

  // RFC 3412 6.8: contextEngineID, contextName and the PDU.
  bool ScopedPdu(Span& in, const std::wstring& field, const std::wstring& value) {
    Tlv s;
    if (!Element(in, field, Want::kTag, kTagSequence, s))
      return false;
    nodes_[static_cast<std::size_t>(s.node)].value = value;
    Span scoped{s.content, s.content + s.length, s.node, L"ScopedPDU"};
    std::span<const std::uint8_t> octets;
    if (!Octets(scoped, L"contextEngineID", octets))
      return false;
    nodes_.back().value = EngineIdText(octets);
    return Octets(scoped, L"contextName", octets) && Pdu(scoped) && End(scoped, L"PDU");
  }

  // The encryptedPDU, and beside it the scoped PDU when the caller can decrypt it.
  bool EncryptedPdu(Span& msg, const Usm& usm) {
    Tlv t;
    if (!Element(msg, L"msgData", Want::kTag, kTagOctetString, t))
      return false;
    nodes_[static_cast<std::size_t>(t.node)].value =
        L"encryptedPDU (" + Bytes(t.length) + L", encrypted)";
    if (!decrypt_ || !usm.present)
      return true;
    std::optional<std::vector<std::uint8_t>> plain;
    try {
      plain = decrypt_(EncryptedScopedPdu{usm.engine_id,
                                          usm.boots,
                                          usm.time,
                                          usm.user_name,
                                          usm.privacy_parameters,
                                          {data_ + t.content, t.length}});
    } catch (...) {
      // A decrypter that fails leaves the message as it came.
    }
    if (!plain || plain->size() > static_cast<std::size_t>(INT32_MAX))
      return true;
    MessageNode n;
    n.parent = t.node;
    n.depth = DepthUnder(t.node);
    n.offset = static_cast<std::uint32_t>(t.content);
    n.size = static_cast<std::uint32_t>(t.length);
    n.field = L"decrypted with the key of user '" + usm.user + L"'";
    n.value = Bytes(plain->size());
    nodes_.push_back(std::move(n));
    const int node = static_cast<int>(nodes_.size() - 1);
    plaintext_ = std::move(*plain);
    const std::uint8_t* const datagram = data_;
    data_ = plaintext_.data();
    decrypting_ = true;
    Span in{0, plaintext_.size(), node, L"decrypted text"};
    const bool whole = ScopedPdu(in, L"ScopedPDU", L"");
    if (whole && in.pos < in.end) {
      // DES pads the scoped PDU to whole blocks (RFC 3414 8.1.1.2); the padding means nothing.
      MessageNode pad;
      pad.parent = node;
      pad.depth = DepthUnder(node);
      pad.offset = static_cast<std::uint32_t>(in.pos);
      pad.size = static_cast<std::uint32_t>(in.end - in.pos);
      pad.field = L"padding";
      pad.value = Bytes(in.end - in.pos);
      pad.decrypted = true;
      nodes_.push_back(std::move(pad));
    }
    data_ = datagram;
    decrypting_ = false;
    return whole;
  }

  const std::uint8_t* data_;  // the datagram, or the plaintext while decrypting_
  std::size_t size_;
  const ScopedPduDecrypter& decrypt_;
  std::int32_t version_ = -1;  // exception values are SNMPv2 only
  std::vector<MessageNode> nodes_;
  std::vector<std::uint8_t> plaintext_;
  bool decrypting_ = false;
};

}  // namespace

MessageTree DecodeMessageTree(std::span<const std::uint8_t> bytes,
                              const ScopedPduDecrypter& decrypt) noexcept {
  try {
    return CTreeDecoder(bytes, decrypt).Run();
  } catch (...) {
    // Only memory can run out here; an empty tree says nothing wrong about the message.
    return {};
  }
}

std::wstring ErrorStatusName(std::int32_t status) {
  if (status < 0 || static_cast<std::size_t>(status) >= kErrorStatusNames.size())
    return {};
  return std::wstring(kErrorStatusNames[static_cast<std::size_t>(status)]);
}

}  // namespace snmp
