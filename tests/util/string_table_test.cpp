#include "util/string_table.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "util/text.h"

namespace {

using namespace tvkutil;

TEST(StringTableTest, NumbersAreUniqueEachHasATextAndFormatsFill) {
  const std::vector<int> numbers = StringTableIds();
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
  EXPECT_EQ(std::adjacent_find(numbers.begin(), numbers.end()), numbers.end());
  for (int id : numbers)
    EXPECT_FALSE(LoadString(id).empty()) << id;
  EXPECT_EQ(LoadString(238), L"");
  EXPECT_EQ(LoadString(-1), L"");

  EXPECT_EQ(FormatN(LoadString(ids::kPingReplyIPv4), kMaxLogLineLen, L"127.0.0.1", 32, 1),
            L"Reply from 127.0.0.1: bytes=32 time=1ms.");
  EXPECT_EQ(FormatN(LoadString(ids::kVarBindNumTooLarge), kMaxLogLineLen, 3, 2),
            L"VarBind# ('3') greater than the no. of varbinds in the VarBind list ('2').");
  EXPECT_EQ(LoadString(ids::kCannotEditSysUpTime), L"Cannot edit this sysUpTime varbind. ");
  EXPECT_EQ(LoadString(279), L"Sondara Utility");
}

}  // namespace
