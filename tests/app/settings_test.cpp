// The settings file: defaults, every read rule, and what a save writes.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "app/sondara_utility_app.h"
#include "snmp/type_names.h"
#include "util/ini_file.h"
#include "util/temp_folder.h"
#include "util/text.h"

namespace {

using app::CSondaraUtilityApp;
using app::History;
using sondara_test::TempFolder;

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
  tvkutil::CIniFile SavedFile() const {
    tvkutil::CIniFile ini(SettingsFile());
    EXPECT_TRUE(ini.Load());
    return ini;
  }

  TempFolder dir_;
};

// One binding of the trap list as "oid|type|value".
std::wstring Binding(const CSondaraUtilityApp& a, int n) {
  const snmp::CVarBind* vb = a.TrapVarBinds().Get(n);
  if (vb == nullptr)
    return L"<none>";
  std::wstring value;
  std::uint32_t tag = 0;
  vb->ValueText(value, tag);
  return vb->Name()->Text() + L"|" + snmp::TypeNameOfTag(tag) + L"|" + value;
}

void ExpectBuiltInDefaults(const CSondaraUtilityApp& a) {
  EXPECT_EQ(a.Ping().host, L"");
  EXPECT_EQ(a.Discovery().start_ip, L"");
  EXPECT_EQ(a.GetSet().version, L"2c");
  EXPECT_EQ(a.GetSet().port, 161);
  EXPECT_EQ(a.GetSet().get_oids, History{});
  EXPECT_EQ(a.GetSet().get_communities, (History{L"getcom", L"setcomm"}));
  EXPECT_EQ(a.GetSet().set_communities, (History{L"setcomm", L"getcom"}));
  EXPECT_EQ(a.GetSet().set_data_type, L"");
  EXPECT_EQ(a.SendTrap().version, L"2c");
  EXPECT_EQ(a.SendTrap().port, 162);
  EXPECT_EQ(a.SendTrap().use_default, 1);
  EXPECT_EQ(a.SendTrap().sender_oids, History{app::DefaultSenderOid()});
  EXPECT_EQ(a.SendTrap().communities, (History{L"getcom", L"setcomm"}));
  EXPECT_EQ(a.SendTrap().varbind_count, 0);
  EXPECT_EQ(a.SendTrap().trap_type, L"enterpriseSpecific");
  EXPECT_EQ(a.SendTrap().specific_type, 1);
  EXPECT_EQ(a.TrapVarBinds().Count(), 0);
  EXPECT_EQ(a.WalkMib().version, L"2c");
  EXPECT_EQ(a.WalkMib().start_oid, L".1.3.6.1");
  EXPECT_EQ(a.WalkMib().port, 161);
  EXPECT_EQ(a.WalkMib().communities, (History{L"getcom", L"setcomm"}));
}

TEST_F(SettingsTest, WithoutAFileEverythingIsDefaultAndTheFirstSaveCreatesIt) {
  auto a = NewApp();
  a->LoadPageSettings();
  ExpectBuiltInDefaults(*a);
  EXPECT_TRUE(app::DefaultSenderOid().starts_with(L".1.3.6.1.4.1."));

  a->SavePageSettings();
  ASSERT_TRUE(std::filesystem::exists(SettingsFile()));
  auto b = NewApp();
  b->LoadPageSettings();
  ExpectBuiltInDefaults(*b);

  // The user deleted the data folder while the program ran: the next save brings it back.
  std::filesystem::remove_all(dir_ / "data");
  a->SavePageSettings();
  EXPECT_TRUE(std::filesystem::exists(SettingsFile()));
}

struct ReadCase {
  const char* what;
  std::string file;
  std::function<void(const CSondaraUtilityApp&)> check;
};

TEST_F(SettingsTest, ReadRules) {
  const std::string long_host(200, 'h');
  const ReadCase cases[] = {
      {"OID history skips bad entries",
       "[GetSet]\nGETOID-0=1.3\nGETOID-1=1.3.\nGETOID-2=1\nGETOID-3=1.a\nGETOID-4=1.3.6\n",
       [](const auto& a) {
         EXPECT_EQ(a.GetSet().get_oids, (History{L"1.3", L"1.3.6"}));
       }},
      {"empty entry ends a history", "[GetSet]\nGETOID-0=\nGETOID-1=1.3.6\n",
       [](const auto& a) { EXPECT_EQ(a.GetSet().get_oids, History{}); }},
      {"invalid first OID, valid second", "[GetSet]\nSETOID-0=x\nSETOID-1=1.3.6\n",
       [](const auto& a) { EXPECT_EQ(a.GetSet().set_oids, History{L"1.3.6"}); }},
      {"only ten history entries are read",
       "[walkMIB]\nWALKMIBCOMMUNITY-0=c0\nWALKMIBCOMMUNITY-1=c1\nWALKMIBCOMMUNITY-2=c2\n"
       "WALKMIBCOMMUNITY-3=c3\nWALKMIBCOMMUNITY-4=c4\nWALKMIBCOMMUNITY-5=c5\n"
       "WALKMIBCOMMUNITY-6=c6\nWALKMIBCOMMUNITY-7=c7\nWALKMIBCOMMUNITY-8=c8\n"
       "WALKMIBCOMMUNITY-9=c9\nWALKMIBCOMMUNITY-10=c10\n",
       [](const auto& a) {
         EXPECT_EQ(a.WalkMib().communities.size(), 10u);
         EXPECT_EQ(a.WalkMib().communities.back(), L"c9");
       }},
      {"a single community stays single; an empty list is refilled",
       "[GetSet]\nSETCOMMUNITY-0=private\n",
       [](const auto& a) {
         EXPECT_EQ(a.GetSet().set_communities, History{L"private"});
         EXPECT_EQ(a.GetSet().get_communities, (History{L"getcom", L"setcomm"}));
       }},
      {"version kept as written, bad version replaced",
       "[GetSet]\nVersion=2C\n[walkMIB]\nVersion=3\n[sendTrap]\nVersion=1\n",
       [](const auto& a) {
         EXPECT_EQ(a.GetSet().version, L"2C");
         EXPECT_EQ(a.WalkMib().version, L"2c");
         EXPECT_EQ(a.SendTrap().version, L"1");
       }},
      {"ports keep their low 16 bits", "[GetSet]\nPort=65697\n[walkMIB]\nPort=0\n[sendTrap]\n",
       [](const auto& a) {
         EXPECT_EQ(a.GetSet().port, 161);
         EXPECT_EQ(a.WalkMib().port, 0);
         EXPECT_EQ(a.SendTrap().port, 162);
       }},
      {"discovery addresses must be IPv4 text",
       "[Device Discovery]\nStartIP=10.0.0.300\nEndIP=1x2x3x4\n",
       [](const auto& a) {
         EXPECT_EQ(a.Discovery().start_ip, L"");
         EXPECT_EQ(a.Discovery().end_ip, L"1x2x3x4");
       }},
      {"long values are cut",
       "[Ping]\nIPHost=" + long_host + "\n[GetSet]\nSetDataType=" + std::string(40, 't') + "\n",
       [](const auto& a) {
         EXPECT_EQ(a.Ping().host.size(), 128u);
         EXPECT_EQ(a.GetSet().set_data_type.size(), 31u);
       }},
      {"start OID is taken as read", "[walkMIB]\nStartOid=not an oid\n",
       [](const auto& a) { EXPECT_EQ(a.WalkMib().start_oid, L"not an oid"); }},
      {"use default stops the trap section",
       "[sendTrap]\nVersion=1\nUseDefault=1\nSenderIP=10.0.0.1\nSENDTRAPCOMMUNITY-0=x\n"
       "VarBindNum=1\nOID-1=1.3.6\nDataType-1=Integer32\nValue-1=5\nTrapType=coldStart\n",
       [](const auto& a) {
         EXPECT_EQ(a.SendTrap().sender_ip, L"");
         EXPECT_EQ(a.SendTrap().communities, (History{L"getcom", L"setcomm"}));
         EXPECT_EQ(a.SendTrap().varbind_count, 0);
         EXPECT_EQ(a.TrapVarBinds().Count(), 0);
         EXPECT_EQ(a.SendTrap().trap_type, L"enterpriseSpecific");
         EXPECT_EQ(a.SendTrap().sender_oids, History{app::DefaultSenderOid()});
       }},
      {"version 1 trap fields",
       "[sendTrap]\nVersion=1\nUseDefault=0\nSenderIP=10.0.0.1\nSENDEROID-0=bad\n"
       "TrapType=LINKUP\nSpecificType=65536\nVarBindNum=65\n",
       [](const auto& a) {
         EXPECT_EQ(a.SendTrap().sender_ip, L"10.0.0.1");
         EXPECT_EQ(a.SendTrap().sender_oids, History{});  // no refill
         EXPECT_EQ(a.SendTrap().trap_type, L"LINKUP");
         EXPECT_EQ(a.SendTrap().specific_type, 1);
         EXPECT_EQ(a.SendTrap().varbind_count, 0);
       }},
      {"version 1 unknown trap type and bad sender",
       "[sendTrap]\nVersion=1\nUseDefault=0\nSenderIP=1.2.3\nTrapType=bogus\nSpecificType=7\n",
       [](const auto& a) {
         EXPECT_EQ(a.SendTrap().sender_ip, L"");
         EXPECT_EQ(a.SendTrap().trap_type, L"enterpriseSpecific");
         EXPECT_EQ(a.SendTrap().specific_type, 7);
       }},
      {"2c ignores the version 1 keys",
       "[sendTrap]\nUseDefault=0\nSenderIP=10.0.0.1\nTrapType=coldStart\nVarBindNum=65\n",
       [](const auto& a) {
         EXPECT_EQ(a.SendTrap().sender_ip, L"");
         EXPECT_EQ(a.SendTrap().trap_type, L"enterpriseSpecific");
         EXPECT_EQ(a.SendTrap().varbind_count, 2);
       }},
      {"varbinds end at the first bad entry",
       "[sendTrap]\nUseDefault=0\nVarBindNum=7\n"
       "OID-1=.1.3.6.1.2.1.1.3.0\nDataType-1=timeticks\nValue-1=100\n"
       "OID-2=1.3.6.1.6.3.1.1.4.1.0\nDataType-2=Object Identifier\nValue-2=.1.3.6.1.4.1.9\n"
       "OID-3=1.3.6.5\nDataType-3=String\nValue-3=x\n"
       "OID-4=1.3.6.6\nDataType-4=Integer32\nValue-4=4\n",
       [](const auto& a) {
         EXPECT_EQ(a.SendTrap().varbind_count, 7);
         ASSERT_EQ(a.TrapVarBinds().Count(), 2);
         EXPECT_EQ(Binding(a, 1), L".1.3.6.1.2.1.1.3.0|Timeticks|100");
         EXPECT_EQ(Binding(a, 2), L".1.3.6.1.6.3.1.1.4.1.0|Object Identifier|.1.3.6.1.4.1.9");
       }},
      {"an invalid first OID means no varbinds",
       "[sendTrap]\nUseDefault=0\nOID-1=1.\nDataType-1=Integer32\nValue-1=1\n"
       "OID-2=1.3.6\nDataType-2=Integer32\nValue-2=2\n",
       [](const auto& a) { EXPECT_EQ(a.TrapVarBinds().Count(), 0); }},
      {"an empty value ends the varbinds",
       "[sendTrap]\nUseDefault=0\nOID-1=1.3.6\nDataType-1=Null\nValue-1=\n",
       [](const auto& a) { EXPECT_EQ(a.TrapVarBinds().Count(), 0); }},
      {"a damaged file keeps its readable keys",
       std::string("\x00\xFF\xFE", 3) +
           " garbage [[[\n=\n[Ping]\nIPHost=\x80\x81ok\n\n[GetSet\nPort=99\n\x01\x02\x03",
       [](const auto& a) {
         EXPECT_EQ(a.Ping().host, L"\ufffd\ufffdok");
         EXPECT_EQ(a.GetSet().port, 99);
       }},
  };
  for (const ReadCase& c : cases) {
    SCOPED_TRACE(c.what);
    c.check(*LoadFrom(c.file));
  }
}

// A state that touches every key of the file.
void FillEverything(CSondaraUtilityApp& a) {
  a.Ping().host = L"pinghost";
  a.Discovery() = {L"10.0.0.1", L"10.0.0.20"};
  a.GetSet().host = L"gethost";
  a.GetSet().version = L"1";
  a.GetSet().port = 1161;
  a.GetSet().get_oids = {L".1.3.6.1.2.1.1.5.0", L"1.3.6.1.2.1.1.1.0"};
  a.GetSet().get_communities = {L"public", L" spaced "};
  a.GetSet().set_oids = {L".1.3.6.1.2.1.1.4.0"};
  a.GetSet().set_communities = {L"private"};
  a.GetSet().set_data_type = L"Octet String";
  a.GetSet().set_value = L"caf\u00e9 \"quoted\"";
  a.SendTrap().host = L"traphost";
  a.SendTrap().version = L"1";
  a.SendTrap().port = 1162;
  a.SendTrap().use_default = 0;
  a.SendTrap().sender_ip = L"192.0.2.7";
  a.SendTrap().sender_oids = {L".1.3.6.1.4.1.99"};
  a.SendTrap().communities = {L"trapcom"};
  a.SendTrap().varbind_count = 2;
  a.SendTrap().trap_type = L"linkDown";
  a.SendTrap().specific_type = 42;
  a.TrapVarBinds().Add(L".1.3.6.1.2.1.2.2.1.1.1", snmp::TagOfTypeName(L"Integer32"), L"1");
  a.TrapVarBinds().Add(L".1.3.6.1.2.1.1.5.0", snmp::TagOfTypeName(L"Octet String"), L"name");
  a.WalkMib() = {L"walkhost", L"2c", L".1.3.6.1.2", 2161, {L"walkcom"}};
}

TEST_F(SettingsTest, SaveThenLoadGivesTheSameValuesAndKeysInOrder) {
  auto a = NewApp();
  FillEverything(*a);
  a->SavePageSettings();
  const std::string first = sondara_test::ReadFile(SettingsFile());
  for (const char* v : {"=pinghost", "=10.0.0.20", "=gethost", "=traphost", "=192.0.2.7",
                        "=linkDown", "=walkhost", "=.1.3.6.1.2\n", "=2161", "=walkcom", "=1162"})
    EXPECT_NE(first.find(v), std::string::npos) << v;

  // What is loaded back writes the same file again, so no value was lost on the way.
  auto b = NewApp();
  b->LoadPageSettings();
  EXPECT_EQ(b->GetSet().set_value, a->GetSet().set_value);
  EXPECT_EQ(b->GetSet().get_communities, a->GetSet().get_communities);
  EXPECT_EQ(b->SendTrap().specific_type, 42);
  ASSERT_EQ(b->TrapVarBinds().Count(), 2);
  EXPECT_EQ(Binding(*b, 1), L".1.3.6.1.2.1.2.2.1.1.1|Integer32|1");
  EXPECT_EQ(Binding(*b, 2), L".1.3.6.1.2.1.1.5.0|Octet String|name");
  b->SavePageSettings();
  EXPECT_EQ(sondara_test::ReadFile(SettingsFile()), first);

  const tvkutil::CIniFile ini = SavedFile();
  using Names = std::vector<std::wstring>;
  EXPECT_EQ(ini.SectionNames(),
            (Names{L"Ping", L"Device Discovery", L"GetSet", L"sendTrap", L"walkMIB"}));
  EXPECT_EQ(
      ini.KeyNames(L"GetSet"),
      (Names{L"IPHost", L"Version", L"Port", L"GETOID-0", L"GETOID-1", L"GETCOMMUNITY-0",
             L"GETCOMMUNITY-1", L"SETOID-0", L"SETCOMMUNITY-0", L"SetDataType", L"SetValue"}));
  EXPECT_EQ(ini.KeyNames(L"sendTrap"),
            (Names{L"IPHost", L"Version", L"Port", L"UseDefault", L"SenderIP", L"SENDEROID-0",
                   L"SENDTRAPCOMMUNITY-0", L"VarBindNum", L"OID-1", L"DataType-1", L"Value-1",
                   L"OID-2", L"DataType-2", L"Value-2", L"TrapType", L"SpecificType"}));
  EXPECT_EQ(ini.KeyNames(L"walkMIB"),
            (Names{L"IPHost", L"Version", L"StartOid", L"Port", L"WALKMIBCOMMUNITY-0"}));
  EXPECT_EQ(ini.GetString(L"sendTrap", L"UseDefault", L""), L"0");
  EXPECT_EQ(ini.GetString(L"GetSet", L"Port", L""), L"1161");
}

TEST_F(SettingsTest, SaveDropsStaleKeysCutsHistoriesAndKeepsForeignSections) {
  auto a = LoadFrom(
      "; written by hand\n[Other]\nkeep=me\n[GetSet]\nGETOID-5=1.3.6\n"
      "[sendTrap]\nUseDefault=1\nOID-1=1.3.6\nDataType-1=Integer32\nValue-1=1\n");
  for (int i = 0; i < 12; ++i)
    a->GetSet().get_oids.push_back(L"1.3." + std::to_wstring(i));
  a->SavePageSettings();

  const tvkutil::CIniFile ini = SavedFile();
  EXPECT_EQ(ini.GetString(L"Other", L"keep", L""), L"me");
  EXPECT_EQ(ini.GetString(L"GetSet", L"GETOID-9", L""), L"1.3.9");
  EXPECT_FALSE(ini.HasKey(L"GetSet", L"GETOID-10"));
  EXPECT_EQ(ini.KeyNames(L"sendTrap"),
            (std::vector<std::wstring>{L"IPHost", L"Version", L"Port", L"UseDefault"}));
  EXPECT_TRUE(sondara_test::ReadFile(SettingsFile()).starts_with("; written by hand\n"));
}

}  // namespace
