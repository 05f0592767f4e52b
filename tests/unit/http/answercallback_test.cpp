// What answer callbacks share.
#include "http/answercallback.h"

#include <gmock/gmock.h>

#include <array>

using ::testing::ElementsAre;

namespace {

TEST(CopyReceivedBytes, TakesSizeTimesCountBytes) {
  using namespace std::string_literals;

  EXPECT_EQ(CopyReceived("ab\0def-and-more", 2, 3), "ab\0def"s);
  EXPECT_EQ(CopyReceived(nullptr, 0, 0), "");
}

TEST(SuccessFlag, NeedsNoAlignment) {
  std::array<unsigned char, 6> bytes{9, 9, 9, 9, 9, 9};

  SetSuccessFlag(&bytes[1], 0);

  EXPECT_THAT(bytes, ElementsAre(9, 0, 0, 0, 0, 9));
}

TEST(Verdict, TakesTheValuesZeroAndMinusOne) {
  EXPECT_EQ(kVerdictAccepted, 0U);
  EXPECT_EQ(kVerdictRejected, static_cast<std::size_t>(-1));
}

}  // namespace
