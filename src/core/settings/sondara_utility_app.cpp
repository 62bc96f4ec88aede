#include "settings/sondara_utility_app.h"

#include <filesystem>

#include "net/address.h"
#include "settings/setting_rules.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "util/app_folders.h"
#include "util/ini_file.h"
#include "util/text.h"

namespace app {

namespace {

using tvkutil::CIniFile;
using tvkutil::FormatN;

// Longest values read back from the settings file.
constexpr std::size_t kMaxHostLen = 128;
constexpr std::size_t kMaxIpLen = 63;
constexpr std::size_t kMaxSenderIpLen = 15;
constexpr std::size_t kMaxVersionLen = 4;
constexpr std::size_t kMaxCommunityLen = 254;
constexpr std::size_t kMaxTypeNameLen = 31;
constexpr std::size_t kMaxValueLen = 2047;
constexpr std::size_t kMaxUsmTextLen = 254;

constexpr wchar_t kPing[] = L"Ping";
constexpr wchar_t kDiscovery[] = L"Device Discovery";
constexpr wchar_t kGetSet[] = L"GetSet";
constexpr wchar_t kSendTrap[] = L"sendTrap";
constexpr wchar_t kWalkMib[] = L"walkMIB";
constexpr wchar_t kNetwork[] = L"NetworkInterface Settings";

enum class HistoryKind { kOid, kCommunity };

std::wstring Key(std::wstring_view format, int index) {
  return FormatN(format, SIZE_MAX, index);
}

std::wstring ReadVersion(const CIniFile& ini, std::wstring_view section) {
  std::wstring v = ini.GetString(section, L"Version", L"2c", kMaxVersionLen);
  // Kept as written when it is valid, so "2C" stays "2C".
  if (!tvkutil::EqualsNoCase(v, L"2c") && !tvkutil::EqualsNoCase(v, L"1") && v != L"3")
    v = L"2c";
  return v;
}

std::wstring ReadIPv4(const CIniFile& ini, std::wstring_view section, std::wstring_view key,
                      std::size_t max_len) {
  std::wstring v = ini.GetString(section, key, L"", max_len);
  return net::IsValidIPv4Text(v) ? v : std::wstring();
}

// A port by the low 16 bits of the stored number, as it has always been read (65697 is 161);
// text that is no number and port 0, which no agent listens on, give the default.
std::uint16_t ReadPort(const CIniFile& ini, std::wstring_view section, std::uint16_t def) {
  const std::uint16_t port = Low16(StoredNumber(ini, section, L"Port", def, INT32_MIN, INT32_MAX));
  return port == 0 ? def : port;
}

// Numbered from 0; the first empty entry ends the list, an invalid OID is skipped. A community
// list that comes out empty gets the two built-in names back in the order of `refill`.
History ReadHistory(const CIniFile& ini, std::wstring_view section, std::wstring_view format,
                    HistoryKind kind, const History& refill) {
  History list;
  const std::size_t max_len = kind == HistoryKind::kOid ? snmp::kMaxOidTextLen : kMaxCommunityLen;
  for (int i = 0; i < kMaxHistoryEntries; ++i) {
    std::wstring v = ini.GetString(section, Key(format, i), L"", max_len);
    if (v.empty())
      break;
    if (kind == HistoryKind::kOid && !snmp::IsValidOidText(v))
      continue;
    list.push_back(std::move(v));
  }
  if (list.empty())
    list = refill;
  return list;
}

// One of `names` (without regard to case, kept as the list spells it), else `def`.
template <std::size_t N>
std::wstring ReadName(const CIniFile& ini, std::wstring_view section, std::wstring_view key,
                      const wchar_t* const (&names)[N], const std::wstring& def) {
  const std::wstring v = ini.GetString(section, key, L"", kMaxTypeNameLen);
  for (const wchar_t* name : names) {
    if (tvkutil::EqualsNoCase(v, name))
      return name;
  }
  return def;
}

// The SNMPv3 user of a page, without its passwords (see the keyring below).
void ReadUsm(const CIniFile& ini, std::wstring_view section, UsmSettings& usm) {
  const UsmSettings def;
  usm.user_name = ini.GetString(section, L"V3User", L"", kMaxUsmTextLen);
  usm.level = ReadName(ini, section, L"V3SecurityLevel", kSecurityLevelNames, def.level);
  usm.auth_protocol =
      ReadName(ini, section, L"V3AuthProtocol", kAuthProtocolNames, def.auth_protocol);
  usm.priv_protocol =
      ReadName(ini, section, L"V3PrivProtocol", kPrivProtocolNames, def.priv_protocol);
  usm.key_extension =
      ReadName(ini, section, L"V3KeyExtension", kKeyExtensionNames, def.key_extension);
  usm.context_name = ini.GetString(section, L"V3ContextName", L"", kMaxUsmTextLen);
  usm.context_engine_id = ini.GetString(section, L"V3ContextEngineID", L"", kMaxUsmTextLen);
}

// Written only once the page has had a v3 user, so that a v1/v2c settings file stays as it was.
// The passwords are never written.
void WriteUsm(CIniFile& ini, std::wstring_view section, std::wstring_view version,
              const UsmSettings& usm) {
  if (version != L"3" && usm.user_name.empty())
    return;
  ini.WriteString(section, L"V3User", usm.user_name);
  ini.WriteString(section, L"V3SecurityLevel", usm.level);
  ini.WriteString(section, L"V3AuthProtocol", usm.auth_protocol);
  ini.WriteString(section, L"V3PrivProtocol", usm.priv_protocol);
  ini.WriteString(section, L"V3KeyExtension", usm.key_extension);
  ini.WriteString(section, L"V3ContextName", usm.context_name);
  ini.WriteString(section, L"V3ContextEngineID", usm.context_engine_id);
}

void WriteHistory(CIniFile& ini, std::wstring_view section, std::wstring_view format,
                  const History& list) {
  for (std::size_t i = 0; i < list.size() && i < kMaxHistoryEntries; ++i) {
    ini.WriteString(section, Key(format, static_cast<int>(i)), list[i]);
  }
}

}  // namespace

std::int32_t StoredNumber(const tvkutil::CIniFile& ini, std::wstring_view section,
                          std::wstring_view key, std::int32_t def, std::int32_t lo,
                          std::int32_t hi) {
  const std::wstring text = ini.GetString(section, key, L"");
  const std::size_t start = !text.empty() && (text[0] == L'-' || text[0] == L'+') ? 1 : 0;
  if (text.size() == start || text.find_first_not_of(L"0123456789", start) != std::wstring::npos) {
    return def;
  }
  const std::int32_t v = tvkutil::Wtoi(text);
  return v >= lo && v <= hi ? v : def;
}

std::wstring DefaultSenderOid() {
  return FormatN(L".1.3.6.1.4.1.%u", SIZE_MAX, kEnterpriseNumber);
}

CSondaraUtilityApp::CSondaraUtilityApp()
    : CSondaraUtilityApp(tvkutil::Folders().settings_file, tvkutil::Folders().profile_file) {}

CSondaraUtilityApp::CSondaraUtilityApp(std::string settings_file, std::string profile_file)
    : settings_file_(std::move(settings_file)),
      profile_file_(std::move(profile_file)),
      trap_var_binds_(std::make_unique<snmp::CVarBindList>()) {
  SetDefaults();
  RecordStartTime();
}

CSondaraUtilityApp::~CSondaraUtilityApp() = default;

std::wstring CSondaraUtilityApp::ProductName() {
  return L"Sondara Utility";
}
std::wstring CSondaraUtilityApp::FullProductName() {
  return L"Tarvik Sondara Utility";
}
std::wstring CSondaraUtilityApp::CompanyName() {
  return L"Tarvik Technologies";
}

std::wstring CSondaraUtilityApp::VersionText() {
#ifdef SONDARA_DEBUG_BUILD
  return tvkutil::FromUtf8Lenient(SONDARA_VERSION) + L" (Debug)";
#else
  return tvkutil::FromUtf8Lenient(SONDARA_VERSION);
#endif
}

void CSondaraUtilityApp::RecordStartTime() {
  start_time_.utc = std::chrono::system_clock::now();
  const std::time_t t = std::chrono::system_clock::to_time_t(start_time_.utc);
  // Without a time zone the UTC time stands for both, as the start time always has.
  if (localtime_r(&t, &start_time_.local) == nullptr)
    gmtime_r(&t, &start_time_.local);
  const auto ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(start_time_.utc.time_since_epoch())
          .count() %
      1000;
  start_time_.ms_since_local_midnight =
      static_cast<std::uint32_t>(((start_time_.local.tm_hour * 60 + start_time_.local.tm_min) * 60 +
                                  start_time_.local.tm_sec) *
                                     1000 +
                                 ms);
}

void CSondaraUtilityApp::SetDefaults() {
  ping_ = {};
  discovery_ = {};
  get_set_ = {};
  send_trap_ = {};
  send_trap_.sender_oids = {DefaultSenderOid()};
  walk_mib_ = {};
  network_ = {};
  trap_var_binds_->RemoveAll();
}

void CSondaraUtilityApp::SetAdapter(const net::_adapterinfo& adapter) {
  network_.adapter = adapter;
  network_.adapter_name = adapter.display_name;
}

void CSondaraUtilityApp::LoadPageSettings() {
  CIniFile ini(settings_file_);
  if (ini.Load())
    LoadPageSettings(ini);  // no file: every default stays
  settings_file_not_text_ = ini.NotText();
  FetchPasswords();
}

void CSondaraUtilityApp::LoadPageSettings(const CIniFile& ini) {
  ping_.host = ini.GetString(kPing, L"IPHost", L"", kMaxHostLen);

  discovery_.start_ip = ReadIPv4(ini, kDiscovery, L"StartIP", kMaxIpLen);
  discovery_.end_ip = ReadIPv4(ini, kDiscovery, L"EndIP", kMaxIpLen);

  const History get_refill{L"getcom", L"setcomm"};
  const History set_refill{L"setcomm", L"getcom"};
  get_set_.host = ini.GetString(kGetSet, L"IPHost", L"", kMaxHostLen);
  get_set_.version = ReadVersion(ini, kGetSet);
  get_set_.port = ReadPort(ini, kGetSet, 161);
  get_set_.get_oids = ReadHistory(ini, kGetSet, L"GETOID-%d", HistoryKind::kOid, {});
  get_set_.get_communities =
      ReadHistory(ini, kGetSet, L"GETCOMMUNITY-%d", HistoryKind::kCommunity, get_refill);
  get_set_.set_oids = ReadHistory(ini, kGetSet, L"SETOID-%d", HistoryKind::kOid, {});
  get_set_.set_communities =
      ReadHistory(ini, kGetSet, L"SETCOMMUNITY-%d", HistoryKind::kCommunity, set_refill);
  get_set_.set_data_type = ini.GetString(kGetSet, L"SetDataType", L"", kMaxTypeNameLen);
  get_set_.set_value = ini.GetString(kGetSet, L"SetValue", L"", kMaxValueLen);
  ReadUsm(ini, kGetSet, get_set_.usm);

  send_trap_.host = ini.GetString(kSendTrap, L"IPHost", L"", kMaxHostLen);
  send_trap_.version = ReadVersion(ini, kSendTrap);
  send_trap_.port = ReadPort(ini, kSendTrap, 162);
  send_trap_.use_default = ini.GetInt(kSendTrap, L"UseDefault", 1);
  ReadUsm(ini, kSendTrap, send_trap_.usm);  // the default trap is sent as a user too
  // "Use default" means the trap is the built-in one: the rest of the section is not ours to
  // read, and the in-memory defaults stay.
  if (send_trap_.use_default == 0) {
    const bool v1 = snmp::VersionIndex(send_trap_.version) == 0;
    if (v1) {
      send_trap_.sender_ip = ReadIPv4(ini, kSendTrap, L"SenderIP", kMaxSenderIpLen);
      send_trap_.sender_oids = ReadHistory(ini, kSendTrap, L"SENDEROID-%d", HistoryKind::kOid, {});
    }
    send_trap_.communities =
        ReadHistory(ini, kSendTrap, L"SENDTRAPCOMMUNITY-%d", HistoryKind::kCommunity, get_refill);

    const std::uint16_t count_default = v1 ? 0 : 2;
    const std::uint16_t count = Low16(ini.GetInt(kSendTrap, L"VarBindNum", count_default));
    send_trap_.varbind_count = count > kMaxTrapVarBinds ? count_default : count;

    // Bounded by the list's own limit, not by VarBindNum: the list is what was saved.
    trap_var_binds_->RemoveAll();
    for (int n = 1; n <= kMaxTrapVarBinds; ++n) {
      const std::wstring oid =
          ini.GetString(kSendTrap, Key(L"OID-%d", n), L"", snmp::kMaxOidTextLen);
      if (!snmp::IsValidOidText(oid))
        break;
      const std::wstring type =
          ini.GetString(kSendTrap, Key(L"DataType-%d", n), L"", kMaxTypeNameLen);
      if (!snmp::IsDataTypeName(type))
        break;
      const std::wstring value = ini.GetString(kSendTrap, Key(L"Value-%d", n), L"", kMaxValueLen);
      if (value.empty())
        break;
      trap_var_binds_->Add(oid, snmp::TagOfTypeName(type), value);
    }

    if (v1) {
      send_trap_.trap_type =
          ini.GetString(kSendTrap, L"TrapType", L"enterpriseSpecific", kMaxTypeNameLen);
      if (!snmp::IsGenericTrapName(send_trap_.trap_type)) {
        send_trap_.trap_type = L"enterpriseSpecific";
      }
      // 0 is a real specific-trap number (the usual one of a generic trap).
      send_trap_.specific_type = Low16(ini.GetInt(kSendTrap, L"SpecificType", 1));
    }
  }

  walk_mib_.host = ini.GetString(kWalkMib, L"IPHost", L"", kMaxHostLen);
  walk_mib_.version = ReadVersion(ini, kWalkMib);
  walk_mib_.start_oid = ini.GetString(kWalkMib, L"StartOid", L".1.3.6.1", snmp::kMaxOidTextLen);
  walk_mib_.port = ReadPort(ini, kWalkMib, 161);
  walk_mib_.communities =
      ReadHistory(ini, kWalkMib, L"WALKMIBCOMMUNITY-%d", HistoryKind::kCommunity, get_refill);
  ReadUsm(ini, kWalkMib, walk_mib_.usm);
}

bool CSondaraUtilityApp::SavePageSettings() {
  // The data folder may have been deleted while we ran; the user still expects the save.
  const std::filesystem::path parent = std::filesystem::path(settings_file_).parent_path();
  if (!parent.empty())
    tvkutil::CreateFolderWithParents(parent.string());

  // Start from the file as it is now, so comments and sections of others survive the save.
  CIniFile ini(settings_file_);
  ini.Load();
  SavePageSettings(ini);
  KeepPasswords();
  // Only Save Snapshot tells; at exit a file that cannot be written is dropped without a word.
  return !ini.Save();
}

void CSondaraUtilityApp::SavePageSettings(CIniFile& ini) const {
  ini.WriteString(kPing, L"IPHost", ping_.host);

  ini.ClearSection(kDiscovery);
  ini.WriteString(kDiscovery, L"StartIP", discovery_.start_ip);
  ini.WriteString(kDiscovery, L"EndIP", discovery_.end_ip);

  ini.ClearSection(kGetSet);
  ini.WriteString(kGetSet, L"IPHost", get_set_.host);
  ini.WriteString(kGetSet, L"Version", get_set_.version);
  ini.WriteInt(kGetSet, L"Port", get_set_.port);
  WriteHistory(ini, kGetSet, L"GETOID-%d", get_set_.get_oids);
  WriteHistory(ini, kGetSet, L"GETCOMMUNITY-%d", get_set_.get_communities);
  WriteHistory(ini, kGetSet, L"SETOID-%d", get_set_.set_oids);
  WriteHistory(ini, kGetSet, L"SETCOMMUNITY-%d", get_set_.set_communities);
  ini.WriteString(kGetSet, L"SetDataType", get_set_.set_data_type);
  ini.WriteString(kGetSet, L"SetValue", get_set_.set_value);
  WriteUsm(ini, kGetSet, get_set_.version, get_set_.usm);

  ini.ClearSection(kSendTrap);
  ini.WriteString(kSendTrap, L"IPHost", send_trap_.host);
  ini.WriteString(kSendTrap, L"Version", send_trap_.version);
  ini.WriteInt(kSendTrap, L"Port", send_trap_.port);
  ini.WriteString(kSendTrap, L"UseDefault", send_trap_.use_default != 0 ? L"1" : L"0");
  WriteUsm(ini, kSendTrap, send_trap_.version, send_trap_.usm);
  if (send_trap_.use_default == 0) {
    const bool v1 = snmp::VersionIndex(send_trap_.version) == 0;
    if (v1) {
      ini.WriteString(kSendTrap, L"SenderIP", send_trap_.sender_ip);
      WriteHistory(ini, kSendTrap, L"SENDEROID-%d", send_trap_.sender_oids);
    }
    WriteHistory(ini, kSendTrap, L"SENDTRAPCOMMUNITY-%d", send_trap_.communities);
    ini.WriteInt(kSendTrap, L"VarBindNum", send_trap_.varbind_count);
    for (int n = 1; n <= trap_var_binds_->Count(); ++n) {
      const snmp::CVarBind* vb = trap_var_binds_->Get(n);
      std::wstring oid;
      if (vb->Name() != nullptr)
        vb->Name()->ToText(oid);
      std::wstring value;
      std::uint32_t tag = 0;
      vb->ValueText(value, tag);
      ini.WriteString(kSendTrap, Key(L"OID-%d", n), oid);
      ini.WriteString(kSendTrap, Key(L"DataType-%d", n), snmp::TypeNameOfTag(tag));
      ini.WriteString(kSendTrap, Key(L"Value-%d", n), value);
    }
    if (v1) {
      ini.WriteString(kSendTrap, L"TrapType", send_trap_.trap_type);
      ini.WriteInt(kSendTrap, L"SpecificType", send_trap_.specific_type);
    }
  }

  ini.ClearSection(kWalkMib);
  ini.WriteString(kWalkMib, L"IPHost", walk_mib_.host);
  ini.WriteString(kWalkMib, L"Version", walk_mib_.version);
  ini.WriteString(kWalkMib, L"StartOid", walk_mib_.start_oid);
  ini.WriteInt(kWalkMib, L"Port", walk_mib_.port);
  WriteHistory(ini, kWalkMib, L"WALKMIBCOMMUNITY-%d", walk_mib_.communities);
  WriteUsm(ini, kWalkMib, walk_mib_.version, walk_mib_.usm);
}

std::vector<std::pair<const std::wstring*, UsmSettings*>> CSondaraUtilityApp::UsmUsers() {
  return {{&get_set_.host, &get_set_.usm},
          {&walk_mib_.host, &walk_mib_.usm},
          {&send_trap_.host, &send_trap_.usm}};
}

void CSondaraUtilityApp::FetchPasswords() {
  if (!PasswordsOutliveRun())
    return;
  for (const auto& [host, usm] : UsmUsers()) {
    if (usm->user_name.empty())
      continue;
    for (const auto kind : {SecretKey::Kind::kAuth, SecretKey::Kind::kPriv}) {
      if (std::optional<std::wstring> kept = secrets_->Lookup({*host, usm->user_name, kind})) {
        (kind == SecretKey::Kind::kAuth ? usm->auth_password : usm->priv_password) =
            std::move(*kept);
      }
    }
  }
}

void CSondaraUtilityApp::KeepPasswords() {
  // Without a keyring the passwords stay where they are, in memory, until the run ends.
  if (!PasswordsOutliveRun())
    return;
  for (const auto& [host, usm] : UsmUsers()) {
    if (usm->user_name.empty())
      continue;
    secrets_->Store({*host, usm->user_name, SecretKey::Kind::kAuth}, usm->auth_password);
    secrets_->Store({*host, usm->user_name, SecretKey::Kind::kPriv}, usm->priv_password);
  }
}

void CSondaraUtilityApp::LoadNetworkSettings() {
  LoadNetworkSettings(net::CAdapterTable::Instance());
}

void CSondaraUtilityApp::LoadNetworkSettings(net::CAdapterTable& adapters) {
  CIniFile ini(profile_file_);
  ini.Load();
  const NetworkSettings defaults;
  network_.use_ipv6 = ini.GetInt(kNetwork, L"UseIPv6", defaults.use_ipv6) != 0 ? 1 : 0;
  network_.adapter_name = ini.GetString(kNetwork, L"AdapterName", L"");
  // A hand-edited value the Options would refuse is replaced by the default, so no exchange
  // ever runs with a zero time-out.
  const auto in_range = [&](std::wstring_view key, int def, int lo, int hi) {
    return StoredNumber(ini, kNetwork, key, def, lo, hi);
  };
  network_.connect_timeout_s = in_range(L"ConnectTimeout", defaults.connect_timeout_s,
                                        kMinConnectTimeoutS, kMaxConnectTimeoutS);
  network_.request_timeout_ms = in_range(L"RequestTimeoutMS", defaults.request_timeout_ms,
                                         kMinRequestTimeoutMs, kMaxRequestTimeoutMs);
  network_.retries = in_range(L"Retries", defaults.retries, kMinRetries, kMaxRetries);
  network_.walk_bulk_repetitions = in_range(L"GetBulkRepetitions", defaults.walk_bulk_repetitions,
                                            kMinWalkBulkRepetitions, kMaxWalkBulkRepetitions);
  network_.walk_bulk_auto =
      ini.GetInt(kNetwork, L"GetBulkAuto", defaults.walk_bulk_auto) != 0 ? 1 : 0;
  network_.walk_in_flight = in_range(L"WalkRequestsInFlight", defaults.walk_in_flight,
                                     kMinWalkInFlight, kMaxWalkInFlight);
  network_.adapter = adapters.Lookup(network_.adapter_name, network_.use_ipv6 != 0);
}

void CSondaraUtilityApp::SaveNetworkSettings() {
  const std::filesystem::path parent = std::filesystem::path(profile_file_).parent_path();
  if (!parent.empty())
    tvkutil::CreateFolderWithParents(parent.string());
  CIniFile ini(profile_file_);
  ini.Load();
  ini.WriteInt(kNetwork, L"UseIPv6", network_.use_ipv6);
  ini.WriteString(kNetwork, L"AdapterName", network_.adapter_name);
  ini.WriteInt(kNetwork, L"ConnectTimeout", network_.connect_timeout_s);
  ini.WriteInt(kNetwork, L"RequestTimeoutMS", network_.request_timeout_ms);
  ini.WriteInt(kNetwork, L"Retries", network_.retries);
  ini.WriteInt(kNetwork, L"GetBulkRepetitions", network_.walk_bulk_repetitions);
  ini.WriteInt(kNetwork, L"GetBulkAuto", network_.walk_bulk_auto);
  ini.WriteInt(kNetwork, L"WalkRequestsInFlight", network_.walk_in_flight);
  (void)ini.Save();
}

int CSondaraUtilityApp::GetProfileInt(std::wstring_view section, std::wstring_view entry,
                                      int def) const {
  CIniFile ini(profile_file_);
  ini.Load();
  return ini.GetInt(section, entry, def);
}

std::wstring CSondaraUtilityApp::GetProfileString(std::wstring_view section,
                                                  std::wstring_view entry,
                                                  std::wstring_view def) const {
  CIniFile ini(profile_file_);
  ini.Load();
  return ini.GetString(section, entry, def);
}

bool CSondaraUtilityApp::WriteProfileInt(std::wstring_view section, std::wstring_view entry,
                                         int value) {
  return WriteProfileString(section, entry, std::to_wstring(value));
}

bool CSondaraUtilityApp::WriteProfileString(std::wstring_view section, std::wstring_view entry,
                                            std::wstring_view value) {
  const std::filesystem::path parent = std::filesystem::path(profile_file_).parent_path();
  if (!parent.empty())
    tvkutil::CreateFolderWithParents(parent.string());
  CIniFile ini(profile_file_);
  ini.Load();
  ini.WriteString(section, entry, value);
  return !ini.Save();
}

}  // namespace app
