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
  const struct {
    std::wstring text;
    bool valid;
  } cases[] = {
      {L"1.3", true},
      {L".1.3.6.1", true},
      {L"1..3", true},  // empty pieces are skipped
      {Arcs(128), true},
      {Arcs(129), false},
      {L"1.3.", false},
      {L"1", false},
      {L".1", false},
      {L"1.a", false},
      {L"1.3 ", false},
      {L"-1.3", false},
      {L"", false},
      {L"1." + std::wstring(1405, L'0') + L"1", true},  // 1408 characters
      {L"1." + std::wstring(1406, L'0') + L"1", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(tvkutil::ToUtf8(c.text.substr(0, 40)));
    EXPECT_EQ(IsValidOidText(c.text), c.valid);
  }
}

TEST(SettingRulesTest, VersionTypeNamesAndPorts) {
  EXPECT_EQ(VersionIndex(L"2c"), 1);
  EXPECT_EQ(VersionIndex(L"2C"), 1);
  EXPECT_EQ(VersionIndex(L"1"), 0);
  EXPECT_EQ(VersionIndex(L"3"), 0);

  EXPECT_TRUE(IsDataTypeName(L"Octet String"));
  EXPECT_TRUE(IsDataTypeName(L"counter32"));
  EXPECT_TRUE(IsDataTypeName(L"endOfMibView"));
  EXPECT_FALSE(IsDataTypeName(L"String"));
  EXPECT_FALSE(IsDataTypeName(L""));

  EXPECT_EQ(Low16(65697), 161);
  EXPECT_EQ(Low16(0), 0);
  EXPECT_EQ(Low16(-1), 65535);
}

}  // namespace
