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

  void WriteProfile(const std::string& text) {
    std::filesystem::create_directories(dir_ / "config/Tarvik Technologies");
    sondara_test::WriteFile(app_.ProfilePath(), text);
  }

  sondara_test::TempFolder dir_;
  CAdapterTable adapters_;
  CSondaraUtilityApp app_;
};

TEST_F(NetworkSettingsTest, DefaultsWithoutAProfile) {
  app_.LoadNetworkSettings(adapters_);
  const app::NetworkSettings& n = app_.Network();
  EXPECT_EQ(n.use_ipv6, 0);
  EXPECT_EQ(n.adapter_name, L"");
  EXPECT_TRUE(n.adapter.IsDefault());
  EXPECT_EQ(n.connect_timeout_s, 3);
  EXPECT_EQ(n.request_timeout_ms, 1000);
  EXPECT_EQ(n.retries, 3);
}

TEST_F(NetworkSettingsTest, ReadsValuesAndSelectsTheAdapter) {
  WriteProfile(
      "[NetworkInterface Settings]\nUseIPv6=1\nAdapterName=old name[fe80::1%4]\n"
      "ConnectTimeout=30\nRequestTimeoutMS=100\nRetries=10\n");
  app_.LoadNetworkSettings(adapters_);
  const app::NetworkSettings& n = app_.Network();
  EXPECT_EQ(n.use_ipv6, 1);
  EXPECT_EQ(n.adapter.address, L"fe80::1%4");  // found by the address in brackets
  EXPECT_EQ(n.adapter.ipv6_scope_id, 4u);
  EXPECT_EQ(n.connect_timeout_s, 30);
  EXPECT_EQ(n.request_timeout_ms, 100);
  EXPECT_EQ(n.retries, 10);
}

TEST_F(NetworkSettingsTest, ValuesTheOptionsWouldRefuseFallBackToDefaults) {
  WriteProfile(
      "[NetworkInterface Settings]\nConnectTimeout=0\nRequestTimeoutMS=30001\nRetries=-1\n");
  app_.LoadNetworkSettings(adapters_);
  EXPECT_EQ(app_.Network().connect_timeout_s, 3);
  EXPECT_EQ(app_.Network().request_timeout_ms, 1000);
  EXPECT_EQ(app_.Network().retries, 3);
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
