// The runner, the polled results list, the small vector of codec values and the logs' dates.
#include "util/runner.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "util/date_time_format.h"
#include "util/polled_list.h"
#include "util/small_vector.h"

namespace {

using namespace std::chrono_literals;

TEST(Runner, StopWakesTheBodysWaitAndIsNotCarriedToTheNextBody) {
  tvkutil::CRunner runner;
  EXPECT_TRUE(runner.Finished());
  std::atomic<bool> waiting{false}, stopped{false};
  // The wait gives up after a minute, so a stop that never reaches it fails instead of hanging.
  ASSERT_TRUE(runner.Start([&](std::stop_token stop) {
    waiting = true;
    stopped = tvkutil::SleepUnlessStopped(stop, 60s);
  }));
  EXPECT_FALSE(runner.Start([](std::stop_token) {}));  // one thread at a time
  EXPECT_FALSE(runner.Finished());
  for (int i = 0; i < 60000 && !waiting; ++i)  // up to a minute
    std::this_thread::sleep_for(1ms);
  runner.StopAndWait();
  EXPECT_TRUE(stopped && runner.Finished() && !runner.HasThread());

  // A stop asked for after a body ended must not stop the next one.
  runner.RequestStop();
  bool saw_stop = true;
  ASSERT_TRUE(runner.Start(
      [&](std::stop_token stop) { saw_stop = tvkutil::SleepUnlessStopped(stop, 1ms); }));
  runner.Join();
  EXPECT_FALSE(saw_stop);
}

TEST(PolledList, InsertsInOrderAndCountsOnlyMovesBeforeTheEnd) {
  tvkutil::CPolledList<int> list;
  const auto less = [](int a, int b) { return a < b; };
  for (int v : {10, 20, 30})
    list.InsertSorted(v, less);
  EXPECT_EQ(list.Reorders(), 0U);  // all at the end
  list.InsertSorted(15, less);
  EXPECT_EQ(list.Reorders(), 1U);
  EXPECT_EQ(list.WithAll([](const auto& v) { return v; }), (std::vector<int>{10, 15, 20, 30}));
  EXPECT_FALSE(list.With(4, [](int) {}));  // one past the end
  list.Clear();
  EXPECT_FALSE(list.With(0, [](int) {}));
  EXPECT_EQ(list.Reorders(), 2U);

  // Reused after a clear; records that compare equal keep their order, with no reorder.
  tvkutil::CPolledList<std::pair<int, char>> pairs;
  const auto by_key = [](const auto& a, const auto& b) { return a.first < b.first; };
  for (const auto& p : {std::pair(2, 'a'), std::pair(2, 'b'), std::pair(1, 'c'), std::pair(2, 'd')})
    pairs.InsertSorted(p, by_key);
  EXPECT_EQ(pairs.Reorders(), 1U);  // only 'c'
  EXPECT_EQ(pairs.WithAll([](const auto& v) { return v; }),
            (std::vector<std::pair<int, char>>{{1, 'c'}, {2, 'a'}, {2, 'b'}, {2, 'd'}}));
}

// Sizes around the 4 elements kept in place: none, the last in place, the first on the heap,
// grown twice. Copies, moves, a clear and an insert each keep every element.
TEST(SmallVector, KeepsEveryElementOnBothSidesOfTheInPlaceEdge) {
  using Strings = tvkutil::CSmallVector<std::string, 4>;
  const auto inside = [](const Strings& s) {
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    const auto* o = reinterpret_cast<const unsigned char*>(&s);
    return p >= o && p < o + sizeof s;
  };
  for (std::size_t count : {0U, 3U, 4U, 5U, 9U}) {
    SCOPED_TRACE(count);
    std::vector<std::string> want;
    for (std::size_t i = 0; i < count; ++i)
      want.push_back(std::string(24, static_cast<char>('a' + i)));  // too long for SSO
    const auto same = [&](const Strings& s) {
      return std::vector<std::string>(s.begin(), s.end()) == want;
    };
    const auto fill = [&](Strings& s) {
      for (const std::string& w : want)
        s.push_back(w);
    };
    Strings v;
    fill(v);
    EXPECT_EQ(v.capacity() == 4, count <= 4);
    Strings copy(v), moved(std::move(v));
    EXPECT_TRUE(same(copy) && copy == moved);
    EXPECT_EQ(inside(moved), count <= 4);
    EXPECT_TRUE(v.empty());
    fill(v);  // the moved-from one is as good as new
    EXPECT_TRUE(same(v));
    EXPECT_EQ(inside(v), count <= 4);

    v.push_back("extra");  // on the heap from 4 on
    v = std::move(copy);
    EXPECT_TRUE(same(v) && copy.empty());
    v.emplace_at(count / 2, "mid");
    EXPECT_EQ(v[count / 2], "mid");
    v.erase_at(count / 2);
    EXPECT_TRUE(same(v));
    const std::size_t capacity = v.capacity();
    v.clear();
    EXPECT_EQ(v.capacity(), capacity);  // the block is kept for the next fill
    fill(v);
    EXPECT_TRUE(same(v));

    // Plain bytes are copied in one block.
    const std::vector<std::uint8_t> bytes(count, 0x5A);
    tvkutil::CSmallVector<std::uint8_t, 4> b;
    b.assign(bytes.data(), bytes.data() + bytes.size());
    EXPECT_EQ(std::vector<std::uint8_t>(b.begin(), b.end()), bytes);
    tvkutil::CSmallVector<std::uint8_t, 4> longer(b);
    longer.push_back(0);
    EXPECT_TRUE(b < longer && !(longer < b));
  }
}

TEST(DateTimeFormatTest, TwentyFourHourTimeAndLocaleShortDate) {
  setenv("TZ", "UTC", 1);
  tzset();
  const std::tm t = tvkutil::ToLocalTime(std::chrono::system_clock::from_time_t(1706742309));
  EXPECT_EQ(tvkutil::FormatTime24(t), L"23:05:09");
  EXPECT_EQ(tvkutil::FormatShortDate(t), L"01/31/24");  // the C locale's short date
}

}  // namespace
