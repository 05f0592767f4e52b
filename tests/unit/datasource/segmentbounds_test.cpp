// A segment whose count word does not fit its size: nothing is read past its end.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "acquisition/segment.h"
#include "datasource/realdata.h"
#include "support/faults.h"
#include "support/gateway.h"

using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using Values = std::map<std::uint32_t, double>;

constexpr std::size_t kRecord = sizeof(ST_LIVE_RECORD);
constexpr std::size_t kCount = sizeof(std::uint32_t);

std::vector<SegmentPoint> Points(std::uint32_t count) {
  std::vector<SegmentPoint> points;
  for (std::uint32_t i = 0; i < count; ++i) points.push_back({i, 1});
  return points;
}

std::size_t PageBytes() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::uint32_t RecordsOfAPage() {
  return static_cast<std::uint32_t>((PageBytes() - kCount) / kRecord);
}

struct Shape {
  const char* name;
  std::size_t bytes;
  std::uint32_t count;
};

void PrintTo(const Shape& shape, std::ostream* out) {
  *out << shape.bytes << " bytes, count " << shape.count;
}

class ShortSegment : public test::GatewayTest, public ::testing::WithParamInterface<Shape> {};

TEST_P(ShortSegment, FailsLikeAnEmptyTable) {
  const Segment segment(Points(2), {.bytes = GetParam().bytes});
  segment.Attach()[0] = GetParam().count;  // memory comes by the page: there is room for the word
  Values values;

  const int result = GetCRealDataInstance().GetRealData(&values);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(values, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, ShortSegment,
    ::testing::Values(Shape{"OfOneByte", 1, 1}, Shape{"OfThreeBytes", 3, 1},
                      Shape{"OfTheCountWordOnly", kCount, 1},
                      Shape{"OneByteShortOfARecord", kCount + kRecord - 1, 1},
                      Shape{"OneByteShortOfTwoRecords", kCount + 2 * kRecord - 1, 2},
                      Shape{"OfTwoRecordsThatPromisesThree", kCount + 2 * kRecord, 3},
                      // 24 times these counts, taken by 32 bits, is 8, 0 and -24.
                      Shape{"OfACountThatOverflowsToLittle", kCount + 2 * kRecord, 178956971},
                      Shape{"OfACountThatOverflowsToNothing", kCount + 2 * kRecord, 0x20000000},
                      Shape{"OfTheGreatestCount", kCount + 2 * kRecord, 0xFFFFFFFF},
                      Shape{"OfTheGreatestCountAsAPage", 4096, 0xFFFFFFFF},
                      Shape{"OfACountWithTheSignBit", kCount + 2 * kRecord, 0x80000000}),
    [](const auto& test) { return test.param.name; });

class GuardedSegment : public test::GatewayTest {};

TEST_F(GuardedSegment, IsReadUpToItsLastRecord) {
  const std::uint32_t count = RecordsOfAPage();
  const Segment segment(Points(count), {.bytes = PageBytes()});
  test::GuardNextSegment();
  Values values;

  const int result = GetCRealDataInstance().GetRealData(&values);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(values, SizeIs(count));
}

class PromiseOfAPage : public GuardedSegment,
                       public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(PromiseOfAPage, IsNotReadPastItsEnd) {
  const Segment segment(Points(RecordsOfAPage()),
                        {.count = RecordsOfAPage() + GetParam(), .bytes = PageBytes()});
  test::GuardNextSegment();
  Values values;

  const int result = GetCRealDataInstance().GetRealData(&values);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(values, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(RecordsTooMany, PromiseOfAPage, ::testing::Values(1U, 2U, 170U, 100000U));

TEST_F(GuardedSegment, MayHoldMoreThanItsCount) {
  const Segment segment(Points(3), {.count = 2});
  Values values;

  const int result = GetCRealDataInstance().GetRealData(&values);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(values, SizeIs(2));
}

}  // namespace
