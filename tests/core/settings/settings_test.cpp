// The folders, the settings file and the profile's network group: defaults, read rules, saves.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>

#include "settings/sondara_utility_app.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "support/temp_folder.h"
#include "util/app_folders.h"
#include "util/ini_file.h"

namespace {

using app::CSondaraUtilityApp;
using app::History;
using Names = std::vector<std::wstring>;

class SettingsTest : public testing::Test {
 protected:
  std::string SettingsFile() const { return dir_ / "data/Sondara/sondara.ini"; }
  std::string ProfileFile() const { return dir_ / "config/profile.ini"; }
  std::unique_ptr<CSondaraUtilityApp> NewApp() const {
    return std::make_unique<CSondaraUtilityApp>(SettingsFile(), ProfileFile());
  }
  std::unique_ptr<CSondaraUtilityApp> LoadFrom(const std::string& file_text) const {
    std::filesystem::create_directories(std::filesystem::path(SettingsFile()).parent_path());
    sondara_test::WriteFile(SettingsFile(), file_text);
    auto a = NewApp();
    a->LoadPageSettings();
    return a;
  }
  static tvkutil::CIniFile Saved(const std::string& path) {
    tvkutil::CIniFile ini(path);
    EXPECT_TRUE(ini.Load());
    return ini;
  }

  sondara_test::TempFolder dir_;
};

// The trap section as "sender|sender OIDs|first community|count|type|specific|bindings...".
std::wstring TrapState(const CSondaraUtilityApp& a) {
  const app::SendTrapSettings& t = a.SendTrap();
  std::wstring s = t.sender_ip + L"|" + std::to_wstring(t.sender_oids.size()) + L"|" +
                   (t.communities.empty() ? L"" : t.communities[0]) + L"|" +
                   std::to_wstring(t.varbind_count) + L"|" + t.trap_type + L"|" +
                   std::to_wstring(t.specific_type);
  for (int n = 1; n <= a.TrapVarBinds().Count(); ++n) {
    std::wstring value;
    std::uint32_t tag = 0;
    a.TrapVarBinds().Get(n)->ValueText(value, tag);
    s += L"|" + a.TrapVarBinds().Get(n)->Name()->Text() + L" " + snmp::TypeNameOfTag(tag) + L" " +
         value;
  }
  return s;
}

TEST_F(SettingsTest, WithoutAFileEverythingIsDefaultAndTheFirstSaveCreatesIt) {
  auto a = NewApp();
  a->LoadPageSettings();
  const History both{L"getcom", L"setcomm"};
  const auto& gs = a->GetSet();
  const auto& wm = a->WalkMib();
  EXPECT_EQ((Names{a->Ping().host, a->Discovery().start_ip, gs.version, gs.set_data_type,
                   a->SendTrap().version, wm.version, wm.start_oid}),
            (Names{L"", L"", L"2c", L"", L"2c", L"2c", L".1.3.6.1"}));
  EXPECT_EQ((std::vector<int>{gs.port, a->SendTrap().port, wm.port, a->SendTrap().use_default}),
            (std::vector<int>{161, 162, 161, 1}));
  EXPECT_EQ(TrapState(*a), L"|1|getcom|0|enterpriseSpecific|1");
  EXPECT_EQ(a->SendTrap().sender_oids, History{app::DefaultSenderOid()});
  EXPECT_EQ((std::vector<History>{gs.get_oids, gs.get_communities, gs.set_communities,
                                  a->SendTrap().communities, wm.communities}),
            (std::vector<History>{{}, both, {L"setcomm", L"getcom"}, both, both}));
  a->SavePageSettings();
  EXPECT_EQ(Saved(SettingsFile()).KeyNames(L"sendTrap"),  // use default: nothing more is saved
            (Names{L"IPHost", L"Version", L"Port", L"UseDefault"}));
  std::filesystem::remove_all(dir_ / "data");  // deleted while the program ran
  a->SavePageSettings();
  EXPECT_TRUE(std::filesystem::exists(SettingsFile()));
}

TEST(SettingRulesTest, OidTextAllowsEmptyPiecesUpTo128ArcsAnd1408Characters) {
  std::wstring arcs_128;
  for (int i = 0; i < 128; ++i)
    arcs_128 += L".1";
  for (const std::wstring& ok :
       {std::wstring(L"1..3"), arcs_128, L"1." + std::wstring(1405, '0') + L"1"})
    EXPECT_TRUE(snmp::IsValidOidText(ok)) << ok.size();
  for (const std::wstring& bad : {arcs_128 + L".1", std::wstring(L"1.3."), std::wstring(L".1"),
                                  std::wstring(L"1.a"), L"1." + std::wstring(1406, '0') + L"1"})
    EXPECT_FALSE(snmp::IsValidOidText(bad)) << bad.size();
}

TEST_F(SettingsTest, ReadRulesOfThePageSections) {
  std::string walk = "[walkMIB]\nVersion=4\nPort=abc\n";
  for (int i = 0; i <= 10; ++i)
    walk += "WALKMIBCOMMUNITY-" + std::to_string(i) + "=c" + std::to_string(i) + "\n";
  auto a =
      LoadFrom("[Ping]\nIPHost=" + std::string(200, 'h') +
               "\n[Device Discovery]\nStartIP=10.0.0.300\nEndIP=1x2x3x4\n"
               "[GetSet]\nVersion=2C\nPort=65697\nGETOID-0=1.3\nGETOID-1=1.3.\nGETOID-2=1.3.6\n"
               "GETOID-3=\nGETOID-4=1.3.7\nSETCOMMUNITY-0=private\nSetDataType=" +
               std::string(40, 't') + "\n" + walk);
  const auto& gs = a->GetSet();
  EXPECT_EQ(a->Ping().host.size(), 128u);
  EXPECT_EQ(gs.set_data_type.size(), 31u);
  // Discovery takes the loose IPv4 pattern; a version stays as written unless it is bad.
  EXPECT_EQ(
      (Names{a->Discovery().start_ip, a->Discovery().end_ip, gs.version, a->WalkMib().version}),
      (Names{L"", L"1x2x3x4", L"2C", L"2c"}));
  EXPECT_EQ((std::vector<int>{gs.port, a->WalkMib().port}), (std::vector<int>{161, 161}));
  EXPECT_EQ(LoadFrom("[walkMIB]\nPort=0\n")->WalkMib().port, 161);  // no agent listens on 0
  EXPECT_EQ(gs.get_oids, (History{L"1.3", L"1.3.6"}));              // bad skipped, empty ends
  EXPECT_EQ(gs.set_communities, History{L"private"});
  EXPECT_EQ(gs.get_communities, (History{L"getcom", L"setcomm"}));  // empty list refilled
  EXPECT_EQ(a->WalkMib().communities.size(), 10u);
  EXPECT_EQ(a->WalkMib().communities.back(), L"c9");
  a->WalkMib().communities.push_back(L"c10");  // the save writes ten and drops the rest
  a->SavePageSettings();
  EXPECT_EQ(Saved(SettingsFile()).KeyNames(L"walkMIB").back(), L"WALKMIBCOMMUNITY-9");
}

TEST_F(SettingsTest, ReadRulesOfTheTrapSection) {
  const struct {
    const char* what;
    const char* file;
    const wchar_t* state;
  } cases[] = {
      {"use default stops the section",
       "[sendTrap]\nVersion=1\nUseDefault=1\nSenderIP=10.0.0.1\nSENDTRAPCOMMUNITY-0=x\n"
       "VarBindNum=1\nOID-1=1.3.6\nDataType-1=Integer32\nValue-1=5\nTrapType=coldStart\n",
       L"|1|getcom|0|enterpriseSpecific|1"},
      {"version 1 fields; sender OIDs are not refilled",
       "[sendTrap]\nVersion=1\nUseDefault=0\nSenderIP=10.0.0.1\nSENDEROID-0=bad\n"
       "TrapType=LINKUP\nSpecificType=65536\nVarBindNum=65\n",
       L"10.0.0.1|0|getcom|0|LINKUP|0"},  // 65536 keeps its low 16 bits: 0
      {"2c ignores the version 1 keys",
       "[sendTrap]\nUseDefault=0\nSenderIP=10.0.0.1\nTrapType=coldStart\nVarBindNum=65\n",
       L"|1|getcom|2|enterpriseSpecific|1"},
      {"varbinds end at the first bad entry",
       "[sendTrap]\nUseDefault=0\nVarBindNum=7\nOID-1=.1.3.6.1.2.1.1.3.0\nDataType-1=timeticks\n"
       "Value-1=100\nOID-2=1.3.6.1.6.3.1.1.4.1.0\nDataType-2=Object Identifier\n"
       "Value-2=.1.3.6.1.4.1.9\nOID-3=1.3.6.5\nDataType-3=String\nValue-3=x\n",
       L"|1|getcom|7|enterpriseSpecific|1|.1.3.6.1.2.1.1.3.0 Timeticks 100"
       L"|.1.3.6.1.6.3.1.1.4.1.0 Object Identifier .1.3.6.1.4.1.9"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(TrapState(*LoadFrom(c.file)), c.state) << c.what;
}

// Every key in the order the save writes it, and a section the program does not own: the save
// writes back the same file, so nothing read was lost, reordered or dropped.
TEST_F(SettingsTest, SaveWritesBackWhatWasReadKeyForKey) {
  const std::string file =
      "[Ping]\nIPHost=pinghost\n[Device Discovery]\nStartIP=10.0.0.1\nEndIP=10.0.0.20\n"
      "[GetSet]\nIPHost=gethost\nVersion=1\nPort=1161\nGETOID-0=.1.3.6.1.2.1.1.5.0\n"
      "GETOID-1=1.3.6.1.2.1.1.1.0\nGETCOMMUNITY-0=public\nGETCOMMUNITY-1=\" spaced \"\n"
      "SETOID-0=.1.3.6.1.2.1.1.4.0\nSETCOMMUNITY-0=private\nSetDataType=Octet String\n"
      "SetValue=caf\xC3\xA9 \"quoted\"\n[sendTrap]\nIPHost=traphost\nVersion=1\nPort=1162\n"
      "UseDefault=0\nSenderIP=192.0.2.7\nSENDEROID-0=.1.3.6.1.4.1.99\nSENDTRAPCOMMUNITY-0=trapcom\n"
      "VarBindNum=2\nOID-1=.1.3.6.1.2.1.2.2.1.1.1\nDataType-1=Integer32\nValue-1=1\n"
      "OID-2=.1.3.6.1.2.1.1.5.0\nDataType-2=Octet String\nValue-2=name\nTrapType=linkDown\n"
      "SpecificType=42\n[walkMIB]\nIPHost=walkhost\nVersion=2c\nStartOid=.1.3.6.1.2\nPort=2161\n"
      "WALKMIBCOMMUNITY-0=walkcom\n[Other]\nkeep=me\n";
  auto a = LoadFrom(file);
  EXPECT_EQ(a->GetSet().get_communities, (History{L"public", L" spaced "}));
  EXPECT_EQ(a->GetSet().set_value, L"caf\u00e9 \"quoted\"");
  EXPECT_EQ(TrapState(*a),
            L"192.0.2.7|1|trapcom|2|linkDown|42|.1.3.6.1.2.1.2.2.1.1.1 Integer32 1"
            L"|.1.3.6.1.2.1.1.5.0 Octet String name");
  a->SavePageSettings();
  EXPECT_EQ(sondara_test::ReadFile(SettingsFile()), file);
}

// A keyring in memory, as the desktop's would keep the passwords.
class FakeKeyring : public app::ISecretStore {
 public:
  bool Available() override { return true; }
  std::optional<std::wstring> Lookup(const app::SecretKey& key) override {
    const auto it = kept.find(Name(key));
    return it == kept.end() ? std::nullopt : std::optional(it->second);
  }
  bool Store(const app::SecretKey& key, const std::wstring& password) override {
    kept[Name(key)] = password;
    return true;
  }
  static std::wstring Name(const app::SecretKey& key) {
    return key.host + L"/" + key.user_name +
           (key.kind == app::SecretKey::Kind::kAuth ? L"/a" : L"/p");
  }
  std::map<std::wstring, std::wstring> kept;
};

// The v3 user is saved with the page; its passwords go to the keyring, or stay for the run.
TEST_F(SettingsTest, V3UserIsSavedWithoutItsPasswords) {
  FakeKeyring keyring;
  for (app::ISecretStore* secrets :
       {static_cast<app::ISecretStore*>(nullptr), static_cast<app::ISecretStore*>(&keyring)}) {
    auto a = NewApp();
    a->SetSecretStore(secrets);
    a->GetSet().host = L"sw-3";
    a->GetSet().version = L"3";
    a->GetSet().usm = {L"engineer",         L"authPriv", L"SHA-256",
                       L"authpass-secret1", L"AES-256",  L"privpass-secret2",
                       L"Reeder",           L"ctx",      L"80001f8880"};
    a->WalkMib().usm = a->GetSet().usm;  // version 2c, but it had a user
    a->WalkMib().usm.user_name = L"walker";
    a->SavePageSettings();
    a->SaveNetworkSettings();
    for (const std::string& file : {SettingsFile(), ProfileFile()})
      EXPECT_EQ(sondara_test::ReadFile(file).find("secret"), std::string::npos) << file;
    EXPECT_EQ(a->GetSet().usm.auth_password, L"authpass-secret1");  // kept for the run
    auto b = NewApp();
    b->SetSecretStore(secrets);
    b->LoadPageSettings();
    const app::UsmSettings& u = b->GetSet().usm;
    EXPECT_EQ((Names{u.user_name, u.level, u.auth_protocol, u.priv_protocol, u.key_extension,
                     u.context_name, u.context_engine_id, b->WalkMib().usm.user_name}),
              (Names{L"engineer", L"authPriv", L"SHA-256", L"AES-256", L"Reeder", L"ctx",
                     L"80001f8880", L"walker"}));
    const Names restored =
        secrets != nullptr ? Names{L"authpass-secret1", L"privpass-secret2"} : Names{L"", L""};
    EXPECT_EQ((Names{u.auth_password, u.priv_password}), restored);
  }
  EXPECT_EQ(keyring.kept.at(L"sw-3/engineer/p"), L"privpass-secret2");
  // Names the program does not know read as the defaults.
  const auto bad_app =
      LoadFrom("[GetSet]\nV3SecurityLevel=high\nV3AuthProtocol=sha-512\nV3PrivProtocol=3DES\n");
  const app::UsmSettings& bad = bad_app->GetSet().usm;
  EXPECT_EQ((Names{bad.level, bad.auth_protocol, bad.priv_protocol}),
            (Names{L"authPriv", L"SHA-512", L"AES"}));
}

TEST_F(SettingsTest, NetworkGroupReadsValidValuesAndSelectsTheAdapterByItsAddress) {
  net::CAdapterTable adapters({net::MakeAdapterInfo(L"eth0", L"192.0.2.2", true, 0)},
                              {net::MakeAdapterInfo(L"eth0", L"fe80::1%4", false, 4)});
  const struct {
    const char* profile;
    // use IPv6, connect, request, retries, scope id, bulk, bulk auto, in flight
    std::vector<int> expected;
  } cases[] = {
      {"[NetworkInterface Settings]\nUseIPv6=1\nAdapterName=old name[fe80::1%4]\n"
       "ConnectTimeout=30\nRequestTimeoutMS=100\nRetries=10\nGetBulkRepetitions=999\n"
       "GetBulkAuto=1\nWalkRequestsInFlight=8\n",
       {1, 30, 100, 10, 4, 999, 1, 8}},
      {"[NetworkInterface Settings]\nConnectTimeout=0\nRequestTimeoutMS=30001\nRetries=-1\n"
       "GetBulkRepetitions=1000\nWalkRequestsInFlight=9\n",
       {0, 3, 1000, 3, -1, 0, 0, 1}},
      // Text that is no number is the default, never 0; 0 retries are asked for.
      {"[NetworkInterface Settings]\nRetries=0\nRequestTimeoutMS=150x\nGetBulkRepetitions=+7\n"
       "WalkRequestsInFlight=0\n",
       {0, 3, 1000, 0, -1, 7, 0, 1}},
  };
  std::filesystem::create_directories(dir_ / "config");
  for (const auto& c : cases) {
    sondara_test::WriteFile(ProfileFile(), c.profile);
    auto a = NewApp();
    a->LoadNetworkSettings(adapters);
    const app::NetworkSettings& n = a->Network();
    EXPECT_EQ((std::vector<int>{n.use_ipv6, n.connect_timeout_s, n.request_timeout_ms, n.retries,
                                n.adapter.IsDefault() ? -1 : int(n.adapter.ipv6_scope_id),
                                n.walk_bulk_repetitions, n.walk_bulk_auto, n.walk_in_flight}),
              c.expected)
        << c.profile;
  }

  std::filesystem::remove_all(dir_ / "config");  // the save creates it
  auto a = NewApp();
  a->SetAdapter(adapters.Lookup(L"eth0[192.0.2.2]", false));
  ASSERT_TRUE(a->WriteProfileInt(L"Main Window", L"x", 40));
  a->SaveNetworkSettings();
  const tvkutil::CIniFile ini = Saved(ProfileFile());
  EXPECT_EQ(ini.KeyNames(L"NetworkInterface Settings"),
            (Names{L"UseIPv6", L"AdapterName", L"ConnectTimeout", L"RequestTimeoutMS", L"Retries",
                   L"GetBulkRepetitions", L"GetBulkAuto", L"WalkRequestsInFlight"}));
  EXPECT_EQ(ini.GetString(L"NetworkInterface Settings", L"AdapterName", L""), L"eth0[192.0.2.2]");
  EXPECT_EQ(ini.GetInt(L"main window", L"X", 0), 40);
}

TEST(AppFoldersTest, DataFolderComesFromTheEnvironment) {
  // ctest runs each test in a process of its own: the variables need no restoring.
  sondara_test::TempFolder dir;
  ::setenv("HOME", dir.Path().c_str(), 1);
  ::setenv("XDG_CONFIG_HOME", (dir / "cfg").c_str(), 1);
  ::unsetenv("SONDARA_HOME");
  ::unsetenv("XDG_DOCUMENTS_DIR");
  EXPECT_EQ(tvkutil::ComputeAppFolders().data_folder, dir / "Documents/Sondara/");

  std::filesystem::create_directories(dir / "cfg");
  sondara_test::WriteFile(dir / "cfg/user-dirs.dirs",
                          "# comment\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
  EXPECT_EQ(tvkutil::ComputeAppFolders().data_folder, dir / "Dokumente/Sondara/");

  ::setenv("XDG_DOCUMENTS_DIR", (dir / "docs").c_str(), 1);
  const tvkutil::AppFolders f = tvkutil::ComputeAppFolders();
  EXPECT_EQ(f.settings_file, dir / "docs/Sondara/sondara.ini");
  EXPECT_EQ(f.profile_file, dir / "cfg/Tarvik Technologies/Sondara Utility.ini");
  EXPECT_FALSE(std::filesystem::exists(f.data_folder));  // computing creates nothing

  ::setenv("SONDARA_HOME", (dir / "portable").c_str(), 1);
  EXPECT_EQ(tvkutil::ComputeAppFolders().data_folder, dir / "portable/");
}

}  // namespace
