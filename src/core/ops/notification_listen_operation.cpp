#include "ops/notification_listen_operation.h"

#include <array>
#include <utility>

#include "ops/results_file.h"
#include "ops/var_bind_list_rules.h"
#include "snmp/message_tree.h"
#include "snmp/octet_string.h"
#include "snmp/snmp_message.h"
#include "snmp/type_names.h"
#include "util/date_time_format.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

namespace ids = tvkutil::ids;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kPduInformRequest = 0xA6;
constexpr std::wstring_view kSource = L"Notifications";
// How long the listening thread waits before it looks at the kernel's drop count again while
// nothing comes.
constexpr std::chrono::milliseconds kIdleSlice{100};

NotificationBinding BindingOf(const snmp::CVarBind& bind) {
  NotificationBinding b;
  b.oid = bind.Name() != nullptr ? bind.Name()->Text() : std::wstring();
  (void)bind.ValueText(b.value, b.tag);  // Null and the exceptions read as empty text
  if (const snmp::CASNDataType* value = bind.Value(); value && b.tag == snmp::kTagOctetString) {
    const auto bytes = static_cast<const snmp::COctetString*>(value)->Bytes();
    b.octets.assign(bytes.begin(), bytes.end());
  }
  return b;
}

// The OID a v1 trap stands for in SNMPv2 terms (RFC 3584 3.1.2): snmpTraps.(generic + 1) for the
// six generic traps, enterprise.0.specific for an enterprise-specific one.
std::wstring V1TrapOid(const std::wstring& enterprise, std::int32_t generic,
                       std::int32_t specific) {
  if (generic >= 0 && generic < snmp::kEnterpriseSpecificTrap)
    return std::wstring(kSnmpTrapsOid) + L"." + std::to_wstring(generic + 1);
  if (generic == snmp::kEnterpriseSpecificTrap)
    return enterprise + L".0." + std::to_wstring(specific);
  return {};  // no such generic trap: the row shows the number as sent
}

// The Response to an inform (RFC 3416 4.2.7): the same message with the PDU's tag changed and
// error-status and error-index zero, so the request-id, the community and the bindings go back
// byte for byte.
std::vector<std::uint8_t> InformResponse(std::span<const std::uint8_t> bytes,
                                         const snmp::MessageTree& tree, std::size_t pdu) {
  std::vector<std::uint8_t> response(bytes.begin(), bytes.end());
  response[tree.nodes[pdu].offset] = static_cast<std::uint8_t>(snmp::kPduResponse);
  for (const snmp::MessageNode& n : tree.nodes) {
    if (n.parent != static_cast<int>(pdu) ||
        (n.field != L"error-status" && n.field != L"error-index"))
      continue;
    const std::uint32_t content = n.offset + n.size - n.length;
    for (std::uint32_t i = 0; i < n.length; ++i)
      response[content + i] = 0;
  }
  return response;
}

std::wstring BindingsText(const NotificationRow& row) {
  std::wstring text;
  for (const NotificationBinding& b : row.bindings)
    text += (text.empty() ? L"" : L"; ") + b.oid + L" = " + snmp::TypeNameOfTag(b.tag) + L": " +
            b.value;
  return text;
}

}  // namespace

std::wstring NotificationTimeText(std::chrono::system_clock::time_point when) {
  const std::tm local = tvkutil::ToLocalTime(when);
  const auto ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch()).count() % 1000;
  wchar_t text[96];
  std::swprintf(text, std::size(text), L"%04d-%02d-%02d %02d:%02d:%02d.%03d", local.tm_year + 1900,
                local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(ms));
  return text;
}

std::wstring NotificationTypeText(const NotificationRow& row) {
  switch (row.kind) {
    case NotificationKind::kTrapV1:
      return L"Trap";
    case NotificationKind::kTrapV2:
      return L"SNMPv2-Trap";
    case NotificationKind::kInform:
      return row.answered ? L"InformRequest answered" : L"InformRequest not answered";
    case NotificationKind::kOther:
      return L"ignored";
    default:
      return L"malformed";
  }
}

std::wstring NotificationCountText(std::uint64_t count) {
  return std::to_wstring(count) + (count == 1 ? L" notification" : L" notifications");
}

std::wstring NotificationCsvHeader() {
  return L"Time,Source,Port,Version,Community,Type,Notification,SysUpTime,Enterprise,"
         L"AgentAddress,Generic,Specific,Bindings,Problem";
}

std::wstring NotificationCsvRow(const NotificationRow& row) {
  auto field = [](std::wstring_view text) { return CsvField(text, false); };
  auto number = [](auto n, bool shown) { return shown ? std::to_wstring(n) : std::wstring(); };
  std::wstring problem = row.problem;
  if (row.kind == NotificationKind::kMalformed)
    problem = L"offset " + std::to_wstring(row.damage_offset) + L": " + row.problem;
  return field(NotificationTimeText(row.received)) + L',' + field(row.source) + L',' +
         std::to_wstring(row.source_port) + L',' + field(row.version) + L',' +
         field(row.community) + L',' + field(NotificationTypeText(row)) + L',' +
         field(row.trap_oid) + L',' +
         number(row.sys_up_time.value_or(0), row.sys_up_time.has_value()) + L',' +
         field(row.enterprise) + L',' + field(row.agent_address) + L',' +
         number(row.generic_trap, row.generic_trap >= 0) + L',' +
         number(row.specific_trap, row.specific_trap >= 0) + L',' + field(BindingsText(row)) +
         L',' + field(problem);
}

CNotificationListenOperation::CNotificationListenOperation(logs::IEventLineSink& events,
                                                           logs::ITransactionSink& transactions,
                                                           std::size_t max_rows)
    : events_(events), transactions_(transactions), max_rows_(max_rows) {}

CNotificationListenOperation::~CNotificationListenOperation() {
  Stop();
}

std::wstring CNotificationListenOperation::Open(const ListenRequest& request,
                                                const net::UdpSettings& settings) {
  std::wstring why = OpenSocket(request, settings);
  if (!why.empty())
    events_.AddEventLine(why);
  return why;
}

std::wstring CNotificationListenOperation::OpenSocket(const ListenRequest& request,
                                                      const net::UdpSettings& settings) {
  request_ = request;
  open_error_ = socket_.Open(request.port, settings, request.receive_buffer);
  if (open_error_ == 0) {
    usm_ = std::make_unique<CNotificationUsm>(request.users, request.engine_id);
    return {};
  }
  return net::ListenFailureText(open_error_, request.port);
}

std::wstring CNotificationListenOperation::Start(const ListenRequest& request,
                                                 const net::UdpSettings& settings) {
  if (!worker_.Finished())
    return {};
  worker_.Join();
  if (std::wstring why = OpenSocket(request, settings); !why.empty())
    return why;
  worker_.Start([this, settings](std::stop_token stop) { Run(request_, settings, stop); });
  return {};
}

ListenEnd CNotificationListenOperation::Run(const ListenRequest& request,
                                            const net::UdpSettings& settings, std::stop_token stop,
                                            std::optional<Clock::time_point> until,
                                            NotificationFn seen) {
  if (!socket_.IsOpen() && !Open(request, settings).empty())
    return ListenEnd::kFailed;
  events_.AddEventLine(tvkutil::FormatN(tvkutil::LoadString(ids::kListenStarted),
                                        tvkutil::kMaxLogLineLen,
                                        static_cast<unsigned>(socket_.Port())));
  std::vector<std::uint8_t> buffer(snmp::kMessageBufferLen);
  ListenEnd end = ListenEnd::kStopped;
  for (bool enough = false; !enough;) {
    const auto now = Clock::now();
    if (until && now >= *until) {
      end = ListenEnd::kTimedOut;
      break;
    }
    const Clock::time_point slice_end =
        until ? std::min(*until, now + kIdleSlice) : now + kIdleSlice;
    sockaddr_storage from{}, to{};
    const std::int32_t n = socket_.Receive(buffer, from, to, slice_end, stop);
    if (n == net::kReceiveStopped)
      break;
    if (n == net::kNothingReceived) {
      // Drops after the last datagram read show only in the socket's own counters.
      socket_.RefreshDrops();
      drops_ = socket_.KernelDrops();
      continue;
    }
    Take(std::span(buffer.data(), static_cast<std::size_t>(n)), from, to, seen, enough);
    if (enough)
      end = ListenEnd::kSeenEnough;
  }
  socket_.RefreshDrops();
  drops_ = socket_.KernelDrops();
  events_.AddEventLine(tvkutil::FormatN(
      tvkutil::LoadString(ids::kListenStopped), tvkutil::kMaxLogLineLen,
      static_cast<unsigned>(socket_.Port()), NotificationCountText(received_.load()).c_str(),
      static_cast<unsigned long long>(malformed_.load()),
      static_cast<unsigned long long>(drops_.load())));
  socket_.Close();
  return end;
}

void CNotificationListenOperation::Take(std::span<const std::uint8_t> bytes,
                                        const sockaddr_storage& from, const sockaddr_storage& to,
                                        const NotificationFn& seen, bool& enough) {
  ++datagrams_;
  drops_ = socket_.KernelDrops();
  logs::DatagramEnds ends;
  ends.local = to;
  ends.remote = from;
  transactions_.LogDatagram(logs::kDirectionReceived, kSource, bytes, ends);
  NotificationRow row = Judge(
      bytes,
      [&](std::span<const std::uint8_t> response) {
        const bool sent = socket_.SendTo(response, from, to);
        if (sent)
          transactions_.LogDatagram(logs::kDirectionSent, kSource, response, ends);
        return sent;
      },
      usm_.get());
  row.received = std::chrono::system_clock::now();
  row.source = net::SockAddressText(from);
  row.source_port = net::SockPort(from);
  if (row.kind == NotificationKind::kMalformed)
    ++malformed_;
  else if (row.kind != NotificationKind::kOther)
    ++received_;
  if (seen) {
    enough = !seen(row);
    return;
  }
  let_go_ += rows_.AppendBounded(std::move(row), max_rows_);
}

NotificationRow CNotificationListenOperation::Judge(std::span<const std::uint8_t> bytes,
                                                    const AnswerFn& answer, CNotificationUsm* usm) {
  NotificationRow row;
  row.bytes.assign(bytes.begin(), bytes.end());
  const snmp::MessageTree tree = snmp::DecodeMessageTree(bytes);
  if (const snmp::MessageNode* damage = tree.Damage()) {
    row.kind = NotificationKind::kMalformed;
    row.damage_offset = damage->offset;
    row.problem = damage->value;
    return row;
  }
  std::size_t pdu = tree.nodes.size();
  for (std::size_t i = 0; i < tree.nodes.size(); ++i) {
    if (tree.nodes[i].field == L"msgVersion") {
      if (usm != nullptr)
        return usm->Judge(bytes, answer);
      row.kind = NotificationKind::kOther;
      row.version = L"3";
      row.problem = L"an SNMPv3 message: only v1 and v2c notifications are received";
      return row;
    }
    if (tree.nodes[i].field == L"PDU" && tree.nodes[i].depth == 1)
      pdu = i;
  }
  if (pdu == tree.nodes.size() || tree.nodes[pdu].tag < 0) {
    row.kind = NotificationKind::kMalformed;
    row.problem = L"no PDU";
    return row;
  }
  const auto tag = static_cast<std::uint32_t>(tree.nodes[pdu].tag);
  snmp::CSNMPMessage message(tag);
  if (message.DecodeFrom(bytes) != snmp::BerStatus::kOk) {
    row.kind = NotificationKind::kMalformed;
    row.problem = L"does not decode as " + tree.nodes[pdu].type;
    return row;
  }
  row.version = message.Version() == snmp::kSnmpVersion1    ? L"1"
                : message.Version() == snmp::kSnmpVersion2c ? L"2c"
                                                            : std::to_wstring(message.Version());
  row.community = message.Community();
  const snmp::CVarBindList& binds = message.VarBinds();
  if (tag == snmp::kPduTrapV1) {
    row.kind = NotificationKind::kTrapV1;
    row.enterprise = message.Enterprise();
    row.agent_address = message.AgentAddress();
    row.generic_trap = message.GenericTrap();
    row.specific_trap = message.SpecificTrap();
    row.sys_up_time = message.TimeStamp();
    row.trap_oid = V1TrapOid(row.enterprise, row.generic_trap, row.specific_trap);
    for (int i = 1; const snmp::CVarBind* b = binds.Get(i); ++i)
      row.bindings.push_back(BindingOf(*b));
    return row;
  }
  if (tag != snmp::kPduTrapV2 && tag != kPduInformRequest) {
    row.kind = NotificationKind::kOther;
    row.problem = L"not a notification: " + tree.nodes[pdu].type;
    return row;
  }
  row.kind = tag == kPduInformRequest ? NotificationKind::kInform : NotificationKind::kTrapV2;
  int first = 1;
  if (binds.Count() >= 2) {
    const NotificationBinding up = BindingOf(*binds.Get(1));
    const NotificationBinding id = BindingOf(*binds.Get(2));
    if (up.oid == kSysUpTimeOid && up.tag == snmp::kTagTimeTicks && id.oid == kSnmpTrapOid &&
        id.tag == snmp::kTagOid) {
      row.sys_up_time = tvkutil::WcsToU32(up.value);
      row.trap_oid = id.value;
      first = 3;
    }
  }
  for (int i = first; const snmp::CVarBind* b = binds.Get(i); ++i)
    row.bindings.push_back(BindingOf(*b));
  if (row.kind == NotificationKind::kInform && answer)
    row.answered = answer(InformResponse(bytes, tree, pdu));
  return row;
}

}  // namespace pages
