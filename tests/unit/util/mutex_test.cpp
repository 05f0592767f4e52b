#include "util/mutex.h"

#include <gmock/gmock.h>

#include <mutex>
#include <thread>

namespace {

TEST(Mutex, LetsOneThreadInAtATime) {
  constexpr int kRounds = 2'000;
  util::Mutex mutex;
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < kRounds; ++i) {
      const std::lock_guard lock(mutex);
      const int before = counter;
      std::this_thread::yield();  // a thread that could come in does so now
      counter = before + 1;
    }
  };

  std::thread other(count);
  count();
  other.join();

  EXPECT_EQ(counter, 2 * kRounds);
}

TEST(Mutex, AcceptsATryOnlyWhileItIsFreeAndStaysLockedOnceAbandoned) {
  util::Mutex mutex;
  EXPECT_TRUE(mutex.try_lock());
  EXPECT_FALSE(mutex.try_lock());
  EXPECT_FALSE(mutex.IsAbandoned());

  mutex.Abandon();

  EXPECT_TRUE(mutex.IsAbandoned());
  EXPECT_FALSE(mutex.try_lock());
}

}  // namespace
