#include "util/event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using tvkutil::CEvent;
using namespace std::chrono_literals;

TEST(EventTest, ManualResetStaysRaisedAutoResetLetsOneThrough) {
  CEvent manual(/*manual_reset=*/true);
  EXPECT_FALSE(manual.WaitFor(0ms));
  manual.Set();
  EXPECT_TRUE(manual.WaitFor(0ms));
  EXPECT_TRUE(manual.WaitFor(0ms));
  manual.Reset();
  EXPECT_FALSE(manual.IsSet());

  CEvent automatic(/*manual_reset=*/false, /*initially_set=*/true);
  EXPECT_TRUE(automatic.WaitFor(0ms));
  EXPECT_FALSE(automatic.WaitFor(0ms));
}

TEST(EventTest, WakesWaitersOnOtherThreads) {
  // Generous bound: a woken waiter returns at once, so it only limits a broken run.
  CEvent stop(/*manual_reset=*/true), one(/*manual_reset=*/false);
  std::atomic<int> woken{0}, passed{0};
  std::thread a([&] { woken += stop.WaitFor(10s) ? 1 : 0; });
  std::thread b([&] {
    stop.Wait();
    ++woken;
  });
  std::thread c([&] { passed += one.WaitFor(10s) ? 1 : 0; });
  stop.Set();
  one.Set();
  a.join();
  b.join();
  c.join();
  EXPECT_EQ(woken.load(), 2);
  EXPECT_EQ(passed.load(), 1);
  EXPECT_FALSE(one.IsSet());  // the waiter let through lowered it again
}

}  // namespace
