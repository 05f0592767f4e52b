#include "util/file.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <cstdio>

#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"

namespace {

bool IsOpen(int descriptor) {
  return fcntl(descriptor, F_GETFD) != -1;
}

TEST(Descriptor, ClosesOnlyOnceAndAtItsEnd) {
  const int number = dup(0);
  {
    util::Descriptor first(number);
    EXPECT_TRUE(first);
    first.Close();
    EXPECT_FALSE(first);
    const util::Descriptor second(dup(0));
    ASSERT_EQ(second.Get(), number) << "the number is given out again";

    first.Close();

    EXPECT_TRUE(IsOpen(number));
  }
  EXPECT_FALSE(IsOpen(number));
}

TEST(Descriptor, TakesZeroForADescriptor) {
  const util::Descriptor keptInput(dup(0));
  {
    const util::Descriptor input(0);
    EXPECT_TRUE(input);
  }
  EXPECT_FALSE(IsOpen(0));

  dup2(keptInput.Get(), 0);
}

class File : public test::GatewayTest {};

TEST_F(File, FlushesAndClosesAtItsEnd) {
  int number = -1;
  {
    const util::File file(std::fopen("/tessel/file", "w"));
    number = fileno(file.get());
    std::fputs("written", file.get());
  }

  EXPECT_FALSE(IsOpen(number));
  EXPECT_EQ(test::ReadFile("/tessel/file"), "written");
}

TEST(ZeroedArray, HoldsZeroedObjectsOrIsNullWithoutMemory) {
  constexpr std::size_t kCount = 1000;

  const auto numbers = util::MakeZeroed<int>(kCount);
  test::FailCalls(test::Call::kCalloc);

  EXPECT_EQ(std::count(numbers.get(), numbers.get() + kCount, 0), kCount);
  EXPECT_FALSE(util::MakeZeroed<int>(10));
}

}  // namespace
