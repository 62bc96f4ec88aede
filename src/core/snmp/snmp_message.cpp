#include "snmp/snmp_message.h"

namespace snmp {

// Version 1 and an empty community; the common case of a message about to be decoded into, so
// it skips the community's text conversion.
CSNMPMessage::CSNMPMessage(std::uint32_t pdu_type)
    : CASNDataType(kTagSequence),
      version_(kSnmpVersion1),
      pdu_(std::in_place_type<CPDU>, pdu_type) {
  if (pdu_type == kPduTrapV1)
    pdu_.emplace<CTrapPDU>();
}

CSNMPMessage::CSNMPMessage(std::int32_t version, std::wstring_view community,
                           std::uint32_t pdu_type)
    : CASNDataType(kTagSequence),
      version_(version),
      community_(community),
      pdu_(std::in_place_type<CPDU>, pdu_type) {
  if (pdu_type == kPduTrapV1)
    pdu_.emplace<CTrapPDU>();
}

const std::wstring& CSNMPMessage::Community() const {
  if (!community_text_made_) {
    community_text_ = community_.Text();
    community_text_made_ = true;
  }
  return community_text_;
}

BerStatus CSNMPMessage::DecodeCommunity(CBerReader& in) {
  community_text_made_ = false;
  return community_.Decode(in);
}

void CSNMPMessage::SetPduType(std::uint32_t pdu_type) {
  if (CPDU* pdu = Pdu(); pdu != nullptr && pdu_type != kPduTrapV1)
    pdu->SetType(pdu_type);
}

std::int32_t CSNMPMessage::RequestId() const {
  return Pdu() != nullptr ? Pdu()->RequestId().Value() : -1;
}
void CSNMPMessage::SetRequestId(std::int32_t id) {
  if (CPDU* pdu = Pdu())
    pdu->RequestId().SetValue(id);
}
std::int32_t CSNMPMessage::ErrorStatus() const {
  return Pdu() != nullptr ? Pdu()->ErrorStatus().Value() : -1;
}
void CSNMPMessage::SetErrorStatus(std::int32_t status) {
  if (CPDU* pdu = Pdu())
    pdu->ErrorStatus().SetValue(status);
}
std::int32_t CSNMPMessage::ErrorIndex() const {
  return Pdu() != nullptr ? Pdu()->ErrorIndex().Value() : -1;
}
void CSNMPMessage::SetErrorIndex(std::int32_t index) {
  if (CPDU* pdu = Pdu())
    pdu->ErrorIndex().SetValue(index);
}

std::wstring CSNMPMessage::Enterprise() const {
  return Trap() != nullptr ? Trap()->Enterprise().Text() : std::wstring();
}
void CSNMPMessage::SetEnterprise(const std::wstring& oid_text) {
  if (CTrapPDU* trap = Trap())
    trap->Enterprise().SetFromText(oid_text);
}
std::wstring CSNMPMessage::AgentAddress() const {
  return Trap() != nullptr ? Trap()->AgentAddress().ToText() : std::wstring();
}
void CSNMPMessage::SetAgentAddress(const std::wstring& address_text) {
  if (CTrapPDU* trap = Trap())
    trap->AgentAddress().SetFromText(address_text);
}
std::int32_t CSNMPMessage::GenericTrap() const {
  return Trap() != nullptr ? Trap()->GenericTrap().Value() : -1;
}
void CSNMPMessage::SetGenericTrap(std::int32_t generic) {
  if (CTrapPDU* trap = Trap())
    trap->GenericTrap().SetValue(generic);
}
std::int32_t CSNMPMessage::SpecificTrap() const {
  return Trap() != nullptr ? Trap()->SpecificTrap().Value() : -1;
}
void CSNMPMessage::SetSpecificTrap(std::int32_t specific) {
  if (CTrapPDU* trap = Trap())
    trap->SpecificTrap().SetValue(specific);
}
std::uint32_t CSNMPMessage::TimeStamp() const {
  return Trap() != nullptr ? Trap()->TimeStamp().Value() : 0;
}
void CSNMPMessage::SetTimeStamp(std::uint32_t hundredths) {
  if (CTrapPDU* trap = Trap())
    trap->TimeStamp().SetValue(hundredths);
}

void CSNMPMessage::AddVarBind(std::wstring_view name_text, std::uint32_t value_tag,
                              std::wstring_view value_text) {
  VarBinds().Add(name_text, value_tag, value_text);
}

CVarBindList& CSNMPMessage::VarBinds() {
  return IsTrap() ? Trap()->VarBinds() : Pdu()->VarBinds();
}
const CVarBindList& CSNMPMessage::VarBinds() const {
  return IsTrap() ? Trap()->VarBinds() : Pdu()->VarBinds();
}

bool CSNMPMessage::EncodeInto(std::span<std::uint8_t> buffer,
                              std::span<const std::uint8_t>& out_message) {
  if (buffer.empty() || buffer.size() > static_cast<std::size_t>(INT32_MAX))
    return false;
  CBerWriter writer(&buffer.back(), static_cast<std::int32_t>(buffer.size()));
  if (!Encode(writer))
    return false;
  out_message = std::span<const std::uint8_t>(
      writer.Begin(), buffer.size() - static_cast<std::size_t>(writer.FreeCount()));
  return true;
}

BerStatus CSNMPMessage::DecodeFrom(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > static_cast<std::size_t>(INT32_MAX))
    return BerStatus::kBadLength;
  CBerReader reader(bytes.data(), static_cast<std::int32_t>(bytes.size()));
  return Decode(reader);
}

bool CSNMPMessage::EncodeContent(CBerWriter& out) {
  const std::int32_t free_before = out.FreeCount();
  if (!PduObject().Encode(out) || !community_.Encode(out) || !version_.Encode(out))
    return false;
  SetContentLength(WrittenSince(out, free_before));
  return true;
}

BerStatus CSNMPMessage::DecodeContent(CBerReader& in) {
  if (ExceedsInput(ContentLength(), in))
    return BerStatus::kExhausted;
  BerStatus r = version_.Decode(in);
  if (r == BerStatus::kOk)
    r = DecodeCommunity(in);
  if (r == BerStatus::kOk)
    r = PduObject().Decode(in);
  if (r == BerStatus::kOk && !in.Empty())
    r = BerStatus::kTrailing;
  return r;
}

}  // namespace snmp
