#include "logs/event_log.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/log_test_support.h"
#include "util/string_table.h"
#include "util/temp_folder.h"

namespace {

using logs::CEventLog;
using logs_test::Narrow;
using logs_test::Utf16le;

// Registers a log for the length of a test and always unregisters it.
struct RegisteredEventLog : CEventLog {
  RegisteredEventLog() { logs::RegisterEventLog(this); }
  ~RegisteredEventLog() { logs::RegisterEventLog(nullptr); }
};

TEST(EventLog, ConcurrentLinesArriveInOrderPerThreadWithoutLossOrDuplicates) {
  RegisteredEventLog log;
  constexpr int kThreads = 4;
  constexpr int kPerThread = 1250;  // 5 000 lines in all
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kPerThread; ++i) {
        // Through the same sink the codec's failure reports use.
        logs::EventLogSink().AddEventLine(std::to_wstring(t) + L":" + std::to_wstring(i));
      }
    });
  }
  for (auto& th : threads)
    th.join();

  const std::vector<logs::CEventEntry> pending = log.CopyPending();
  ASSERT_EQ(pending.size(), static_cast<std::size_t>(kThreads * kPerThread));
  std::vector<int> next(kThreads, 0);
  for (const auto& entry : pending) {
    const auto colon = entry.text.find(L':');
    const int t = std::stoi(entry.text.substr(0, colon));
    const int i = std::stoi(entry.text.substr(colon + 1));
    ASSERT_EQ(i, next[static_cast<std::size_t>(t)]) << "thread " << t;
    ++next[static_cast<std::size_t>(t)];
  }
  for (int n : next)
    EXPECT_EQ(n, kPerThread);
}

TEST(EventLog, ShowsTheNewest1024LinesInOrder) {
  struct Case {
    int shown_before;
    int added;
    std::size_t removed_front;
    std::size_t appended;
  };
  const Case cases[] = {
      {0, 1024, 0, 1024},    // exactly full
      {1024, 1, 1, 1},       // the 1025th line pushes out the first
      {1000, 30, 6, 30},     // partly
      {10, 3000, 10, 1024},  // a burst longer than the cap in one tick
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.shown_before << " + " << c.added);
    CEventLog log;
    int n = 0;
    for (; n < c.shown_before; ++n)
      log.AddEvent(std::to_wstring(n));
    log.MovePending();
    for (int i = 0; i < c.added; ++i, ++n)
      log.AddEvent(std::to_wstring(n));
    const logs::LogTickResult r = log.MovePending();
    EXPECT_EQ(r.removed_front, c.removed_front);
    EXPECT_EQ(r.appended, c.appended);
    const auto expected = std::min<std::size_t>(static_cast<std::size_t>(n), 1024);
    ASSERT_EQ(log.ShownCount(), expected);
    EXPECT_EQ(log.Shown(0).text, std::to_wstring(n - static_cast<int>(expected)));
    EXPECT_EQ(log.Shown(expected - 1).text, std::to_wstring(n - 1));
    EXPECT_EQ(log.PendingCount(), 0U);
  }
}

TEST(EventLog, LogEventFormatsFromTheStringTableAndCutsAt511) {
  // Nothing registered: lines are dropped without harm.
  logs::LogEvent(tvkutil::ids::kPingSent, L"10.0.0.1");

  RegisteredEventLog log;
  logs::LogEvent(tvkutil::ids::kPingSent, L"10.0.0.1");
  logs::LogEvent(tvkutil::ids::kPingSent, std::wstring(600, L'x'));
  log.MovePending();
  ASSERT_EQ(log.ShownCount(), 2U);
  EXPECT_EQ(log.Shown(0).text, L"Ping command sent to IP 10.0.0.1.");
  EXPECT_EQ(log.Shown(1).text.size(), 511U);

  // Reset clears the shown lines but keeps the pending ones.
  logs::LogEvent(tvkutil::ids::kPingSent, L"10.0.0.2");
  log.Reset();
  EXPECT_EQ(log.ShownCount(), 0U);
  log.MovePending();
  ASSERT_EQ(log.ShownCount(), 1U);
  EXPECT_EQ(log.Shown(0).text, L"Ping command sent to IP 10.0.0.2.");
}

TEST(EventLog, SavedFileHasBomPaddedHeaderAndLinesIntroducedByCrLf) {
  CEventLog log;
  log.AddEvent(L"Device discovery started.");
  log.AddEvent(L"Walk complete.");
  log.MovePending();
  log.AddEvent(L"still pending, not saved");

  std::string expected = logs_test::kBom + Utf16le("Date      \tTime    \tEvent");
  for (std::size_t i = 0; i < log.ShownCount(); ++i) {
    const auto& e = log.Shown(i);
    expected += Utf16le("\r\n" + Narrow(logs::DateText(e.stamp)) + "\t" +
                        Narrow(logs::TimeText(e.stamp)) + "\t" + Narrow(e.text));
  }
  EXPECT_EQ(log.SavedFileBytes(), expected);

  sondara_test::TempFolder dir;
  ASSERT_TRUE(log.SaveToFile(dir / "events.txt"));
  EXPECT_EQ(sondara_test::ReadFile(dir / "events.txt"), expected);

  EXPECT_FALSE(log.SaveToFile("/nonexistent-folder/x.txt"));
}

}  // namespace
