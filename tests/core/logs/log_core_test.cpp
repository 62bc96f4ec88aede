// The log cores: lines from many threads, LogEvent, row splitting and the saved file bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "logs/event_log.h"
#include "logs/log_entry_points.h"
#include "logs/transaction_log.h"
#include "support/hex_bytes.h"
#include "support/temp_folder.h"
#include "util/polled_list.h"
#include "util/string_table.h"

namespace {

// How every saved line starts: CR LF, date, time.
template <typename Entry>
std::string LineStart(const Entry& e) {
  const std::wstring s = logs::DateText(e.stamp) + L"\t" + logs::TimeText(e.stamp) + L"\t";
  return "\r\n" + std::string(s.begin(), s.end());
}

TEST(EventLog, FiveThousandLinesFromFourThreadsArriveInOrderPerThread) {
  logs::CEventLog log;
  logs::RegisterEventLog(&log);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 1250; ++i)
        logs::EventLogSink().AddEventLine(std::to_wstring(t) + L":" + std::to_wstring(i));
    });
  }
  for (auto& th : threads)
    th.join();
  logs::RegisterEventLog(nullptr);
  const std::vector<logs::CEventEntry> pending = log.CopyPending();
  ASSERT_EQ(pending.size(), 5000U);
  // With 5000 lines, no gaps and no repeats per thread also means nothing was lost.
  std::vector<int> next(4, 0);
  for (const auto& e : pending) {
    const auto colon = e.text.find(L':');
    ASSERT_EQ(std::stoi(e.text.substr(colon + 1)), next[std::stoul(e.text.substr(0, colon))]++)
        << e.text;
  }
}

TEST(TransactionLog, SplitsMessagesInto86ByteOr260CharacterRowsWithTheExtraEmptyRow) {
  const struct {
    std::size_t len;
    int is_text;
    std::vector<std::size_t> row_bytes;
  } cases[] = {
      {0, 0, {0}},  // an empty message still gets its row
      {86, 0, {86, 0}}, {200, 0, {86, 86, 28}}, {260, 1, {260, 0}}, {300, 1, {260, 40}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.len << " bytes, text " << c.is_text);
    const std::vector<std::uint8_t> data(c.len, 'a');
    const auto rows = logs::SplitTransaction(1, L"Get", data.data(), data.size(), c.is_text);
    ASSERT_EQ(rows.size(), c.row_bytes.size());
    for (std::size_t r = 0; r < rows.size(); ++r) {
      EXPECT_EQ(rows[r].text.size(), c.row_bytes[r] * (c.is_text != 0 ? 1 : 3)) << "row " << r;
      EXPECT_EQ(rows[r].first_row, r == 0);
    }
  }
}

TEST(EventLog, LogEventFormatsFromTheStringTableReachesOnlyARegisteredLogAndIsSavedAsUtf16) {
  logs::CEventLog log;
  logs::LogEvent(tvkutil::ids::kPingSent, L"10.0.0.1");  // dropped: nothing registered yet
  logs::RegisterEventLog(&log);
  logs::LogEvent(tvkutil::ids::kPingSent, L"10.0.0.2");
  logs::LogEvent(tvkutil::ids::kPingSent, std::wstring(600, L'x'));  // cut at 511 characters
  log.MovePending();
  logs::LogEvent(tvkutil::ids::kPingSent, L"10.0.0.3");  // still pending: not saved
  logs::RegisterEventLog(nullptr);
  logs::LogEvent(tvkutil::ids::kPingSent, L"10.0.0.4");  // dropped again
  EXPECT_EQ(log.PendingCount(), 1U);
  ASSERT_EQ(log.ShownCount(), 2U);
  const std::string expected =
      "\xFF\xFE" +
      sondara_test::Utf16("Date      \tTime    \tEvent" + LineStart(log.Shown(0)) +
                          "Ping command sent to IP 10.0.0.2." + LineStart(log.Shown(1)) +
                          "Ping command sent to IP " + std::string(487, 'x'));
  sondara_test::TempFolder dir;
  ASSERT_EQ(log.SaveToFile(dir / "events.txt"), std::error_code());
  EXPECT_EQ(sondara_test::ReadFile(dir / "events.txt"), expected);
}

TEST(TransactionLog, SavedFileJoinsContinuationRowsAndPadsTheSourceColumn) {
  logs::CTransactionLog log;
  std::vector<std::uint8_t> big(200);
  std::iota(big.begin(), big.end(), std::uint8_t{0});
  log.AddTransaction(1, L"Get", big.data(), big.size(), 0);
  const std::vector<std::uint8_t> one = {0xAB};
  log.AddTransaction(0, L"a-source-name-over-21", one.data(), one.size(), 0);
  const std::string reply = "Reply from ::1: time=0ms.";
  log.AddTransaction(7, L"Ping", reinterpret_cast<const std::uint8_t*>(reply.data()), reply.size(),
                     1);
  log.MovePending();
  ASSERT_EQ(log.ShownCount(), 5U);
  auto hex = [&](std::size_t from, std::size_t to) {
    return testing_support::ToHex(std::span(big).subspan(from, to - from)) + " ";
  };
  // The source column is padded to 21 (26 characters get 5 spaces); directions not 0 or 1 none.
  const std::string expected =
      "\xFF\xFE" +
      sondara_test::Utf16(
          "Date      \tTime    \tSource               \tTransaction" + LineStart(log.Shown(0)) +
          "[Get]TX:" + std::string(13, ' ') + "\t" + hex(0, 86) + hex(86, 172) + hex(172, 200) +
          LineStart(log.Shown(3)) + "[a-source-name-over-21]RX:" + std::string(5, ' ') + "\tab " +
          LineStart(log.Shown(4)) + "[Ping]:" + std::string(14, ' ') + "\t" + reply);
  EXPECT_EQ(log.SavedFileBytes(), expected);
}

// 400 three-row messages against the 1024-row cap: cut among the rows shown before a tick, and
// among rows that arrive in one tick. The rest starts at a first row, also in the saved file.
TEST(TransactionLog, TheRowCapDropsWholeMessages) {
  const std::vector<std::uint8_t> three_rows(200, 0x5f);
  const std::string header = "Date      \tTime    \tSource               \tTransaction";
  for (const int first_tick : {-1, 300}) {
    logs::CTransactionLog log;
    std::size_t told = 0;  // rows the ticks said are shown
    const auto tick = [&] {
      const tvkutil::LogTickResult change = log.MovePending();
      told += change.appended - change.removed_front;
    };
    for (int i = 0; i < 400; ++i) {
      log.AddTransaction(1, L"Get", three_rows.data(), three_rows.size(), 0);
      if (i == first_tick)
        tick();
    }
    tick();
    EXPECT_EQ(log.ShownCount(), 1023U) << first_tick;
    EXPECT_EQ(told, log.ShownCount());
    EXPECT_TRUE(log.Shown(0).first_row);
    EXPECT_EQ(log.SavedFileBytes().substr(2 + 2 * header.size(), 4), std::string("\r\0\n\0", 4));
  }
}

TEST(PolledList, ThePendingArrayDoublesAndKeepsItsCapacityForTheNextBurst) {
  tvkutil::CPolledList<std::unique_ptr<int>> queue;
  for (int burst = 0; burst < 2; ++burst) {
    SCOPED_TRACE(burst);
    std::set<std::size_t> capacities;
    for (int i = 0; i < 100000; ++i) {
      queue.Add(std::make_unique<int>(i));
      capacities.insert(queue.PendingCapacity());
    }
    // 1024, 2048 ... 131072 the first time; the same array again the second.
    EXPECT_EQ(capacities.size(), burst == 0 ? 8U : 1U);
    EXPECT_EQ(*capacities.rbegin(), 131072U);
    queue.MovePending();
    EXPECT_EQ(queue.PendingCount(), 0U);
  }
}

// At the cap's edge: the rows a tick keeps, and what it says went and came.
TEST(PolledList, ATickKeepsAtMost1024Rows) {
  const struct {
    std::size_t before, arriving, removed, appended;
  } cases[] = {{1023, 1, 0, 1}, {1024, 1, 1, 1}, {0, 1025, 0, 1024}, {1, 1024, 1, 1024}};
  for (const auto& c : cases) {
    tvkutil::CPolledList<std::unique_ptr<std::size_t>> list;
    std::size_t n = 0;
    const auto add = [&](std::size_t count) {
      for (; count > 0; --count)
        list.Add(std::make_unique<std::size_t>(n++));
    };
    add(c.before);
    list.MovePending();
    add(c.arriving);
    const tvkutil::LogTickResult tick = list.MovePending();
    EXPECT_EQ(std::pair(tick.removed_front, tick.appended), std::pair(c.removed, c.appended))
        << c.before << '+' << c.arriving;
    ASSERT_EQ(list.ShownCount(), std::min<std::size_t>(c.before + c.arriving, 1024));
    EXPECT_EQ(*list.Shown(0), n - list.ShownCount());
  }
}

// An entry that, when freed, asks from another thread whether the queue's lock is free: threads
// that log must never wait while the window frees rows.
struct ProbedEntry;
struct LockProbe {
  tvkutil::CPolledList<std::unique_ptr<ProbedEntry>>* queue = nullptr;
  int freed = 0, while_locked = 0;
  std::vector<std::future<std::size_t>> asks;  // a blocked ask ends once the lock is let go
};
struct ProbedEntry {
  explicit ProbedEntry(LockProbe* p) : probe(p) {}
  ~ProbedEntry() {
    if (probe == nullptr)
      return;
    ++probe->freed;
    auto ask = std::async(std::launch::async, [q = probe->queue] { return q->PendingCount(); });
    if (ask.wait_for(std::chrono::seconds(2)) != std::future_status::ready)
      ++probe->while_locked;
    probe->asks.push_back(std::move(ask));
  }
  LockProbe* probe;
};

// Rows leave by three ways: pushed out by a tick, dropped unshown by a tick, and Reset.
TEST(PolledList, RowsAreFreedAfterTheLockIsLetGo) {
  tvkutil::CPolledList<std::unique_ptr<ProbedEntry>> queue;
  LockProbe probe;
  probe.queue = &queue;
  const auto add = [&](int count) {  // the first of them probed
    for (int i = 0; i < count; ++i)
      queue.Add(std::make_unique<ProbedEntry>(i == 0 ? &probe : nullptr));
  };
  add(1024);
  queue.MovePending();
  add(1025);  // pushes out all the shown ones, its own first is dropped unshown
  queue.MovePending();
  add(1);
  queue.MovePending();
  queue.Clear();
  EXPECT_EQ(probe.freed, 3);
  EXPECT_EQ(probe.while_locked, 0);
}

}  // namespace
