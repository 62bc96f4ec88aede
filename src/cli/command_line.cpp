#include "cli/command_line.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "mib/mib_set.h"
#include "net/address.h"
#include "ops/operation_common.h"
#include "ops/walk_mib_operation.h"
#include "settings/setting_rules.h"
#include "snmp/asn_data_type.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "util/text.h"

namespace cli {

namespace {

// What follows the command name.
enum class Shape {
  kHostOids,              // HOST OID...
  kHostBindings,          // HOST OID TYPE VALUE [OID TYPE VALUE]...
  kHostOptionalOid,       // HOST [OID]
  kHostOptionalBindings,  // HOST [OID TYPE VALUE]...
  kHost,                  // HOST
  kRange,                 // START END
  kMib,                   // ACTION NAME|OID
  kNone,                  // nothing
};

constexpr unsigned kCommonOptions = kOptSnmpVersion | kOptCommunity | kOptPort | kOptTimeout |
                                    kOptRetries | kOptIPv6 | kOptFormat | kOptLog | kOptPcapng |
                                    kOptNumeric | kOptMibDir;
constexpr unsigned kRequestOptions = kCommonOptions | kV3Options;

struct CommandSpec {
  std::string_view name;
  Shape shape;
  unsigned options;
  std::string_view synopsis;
  std::string_view description;
};

constexpr std::array<CommandSpec, 9> kCommands = {{
    {"get", Shape::kHostOids, kRequestOptions, "get HOST OID...",
     "Reads the objects with one GetRequest and prints each binding of the answer."},
    {"getnext", Shape::kHostOids, kRequestOptions, "getnext HOST OID...",
     "Reads the object after each OID with one GetNextRequest."},
    {"set", Shape::kHostBindings, kRequestOptions, "set HOST OID TYPE VALUE [OID TYPE VALUE]...",
     "Writes the values with one SetRequest (community \"setcomm\" unless -c is given) and\n"
     "prints the bindings of the answer. TYPE is Integer32, Octet String, Object Identifier,\n"
     "IPAddress, Counter32, Gauge32, UInteger32, Timeticks, Opaque or Counter64 (case is\n"
     "ignored); VALUE is checked against its TYPE before anything is sent; \"\" is an empty\n"
     "Octet String or Opaque."},
    {"walk", Shape::kHostOptionalOid, kRequestOptions | kOptBulk | kOptParallel,
     "walk HOST [OID] [--bulk N|auto] [--parallel N]",
     "Walks the agent's MIB as the walkMIB page does, from OID (default .1.3.6.1) to the end of\n"
     "its view, printing each object as it comes: with GetNext requests, or with GetBulk\n"
     "requests of N repetitions for --bulk N (-v 2c or 3). --bulk auto finds the count: it\n"
     "grows while answers come back whole and quickly, halves on tooBig, a time-out or an\n"
     "answer near the largest datagram, falls back to GetNext for an agent that does not\n"
     "answer GetBulk, and says on standard error what it settled on (-v 1: GetNext).\n"
     "--parallel N (1 to 8) keeps up to N requests outstanding, each part of the view walked\n"
     "by one of them; the objects are still printed in ascending order, with no gap. The\n"
     "closing line (\"walkMIB complete. No. of OIDs found: 'N'.\") goes to standard error.\n"
     "Ctrl+C stops the walk: what was found is printed, then the stopped line, and the exit\n"
     "status is 130."},
    {"trap", Shape::kHostOptionalBindings,
     kCommonOptions | kV3Options | kOptEnterprise | kOptAgentAddress | kOptGeneric | kOptSpecific |
         kOptTrapOid,
     "trap HOST [OID TYPE VALUE]...",
     "Sends one trap (port 162 unless -p is given) carrying the bindings, as the sendTrap page\n"
     "does, and prints the bindings it carried. Version 1 takes --enterprise OID (default the\n"
     "program's own), --agent-address IP (default the adapter's address), --generic NAME|N\n"
     "(default enterpriseSpecific) and --specific N (default 1); version 2c puts sysUpTime.0\n"
     "(the run's time ticks) and snmpTrapOID.0 (--trap-oid OID, default .1.3.6.1) first;\n"
     "version 3 does the same as the -u user of this program's own engine, whose ID the\n"
     "receiver's createUser -e needs.\n"
     "At most 64 bindings, the two fixed ones included. TYPE is one of set's types or Null\n"
     "(no Counter64 in a version 1 trap)."},
    {"ping", Shape::kHost, kOptTimeout | kOptRetries | kOptIPv6 | kOptFormat | kOptLog, "ping HOST",
     "Sends ICMP echoes as the ping toolbar does (1000 ms and 1 retry unless -t/-r are given)\n"
     "and prints the request and the reply. Exit status 0 on a reply, 3 without one."},
    {"sweep", Shape::kRange, kOptTimeout | kOptRetries | kOptFormat | kOptLog | kOptFast,
     "sweep START END [--fast]",
     "Pings every IPv4 address from START to END and prints each one that answers with its\n"
     "host name, as the Device Discovery page does. --fast sends without waiting for each\n"
     "answer and prints the devices in address order when the sweep ends. Ctrl+C stops the\n"
     "sweep: what was found is printed, then the stopped line, and the exit status is 130."},
    {"mib", Shape::kMib, kOptMibDir, "mib translate NAME|OID | mib check FILE...",
     "translate prints the object's name and number, as the programs find it in the standard\n"
     "MIB modules built in and the MIB files of the MIB folders, and what the module says of\n"
     "it: kind, syntax, access, status, units, index, values and description. NAME is\n"
     "\"sysDescr.0\", \"IF-MIB::ifDescr.1\" or \"ifDescr\"; exit status 2 for a name no module\n"
     "has. check reads the MIB files given (what they import from the MIB folders) and prints\n"
     "each module read and each problem with file, line and cause; exit status 4 if any."},
    {"listen", Shape::kNone,
     kOptPort | kOptTimeout | kOptIPv6 | kOptFormat | kOptLog | kOptPcapng | kOptCount |
         kOptNumeric | kOptMibDir | (kV3Options & ~kOptContext),
     "listen [--port N] [--count N] [--timeout S] [-u USER -l LEVEL ...]",
     "Receives v1 traps and v2c traps and informs on UDP port 162 (or --port N) of the adapter\n"
     "in the program's settings, and SNMPv3 ones of the user -u (with -l, -a, -A, -x, -X; -E is\n"
     "this program's engine ID, for informs), and prints each as it comes: time, sender,\n"
     "version, community or user, notification (a v1 trap's mapped as RFC 3584 says),\n"
     "sysUpTime and bindings, by name unless -On. Informs are\n"
     "answered at once. A datagram that does not decode is printed with where and why. Exit\n"
     "status 0 after --count N notifications, 3 when --timeout S seconds pass first, 130 on\n"
     "Ctrl+C, 2 when the port cannot be had (the reason and the way out on standard error)."},
}};

struct OptionSpec {
  char short_name;  // 0: long form only
  std::string_view long_name;
  unsigned bit;                 // 0: --help and --version, which every command takes
  std::string_view value_name;  // empty: a switch
  std::string_view help;
};

constexpr std::array<OptionSpec, 31> kOptions = {{
    {'v', "snmp-version", kOptSnmpVersion, "1|2c|3", "SNMP version (default 2c)"},
    {'c', "community", kOptCommunity, "COMMUNITY",
     "community (default \"getcom\", \"setcomm\" for set)"},
    {'p', "port", kOptPort, "PORT",
     "agent port (default 161, 162 for trap); listen: port listened on (162)"},
    {'t', "timeout", kOptTimeout, "MS",
     "time-out of each try in ms (default: the program's settings); listen: seconds"},
    {'r', "retries", kOptRetries, "N", "tries after the first (default: the program's settings)"},
    {'6', "ipv6", kOptIPv6, "", "IPv6 instead of IPv4"},
    {0, "format", kOptFormat, "text|csv|json", "output format (default text)"},
    {0, "log", kOptLog, "FILE", "write every message to FILE as the window saves its log"},
    {0, "pcapng", kOptPcapng, "FILE", "write every SNMP datagram to FILE as a pcapng capture"},
    {0, "bulk", kOptBulk, "N|auto", "walk with GetBulk requests of N repetitions, or find N"},
    {0, "parallel", kOptParallel, "N", "walk: requests outstanding at once, 1 to 8 (default 1)"},
    {0, "enterprise", kOptEnterprise, "OID", "v1 trap: enterprise (sender OID)"},
    {0, "agent-address", kOptAgentAddress, "IP", "v1 trap: agent address (sender IP)"},
    {0, "generic", kOptGeneric, "NAME|N",
     "v1 trap: generic trap, coldStart ... enterpriseSpecific"},
    {0, "specific", kOptSpecific, "N", "v1 trap: specific trap, 0 to 65535"},
    {0, "trap-oid", kOptTrapOid, "OID", "v2c trap: the value of snmpTrapOID.0"},
    {0, "fast", kOptFast, "", "sweep without waiting for each answer"},
    {'O', "output", kOptNumeric, "n", "-On: OIDs as numbers and values without MIB names"},
    {0, "mibdir", kOptMibDir, "DIR", "a folder of MIB files, read before the usual ones"},
    {0, "count", kOptCount, "N", "listen: end after N notifications"},
    {'u', "user", kOptUser, "USER", "v3: the user (needed with -v 3)"},
    {'l', "level", kOptLevel, "LEVEL", "v3: noAuthNoPriv (default), authNoPriv or authPriv"},
    {'a', "auth-protocol", kOptAuthProtocol, "PROTOCOL",
     "v3: MD5, SHA, SHA-224, SHA-256, SHA-384 or SHA-512"},
    {'A', "auth-password", kOptAuthPassword, "PASS",
     "v3: authentication password (else $SONDARA_AUTH_PASSWORD or asked)"},
    {'x', "priv-protocol", kOptPrivProtocol, "PROTOCOL", "v3: DES, AES, AES-192 or AES-256"},
    {'X', "priv-password", kOptPrivPassword, "PASS",
     "v3: privacy password (else $SONDARA_PRIV_PASSWORD or asked)"},
    {'n', "context", kOptContext, "CONTEXT", "v3: context name (default empty)"},
    {'E', "context-engine", kOptEngineId, "ENGINEID",
     "v3: context engine ID in hex (default the agent's); listen: our engine ID"},
    {0, "key-extension", kOptKeyExtension, "blumenthal|reeder|auto",
     "v3: how AES-192/256 keys are stretched (default auto: Blumenthal, then Reeder)"},
    {'h', "help", 0, "", "this help"},
    {0, "version", 0, "", "the program's version"},
}};

// Wider than the Options' 100 to 30000 on purpose: a script may wait less or longer than the
// window offers, and the command line's value is never stored.
constexpr int kMaxTimeoutMs = 60000;
constexpr int kMaxBulk = 65535;
constexpr int kMaxSpecificTrap = 65535;
// A day: longer than any commissioning session waits for one device.
constexpr int kMaxListenSeconds = 86400;

const CommandSpec* FindCommand(std::string_view name) {
  for (const CommandSpec& c : kCommands) {
    if (c.name == name)
      return &c;
  }
  return nullptr;
}

const OptionSpec* FindOption(std::string_view arg, std::string& attached) {
  attached.clear();
  if (arg.size() >= 3 && arg.substr(0, 2) == "--") {
    std::string_view name = arg.substr(2);
    const std::size_t eq = name.find('=');
    if (eq != std::string_view::npos) {
      attached = std::string(name.substr(eq + 1));
      name = name.substr(0, eq);
    }
    for (const OptionSpec& o : kOptions) {
      if (o.long_name == name)
        return &o;
    }
    return nullptr;
  }
  if (arg.size() >= 2 && arg[0] == '-' && arg[1] != '-') {
    for (const OptionSpec& o : kOptions) {
      if (o.short_name == arg[1]) {
        attached = std::string(arg.substr(2));  // "-cpublic", "-v1"
        return &o;
      }
    }
  }
  return nullptr;
}

std::string OptionName(const OptionSpec& o) {
  return o.short_name != 0 ? std::string("-") + o.short_name : "--" + std::string(o.long_name);
}

std::string Quoted(std::string_view text) {
  std::string out(1, '\'');
  out.append(text).push_back('\'');
  return out;
}

std::wstring Wide(std::string_view text) {
  return tvkutil::FromUtf8Lenient(text);
}

// Decimal digits only, within [low, high].
bool ReadNumber(std::string_view text, long long low, long long high, long long& out) {
  if (text.empty() || text.size() > 10 ||
      !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
    return false;
  out = std::stoll(std::string(text));
  return out >= low && out <= high;
}

std::string Range(long long low, long long high) {
  return " (" + std::to_string(low) + " to " + std::to_string(high) + ")";
}

// The types a binding of `set` may carry; a trap's may also be Null.
bool TakesType(std::string_view command, std::uint32_t tag) {
  if (tag == snmp::kTagNull)
    return command == "trap";
  return snmp::IsValueTag(tag) && tag < snmp::kTagNoSuchObject;
}

std::string TypeList(std::string_view command) {
  std::string list;
  for (std::uint32_t tag = 0; tag < snmp::kTagNoSuchObject; ++tag) {
    if (!snmp::IsValueTag(tag) || !TakesType(command, tag))
      continue;
    if (!list.empty())
      list += ", ";
    list += tvkutil::ToUtf8(snmp::TypeNameOfTag(tag));
  }
  return list;
}

std::string BadOid(std::string_view what, std::string_view text) {
  std::string why;
  switch (snmp::CheckOidText(Wide(text))) {
    case snmp::OidTextFault::kArcTooLarge:
      why = "each number at most 4294967295";
      break;
    case snmp::OidTextFault::kFirstArcs:
      why = "first number 0, 1 or 2; after 0 or 1 the second below 40";
      break;
    default:
      why = "digits and dots, 2 to 128 numbers, no dot at the end";
      break;
  }
  return "bad " + std::string(what) + " " + Quoted(text) + " (" + why + ")";
}

bool ReadLevel(std::string_view text, snmp::usm::SecurityLevel& out) {
  using snmp::usm::SecurityLevel;
  constexpr std::array<std::pair<std::string_view, SecurityLevel>, 3> kLevels = {{
      {"noAuthNoPriv", SecurityLevel::kNoAuthNoPriv},
      {"authNoPriv", SecurityLevel::kAuthNoPriv},
      {"authPriv", SecurityLevel::kAuthPriv},
  }};
  for (const auto& [name, level] : kLevels) {
    if (tvkutil::EqualsNoCase(Wide(text), Wide(name))) {
      out = level;
      return true;
    }
  }
  return false;
}

std::string LevelName(snmp::usm::SecurityLevel level) {
  return level == snmp::usm::SecurityLevel::kAuthPriv     ? "authPriv"
         : level == snmp::usm::SecurityLevel::kAuthNoPriv ? "authNoPriv"
                                                          : "noAuthNoPriv";
}

bool ReadAuth(std::string_view text, snmp::usm::AuthProtocol& out) {
  using snmp::usm::AuthProtocol;
  constexpr std::array<std::pair<std::string_view, AuthProtocol>, 7> kAuths = {{
      {"MD5", AuthProtocol::kMd5},
      {"SHA", AuthProtocol::kSha1},
      {"SHA-1", AuthProtocol::kSha1},
      {"SHA-224", AuthProtocol::kSha224},
      {"SHA-256", AuthProtocol::kSha256},
      {"SHA-384", AuthProtocol::kSha384},
      {"SHA-512", AuthProtocol::kSha512},
  }};
  for (const auto& [name, auth] : kAuths) {
    if (tvkutil::EqualsNoCase(Wide(text), Wide(name))) {
      out = auth;
      return true;
    }
  }
  return false;
}

bool ReadPriv(std::string_view text, snmp::usm::PrivProtocol& out) {
  using snmp::usm::PrivProtocol;
  constexpr std::array<std::pair<std::string_view, PrivProtocol>, 5> kPrivs = {{
      {"DES", PrivProtocol::kDes},
      {"AES", PrivProtocol::kAes128},
      {"AES-128", PrivProtocol::kAes128},
      {"AES-192", PrivProtocol::kAes192},
      {"AES-256", PrivProtocol::kAes256},
  }};
  for (const auto& [name, priv] : kPrivs) {
    if (tvkutil::EqualsNoCase(Wide(text), Wide(name))) {
      out = priv;
      return true;
    }
  }
  return false;
}

// An engine ID in hex, "0x" allowed in front: 5 to 32 bytes (RFC 3411 SnmpEngineID).
bool ReadHex(std::string_view text, snmp::usm::Bytes& out) {
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
    text.remove_prefix(2);
  out.clear();
  if (text.size() % 2 != 0 || text.size() < 10 || text.size() > 64)
    return false;
  const auto nibble = [](char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
  };
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int hi = nibble(text[i]);
    const int lo = nibble(text[i + 1]);
    if (hi < 0 || lo < 0)
      return false;
    out.push_back(static_cast<std::uint8_t>(hi * 16 + lo));
  }
  return true;
}

class CParser {
 public:
  explicit CParser(const std::vector<std::string>& args) : args_(args) {}

  ParseResult Run() {
    std::vector<std::string> positionals;
    bool options_ended = false;
    for (std::size_t i = 0; i < args_.size() && error_.empty(); ++i) {
      const std::string& arg = args_[i];
      const bool option_like = !options_ended && arg.size() > 1 && arg[0] == '-';
      if (option_like && ValueComesNext(positionals)) {
        positionals.push_back(arg);
      } else if (option_like && arg == "--") {
        options_ended = true;
      } else if (option_like) {
        TakeOption(i);
      } else if (positionals.empty() && FindCommand(arg) == nullptr) {
        error_ = "unknown command " + Quoted(arg) + " (see sondara-cli --help)";
      } else {
        positionals.push_back(arg);
        if (positionals.size() == 1)
          spec_ = FindCommand(arg);
      }
    }
    // Names are read once every --mibdir is known.
    mib::CMibSet::AddFolders(line_.mib_dirs);
    if (error_.empty())
      ReadOidOptions();
    if (error_.empty() && !line_.help && !line_.show_version) {
      if (spec_ == nullptr) {
        error_ = "missing COMMAND (see sondara-cli --help)";
      } else {
        line_.command = std::string(spec_->name);
        positionals.erase(positionals.begin());
        ReadTimeout();
        if (error_.empty())
          CheckOptions();
        if (error_.empty())
          TakePositionals(positionals);
        if (!error_.empty())
          error_ = line_.command + ": " + error_;
      }
    } else if (spec_ != nullptr) {
      line_.command = std::string(spec_->name);
    }
    return {std::move(line_), std::move(error_)};
  }

 private:
  // The VALUE of an OID TYPE VALUE may start with "-" (a negative number): it is taken as it
  // stands. Positionals so far: the command, HOST, then triples.
  bool ValueComesNext(const std::vector<std::string>& positionals) const {
    if (spec_ == nullptr ||
        (spec_->shape != Shape::kHostBindings && spec_->shape != Shape::kHostOptionalBindings))
      return false;
    const std::size_t after_host = positionals.size() >= 2 ? positionals.size() - 2 : 0;
    return positionals.size() >= 2 && after_host % 3 == 2;
  }

  void TakeOption(std::size_t& i) {
    std::string value;
    const OptionSpec* o = FindOption(args_[i], value);
    if (o == nullptr) {
      error_ = "unknown option " + Quoted(args_[i]) + " (see sondara-cli --help)";
      return;
    }
    if (o->value_name.empty()) {
      if (!value.empty()) {
        error_ = OptionName(*o) + " takes no value";
        return;
      }
    } else if (value.empty() && args_[i].find('=') == std::string::npos) {
      if (i + 1 >= args_.size()) {
        error_ = "option " + OptionName(*o) + " needs " + std::string(o->value_name);
        return;
      }
      value = args_[++i];
    }
    line_.given |= o->bit;
    ReadOption(*o, value);
  }

  void ReadOption(const OptionSpec& o, const std::string& value) {
    long long n = 0;
    const std::string name = OptionName(o);
    switch (o.bit) {
      case 0:
        if (o.long_name == "help")
          line_.help = true;
        else
          line_.show_version = true;
        break;
      case kOptSnmpVersion:
        if (value == "1" || value == "2c" || value == "2C" || value == "3")
          line_.snmp_version = value == "2C" ? L"2c" : Wide(value);
        else
          error_ = "bad SNMP version " + Quoted(value) + " (1, 2c or 3)";
        break;
      case kOptCommunity:
        if (value.empty())
          error_ = "empty community";
        line_.community = Wide(value);
        break;
      case kOptPort: {
        std::uint16_t port = 0;
        if (!pages::ReadPort(Wide(value), port) || port == 0)
          error_ = "bad port " + Quoted(value) + Range(1, pages::kMaxPort);
        line_.port = port;
        break;
      }
      case kOptTimeout:
        timeout_text_ = value;  // read once the command is known: listen takes seconds
        break;
      case kOptCount:
        if (!ReadNumber(value, 1, INT32_MAX, n))
          error_ = "bad --count " + Quoted(value) + Range(1, INT32_MAX);
        line_.count = static_cast<std::uint32_t>(n);
        break;
      case kOptRetries:
        if (!ReadNumber(value, app::kMinRetries, app::kMaxRetries, n))
          error_ = "bad retries " + Quoted(value) + Range(app::kMinRetries, app::kMaxRetries);
        line_.retries = static_cast<int>(n);
        break;
      case kOptIPv6:
        line_.ipv6 = true;
        break;
      case kOptFormat:
        if (value == "text")
          line_.format = OutputFormat::kText;
        else if (value == "csv")
          line_.format = OutputFormat::kCsv;
        else if (value == "json")
          line_.format = OutputFormat::kJson;
        else
          error_ = "bad format " + Quoted(value) + " (text, csv or json)";
        break;
      case kOptLog:
        line_.log_path = value;
        if (value.empty())
          error_ = "--log needs a FILE";
        break;
      case kOptPcapng:
        line_.pcapng_path = value;
        if (value.empty())
          error_ = "--pcapng needs a FILE";
        break;
      case kOptBulk:
        if (value == "auto")
          line_.bulk = pages::kBulkAuto;
        else if (!ReadNumber(value, 1, kMaxBulk, n))
          error_ =
              "bad --bulk " + Quoted(value) + " (1 to " + std::to_string(kMaxBulk) + ", or auto)";
        else
          line_.bulk = static_cast<int>(n);
        break;
      case kOptParallel:
        if (!ReadNumber(value, app::kMinWalkInFlight, app::kMaxWalkInFlight, n))
          error_ = "bad --parallel " + Quoted(value) +
                   Range(app::kMinWalkInFlight, app::kMaxWalkInFlight);
        line_.parallel = static_cast<int>(n);
        break;
      case kOptEnterprise:
        enterprise_text_ = value;
        break;
      case kOptAgentAddress:
        if (!net::IsValidIPv4Text(Wide(value)))
          error_ = "bad --agent-address " + Quoted(value) + " (a dotted IPv4 address)";
        line_.agent_address = Wide(value);
        break;
      case kOptGeneric:
        if (snmp::IsGenericTrapName(Wide(value)))
          line_.generic_trap = snmp::GenericTrapNumber(Wide(value));
        else if (ReadNumber(value, 0, snmp::kEnterpriseSpecificTrap, n))
          line_.generic_trap = static_cast<std::int32_t>(n);
        else
          error_ = "bad --generic " + Quoted(value) + " (coldStart, warmStart, linkDown, linkUp, " +
                   "authenticationFailure, egpNeighborLoss, enterpriseSpecific or 0 to 6)";
        break;
      case kOptSpecific:
        if (!ReadNumber(value, 0, kMaxSpecificTrap, n))
          error_ = "bad --specific " + Quoted(value) + Range(0, kMaxSpecificTrap);
        line_.specific_trap = static_cast<std::uint32_t>(n);
        break;
      case kOptTrapOid:
        trap_oid_text_ = value;
        break;
      case kOptFast:
        line_.fast = true;
        break;
      case kOptMibDir:
        line_.mib_dirs.push_back(value);
        break;
      case kOptNumeric:
        if (value != "n")
          error_ = "bad -O " + Quoted(value) + " (n: OIDs as numbers)";
        line_.numeric = true;
        break;
      default:
        ReadV3Option(o, value);
        break;
    }
  }

  // --enterprise and --trap-oid, names or numbers, as checked OIDs.
  void ReadOidOptions() {
    for (auto [text, oid, option] :
         {std::tuple{&enterprise_text_, &line_.enterprise, "--enterprise"},
          std::tuple{&trap_oid_text_, &line_.trap_oid, "--trap-oid"}}) {
      if (!text->has_value() || !error_.empty())
        continue;
      *oid = Numbers(**text);
      if (error_.empty() && !snmp::IsValidOidText(**oid))
        error_ = BadOid(option, **text);
    }
  }

  void ReadTimeout() {
    if ((line_.given & kOptTimeout) == 0)
      return;
    const bool seconds = line_.command == "listen";
    const int high = seconds ? kMaxListenSeconds : kMaxTimeoutMs;
    long long n = 0;
    if (!ReadNumber(timeout_text_, 1, high, n))
      error_ = "bad time-out " + Quoted(timeout_text_) + Range(1, high) + (seconds ? " s" : " ms");
    (seconds ? line_.listen_seconds : line_.timeout_ms) = static_cast<int>(n);
  }

  void ReadV3Option(const OptionSpec& o, const std::string& value) {
    snmp::usm::UserSecurity& user = line_.security;
    switch (o.bit) {
      case kOptUser:
        if (value.empty() || value.size() > 32)
          error_ = "bad -u " + Quoted(value) + " (1 to 32 characters)";
        user.user_name = value;
        break;
      case kOptLevel:
        if (!ReadLevel(value, user.level))
          error_ = "bad -l " + Quoted(value) + " (noAuthNoPriv, authNoPriv or authPriv)";
        break;
      case kOptAuthProtocol:
        if (!ReadAuth(value, user.auth))
          error_ = "bad -a " + Quoted(value) + " (MD5, SHA, SHA-224, SHA-256, SHA-384 or SHA-512)";
        break;
      case kOptAuthPassword:
        user.auth_password = value;
        break;
      case kOptPrivProtocol:
        if (!ReadPriv(value, user.priv))
          error_ = "bad -x " + Quoted(value) + " (DES, AES, AES-192 or AES-256)";
        break;
      case kOptPrivPassword:
        user.priv_password = value;
        break;
      case kOptContext:
        user.context_name = value;
        break;
      case kOptEngineId:
        if (!ReadHex(value, user.context_engine_id))
          error_ = "bad -E " + Quoted(value) + " (5 to 32 bytes in hex, as 80001f8880...)";
        break;
      case kOptKeyExtension:
        if (value == "blumenthal")
          user.extension = snmp::usm::KeyExtensionChoice::kBlumenthal;
        else if (value == "reeder")
          user.extension = snmp::usm::KeyExtensionChoice::kReeder;
        else if (value == "auto")
          user.extension = snmp::usm::KeyExtensionChoice::kAutomatic;
        else
          error_ = "bad --key-extension " + Quoted(value) + " (blumenthal, reeder or auto)";
        break;
      default:
        break;
    }
  }

  // Options the command does not take, and combinations that mean nothing.
  void CheckOptions() {
    for (const OptionSpec& o : kOptions) {
      if ((line_.given & o.bit & ~spec_->options) != 0) {
        error_ = "option " + OptionName(o) + " does not apply";
        return;
      }
    }
    // listen takes every version at once; a user makes it take SNMPv3 too.
    if (line_.command == "listen" && (line_.given & kV3Options) != 0)
      line_.snmp_version = L"3";
    const bool v1 = line_.snmp_version == L"1";
    const bool v3 = line_.snmp_version == L"3";
    const snmp::usm::UserSecurity& user = line_.security;
    if (!v3 && (line_.given & kV3Options) != 0)
      error_ = "-u, -l, -a, -A, -x, -X, -n, -E and --key-extension are for -v 3";
    else if (v3 && user.user_name.empty())
      error_ = "-v 3 needs -u USER";
    else if (v3 && user.level != snmp::usm::SecurityLevel::kNoAuthNoPriv &&
             user.auth == snmp::usm::AuthProtocol::kNone)
      error_ = "-l " + LevelName(user.level) + " needs -a PROTOCOL";
    else if (v3 && user.level == snmp::usm::SecurityLevel::kAuthPriv &&
             user.priv == snmp::usm::PrivProtocol::kNone)
      error_ = "-l authPriv needs -x PROTOCOL";
    else if (v3 && user.level == snmp::usm::SecurityLevel::kNoAuthNoPriv &&
             (line_.given &
              (kOptAuthProtocol | kOptAuthPassword | kOptPrivProtocol | kOptPrivPassword)) != 0)
      error_ = "-a, -A, -x and -X need -l authNoPriv or authPriv";
    else if (v3 && user.level == snmp::usm::SecurityLevel::kAuthNoPriv &&
             (line_.given & (kOptPrivProtocol | kOptPrivPassword)) != 0)
      error_ = "-x and -X need -l authPriv";
    if (!error_.empty())
      return;
    // Auto walks a version 1 agent with GetNext, as the window does.
    if (line_.bulk && *line_.bulk != pages::kBulkAuto && v1)
      error_ = "--bulk needs -v 2c or 3 (GetBulk is a version 2c request)";
    else if (line_.trap_oid && v1)
      error_ = "--trap-oid is for -v 2c traps";
    else if (!v1 &&
             (line_.given & (kOptEnterprise | kOptAgentAddress | kOptGeneric | kOptSpecific)) != 0)
      error_ = "--enterprise, --agent-address, --generic and --specific are for -v 1 traps";
    else if (line_.command == "ping" && line_.format != OutputFormat::kText)
      error_ = "--format is text only";
    if ((line_.given & kOptCommunity) == 0)
      line_.community = line_.command == "set" ? L"setcomm" : L"getcom";
    if ((line_.given & kOptPort) == 0)
      line_.port = line_.command == "trap" || line_.command == "listen" ? 162 : 161;
  }

  void TakePositionals(const std::vector<std::string>& p) {
    const Shape shape = spec_->shape;
    if (shape == Shape::kNone) {
      if (!p.empty())
        error_ = "unexpected argument " + Quoted(p[0]);
      return;
    }
    if (shape == Shape::kRange) {
      if (p.size() < 2) {
        error_ = p.empty() ? "missing START" : "missing END";
        return;
      }
      if (p.size() > 2) {
        error_ = "unexpected argument " + Quoted(p[2]);
        return;
      }
      line_.start_ip = Wide(p[0]);
      line_.end_ip = Wide(p[1]);
      if (!net::IsValidIPv4Text(line_.start_ip))
        error_ = "bad START " + Quoted(p[0]) + " (a dotted IPv4 address)";
      else if (!net::IsValidIPv4Text(line_.end_ip))
        error_ = "bad END " + Quoted(p[1]) + " (a dotted IPv4 address)";
      return;
    }
    if (shape == Shape::kMib) {
      if (!p.empty() && p[0] == "check" && p.size() > 1)
        line_.mib_action = p[0], line_.mib_files.assign(p.begin() + 1, p.end());
      else if (p.empty() || (p[0] != "translate" && p[0] != "check"))
        error_ = p.empty() ? "missing ACTION (translate or check)"
                           : "unknown action " + Quoted(p[0]) + " (translate or check)";
      else if (p.size() < 2)
        error_ = p[0] == "check" ? "missing FILE" : "missing NAME or OID";
      else if (p.size() > 2)
        error_ = "missing NAME or OID";
      else if (p.size() > 2)
        error_ = "unexpected argument " + Quoted(p[2]);
      else
        line_.mib_action = p[0], line_.mib_subject = p[1];
      return;
    }
    if (p.empty() || p[0].empty()) {
      error_ = "missing HOST";
      return;
    }
    line_.host = Wide(p[0]);
    const std::vector<std::string> rest(p.begin() + 1, p.end());
    switch (shape) {
      case Shape::kHost:
        if (!rest.empty())
          error_ = "unexpected argument " + Quoted(rest[0]);
        break;
      case Shape::kHostOids:
      case Shape::kHostOptionalOid:
        if (rest.empty() && shape == Shape::kHostOids)
          error_ = "missing OID";
        else if (rest.size() > 1 && shape == Shape::kHostOptionalOid)
          error_ = "unexpected argument " + Quoted(rest[1]);
        for (const std::string& oid : rest) {
          if (!error_.empty())
            break;
          line_.oids.push_back(Numbers(oid));
          if (error_.empty() && !snmp::IsValidOidText(line_.oids.back()))
            error_ = BadOid("OID", oid);
        }
        if (line_.oids.empty())
          line_.oids.push_back(L".1.3.6.1");
        break;
      case Shape::kHostBindings:
      case Shape::kHostOptionalBindings:
        if (rest.empty() && shape == Shape::kHostBindings)
          error_ = "missing OID TYPE VALUE";
        for (std::size_t i = 0; i < rest.size() && error_.empty(); i += 3)
          TakeBinding(rest, i);
        break;
      case Shape::kRange:
      case Shape::kMib:
      case Shape::kNone:
        break;
    }
  }

  void TakeBinding(const std::vector<std::string>& rest, std::size_t i) {
    const std::string& oid = rest[i];
    const std::wstring numbers = Numbers(oid);
    if (!error_.empty())
      return;
    if (!snmp::IsValidOidText(numbers)) {
      error_ = BadOid("OID", oid);
      return;
    }
    if (i + 2 >= rest.size()) {
      error_ =
          "OID " + oid + (i + 1 < rest.size() ? " needs a VALUE" : " needs a TYPE and a VALUE");
      return;
    }
    const std::string& type = rest[i + 1];
    const std::uint32_t tag = snmp::TagOfTypeName(Wide(type));
    if (!snmp::IsDataTypeName(Wide(type)) || !TakesType(line_.command, tag)) {
      error_ = "unknown TYPE " + Quoted(type) + " (" + TypeList(line_.command) + ")";
      return;
    }
    const std::wstring value = tag == snmp::kTagOid ? Numbers(rest[i + 2]) : Wide(rest[i + 2]);
    if (!error_.empty())
      return;
    if (!pages::IsValidValueText(tag, value)) {
      error_ = "value " + Quoted(rest[i + 2]) + " does not fit " +
               tvkutil::ToUtf8(snmp::TypeNameOfTag(tag));
      return;
    }
    line_.bindings.push_back({numbers, tag, value});
  }

  // A typed OID as numbers; a name no module has is the command line's error.
  std::wstring Numbers(std::string_view text) {
    std::string why;
    std::wstring numbers = OidOfName(text, why);
    if (!why.empty())
      error_ = why;
    return numbers;
  }

  const std::vector<std::string>& args_;
  const CommandSpec* spec_ = nullptr;
  CommandLine line_;
  std::string error_;
  std::string timeout_text_;
  std::optional<std::string> enterprise_text_, trap_oid_text_;
};

std::string OptionLines(unsigned mask) {
  std::string out;
  for (const OptionSpec& o : kOptions) {
    if (o.bit != 0 && (o.bit & mask) == 0)
      continue;
    std::string left = "  ";
    // Appended piece by piece: g++ 12 at -O3 sees a false overlap in `" " + std::string(...)`.
    if (o.short_name != 0)
      left.append(1, '-').append(1, o.short_name).append(", ");
    else
      left.append("    ");
    left.append("--").append(o.long_name);
    if (!o.value_name.empty())
      left.append(1, ' ').append(o.value_name);
    left.resize(std::max<std::size_t>(left.size() + 2, 32), ' ');
    out += left + std::string(o.help) + "\n";
  }
  return out;
}

}  // namespace

// RFC 3414 11.2: net-snmp refuses shorter passwords, and so do we rather than have the agent
// answer a digest nobody can match.
constexpr std::size_t kMinPasswordLength = 8;

std::string FillPasswords(CommandLine& line, PasswordPrompt prompt) {
  snmp::usm::UserSecurity& user = line.security;
  if (line.snmp_version != L"3" || user.level == snmp::usm::SecurityLevel::kNoAuthNoPriv)
    return {};
  const auto fill = [&](std::string& password, const char* variable, const char* option,
                        const char* question) -> std::string {
    if (password.empty()) {
      if (const char* from_env = std::getenv(variable); from_env != nullptr)
        password = from_env;
      else if (prompt != nullptr)
        password = prompt(question).value_or(std::string());
    }
    if (password.empty())
      return std::string(option) + " needs PASS (or " + variable + ")";
    if (password.size() < kMinPasswordLength)
      return std::string("bad ") + option + ": at least 8 characters (RFC 3414)";
    return {};
  };
  std::string error =
      fill(user.auth_password, "SONDARA_AUTH_PASSWORD", "-A", "Authentication password: ");
  if (error.empty() && user.level == snmp::usm::SecurityLevel::kAuthPriv)
    error = fill(user.priv_password, "SONDARA_PRIV_PASSWORD", "-X", "Privacy password: ");
  return error.empty() ? error : line.command + ": " + error;
}

std::optional<std::string> AskPasswordOnTerminal(const char* question) {
  const int tty = ::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (tty < 0)
    return std::nullopt;
  termios saved{};
  if (::tcgetattr(tty, &saved) != 0) {
    ::close(tty);
    return std::nullopt;
  }
  termios quiet = saved;
  quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  quiet.c_lflag |= ICANON;
  (void)::write(tty, question, std::strlen(question));
  (void)::tcsetattr(tty, TCSAFLUSH, &quiet);
  std::string answer;
  char c = 0;
  while (::read(tty, &c, 1) == 1 && c != '\n' && answer.size() < 1024)
    answer.push_back(c);
  (void)::tcsetattr(tty, TCSAFLUSH, &saved);
  (void)::write(tty, "\n", 1);
  ::close(tty);
  return answer;
}

ParseResult ParseCommandLine(const std::vector<std::string>& args) {
  return CParser(args).Run();
}

std::wstring OidOfName(std::string_view text, std::string& error) {
  return Wide(mib::OidTextOfName(text, error));
}

bool IsCommand(std::string_view name) {
  return FindCommand(name) != nullptr;
}

std::string ProgramHelp() {
  std::string out =
      "Usage: sondara-cli COMMAND [options] ...\n"
      "SNMP v1/v2c/v3 requests and traps, ping and sweeps from a shell, as Sondara Utility "
      "does them.\n"
      "\nCommands:\n";
  for (const CommandSpec& c : kCommands)
    out += "  " + std::string(c.synopsis) + "\n";
  out += "\nOptions:\n" + OptionLines(~0u);
  out +=
      "\nAn OID may be typed as a name of the standard MIB modules: sysUpTime.0, ifDescr.1,\n"
      "IF-MIB::ifDescr.1.\n"
      "\nOutput: text prints \"NAME = TypeName: value\" per binding (\"IF-MIB::ifOperStatus.3 =\n"
      "Integer32: down(2)\"), or \"OID = TypeName: value\" with -On; control characters and\n"
      "bidirectional controls as escapes (\\r, \\x00, \\u202e, \\\\); csv the walk file's rows\n"
      "under a header, with a Name column after the OID unless -On, a field a spreadsheet\n"
      "would run as a formula with a leading '; json one object per line, \"name\" after \"oid\"\n"
      "unless -On, an OCTET STRING's bytes in \"hex\". The operations' own lines (started,\n"
      "complete, stopped, failures) go to standard error.\n"
      "Exit status: 0 done, 1 the agent answered with an error status, 2 a usage error (nothing\n"
      "is sent), 3 no answer, 4 any other failure, 130 stopped by Ctrl+C.\n"
      "\"sondara-cli COMMAND --help\" describes one command; man sondara-cli has examples.\n";
  return out;
}

std::string CommandHelp(std::string_view command) {
  const CommandSpec* c = FindCommand(command);
  if (c == nullptr)
    return ProgramHelp();
  return "Usage: sondara-cli " + std::string(c->synopsis) + " [options]\n" +
         std::string(c->description) + "\n\nOptions:\n" + OptionLines(c->options);
}

}  // namespace cli
