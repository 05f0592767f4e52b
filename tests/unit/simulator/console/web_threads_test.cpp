#include <gtest/gtest.h>

#include <future>

#include "console/web/threads.h"

namespace {

using console::Threads;

TEST(Threads, RunTasksAtTheSameTimeAlsoWhenOnlyOneThreadIsIdle) {
  Threads threads(2);
  std::promise<void> ran;
  threads.Run([&] { ran.set_value(); });
  ran.get_future().wait();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // until the thread is idle
  std::promise<void> begun;
  std::shared_future<void> second = begun.get_future().share();
  bool hasMet = false;

  threads.Run(
      [&] { hasMet = second.wait_for(std::chrono::seconds(5)) == std::future_status::ready; });
  threads.Run([&] { begun.set_value(); });
  threads.Join();

  EXPECT_TRUE(hasMet);
}

}  // namespace
