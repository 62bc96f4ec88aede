// The Get/Set page without its window: the page's values, the checks of both buttons in their
// fixed order, the request identifiers, one Get or Set over the request exchange, the result
// and type texts, the failure lines and the histories. The page only copies its controls into
// GetSetForm, runs Prepare, Exchange and Apply, and shows what comes back; sondara-cli builds
// the same typed request from its arguments and runs the same Exchange.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "logs/event_line_sink.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_sink.h"
#include "net/exchange_result.h"
#include "net/udp_session.h"
#include "net/udp_socket_ops.h"
#include "ops/operation_common.h"
#include "ops/operation_ui.h"
#include "settings/settings.h"
#include "snmp/asn_data_type.h"
#include "snmp/request_id.h"
#include "snmp/snmp_message.h"
#include "snmp/usm_user.h"

namespace pages {

// The page's fields as the checks name them for app::IOperationUi (the page maps them to controls).
enum GetSetField : int {
  kFieldHost = 0,
  kFieldVersion,
  kFieldPort,
  kFieldGetOid,
  kFieldGetCommunity,
  kFieldSetOid,
  kFieldSetCommunity,
  kFieldSetDataType,
  kFieldSetValue,
  kFieldUsmUser,
  kFieldUsmAuthPassword,
  kFieldUsmPrivPassword,
  kFieldUsmContextEngineId,
};

// Which button ran last; the checks of the other half are skipped.
enum class GetSetMode : std::int32_t { kGet = 0, kSet = 1, kGetNext = 2 };

// The values of the page, all as the user typed or sees them.
struct GetSetForm {
  std::wstring host;
  std::wstring version;    // "1", "2c" or "3"; empty when nothing is selected
  std::wstring port_text;  // the port box as typed, checked when a button runs
  app::UsmSettings usm;    // version 3: stands for both halves' communities

  std::wstring get_oid;
  app::History get_oids;  // the drop-down's entries, top first
  std::wstring get_community;
  app::History get_communities;
  std::wstring get_data_type;  // output: the type name of the value read, or empty
  std::wstring get_value;      // output: the value read, or the failure text

  std::wstring set_oid;
  app::History set_oids;
  std::wstring set_community;
  app::History set_communities;
  std::wstring set_data_type;
  std::wstring set_value;
};

// One binding of a request: a checked OID text and, for a Set, the value's type and its checked
// text.
struct RequestBinding {
  std::wstring oid;
  std::uint32_t tag = snmp::kTagNull;
  std::wstring value;
};

// One Get, GetNext or Set that passed the checks, with everything its exchange needs already
// read: it is made on the window's thread when the button runs (or by sondara-cli from its
// arguments), so the exchange only runs it, on another thread, while the user goes on typing.
struct GetSetRequest {
  GetSetMode mode = GetSetMode::kGet;
  std::wstring host;
  std::int32_t version = 0;  // snmp::kSnmpVersion1, kSnmpVersion2c or kSnmpVersion3
  std::uint16_t port = 0;
  std::wstring community;                // empty for version 3
  std::vector<RequestBinding> bindings;  // the page's one; sondara-cli's any number
  std::wstring typed_oid;  // the page's OID as typed (maybe a name), kept in its history
  bool names = false;      // a Get's value as the MIB node has it ("up(1)") when it says more
  std::int32_t request_id = 0;
  snmp::usm::UserSecurity security;  // version 3: who the request speaks as
};

// What came back: the outcome, the exchange's result, the answer itself, and for a Get the
// first value and its type name (the failure text and no type after a failure).
struct GetSetReply {
  RequestOutcome outcome = RequestOutcome::kFailed;
  net::ExchangeResult result;
  std::shared_ptr<const snmp::CSNMPMessage> response;  // every binding the agent returned
  std::wstring value;
  std::wstring data_type;
};

// The text the Get result box shows after a failure.
std::wstring FailedResultText();

class CGetSetOperation {
 public:
  // Starts from the stored settings; failure lines go to `events`, datagrams to `transactions`
  // (the window's logs by default).
  explicit CGetSetOperation(const app::GetSetSettings& stored,
                            logs::IEventLineSink& events = logs::EventLogSink(),
                            logs::ITransactionSink& transactions = logs::TransactionLogSink());

  GetSetForm& Form() { return form_; }
  const GetSetForm& Form() const { return form_; }
  GetSetMode Mode() const { return mode_; }
  // Version 3 is chosen: the v3 fields stand for the communities.
  bool V3() const;

  // The checks of one button, in their fixed order; the first failure is shown through `ui`
  // with the warning icon and the field to focus. Sets the mode first.
  bool Validate(GetSetMode mode, app::IOperationUi& ui);

  // A button's three steps, so that the middle one can leave the window's thread. Prepare: the
  // checks of `mode`, then the typed request with its id (a Get also empties the result).
  // Exchange: sends it and waits (a stop through `stop` ends the wait: failed, without a line);
  // touches no form, writes the failure line (naming the binding the agent's error index points
  // at). Apply: the result into the form and, after success, the request's OID and community
  // into their histories.
  std::optional<GetSetRequest> Prepare(GetSetMode mode, app::IOperationUi& ui);
  GetSetReply Exchange(const GetSetRequest& request, const net::UdpSettings& settings,
                       std::stop_token stop = {}) const;
  void Apply(const GetSetRequest& request, const GetSetReply& reply);

  // Writes the page back into the settings: each history with its current entry first, the
  // port read from its text as a plain decimal number. The get data type is not kept.
  void StoreTo(app::GetSetSettings& settings);

 private:
  GetSetForm form_;
  GetSetMode mode_ = GetSetMode::kGet;
  snmp::CRequestIdCounter request_ids_;
  logs::IEventLineSink& events_;
  logs::ITransactionSink& transactions_;
  std::uint16_t port_ = 0;    // the port of the last check that passed
  std::wstring oid_numbers_;  // the checked OID as numbers (a typed name translated)
};

}  // namespace pages
