// The base of the two log stores.
#include "log/singleton.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <thread>
#include <type_traits>

#include "log/logdatabase.h"
#include "log/logtxt.h"

namespace {

static_assert(std::is_base_of_v<Singleton<CLogTxt>, CLogTxt>);
static_assert(std::is_base_of_v<Singleton<CLogDatabase>, CLogDatabase>);
static_assert(std::has_virtual_destructor_v<Singleton<CLogTxt>>);
static_assert(std::has_virtual_destructor_v<Singleton<CLogDatabase>>);
static_assert(!std::is_copy_constructible_v<CLogTxt> && !std::is_copy_assignable_v<CLogTxt>);
static_assert(!std::is_copy_constructible_v<CLogDatabase>);
static_assert(!std::is_copy_assignable_v<CLogDatabase>);
static_assert(!std::is_default_constructible_v<CLogTxt>);
static_assert(!std::is_default_constructible_v<CLogDatabase>);

// Counts how often it was built.
class Counted : public Singleton<Counted> {
 public:
  static inline std::atomic<int> built{0};

 private:
  friend class Singleton<Counted>;
  Counted() { ++built; }
};

TEST(Singleton, IsBuiltOnceWhoeverComesFirst) {
  std::array<Counted*, 8> seen{};
  std::array<std::thread, 8> threads;
  for (std::size_t i = 0; i < threads.size(); ++i) {
    threads[i] = std::thread([&seen, i] { seen[i] = &Singleton<Counted>::Instance(); });
  }

  for (auto& thread : threads) thread.join();

  EXPECT_EQ(Counted::built, 1);
  EXPECT_THAT(seen, ::testing::Each(&Singleton<Counted>::Instance()));
}

TEST(Singleton, HasOneObjectForEachClass) {
  const void* textLog = &Singleton<CLogTxt>::Instance();
  const void* logDatabase = &Singleton<CLogDatabase>::Instance();

  EXPECT_NE(textLog, logDatabase);
  EXPECT_EQ(textLog, &CLogTxt::Instance());
  EXPECT_EQ(logDatabase, &CLogDatabase::Instance());
}

}  // namespace
