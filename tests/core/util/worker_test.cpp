// The worker runner and the results list the walk and the sweep share.
#include "util/worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

#include "util/result_list.h"

namespace {

using namespace std::chrono_literals;

TEST(Worker, StopReachesTheBodyAndFinishedFollowsTheBody) {
  tvkutil::CWorker worker(false);
  EXPECT_TRUE(worker.Finished());
  std::atomic<int> laps{0};
  ASSERT_TRUE(worker.Start([&](tvkutil::CEvent& stop) {
    while (!stop.WaitFor(1ms))
      ++laps;
  }));
  EXPECT_FALSE(worker.Start([](tvkutil::CEvent&) {}));  // one thread at a time
  EXPECT_FALSE(worker.Finished());
  while (laps < 3)
    std::this_thread::sleep_for(1ms);
  worker.StopAndWait();
  EXPECT_TRUE(worker.Finished());
  EXPECT_FALSE(worker.HasThread());

  // A stop raised after a body ended must not stop the next one at once.
  worker.RequestStop();
  bool saw_stop = true;
  ASSERT_TRUE(worker.Start([&](tvkutil::CEvent& stop) { saw_stop = stop.IsSet(); }));
  worker.Join();
  EXPECT_FALSE(saw_stop);
}

TEST(ResultList, InsertsInOrderAndCountsOnlyMovesBeforeTheEnd) {
  tvkutil::CResultList<int> list;
  const auto less = [](int a, int b) { return a < b; };
  for (int v : {10, 20, 30})
    list.InsertSorted(v, less);
  EXPECT_EQ(list.Reorders(), 0U);  // all at the end
  list.InsertSorted(15, less);
  EXPECT_EQ(list.Reorders(), 1U);
  const auto all = list.WithAll([](const std::vector<int>& v) { return v; });
  EXPECT_EQ(all, (std::vector<int>{10, 15, 20, 30}));
  int seen = 0;
  EXPECT_TRUE(list.With(1, [&](int v) { seen = v; }));
  EXPECT_EQ(seen, 15);
  list.Clear();
  EXPECT_FALSE(list.With(0, [](int) {}));
  EXPECT_EQ(list.Reorders(), 2U);
}

}  // namespace
