// The network interface group of the profile, and the profile's single-value access.
#include <gtest/gtest.h>

#include <filesystem>

#include "app/sondara_utility_app.h"
#include "util/ini_file.h"
#include "util/temp_folder.h"

namespace {

using app::CAdapterTable;
using app::CSondaraUtilityApp;
using app::MakeAdapterInfo;

class NetworkSettingsTest : public testing::Test {
 protected:
  NetworkSettingsTest()
      : adapters_({MakeAdapterInfo(L"eth0", L"192.0.2.2", true, 0)},
                  {MakeAdapterInfo(L"eth0", L"fe80::1%4", false, 4)}),
        app_(dir_ / "sondara.ini", dir_ / "config/Tarvik Technologies/Sondara Utility.ini") {}

  sondara_test::TempFolder dir_;
  CAdapterTable adapters_;
  CSondaraUtilityApp app_;
};

TEST_F(NetworkSettingsTest, ReadsValuesSelectsTheAdapterAndRefusesWhatOptionsWould) {
  const struct {
    const char* profile;        // nullptr: no profile file
    std::vector<int> expected;  // use IPv6, connect, request, retries, scope id
  } cases[] = {
      {nullptr, {0, 3, 1000, 3, -1}},
      {"[NetworkInterface Settings]\nUseIPv6=1\nAdapterName=old name[fe80::1%4]\n"
       "ConnectTimeout=30\nRequestTimeoutMS=100\nRetries=10\n",
       {1, 30, 100, 10, 4}},  // found by the address in brackets
      {"[NetworkInterface Settings]\nConnectTimeout=0\nRequestTimeoutMS=30001\nRetries=-1\n",
       {0, 3, 1000, 3, -1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.profile != nullptr ? c.profile : "no profile");
    std::filesystem::remove_all(dir_ / "config");
    if (c.profile != nullptr) {
      std::filesystem::create_directories(dir_ / "config/Tarvik Technologies");
      sondara_test::WriteFile(app_.ProfilePath(), c.profile);
    }
    CSondaraUtilityApp a(app_.SettingsFilePath(), app_.ProfilePath());
    a.LoadNetworkSettings(adapters_);
    const app::NetworkSettings& n = a.Network();
    EXPECT_EQ((std::vector<int>{n.use_ipv6, n.connect_timeout_s, n.request_timeout_ms, n.retries,
                                n.adapter.IsDefault() ? -1 : int(n.adapter.ipv6_scope_id)}),
              c.expected);
  }
}

TEST_F(NetworkSettingsTest, SaveCreatesTheProfileAndKeepsOtherGroups) {
  app_.SetAdapter(adapters_.Lookup(L"eth0[192.0.2.2]", false));
  app_.Network().retries = 5;
  ASSERT_TRUE(app_.WriteProfileInt(L"Main Window", L"x", 40));
  app_.SaveNetworkSettings();

  tvkutil::CIniFile ini(app_.ProfilePath());
  ASSERT_TRUE(ini.Load());
  EXPECT_EQ(ini.KeyNames(L"NetworkInterface Settings"),
            (std::vector<std::wstring>{L"UseIPv6", L"AdapterName", L"ConnectTimeout",
                                       L"RequestTimeoutMS", L"Retries"}));
  EXPECT_EQ(ini.GetString(L"NetworkInterface Settings", L"AdapterName", L""), L"eth0[192.0.2.2]");
  EXPECT_EQ(app_.GetProfileInt(L"main window", L"X", 10), 40);
  EXPECT_EQ(app_.GetProfileInt(L"Main Window", L"cy", 77), 77);

  CSondaraUtilityApp again(app_.SettingsFilePath(), app_.ProfilePath());
  again.LoadNetworkSettings(adapters_);
  EXPECT_EQ(again.Network().adapter.ipv4_address, app_.Network().adapter.ipv4_address);
  EXPECT_EQ(again.Network().retries, 5);

  ASSERT_TRUE(app_.WriteProfileString(L"walkMIB", L"SaveResultsPath", L"/tmp/x y"));
  EXPECT_EQ(again.GetProfileString(L"walkMIB", L"SaveResultsPath", L""), L"/tmp/x y");
}

}  // namespace
