#include "acquisition/segment.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "acquisition_fixture.h"

namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

using SegmentWriting = test::AcquisitionTest;
using StaleSegmentHandling = test::AcquisitionTest;

TEST_F(SegmentWriting, PutsCountAndRecordsWhereReadersLookForThem) {
  const std::time_t before = std::time(nullptr);
  const Segment segment({{0x01031123, 12.5}, {0x020CB401, -0.25}});
  const std::time_t after = std::time(nullptr);

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 4U + 2 * 24U);
  EXPECT_EQ(raw->Count(), 2U);
  EXPECT_EQ(raw->Record(0).dataId, 0x01031123U);
  EXPECT_EQ(raw->Record(0).quality, 0xC0U);
  EXPECT_EQ(raw->Record(0).value, 12.5);
  EXPECT_GE(raw->Record(0).stamp, before);
  EXPECT_LE(raw->Record(0).stamp, after);
  EXPECT_EQ(raw->Record(1).dataId, 0x020CB401U);
  EXPECT_EQ(raw->Record(1).value, -0.25);
}

TEST_F(SegmentWriting, TakesASinglePoint) {
  const Segment segment({{0x01031123, 12.5}});

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 1U);
  EXPECT_EQ(raw->Record(0).value, 12.5);
}

TEST_F(SegmentWriting, HoldsOnlyTheCountWordWithoutPoints) {
  const Segment segment({});

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 4U);
  EXPECT_EQ(raw->Count(), 0U);
}

TEST_F(SegmentWriting, RemovesTheSegmentWithTheObject) {
  { const Segment segment({{1, 1}}); }

  EXPECT_FALSE(test::RawSegment::Read());
}

TEST_F(SegmentWriting, LeavesTheMemoryToThoseStillAttached) {
  std::optional<Segment> segment(std::in_place, std::vector<SegmentPoint>{{7, 1}});
  const SegmentWords words = segment->Attach();

  segment.reset();

  EXPECT_EQ(words[0], 1U);
  EXPECT_EQ(words[1], 7U);
}

TEST_F(SegmentWriting, RewritesRecordsInPlace) {
  Segment segment({{1, 1}, {2, 2}});

  segment.Write({{1, 10}, {2, 20}});

  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 2U);
  EXPECT_EQ(raw->Record(0).value, 10);
  EXPECT_EQ(raw->Record(1).value, 20);
}

TEST_F(SegmentWriting, WritesNothingPastItsEnd) {
  Segment segment({{1, 1}});

  segment.Write({{1, 10}, {2, 20}});

  const SegmentWords words = segment.Attach();  // a whole page, of which 28 bytes are the segment's
  for (std::size_t i = 7; i < 14; ++i) EXPECT_EQ(words[i], 0U) << i;
}

TEST_F(SegmentWriting, SetsTheFirstRecordOfAPoint) {
  Segment segment({{1, 1}, {2, 2}, {2, 3}});

  const bool found = segment.Set(2, 50);

  EXPECT_TRUE(found);
  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Record(0).value, 1);
  EXPECT_EQ(raw->Record(1).value, 50);
  EXPECT_EQ(raw->Record(2).value, 3);
}

TEST_F(SegmentWriting, SetsNothingForAPointThatIsNotThere) {
  Segment segment({{1, 1}});

  EXPECT_FALSE(segment.Set(2, 50));
}

TEST_F(SegmentWriting, PromisesWhateverCountIsAskedFor) {
  const Segment segment({{1, 1}}, {.count = 0xFFFFFFFF});

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 28U);
  EXPECT_EQ(raw->Count(), 0xFFFFFFFFU);
  EXPECT_EQ(raw->Record(0).dataId, 1U);
}

TEST_F(SegmentWriting, CutsTheLastRecordAtTheSizeAskedFor) {
  const Segment segment({{1, 1}, {2, 2}}, {.bytes = 4 + 24 + 8});

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 36U);
  EXPECT_EQ(raw->Count(), 2U);
  EXPECT_EQ(raw->Record(0).value, 1);
  const SegmentWords words = segment.Attach();
  EXPECT_EQ(words[7], 2U);  // the identifier of the record that is cut
  EXPECT_EQ(words[9], 0U);  // its value does not fit
}

TEST_F(SegmentWriting, WritesNoCountIntoASegmentTooSmallForIt) {
  const Segment segment({{1, 1}}, {.bytes = 3});

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 3U);
  const SegmentWords words = segment.Attach();
  EXPECT_EQ(words[0], 0U);
}

TEST_F(StaleSegmentHandling, RefusesASegmentWhoseWriterLives) {
  const Segment first({{1, 1}});

  EXPECT_THAT(
      [] {
        const Segment second({{1, 1}}, {}, StaleSegment::kReplace);
      },
      ThrowsMessage<std::runtime_error>(HasSubstr("segment under key 0x10903 is in use")));
  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 1U);
}

TEST_F(StaleSegmentHandling, TakesOverAStaleSegmentOfTheRightSize) {
  test::LeaveStaleSegment(28);
  const int stale = shmget(test::kRawKey, 0, 0);

  const Segment segment({{1, 5}});

  EXPECT_EQ(shmget(test::kRawKey, 0, 0), stale);
  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Record(0).value, 5);
}

TEST_F(StaleSegmentHandling, RefusesAStaleSegmentOfAnotherSize) {
  test::LeaveStaleSegment(52);

  EXPECT_THAT(
      [] {
        const Segment segment({{1, 1}});
      },
      ThrowsMessage<std::runtime_error>(
          "a segment of 52 bytes stands under key 0x10903, where one of 28 is needed"));
  EXPECT_TRUE(test::RawSegment::Read());
}

TEST_F(StaleSegmentHandling, ReplacesAStaleSegmentWhenAskedTo) {
  test::LeaveStaleSegment(52);

  const Segment segment({{1, 5}}, {}, StaleSegment::kReplace);

  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 28U);
  EXPECT_EQ(raw->Record(0).value, 5);
}

TEST_F(StaleSegmentHandling, SaysWhenTheSystemGivesNoSegment) {
  EXPECT_THAT([] { const Segment segment({}, {.bytes = 0}); },
              ThrowsMessage<std::runtime_error>(
                  "cannot create the segment under key 0x10903: Invalid argument"));
}

TEST_F(StaleSegmentHandling, FindsNothingWhereNoneIsWanted) {
  EXPECT_NO_THROW(Segment::RequireNone(StaleSegment::kTakeOver));
}

TEST_F(StaleSegmentHandling, RefusesAStaleSegmentWhereNoneIsWanted) {
  test::LeaveStaleSegment(52);

  EXPECT_THAT([] { Segment::RequireNone(StaleSegment::kTakeOver); },
              ThrowsMessage<std::runtime_error>(
                  "a segment of 52 bytes stands under key 0x10903, where none is wanted"));
}

TEST_F(StaleSegmentHandling, RemovesAStaleSegmentWhereNoneIsWantedWhenAskedTo) {
  test::LeaveStaleSegment(52);

  Segment::RequireNone(StaleSegment::kReplace);

  EXPECT_FALSE(test::RawSegment::Read());
}

}  // namespace
