// The sendTrap page without its window: the page's values, "Use &default", which fields a
// version 1 trap alone uses, the checks in their fixed order, and one v1 Trap-PDU or v2c
// SNMPv2-Trap built from the varbind list and sent once.
//
// A trap is sent in three steps so that the middle one can leave the window's thread: Validate
// (needs the person at the desk), Send (no windows; any thread; reads the list under its lock)
// and Remember (the histories, back on the window's thread). SendTrap runs all three.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "logs/event_line_sink.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_sink.h"
#include "net/udp_session.h"
#include "net/udp_socket_ops.h"
#include "ops/operation_ui.h"
#include "settings/settings.h"
#include "snmp/request_id.h"
#include "snmp/usm_user.h"
#include "snmp/var_bind_list.h"

namespace pages {

// The page's fields as the checks name them for app::IOperationUi.
enum SendTrapField : int {
  kFieldTrapHost = 0,
  kFieldTrapVersion,
  kFieldTrapPort,
  kFieldSenderIp,
  kFieldSenderOid,
  kFieldTrapCommunity,
  kFieldVarBindNum,
  kFieldTrapType,
  kFieldSpecificType,
  kFieldTrapUsmUser,
  kFieldTrapUsmAuthPassword,
  kFieldTrapUsmPrivPassword,
  kFieldTrapUsmContextEngineId,
};

// How a "&Send Trap" ended: refused by the checks (nothing sent), failed (one event-log line
// written) or sent.
enum class TrapOutcome { kRefused, kFailed, kSent };

// The values of the page, as the user typed or sees them.
struct SendTrapForm {
  std::wstring host;
  std::wstring version;    // "1", "2c" or "3"; empty when nothing is selected
  std::wstring port_text;  // checked when the trap is sent
  app::UsmSettings usm;    // version 3: stands for the community
  bool use_default = true;
  std::wstring sender_ip;
  std::vector<std::wstring> sender_ips;  // the drop-down: local addresses, the default first
  std::wstring sender_oid;
  app::History sender_oids;  // top first
  std::wstring community;
  app::History communities;
  std::wstring varbind_num_text;  // how many bindings of the list are sent
  std::wstring trap_type;         // a generic trap name; empty when nothing is selected
  std::wstring specific_type_text;
};

// A trap that passed the checks, with everything Send needs and nothing that needs a window.
struct TrapRequest {
  std::wstring host;
  std::uint16_t port = 0;
  std::int32_t version = 0;  // snmp::kSnmpVersion1, kSnmpVersion2c or kSnmpVersion3
  std::wstring community;    // empty for version 3
  std::wstring sender_oid;   // the enterprise of a v1 trap
  std::wstring sender_ip;    // the agent address of a v1 trap
  std::int32_t generic_trap = 0;
  std::int32_t specific_trap = 0;
  std::int32_t request_id = 0;       // v2c
  int varbind_count = 0;             // the first this many bindings of the list
  snmp::usm::UserSecurity security;  // version 3: the user the notification is sent as
};

// Hundredths of a second since the run started, as every trap stamps its time.
using TimeStampFn = std::function<std::uint32_t()>;
std::uint32_t HundredthsSince(const app::StartTime& start);

// The drop-down of "S&ender IP:": the IPv4 addresses of the adapter table, the default first.
// The default is the address of the adapter chosen in the Options, since traps leave from it;
// with "Default" chosen, the table's first address (the first interface the system lists).
// Without any adapter, 127.0.0.1: the one address every machine has.
std::vector<std::wstring> SenderIpChoices(const std::vector<net::_adapterinfo>& ipv4,
                                          const net::_adapterinfo& chosen);

class CSendTrapOperation {
 public:
  // Starts from the stored settings and works on `list`, the trap's varbinds, which the
  // varbind editor changes too (under ListLock()). Failure lines go to `events`, datagrams to
  // `transactions`.
  CSendTrapOperation(const app::SendTrapSettings& stored, snmp::CVarBindList& list,
                     TimeStampFn time_stamp, logs::IEventLineSink& events = logs::EventLogSink(),
                     logs::ITransactionSink& transactions = logs::TransactionLogSink());

  SendTrapForm& Form() { return form_; }
  const SendTrapForm& Form() const { return form_; }
  std::mutex& ListLock() { return list_lock_; }
  // The trap is a version 2 notification (v2c, and v3, which carries the same PDU): its list
  // starts with sysUpTime.0 and snmpTrapOID.0.
  bool Version2c() const;
  // Version 3 is chosen: the v3 fields stand for the community.
  bool V3() const;
  // The current time stamp (the page's "Ti&mestamp:" box).
  std::uint32_t TimeStamp() const { return time_stamp_(); }

  // The local addresses offered as sender IP, the default first; with "Use &default" the
  // sender IP follows the new default.
  void SetSenderIpChoices(std::vector<std::wstring> choices);
  // "Use &default": our sender address and OID, "getcom", "enterpriseSpecific", specific type 1,
  // and VarBind# the whole list (a v2c list with its two fixed entries).
  void ApplyDefaults();
  // How many bindings the trap carries with VarBind# at the whole list, for the form's version.
  int ListedVarBinds();
  // After "Edit Varbinds" closed with OK: VarBind# counts what the list now holds.
  void VarBindsEdited();
  // Sender IP, sender OID, trap type and specific type mean something only to a v1 trap that
  // the user builds.
  bool V1FieldsEnabled() const;

  // The checks in their fixed order; the first failure is shown through `ui` with the field to
  // focus. With "Use &default" the defaults replace the form's values after the port check and
  // only VarBind# is checked. A VarBind# that leaves part of the list out is sent only after
  // the user said Yes to how many. Takes a request id for a v2c trap.
  std::optional<TrapRequest> Validate(app::IOperationUi& ui);
  // Builds the trap and sends it once. A v2c trap first gets the list's fixed entries, with
  // sysUpTime.0 set to now, and carries at least those two; a v1 trap leaves them out. A
  // failure writes "Trap request
  // failed. Reason: '%s'." Touches neither the form nor the histories.
  TrapOutcome Send(const TrapRequest& request, const net::UdpSettings& settings);
  // After a trap went: its sender OID and community join their histories.
  void Remember(const TrapRequest& request);
  // "&Send Trap": the three steps above.
  TrapOutcome SendTrap(const net::UdpSettings& settings, app::IOperationUi& ui);

  // Before "Edit Varbinds": a v2c trap's list gets its fixed entries now rather than at the
  // next send, so the two rows the editor protects are the ones the trap carries first, and
  // VarBind# counts what the user sees.
  void PrepareVarBindsForEditing();

  // Writes the page back into the settings: each history with its current entry first, the
  // numbers read from their texts as plain decimal numbers.
  void StoreTo(app::SendTrapSettings& settings);

 private:
  // The values "Use &default" puts in, VarBind# aside.
  void FillDefaultFields();

  SendTrapForm form_;
  snmp::CVarBindList& list_;
  std::mutex list_lock_;
  TimeStampFn time_stamp_;
  snmp::CRequestIdCounter request_ids_;
  logs::IEventLineSink& events_;
  logs::ITransactionSink& transactions_;
};

}  // namespace pages
