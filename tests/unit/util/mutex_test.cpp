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
  constexpr int kRounds = 20'000;
  util::Mutex mutex;
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < kRounds; ++i) {
      const std::lock_guard lock(mutex);
      ++counter;
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

}  // namespace
