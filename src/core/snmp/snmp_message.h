// CSNMPMessage: an SNMP v1 or v2c message (RFC 1157 / RFC 1901): SEQUENCE of version,
// community and one PDU. Version 0 is "1", version 1 is "2c". A version 3 message holds its
// PDU here too; the requester wraps it in the v3 envelope (v3_message.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "snmp/octet_string.h"
#include "snmp/pdu.h"
#include "snmp/trap_pdu.h"

namespace snmp {

inline constexpr std::int32_t kSnmpVersion1 = 0;
inline constexpr std::int32_t kSnmpVersion2c = 1;
// msgVersion of an SNMPv3 message (RFC 3412).
inline constexpr std::int32_t kSnmpVersion3 = 3;
// Every request and trap is encoded into a buffer of this size.
inline constexpr std::int32_t kMessageBufferLen = 65535;

struct ResponseCheck;

class CSNMPMessage : public CASNDataType {
 public:
  // A message holds a CTrapPDU when pdu_type is kPduTrapV1 and a CPDU of that type otherwise.
  explicit CSNMPMessage(std::uint32_t pdu_type);
  CSNMPMessage(std::int32_t version, std::wstring_view community, std::uint32_t pdu_type);

  std::int32_t Version() const { return version_.Value(); }
  // The community as text, for display, made when first asked for; everything else compares
  // its bytes (CommunityBytes).
  const std::wstring& Community() const;
  std::span<const std::uint8_t> CommunityBytes() const { return community_.Bytes(); }
  std::uint32_t PduType() const { return IsTrap() ? kPduTrapV1 : std::get<CPDU>(pdu_).Tag(); }
  bool IsTrap() const { return std::holds_alternative<CTrapPDU>(pdu_); }
  // Changes the PDU type of a non-trap message; a trap, or a change to the trap type, is ignored.
  void SetPduType(std::uint32_t pdu_type);

  // Request fields of a non-trap message; a trap reads -1 and ignores writes.
  std::int32_t RequestId() const;
  void SetRequestId(std::int32_t id);
  std::int32_t ErrorStatus() const;
  void SetErrorStatus(std::int32_t status);
  std::int32_t ErrorIndex() const;
  void SetErrorIndex(std::int32_t index);
  // A GetBulkRequest's two numbers, in the error-status and error-index places (RFC 3416).
  void SetNonRepeaters(std::int32_t count) { SetErrorStatus(count); }
  void SetMaxRepetitions(std::int32_t count) { SetErrorIndex(count); }

  // v1 trap fields; other messages read the empty text, -1 or 0 and ignore writes.
  std::wstring Enterprise() const;
  void SetEnterprise(const std::wstring& oid_text);
  std::wstring AgentAddress() const;
  void SetAgentAddress(const std::wstring& address_text);
  std::int32_t GenericTrap() const;
  void SetGenericTrap(std::int32_t generic);
  std::int32_t SpecificTrap() const;
  void SetSpecificTrap(std::int32_t specific);
  std::uint32_t TimeStamp() const;
  void SetTimeStamp(std::uint32_t hundredths);

  // The bindings of whichever PDU the message holds.
  void AddVarBind(std::wstring_view name_text, std::uint32_t value_tag,
                  std::wstring_view value_text);
  // A name with a Null value: how Get and GetNext requests are built.
  void AddNullVarBind(std::wstring_view name_text) { AddVarBind(name_text, kTagNull, L""); }
  const CVarBind* GetVarBind(int index) const { return VarBinds().Get(index); }
  void CopyVarBinds(const CVarBindList& list) { VarBinds().CopyFrom(list); }
  CVarBindList& VarBinds();
  const CVarBindList& VarBinds() const;

  // Encodes the whole message backwards into buffer; on success out_message views the encoded
  // bytes at the end of buffer.
  [[nodiscard]] bool EncodeInto(std::span<std::uint8_t> buffer,
                                std::span<const std::uint8_t>& out_message);
  // Decodes a whole message from bytes; bytes left after the PDU give kTrailing.
  [[nodiscard]] BerStatus DecodeFrom(std::span<const std::uint8_t> bytes);
  // The PDU alone, for the scoped PDU of an SNMPv3 message (see v3_message.h).
  [[nodiscard]] bool EncodePdu(CBerWriter& out) { return PduObject().Encode(out); }

  // What was wrong with the bytes a response was last checked from, and where ("length 64 runs
  // past the end of the message (12 bytes left) at offset 1"); empty when they decoded.
  const std::wstring& MalformedReason() const { return malformed_reason_; }

 protected:
  bool EncodeContent(CBerWriter& out) override;
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  friend ResponseCheck ValidateResponse(std::span<const std::uint8_t>, CSNMPMessage&,
                                        const CSNMPMessage&);
  friend ResponseCheck CheckResponseFields(std::span<const std::uint8_t>, CSNMPMessage&,
                                           const CSNMPMessage&);
  friend ResponseCheck CheckPduFields(CBerReader&, CSNMPMessage&, const CSNMPMessage&);
  friend ResponseCheck ValidateScopedResponse(std::span<const std::uint8_t>, CSNMPMessage&,
                                              const CSNMPMessage&);

  CPDU* Pdu() { return std::get_if<CPDU>(&pdu_); }
  const CPDU* Pdu() const { return std::get_if<CPDU>(&pdu_); }
  CTrapPDU* Trap() { return std::get_if<CTrapPDU>(&pdu_); }
  const CTrapPDU* Trap() const { return std::get_if<CTrapPDU>(&pdu_); }
  CASNDataType& PduObject() {
    return std::visit([](CASNDataType& pdu) -> CASNDataType& { return pdu; }, pdu_);
  }

  CInteger32 version_;
  // Decodes the community, forgetting the text made of the old one.
  [[nodiscard]] BerStatus DecodeCommunity(CBerReader& in);

  COctetString community_;
  mutable std::wstring community_text_;
  mutable bool community_text_made_ = false;
  std::variant<CPDU, CTrapPDU> pdu_;  // held in place
  std::wstring malformed_reason_;
};

}  // namespace snmp
