#include "app/setting_rules.h"

#include <gtest/gtest.h>

#include "util/text.h"

namespace {

using namespace app;

std::wstring Arcs(int n) {
  std::wstring s;
  for (int i = 0; i < n; ++i)
    s += L".1";
  return s;
}

TEST(SettingRulesTest, OidText) {
  // Empty pieces are skipped; 128 arcs and 1408 characters at most.
  for (const std::wstring& ok :
       {std::wstring(L"1.3"), std::wstring(L".1.3.6.1"), std::wstring(L"1..3"), Arcs(128),
        L"1." + std::wstring(1405, L'0') + L"1"})
    EXPECT_TRUE(IsValidOidText(ok)) << tvkutil::ToUtf8(ok.substr(0, 40));
  for (const std::wstring& bad :
       {Arcs(129), std::wstring(L"1.3."), std::wstring(L"1"), std::wstring(L".1"),
        std::wstring(L"1.a"), std::wstring(L"1.3 "), std::wstring(L"-1.3"), std::wstring(),
        L"1." + std::wstring(1406, L'0') + L"1"})
    EXPECT_FALSE(IsValidOidText(bad)) << tvkutil::ToUtf8(bad.substr(0, 40));
}

// Version, port and the other read rules are covered through the settings file.
TEST(SettingRulesTest, DataTypeNamesIgnoreCaseButNotTheStringAlias) {
  EXPECT_TRUE(IsDataTypeName(L"counter32"));
  EXPECT_TRUE(IsDataTypeName(L"endOfMibView"));
  EXPECT_FALSE(IsDataTypeName(L"String"));
  EXPECT_FALSE(IsDataTypeName(L""));
}

}  // namespace
