// The mutex of the service.
#include "util/mutex.h"

#include <gmock/gmock.h>

#include <mutex>
#include <thread>
#include <type_traits>

namespace {

static_assert(!std::is_copy_constructible_v<util::Mutex>);
static_assert(!std::is_copy_assignable_v<util::Mutex>);

TEST(Mutex, LetsOneThreadInAtATime) {
  constexpr int kRounds = 2'000;
  util::Mutex mutex;
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < kRounds; ++i) {
      const std::lock_guard lock(mutex);
      const int before = counter;
      std::this_thread::yield();  // whoever could come in does so now
      counter = before + 1;
    }
  };

  std::thread other(count);
  count();
  other.join();

  EXPECT_EQ(counter, 2 * kRounds);
}

TEST(Mutex, IsFreeAgainAfterAGuard) {
  util::Mutex mutex;
  { const std::lock_guard lock(mutex); }

  std::unique_lock again(mutex);

  EXPECT_TRUE(again.owns_lock());
}

TEST(Mutex, IsNotTakenTwice) {
  util::Mutex mutex;
  const std::lock_guard lock(mutex);
  bool isTaken = true;

  std::thread([&] { isTaken = mutex.try_lock(); }).join();

  EXPECT_FALSE(isTaken);
}

TEST(Mutex, IsTakenByATryWhenItIsFree) {
  util::Mutex mutex;

  const std::unique_lock lock(mutex, std::try_to_lock);

  EXPECT_TRUE(lock.owns_lock());
}

TEST(Mutex, StaysLockedOnceAbandoned) {
  util::Mutex mutex;
  mutex.lock();
  const bool before = mutex.IsAbandoned();

  mutex.Abandon();

  EXPECT_FALSE(before);
  EXPECT_TRUE(mutex.IsAbandoned());
  EXPECT_FALSE(mutex.try_lock());
}

}  // namespace
