// What answer callbacks share.
#include "http/answercallback.h"

#include <gmock/gmock.h>

#include <array>

using ::testing::ElementsAre;

namespace {

TEST(ReceivedBytes, AreCopiedWithTheirZeros) {
  using namespace std::string_literals;

  EXPECT_EQ(CopyReceived("ab\0def-and-more", 2, 3), "ab\0def"s);
  EXPECT_EQ(CopyReceived(nullptr, 0, 0), "");
}

TEST(SuccessFlag, IsSetWhereverItStands) {
  std::array<unsigned char, 6> bytes{9, 9, 9, 9, 9, 9};

  SetSuccessFlag(&bytes[1], 0);

  EXPECT_THAT(bytes, ElementsAre(9, 0, 0, 0, 0, 9));
}

}  // namespace
