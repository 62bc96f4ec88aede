// CSondaraUtilityApp: the one application object without its windows. It holds every setting
// of the run in memory, the product texts, the start time, the ICMP-available flag and the
// trap's varbind list, and it loads and saves the two stores: the settings file (the values of
// the pages) and the per-user profile (network interface, window placement, page switches,
// last folders).
//
// Store failures are never reported: a missing file or key means the default, a bad value is
// replaced or skipped, a file that cannot be written is silently not written.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "settings/profile_store.h"
#include "settings/secret_store.h"
#include "settings/settings.h"
#include "snmp/var_bind_list.h"

namespace tvkutil {
class CIniFile;
}

namespace app {

class CSondaraUtilityApp : public tvkutil::IProfileStore {
 public:
  // Built-in defaults; the stores are the ones of this run (see tvkutil::Folders()).
  CSondaraUtilityApp();
  // Built-in defaults over the given settings file and profile, for tests and portable use.
  CSondaraUtilityApp(std::string settings_file, std::string profile_file);
  ~CSondaraUtilityApp() override;
  CSondaraUtilityApp(const CSondaraUtilityApp&) = delete;
  CSondaraUtilityApp& operator=(const CSondaraUtilityApp&) = delete;

  // Product texts.
  static std::wstring ProductName();      // "Sondara Utility"
  static std::wstring FullProductName();  // "Tarvik Sondara Utility"
  static std::wstring CompanyName();      // "Tarvik Technologies"
  static std::wstring VersionText();      // "1.0.0", with " (Debug)" in debug builds

  const StartTime& GetStartTime() const { return start_time_; }
  // Takes the current time as the start of the run (start-up does this once).
  void RecordStartTime();

  bool IcmpAvailable() const { return icmp_available_; }
  void SetIcmpAvailable(bool available) { icmp_available_ = available; }

  // The settings held for the run; pages read them when created and write them back before a
  // save.
  PingSettings& Ping() { return ping_; }
  DiscoverySettings& Discovery() { return discovery_; }
  GetSetSettings& GetSet() { return get_set_; }
  SendTrapSettings& SendTrap() { return send_trap_; }
  WalkMibSettings& WalkMib() { return walk_mib_; }
  NetworkSettings& Network() { return network_; }
  const PingSettings& Ping() const { return ping_; }
  const DiscoverySettings& Discovery() const { return discovery_; }
  const GetSetSettings& GetSet() const { return get_set_; }
  const SendTrapSettings& SendTrap() const { return send_trap_; }
  const WalkMibSettings& WalkMib() const { return walk_mib_; }
  const NetworkSettings& Network() const { return network_; }
  snmp::CVarBindList& TrapVarBinds() { return *trap_var_binds_; }
  const snmp::CVarBindList& TrapVarBinds() const { return *trap_var_binds_; }

  // The keyring that keeps the pages' SNMPv3 passwords across runs (not owned; none: they are
  // kept for this run only). LoadPageSettings() fills them in, SavePageSettings() hands them on.
  void SetSecretStore(ISecretStore* store) { secrets_ = store; }
  bool PasswordsOutliveRun() const { return secrets_ != nullptr && secrets_->Available(); }

  // Chooses an adapter: the record and the name saved for it.
  void SetAdapter(const net::_adapterinfo& adapter);

  // The settings file. Loading without a file keeps every default; saving creates the file
  // and its folder when they are missing, and answers whether the file was written.
  void LoadPageSettings();
  bool SavePageSettings();
  // The settings file read by LoadPageSettings() was not text: it is never written by this run
  // and the pages work on the defaults.
  bool SettingsFileNotText() const { return settings_file_not_text_; }
  // The same, from and into settings already read (no file is touched).
  void LoadPageSettings(const tvkutil::CIniFile& ini);
  void SavePageSettings(tvkutil::CIniFile& ini) const;

  // The "NetworkInterface Settings" of the profile; loading also selects the adapter record.
  // Loading uses the adapter table of this run; the overload takes another (tests).
  void LoadNetworkSettings();
  void LoadNetworkSettings(net::CAdapterTable& adapters);
  void SaveNetworkSettings();

  // The profile, one value at a time (window placement, page switches, column widths, last
  // folders). Each write reaches the file at once.
  int GetProfileInt(std::wstring_view section, std::wstring_view entry, int def) const override;
  std::wstring GetProfileString(std::wstring_view section, std::wstring_view entry,
                                std::wstring_view def) const override;
  bool WriteProfileInt(std::wstring_view section, std::wstring_view entry, int value) override;
  bool WriteProfileString(std::wstring_view section, std::wstring_view entry,
                          std::wstring_view value) override;

  const std::string& SettingsFilePath() const { return settings_file_; }
  const std::string& ProfilePath() const { return profile_file_; }

 private:
  void SetDefaults();
  // Each page's host and SNMPv3 user, for the keyring.
  std::vector<std::pair<const std::wstring*, UsmSettings*>> UsmUsers();
  void FetchPasswords();
  void KeepPasswords();

  std::string settings_file_;
  std::string profile_file_;
  StartTime start_time_;
  bool icmp_available_ = true;
  bool settings_file_not_text_ = false;

  PingSettings ping_;
  DiscoverySettings discovery_;
  GetSetSettings get_set_;
  SendTrapSettings send_trap_;
  WalkMibSettings walk_mib_;
  NetworkSettings network_;
  std::unique_ptr<snmp::CVarBindList> trap_var_binds_;
  ISecretStore* secrets_ = nullptr;
};

}  // namespace app
