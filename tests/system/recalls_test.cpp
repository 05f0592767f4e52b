// Recalls of history, from the cloud's order to an archive that it has accepted.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "acquisition/historywriter.h"
#include "support/databasefile.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using namespace testing;

constexpr std::uint32_t kPressure = 0x01030001;
constexpr std::uint32_t kEnergy = 0x01040207;

// The service starts at 12:03:10 and asks for orders at once, then 120 s after the end of each
// turn. Packing an answer takes a second.
class RecallRoad : public test::ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    test::WriteExamplePlant();
    test::SystemFile(m_cloud.Port(), {.recall = 120}).Write();
    HistoryWriter().Append(HistoryRows({kPressure, kEnergy}, At(9, 55), At(10, 35)));
    m_cloud.Order({.id = 7,
                   .devices = {{.groupId = 1, .eqpId = 3, .points = {HalfAnHourOf(0x0001)}},
                               {.groupId = 1, .eqpId = 4, .points = {HalfAnHourOf(0x0207)}}}});
  }

  static cloud::RecallPoint HalfAnHourOf(std::uint16_t pointId) {
    return {
        .pointId = pointId, .beginTime = "2024-03-07 10:00:00", .endTime = "2024-03-07 10:30:00"};
  }

  // The point's values from 10:00 to 10:30, as an answer shows them.
  static std::vector<cloud::TimedValue> HistoryOf(std::uint32_t dataId) {
    std::vector<cloud::TimedValue> values;
    const auto rows = HistoryWriter().Rows(dataId);
    for (const auto& row : rows.value()) {
      if (row.unixTime < At(10, 0) || row.unixTime > At(10, 30)) continue;
      values.push_back({util::TimeMark(*util::LocalTime(row.unixTime)),
                        util::Format("%.3lf", row.triggerValue)});
    }
    return values;
  }
};

TEST_F(RecallRoad, AnswersWithTheValuesOfTheHistoryAndKeepsTheArchive) {
  test::WriteLedger({});
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 10));

  const auto answers = Exchanges(Endpoint::kCallData);
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_TRUE(answers[0].accepted);
  EXPECT_EQ(answers[0].recall->id, 7);
  const auto& points = answers[0].recall->points;
  ASSERT_THAT(points, SizeIs(2));
  EXPECT_THAT(points[0].values, SizeIs(31));
  EXPECT_EQ(points[0].values, HistoryOf(kPressure));
  EXPECT_EQ(points[1].values, HistoryOf(kEnergy));
  const std::string path = std::string(paths::kCallData) + "/R20240307120310.tar.gz";
  EXPECT_EQ(test::ReadFile(path), answers[0].archive);
  EXPECT_THAT(test::DatabaseFile(paths::kLedger).Lines("select filename from recallJsonFile"),
              ElementsAre(path));
}

TEST_F(RecallRoad, BuildsTheAnswerAnewAfterAFailedUpload) {
  test::WriteLedger({});
  m_cloud.Script(Endpoint::kCallData, {Behaviour::Refuse(), Behaviour::Status(503, "busy")});
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 10));

  EXPECT_THAT(
      FileNames(Endpoint::kCallData),
      ElementsAre("R20240307120310.tar.gz", "R20240307120511.tar.gz", "R20240307120712.tar.gz"));
  EXPECT_THAT(m_cloud.AcceptedUploads(), SizeIs(1));
}

TEST_F(RecallRoad, WorksBeforeTheFirstDataFile) {
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 30));

  EXPECT_THAT(m_cloud.AcceptedUploads(), SizeIs(1));
  EXPECT_TRUE(test::Exists(paths::kCallData));
  EXPECT_THAT(test::ReadLedger(), SizeIs(1));
}

}  // namespace
