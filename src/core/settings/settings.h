// The values of the pages and of the network options as the two stores keep them, without the
// application object that holds them: operations and their tests need only these.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "net/adapter_table.h"

namespace app {

using History = std::vector<std::wstring>;

// The values of each page as the settings file keeps them.
struct PingSettings {
  std::wstring host;
};

struct DiscoverySettings {
  std::wstring start_ip;
  std::wstring end_ip;
};

// The SNMPv3 choices by the names the pages and the settings file use, in the drop-downs' order.
inline constexpr const wchar_t* kSecurityLevelNames[] = {L"noAuthNoPriv", L"authNoPriv",
                                                         L"authPriv"};
inline constexpr const wchar_t* kAuthProtocolNames[] = {L"MD5",     L"SHA",     L"SHA-224",
                                                        L"SHA-256", L"SHA-384", L"SHA-512"};
inline constexpr const wchar_t* kPrivProtocolNames[] = {L"DES", L"AES", L"AES-192", L"AES-256"};
inline constexpr const wchar_t* kKeyExtensionNames[] = {L"Automatic", L"Blumenthal", L"Reeder"};

// The SNMPv3 user of a page, as text like the rest of the page. The passwords are held in memory
// and in the desktop keyring only: the settings file never has them.
struct UsmSettings {
  std::wstring user_name;
  std::wstring level = L"authPriv";
  std::wstring auth_protocol = L"SHA";
  std::wstring auth_password;
  std::wstring priv_protocol = L"AES";
  std::wstring priv_password;
  std::wstring key_extension = L"Automatic";
  std::wstring context_name;
  std::wstring context_engine_id;  // hex; empty: the agent's own engine
};

struct GetSetSettings {
  std::wstring host;
  std::wstring version = L"2c";
  std::uint16_t port = 161;
  History get_oids;
  History get_communities{L"getcom", L"setcomm"};
  History set_oids;
  // Write community first on purpose: a Set is usually meant with it.
  History set_communities{L"setcomm", L"getcom"};
  std::wstring set_data_type;
  std::wstring set_value;
  UsmSettings usm;
};

struct SendTrapSettings {
  std::wstring host;
  std::wstring version = L"2c";
  std::uint16_t port = 162;
  int use_default = 1;
  std::wstring sender_ip;
  History sender_oids;  // the constructor puts our enterprise arc here
  History communities{L"getcom", L"setcomm"};
  std::uint16_t varbind_count = 0;
  std::wstring trap_type = L"enterpriseSpecific";
  std::uint16_t specific_type = 1;
  UsmSettings usm;
};

struct WalkMibSettings {
  std::wstring host;
  std::wstring version = L"2c";
  std::wstring start_oid = L".1.3.6.1";
  std::uint16_t port = 161;
  History communities{L"getcom", L"setcomm"};
  UsmSettings usm;
};

struct NetworkSettings {
  int use_ipv6 = 0;
  std::wstring adapter_name;  // the display text saved in the profile
  net::_adapterinfo adapter;  // the record it selected; empty for "Default"
  int connect_timeout_s = 3;
  int request_timeout_ms = 1000;
  int retries = 3;
  // max-repetitions of the walk's GetBulkRequests (v2c); 0 walks with GetNext only.
  int walk_bulk_repetitions = 0;
  // "Auto": the walk finds the count itself. Kept in a key of its own beside the number, so a
  // profile read by an earlier version still walks with the number last chosen.
  int walk_bulk_auto = 0;
  // Requests a walk keeps outstanding at once.
  int walk_in_flight = 1;
};

// When the run began. Trap time stamps count from it.
struct StartTime {
  std::chrono::system_clock::time_point utc;
  std::tm local{};
  std::uint32_t ms_since_local_midnight = 0;
};

// Our enterprise number under .1.3.6.1.4.1, used for the default sender OID of traps.
inline constexpr std::uint32_t kEnterpriseNumber = 59871;
// Histories keep at most this many entries in the settings file.
inline constexpr int kMaxHistoryEntries = 10;
// A trap carries at most this many bindings.
inline constexpr int kMaxTrapVarBinds = 64;

// The default sender OID: the enterprises arc and our enterprise number.
std::wstring DefaultSenderOid();

}  // namespace app
