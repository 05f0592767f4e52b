#include "util/file.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"

namespace {

bool IsOpen(int descriptor) {
  return fcntl(descriptor, F_GETFD) != -1;
}

int OpenNull() {
  return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(Descriptor, ClosesAtItsEnd) {
  int number = -1;
  {
    const util::Descriptor descriptor(OpenNull());
    ASSERT_TRUE(descriptor);
    number = descriptor.Get();
    ASSERT_TRUE(IsOpen(number));
  }

  EXPECT_FALSE(IsOpen(number));
}

TEST(Descriptor, ClosesOnlyOnce) {
  util::Descriptor first(OpenNull());
  const int number = first.Get();
  first.Close();
  EXPECT_FALSE(first);
  const util::Descriptor second(OpenNull());
  ASSERT_EQ(second.Get(), number) << "the number is given out again";

  first.Close();

  EXPECT_TRUE(IsOpen(number));
}

TEST(Descriptor, HoldsNothingAfterAFailedOpen) {
  EXPECT_FALSE(util::Descriptor(open("/nonexistent", O_RDONLY | O_CLOEXEC)));
}

TEST(Descriptor, TakesZeroForADescriptor) {
  const int keptInput = dup(0);
  const int null = OpenNull();
  ASSERT_EQ(dup2(null, 0), 0);

  util::Descriptor descriptor(0);
  const bool holds = static_cast<bool>(descriptor);
  descriptor.Close();
  const bool isOpen = IsOpen(0);

  dup2(keptInput, 0);
  for (const int number : {keptInput, null}) close(number);
  EXPECT_TRUE(holds);
  EXPECT_FALSE(isOpen);
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

TEST(ZeroedArray, HoldsTheObjectsWithAllBytesZero) {
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

TEST(ZeroedArray, IsNullWithoutMemory) {
  test::FailCalls(test::Call::kCalloc);

  EXPECT_FALSE(util::MakeZeroed<int>(10));
}

}  // namespace
