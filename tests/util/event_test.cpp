#include "util/event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using tvkutil::CEvent;
using namespace std::chrono_literals;

// Generous: a waiter that is woken returns at once, so this only bounds a broken run.
constexpr auto kLongWait = 10s;

TEST(EventTest, ManualResetStaysRaisedUntilReset) {
  CEvent e(/*manual_reset=*/true);
  EXPECT_FALSE(e.WaitFor(0ms));
  e.Set();
  EXPECT_TRUE(e.WaitFor(0ms));
  EXPECT_TRUE(e.WaitFor(0ms));
  e.Reset();
  EXPECT_FALSE(e.IsSet());
}

TEST(EventTest, AutoResetLetsOneWaiterThrough) {
  CEvent e(/*manual_reset=*/false, /*initially_set=*/true);
  EXPECT_TRUE(e.IsSet());
  EXPECT_TRUE(e.WaitFor(0ms));
  EXPECT_FALSE(e.WaitFor(0ms));
}

TEST(EventTest, WakesWaitersOnOtherThreads) {
  CEvent stop(/*manual_reset=*/true);
  std::atomic<int> woken{0};
  std::thread a([&] { woken += stop.WaitFor(kLongWait) ? 1 : 0; });
  std::thread b([&] {
    stop.Wait();
    ++woken;
  });
  stop.Set();
  a.join();
  b.join();
  EXPECT_EQ(woken.load(), 2);

  // Auto reset: the waiter that is let through lowers the event again.
  CEvent one(/*manual_reset=*/false);
  std::atomic<int> passed{0};
  std::thread c([&] { passed += one.WaitFor(kLongWait) ? 1 : 0; });
  one.Set();
  c.join();
  EXPECT_EQ(passed.load(), 1);
  EXPECT_FALSE(one.IsSet());
}

}  // namespace
