#include "acquisition/tornwriter.h"

#include <bit>
#include <set>

#include "acquisition_fixture.h"

namespace {

using TornWriting = test::AcquisitionTest;

constexpr std::uint32_t kPoint = 0x01030001;

// Two generations that share neither half of a value's bits.
constexpr std::uint64_t kEvenBits = 0x4028111111111111;
constexpr std::uint64_t kOddBits = 0x4029222222222222;

std::vector<SegmentPoint> Alternating(std::int64_t unixSeconds) {
  return {{kPoint, std::bit_cast<double>(unixSeconds % 2 == 0 ? kEvenBits : kOddBits)}};
}

TEST_F(TornWriting, AlternatesBetweenTwoGenerationsOfValues) {
  const Segment segment(Alternating(0));
  const SegmentWords words = segment.Attach();
  std::set<std::uint32_t> seen;

  const TornWriter writer(segment, Alternating);

  EXPECT_TRUE(test::Await([&] {
    const std::uint32_t upper = words[4];  // the half with the sign and the exponent
    seen.insert(upper);
    return seen.size() == 2;
  }));
  EXPECT_EQ(seen, (std::set<std::uint32_t>{kEvenBits >> 32, kOddBits >> 32}));
}

TEST_F(TornWriting, NeverWritesAnythingButHalvesOfThoseValues) {
  const Segment segment(Alternating(0));
  const TornWriter writer(segment, Alternating);
  const SegmentWords words = segment.Attach();
  const std::uint64_t enough = writer.Rounds() + 10'000;

  EXPECT_TRUE(test::Await([&] {
    const std::uint32_t lower = words[3];
    const std::uint32_t upper = words[4];
    EXPECT_TRUE(lower == 0x11111111 || lower == 0x22222222) << lower;
    EXPECT_TRUE(upper == 0x40281111 || upper == 0x40292222) << upper;
    return writer.Rounds() > enough || HasFailure();
  }));
}

TEST_F(TornWriting, LeavesCountAndIdentifiersAlone) {
  const Segment segment({{kPoint, 1}}, {.count = 9});

  const TornWriter writer(segment, Alternating);
  ASSERT_TRUE(test::Await([&] { return writer.Rounds() > 100; }));

  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 9U);
  EXPECT_EQ(raw->Record(0).dataId, kPoint);
}

TEST_F(TornWriting, StopsWithTheObject) {
  const Segment segment(Alternating(0));
  const SegmentWords words = segment.Attach();
  {
    const TornWriter writer(segment, Alternating);
    ASSERT_TRUE(test::Await([&] { return writer.Rounds() > 0; }));
  }

  words[3] = 0;

  // Time for thousands of rounds of a writer that were still there.
  for (int look = 0; look < 1'000'000; ++look) ASSERT_EQ(words[3], 0U) << look;
}

}  // namespace
