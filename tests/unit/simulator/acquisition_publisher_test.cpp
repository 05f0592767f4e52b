#include "acquisition/publisher.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <utility>
#include <vector>

#include "acquisition/signals.h"
#include "acquisition_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ThrowsMessage;

constexpr std::int64_t kNoon = 1709784000;

// What it is for: publishing the small plant. Threads: one. Owns: the plant.
class Publishing : public test::AcquisitionTest {
 protected:
  void SetUp() override {
    AcquisitionTest::SetUp();
    WriteSmallPlant();
    auto plant = ReadPlant(test::kTemplatePath);
    ASSERT_TRUE(plant);
    m_plant = std::move(*plant);
  }

  Plant m_plant;
};

std::vector<std::uint32_t> Identifiers(const test::RawSegment& segment) {
  std::vector<std::uint32_t> identifiers;
  for (const auto& record : segment.Records()) identifiers.push_back(record.dataId);
  return identifiers;
}

TEST(PublishModeNames, FindEveryModeAndNothingElse) {
  for (const PublishModeText& text : PublishModes()) {
    EXPECT_EQ(PublishModeNamed(text.name), text.mode) << text.name;
  }
  EXPECT_EQ(PublishModes().size(), 9U);
  EXPECT_EQ(PublishModeNamed("All"), std::nullopt);
  EXPECT_EQ(PublishModeNamed(""), std::nullopt);
}

TEST_F(Publishing, OfAllHoldsEveryPointInAscendingOrder) {
  const Publisher publisher(m_plant, PublishMode::kAll);

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 6U);
  EXPECT_EQ(Identifiers(*raw), test::kSmallPlantPoints);
}

TEST_F(Publishing, StartsWithTheValuesOfTheCurrentTime) {
  const Publisher publisher(m_plant, PublishMode::kAll);

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  for (const auto& record : raw->Records()) {
    // The second may have changed between the choice of the values and the stamp.
    EXPECT_TRUE(record.value == SignalValue(record.dataId, record.stamp) ||
                record.value == SignalValue(record.dataId, record.stamp - 1))
        << std::hex << record.dataId;
  }
}

TEST_F(Publishing, BringsEveryValueToTheTimeOfTheRefresh) {
  Publisher publisher(m_plant, PublishMode::kAll);

  publisher.Refresh(kNoon);

  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(Identifiers(*raw), test::kSmallPlantPoints);
  for (const auto& record : raw->Records()) {
    EXPECT_EQ(record.value, SignalValue(record.dataId, kNoon)) << std::hex << record.dataId;
  }
}

TEST_F(Publishing, OfASubsetLeavesTheFirstPointOut) {
  const Publisher publisher(m_plant, PublishMode::kSubset);

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 5U);
  EXPECT_THAT(Identifiers(*raw),
              ElementsAre(0x01030002, 0x01030205, 0x01031123, 0x02040301, 0x0204B401));
}

TEST_F(Publishing, OfUnknownPointsAddsThreeStrangersInOrder) {
  const Publisher publisher(m_plant, PublishMode::kUnknown);

  const auto raw = test::RawSegment::Read();

  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 9U);
  EXPECT_THAT(Identifiers(*raw),
              ElementsAre(0x00000000, 0x01030001, 0x01030002, 0x01030205, 0x01031123, 0x01031124,
                          0x02040301, 0x0204B401, 0xFFFFFFFF));
}

TEST_F(Publishing, OfDuplicatesRepeatsEveryPointWithAHigherValue) {
  Publisher publisher(m_plant, PublishMode::kDuplicates);

  publisher.Refresh(kNoon);

  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Count(), 12U);
  std::vector<std::pair<std::uint32_t, double>> records;
  for (const auto& record : raw->Records()) records.emplace_back(record.dataId, record.value);
  std::vector<std::pair<std::uint32_t, double>> expected;
  for (const double offset : {0.0, 1000.0}) {
    for (const std::uint32_t dataId : test::kSmallPlantPoints) {
      expected.emplace_back(dataId, SignalValue(dataId, kNoon) + offset);
    }
  }
  EXPECT_EQ(records, expected);
}

TEST_F(Publishing, OfAnEmptyTableHoldsOnlyAZeroCount) {
  Publisher publisher(m_plant, PublishMode::kEmpty);

  publisher.Refresh(kNoon);

  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 4U);
  EXPECT_EQ(raw->Count(), 0U);
}

TEST_F(Publishing, OfAnOvercountPromisesMoreThanTheSegmentHolds) {
  Publisher publisher(m_plant, PublishMode::kOvercount);

  publisher.Refresh(kNoon);

  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 4U + 6 * 24U);
  EXPECT_EQ(raw->Count(), 1'000'006U);
  EXPECT_EQ(Identifiers(*raw), test::kSmallPlantPoints);
}

TEST_F(Publishing, OfATinySegmentHasNoRoomForTheCount) {
  Publisher publisher(m_plant, PublishMode::kTiny);

  publisher.Refresh(kNoon);

  const auto raw = test::RawSegment::Read();
  ASSERT_TRUE(raw);
  EXPECT_EQ(raw->Size(), 2U);
}

TEST_F(Publishing, OfNothingMakesNoSegment) {
  Publisher publisher(m_plant, PublishMode::kAbsent);

  publisher.Refresh(kNoon);

  EXPECT_FALSE(test::RawSegment::Read());
}

TEST_F(Publishing, OfNothingRefusesAStaleSegment) {
  test::LeaveStaleSegment(28);

  EXPECT_THAT([this] { const Publisher publisher(m_plant, PublishMode::kAbsent); },
              ThrowsMessage<std::runtime_error>(
                  "a segment of 28 bytes stands under key 0x10903, where none is wanted"));
}

TEST_F(Publishing, OfTornValuesRewritesTheTableWithoutBeingAsked) {
  const Publisher publisher(m_plant, PublishMode::kTorn);

  ASSERT_TRUE(test::SpoilValue(0, -99'999));

  EXPECT_TRUE(test::Await([] { return test::RawSegment::Read()->Record(0).value != -99'999; }));
  const auto raw = test::RawSegment::Read();
  EXPECT_EQ(raw->Count(), 6U);
  EXPECT_EQ(Identifiers(*raw), test::kSmallPlantPoints);
}

TEST_F(Publishing, EndsWithTheObject) {
  for (const PublishModeText& text : PublishModes()) {
    { const Publisher publisher(m_plant, text.mode); }

    EXPECT_FALSE(test::RawSegment::Read()) << text.name;
  }
}

}  // namespace
