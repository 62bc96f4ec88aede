#include "logs/transaction_log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/log_test_support.h"
#include "support/hex_bytes.h"

namespace {

using logs::CTransactionLog;
using logs_test::Narrow;
using logs_test::Utf16le;

std::vector<std::uint8_t> Bytes(std::size_t n) {
  std::vector<std::uint8_t> v(n);
  for (std::size_t i = 0; i < n; ++i)
    v[i] = static_cast<std::uint8_t>(i * 7);
  return v;
}

TEST(TransactionLog, SplitsMessagesIntoFixedRowsWithTheExtraEmptyRow) {
  const struct {
    std::size_t len;
    int is_text;
    std::vector<std::size_t> row_bytes;
  } cases[] = {
      {0, 0, {0}},  // an empty message still gets its row
      {85, 0, {85}},
      {86, 0, {86, 0}},  // an exact multiple ends with an empty row
      {200, 0, {86, 86, 28}},
      {172, 0, {86, 86, 0}},
      {259, 1, {259}},
      {260, 1, {260, 0}},
      {300, 1, {260, 40}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.len << " bytes, text " << c.is_text);
    std::vector<std::uint8_t> data(c.len, 'a');
    const auto rows = logs::SplitTransaction(1, L"Get", data.data(), data.size(), c.is_text);
    ASSERT_EQ(rows.size(), c.row_bytes.size());
    for (std::size_t r = 0; r < rows.size(); ++r) {
      const std::size_t chars_per_byte = c.is_text != 0 ? 1 : 3;
      EXPECT_EQ(rows[r].text.size(), c.row_bytes[r] * chars_per_byte) << "row " << r;
      EXPECT_EQ(rows[r].first_row, r == 0);
    }
  }
}

TEST(TransactionLog, HexRowsAreLowerCasePairsEachFollowedByASpace) {
  const std::vector<std::uint8_t> data = {0x30, 0x0A, 0xFF, 0x00};
  const auto rows = logs::SplitTransaction(0, L"walkMIB", data.data(), data.size(), 0);
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].text, L"30 0a ff 00 ");
  EXPECT_EQ(logs::SourceColumnText(rows[0]), L"[walkMIB]RX:");

  const std::string text = "Reply from ::1: time=0ms.";
  const auto text_rows = logs::SplitTransaction(
      7, L"Ping", reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), 1);
  EXPECT_EQ(text_rows[0].text, L"Reply from ::1: time=0ms.");
  EXPECT_EQ(logs::SourceColumnText(text_rows[0]), L"[Ping]:");  // unknown direction: empty
}

TEST(TransactionLog, CapCountsRowsSoALongMessageMayLoseItsFirstRow) {
  CTransactionLog log;
  const auto small = Bytes(10);
  for (int i = 0; i < 1023; ++i)
    log.AddTransaction(1, L"Get", small.data(), small.size(), 0);
  const auto big = Bytes(200);  // three rows
  log.AddTransaction(0, L"Get", big.data(), big.size(), 0);
  log.MovePending();
  ASSERT_EQ(log.ShownCount(), 1024U);
  // 1023 + 3 rows: the two oldest went, the big message's rows are the last three.
  EXPECT_TRUE(log.Shown(1021).first_row);
  EXPECT_FALSE(log.Shown(1022).first_row);
  EXPECT_EQ(log.Shown(1023).text.size(), 28U * 3);
}

TEST(TransactionLog, LogTransactionReachesOnlyARegisteredLog) {
  const auto data = Bytes(5);
  logs::LogTransaction(1, L"Get", data.data(), data.size(), 0);  // dropped
  CTransactionLog log;
  logs::RegisterTransactionLog(&log);
  logs::LogTransaction(1, L"Get", data.data(), data.size(), 0);
  logs::RegisterTransactionLog(nullptr);
  logs::LogTransaction(1, L"Get", data.data(), data.size(), 0);  // dropped again
  EXPECT_EQ(log.PendingCount(), 1U);
}

TEST(TransactionLog, SavedFileJoinsContinuationRowsAndPadsTheSourceColumn) {
  CTransactionLog log;
  const auto big = Bytes(200);
  log.AddTransaction(1, L"Get", big.data(), big.size(), 0);
  const std::string long_source = "a-source-name-over-21";  // "[...]RX:" is 26 characters
  const std::wstring wide_source(long_source.begin(), long_source.end());
  const std::vector<std::uint8_t> one = {0xAB};
  log.AddTransaction(0, wide_source, one.data(), one.size(), 0);
  log.MovePending();
  ASSERT_EQ(log.ShownCount(), 4U);  // 3 rows + 1 row

  auto hex = [](const std::vector<std::uint8_t>& v, std::size_t from, std::size_t to) {
    return testing_support::ToHex(std::span(v).subspan(from, to - from)) + " ";
  };
  auto stamp = [&](std::size_t row) {
    return Narrow(logs::DateText(log.Shown(row).stamp)) + "\t" +
           Narrow(logs::TimeText(log.Shown(row).stamp)) + "\t";
  };
  std::string expected =
      logs_test::kBom + Utf16le("Date      \tTime    \tSource               \tTransaction");
  // "[Get]TX:" is 8 characters: 13 spaces fill it to 21.
  expected += Utf16le("\r\n" + stamp(0) + "[Get]TX:" + std::string(13, ' ') + "\t" +
                      hex(big, 0, 86) + hex(big, 86, 172) + hex(big, 172, 200));
  // 26 characters: a negative width of 5 still gives 5 spaces.
  expected +=
      Utf16le("\r\n" + stamp(3) + "[" + long_source + "]RX:" + std::string(5, ' ') + "\t" + "ab ");
  EXPECT_EQ(log.SavedFileBytes(), expected);
}

}  // namespace
