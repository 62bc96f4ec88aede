// The command line of sondara-cli: every command and option, read and checked before anything
// is sent. A refused command line names what was wrong in one short line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "snmp/usm_user.h"

namespace cli {

enum class OutputFormat { kText, kCsv, kJson };

// One OID TYPE VALUE of `set` and `trap`, checked as strictly as the pages check it.
struct BindingArg {
  std::wstring oid;
  std::uint32_t tag = 0;
  std::wstring value;
};

// The options, one bit each; every command lists the ones it takes.
enum OptionBit : unsigned {
  kOptSnmpVersion = 1u << 0,
  kOptCommunity = 1u << 1,
  kOptPort = 1u << 2,
  kOptTimeout = 1u << 3,
  kOptRetries = 1u << 4,
  kOptIPv6 = 1u << 5,
  kOptFormat = 1u << 6,
  kOptLog = 1u << 7,
  kOptBulk = 1u << 8,
  kOptEnterprise = 1u << 9,
  kOptAgentAddress = 1u << 10,
  kOptGeneric = 1u << 11,
  kOptSpecific = 1u << 12,
  kOptTrapOid = 1u << 13,
  kOptFast = 1u << 14,
  kOptPcapng = 1u << 15,
  kOptUser = 1u << 16,  // the SNMPv3 options, -u to --key-extension
  kOptLevel = 1u << 17,
  kOptAuthProtocol = 1u << 18,
  kOptAuthPassword = 1u << 19,
  kOptPrivProtocol = 1u << 20,
  kOptPrivPassword = 1u << 21,
  kOptContext = 1u << 22,
  kOptEngineId = 1u << 23,
  kOptKeyExtension = 1u << 24,
  kOptNumeric = 1u << 25,  // -On
  kOptMibDir = 1u << 26,
  kOptCount = 1u << 27,
  kOptParallel = 1u << 28,
};
inline constexpr unsigned kV3Options = kOptUser | kOptLevel | kOptAuthProtocol | kOptAuthPassword |
                                       kOptPrivProtocol | kOptPrivPassword | kOptContext |
                                       kOptEngineId | kOptKeyExtension;

// Everything a command runs with. Defaults that depend on the command (community, port) are
// filled in once the command is known; time-out and retries stay empty unless given, so the
// program's settings apply.
struct CommandLine {
  std::string command;  // empty for --help and --version of the program itself
  bool help = false;
  bool show_version = false;
  unsigned given = 0;  // OptionBits that were on the command line

  std::wstring host;
  std::vector<std::wstring> oids;    // get, getnext; walk's start OID (one, defaulted)
  std::vector<BindingArg> bindings;  // set, trap
  std::wstring start_ip, end_ip;     // sweep

  std::wstring snmp_version = L"2c";  // "1", "2c" or "3"
  std::wstring community;
  std::uint16_t port = 0;
  std::optional<int> timeout_ms;
  std::optional<int> retries;
  bool ipv6 = false;
  OutputFormat format = OutputFormat::kText;
  std::string log_path;     // empty: no transaction log file
  std::string pcapng_path;  // empty: no capture file

  std::optional<int> bulk;                     // walk: GetBulk max-repetitions, pages::kBulkAuto
  std::optional<int> parallel;                 // walk: requests in flight
  std::optional<std::wstring> enterprise;      // v1 trap
  std::optional<std::wstring> agent_address;   // v1 trap
  std::optional<std::int32_t> generic_trap;    // v1 trap, 0 to 6
  std::optional<std::uint32_t> specific_trap;  // v1 trap, 1 to 65535
  std::optional<std::wstring> trap_oid;        // v2c trap: snmpTrapOID.0
  bool fast = false;                           // sweep
  bool numeric = false;                        // -On: OIDs as numbers, values as without names
  std::vector<std::string> mib_dirs;           // --mibdir, in the order given
  std::string mib_action;                      // mib: "translate" or "check"
  std::string mib_subject;                     // mib translate: the NAME or OID
  std::vector<std::string> mib_files;          // mib check: the files
  std::optional<std::uint32_t> count;          // listen: notifications to wait for
  std::optional<int> listen_seconds;           // listen: -t/--timeout, in seconds
  // -v 3: who the requests speak as. Passwords not on the command line are empty here and
  // filled from the environment or a prompt (FillPasswords) before anything is sent.
  snmp::usm::UserSecurity security;
};

// The command line, or why it was refused (one line, without the program name).
struct ParseResult {
  CommandLine line;
  std::string error;
};

// `args` are the arguments after the program name. Options may stand before or after the
// positional arguments; "--" ends the options; the VALUE of an OID TYPE VALUE is taken as
// written even when it starts with "-".
ParseResult ParseCommandLine(const std::vector<std::string>& args);

// The -v 3 passwords the level needs and the command line lacks: from SONDARA_AUTH_PASSWORD
// and SONDARA_PRIV_PASSWORD, else asked for on the terminal without echo (`prompt` non-null).
// Why not, when one is still missing or too short (one line, as ParseResult::error).
using PasswordPrompt = std::optional<std::string> (*)(const char* question);
std::string FillPasswords(CommandLine& line, PasswordPrompt prompt);
// The terminal prompt: reads one line from /dev/tty with echo off; nothing without a terminal.
std::optional<std::string> AskPasswordOnTerminal(const char* question);

// `text` as dotted numbers: a name ("sysDescr.0", "IF-MIB::ifDescr.1") from the built-in
// modules; dotted text is left for the OID checks as it is. Empty, with `error`, for an unknown
// name.
std::wstring OidOfName(std::string_view text, std::string& error);

// True for the names of the commands.
bool IsCommand(std::string_view name);

// --help of the program and of one command.
std::string ProgramHelp();
std::string CommandHelp(std::string_view command);

}  // namespace cli
