// Owners of files, descriptors and memory.
#include "util/file.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string>

#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"

namespace {

bool IsOpen(int descriptor) {
  return fcntl(descriptor, F_GETFD) != -1;
}

TEST(Descriptor, ClosesAtItsEnd) {
  int number = -1;
  {
    const util::Descriptor descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(descriptor);
    number = descriptor.Get();
    ASSERT_TRUE(IsOpen(number));
  }

  EXPECT_FALSE(IsOpen(number));
}

TEST(Descriptor, HoldsNoneOnceClosed) {
  util::Descriptor descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));

  descriptor.Close();

  EXPECT_FALSE(descriptor);
  EXPECT_EQ(descriptor.Get(), -1);
}

TEST(Descriptor, ClosesOnlyOnce) {
  util::Descriptor first(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const int number = first.Get();
  first.Close();
  const util::Descriptor second(open("/dev/null", O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(second.Get(), number) << "the number is given out again";

  first.Close();

  EXPECT_TRUE(IsOpen(number));
}

TEST(Descriptor, IsNoneAfterAFailedOpen) {
  const util::Descriptor descriptor(open("/nonexistent", O_RDONLY | O_CLOEXEC));

  EXPECT_FALSE(descriptor);
}

TEST(Descriptor, TakesZeroForADescriptor) {
  int pipes[2];
  ASSERT_EQ(pipe2(pipes, O_CLOEXEC), 0);
  const int keptInput = dup(0);
  ASSERT_EQ(dup2(pipes[0], 0), 0);

  util::Descriptor descriptor(0);
  const bool holds = static_cast<bool>(descriptor);
  descriptor.Close();
  const bool open = IsOpen(0);

  dup2(keptInput, 0);
  for (const int number : {keptInput, pipes[0], pipes[1]}) close(number);
  EXPECT_TRUE(holds);
  EXPECT_FALSE(open);
}

class File : public test::GatewayTest {};

TEST_F(File, IsFlushedAndClosedAtItsEnd) {
  int number = -1;
  {
    const util::File file(std::fopen("/tessel/file", "w"));
    number = fileno(file.get());
    std::fputs("written", file.get());
  }

  EXPECT_FALSE(IsOpen(number));
  EXPECT_EQ(test::ReadFile("/tessel/file"), "written");
}

TEST(ZeroedArray, HoldsTheObjectsAskedForAllZero) {
  struct Record {
    int number;
    char text[12];
  };
  constexpr std::size_t kCount = 1000;

  const auto records = util::MakeZeroed<Record>(kCount);

  ASSERT_TRUE(records);
  const auto* bytes = reinterpret_cast<const unsigned char*>(records.get());
  EXPECT_TRUE(std::all_of(bytes, bytes + kCount * sizeof(Record),
                          [](unsigned char byte) { return byte == 0; }));
}

TEST(ZeroedArray, IsNullWhereThereIsNoMemory) {
  test::FailCalls(test::Call::kCalloc);

  EXPECT_FALSE(util::MakeZeroed<int>(10));
}

}  // namespace
