// The live-value segment as its writer leaves it, and torn values.
#include "acquisition/segment.h"

#include <gmock/gmock.h>

#include <bit>
#include <set>
#include <stdexcept>

#include "acquisition/tornwriter.h"
#include "acquisition_fixture.h"
#include "programrun.h"

namespace {

using namespace test;

using LiveSegment = AcquisitionTest;

TEST_F(LiveSegment, HoldsCountAndRecordsWhereReadersLookForThem) {
  const std::time_t before = std::time(nullptr);
  const Segment segment({{0x01031123, 12.5}, {0x020CB401, -0.25}});

  const std::string raw = RawSegment();

  ASSERT_EQ(raw.size(), 4U + 2 * 24U);
  EXPECT_EQ(At<std::uint32_t>(raw, 0), 2U);
  EXPECT_EQ(At<std::uint32_t>(raw, 4), 0x01031123U);
  EXPECT_EQ(At<std::uint32_t>(raw, 8), 0xC0U);
  EXPECT_EQ(At<double>(raw, 12), 12.5);
  EXPECT_GE(At<std::int64_t>(raw, 20), before);
  EXPECT_LE(At<std::int64_t>(raw, 20), std::time(nullptr));
  EXPECT_EQ(At<std::uint32_t>(raw, 28), 0x020CB401U);
  EXPECT_EQ(At<double>(raw, 36), -0.25);
}

TEST_F(LiveSegment, IsRewrittenInPlaceAndNotPastItsEnd) {
  Segment segment({{1, 1}, {2, 2}, {2, 3}});
  const SegmentWords words = segment.Attach();

  segment.Write({{1, 10}, {2, 20}, {2, 30}, {3, 40}});
  const bool found = segment.Set(2, 50);

  const std::string raw = RawSegment();
  EXPECT_TRUE(found);
  EXPECT_EQ(At<std::uint32_t>(raw, 0), 3U);
  EXPECT_EQ(At<double>(raw, 12), 10);
  EXPECT_EQ(At<double>(raw, 36), 50);
  EXPECT_EQ(At<double>(raw, 60), 30);
  EXPECT_EQ(words[19], 0U);  // the first word of a fourth record
  EXPECT_FALSE(segment.Set(4, 50));
}

TEST_F(LiveSegment, TakesAnyShape) {
  const Segment segment({{1, 1}, {2, 2}}, {.count = 0xFFFFFFFF, .bytes = 4 + 24 + 8});

  EXPECT_EQ(RawSegment().size(), 36U);
  EXPECT_EQ(segment.Attach()[0], 0xFFFFFFFFU);
  EXPECT_EQ(segment.Attach()[7], 2U);  // the identifier of the record that is cut
  EXPECT_EQ(segment.Attach()[9], 0U);  // its value does not fit
}

TEST_F(LiveSegment, RefusesTheKeyOfAnotherWriterAndReplacesAStaleOne) {
  ASSERT_GE(shmget(kRawKey, 52, IPC_CREAT | IPC_EXCL | 0666), 0);

  EXPECT_THROW(Segment({{1, 1}}), std::runtime_error);
  const Segment first({{1, 1}}, {}, StaleSegment::kReplace);
  EXPECT_THROW(Segment({{1, 1}}, {}, StaleSegment::kReplace), std::runtime_error);
  EXPECT_EQ(RawSegment().size(), 28U);
}

// Two generations of one value that share neither half of their bits.
std::vector<SegmentPoint> Alternating(std::int64_t unixSeconds) {
  return {
      {1, std::bit_cast<double>(unixSeconds % 2 == 0 ? 0x4028111111111111U : 0x4029222222222222U)}};
}

TEST_F(LiveSegment, IsRewrittenWithTwoGenerationsOfValuesByTurns) {
  const Segment segment(Alternating(0), {.count = 9});
  const SegmentWords words = segment.Attach();
  std::set<std::uint32_t> lower;
  std::set<std::uint32_t> upper;
  {
    const TornWriter writer(segment, Alternating);
    EXPECT_TRUE(Await([&] {
      for (int look = 0; look < 1000; ++look) {
        lower.insert(std::uint32_t{words[3]});
        upper.insert(std::uint32_t{words[4]});
      }
      return writer.Rounds() > 1000 && lower.size() > 1 && upper.size() > 1;
    }));
  }
  words[3] = 0;

  EXPECT_EQ(lower, (std::set<std::uint32_t>{0x11111111, 0x22222222}));
  EXPECT_EQ(upper, (std::set<std::uint32_t>{0x40281111, 0x40292222}));
  EXPECT_EQ(words[0], 9U);
  EXPECT_EQ(words[1], 1U);
  for (int look = 0; look < 100'000; ++look) ASSERT_EQ(words[3], 0U);  // nobody writes any more
}

}  // namespace
