// The whole road of a recall: from the cloud's order to an archive that it has accepted.
#include <gmock/gmock.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "acquisition/historywriter.h"
#include "cloud/simulator.h"
#include "support/files.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::uint32_t kPressure = 0x01030001;
constexpr std::uint32_t kRunning = 0x01031123;
constexpr std::uint32_t kEnergy = 0x01040207;

using Series = std::vector<std::pair<std::string, std::string>>;  // time mark, value

// The service starts at 12:03:10 and asks for orders at once, then every 120 s: a packed answer is
// there a second later.
class Recalls : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
    test::WriteLedger({});
  }

  void WriteSystemFile() const {
    test::SystemFile(m_cloud.Port()).Cloud("RecallInterval", "120").Write();
  }

  static cloud::RecallOrder Order(int id) {
    return {.id = id,
            .devices = {{.groupId = 1, .eqpId = 3, .points = {Point(0x0001), Point(0x1123)}},
                        {.groupId = 1, .eqpId = 4, .points = {Point(0x0207)}}}};
  }
  // From 10:00 to 10:30.
  static cloud::RecallPoint Point(std::uint16_t pointId) {
    return {
        .pointId = pointId, .beginTime = "2024-03-07 10:00:00", .endTime = "2024-03-07 10:30:00"};
  }
  static void WriteHistory(const HistoryFaults& faults = {}) {
    HistoryWriter().Append(
        HistoryRows({kPressure, kRunning, kEnergy}, At(9, 55), At(10, 35), faults));
  }

  std::vector<cloud::Exchange> Answers() const { return Of(Endpoint::kCallData); }
  std::vector<cloud::Exchange> Of(Endpoint endpoint) const {
    std::vector<cloud::Exchange> exchanges;
    for (const auto& exchange : m_cloud.Exchanges()) {
      if (exchange.endpoint == endpoint) exchanges.push_back(exchange);
    }
    return exchanges;
  }

  cloud::Simulator m_cloud{{.serialNumber = test::kSerialNumber}};
};

// What the database holds for a point from 10:00 to 10:30, as a recall tells it.
Series StoredSeries(std::uint32_t dataId, std::time_t first, std::time_t last) {
  Series series;
  const auto rows = HistoryWriter().Rows(dataId);
  for (const auto& row : rows.value()) {
    if (row.unixTime < first || row.unixTime > last) continue;
    series.emplace_back(util::TimeMark(*util::LocalTime(row.unixTime)),
                        util::Format("%.3lf", row.triggerValue));
  }
  return series;
}

Series SentSeries(const cloud::RecalledPoint& point) {
  Series series;
  for (const auto& value : point.values) series.emplace_back(value.timeMark, value.value);
  return series;
}

// The files in the ledger's table of recalls.
std::vector<std::string> RecallNames() {
  std::vector<std::string> names;
  util::Database ledger(paths::kLedger);
  util::Statement rows = ledger.Prepare("select filename from recallJsonFile");
  while (rows && rows.NextRow()) names.emplace_back(rows.Text(0));
  return names;
}

TEST_F(Recalls, AreAnsweredWithTheValuesOfTheDatabase) {
  WriteSystemFile();
  WriteHistory();
  m_cloud.Order(Order(7));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 3, 20));

  const auto answers = Answers();
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_TRUE(answers[0].accepted);
  EXPECT_EQ(answers[0].fileName, "R20240307120310.tar.gz");
  EXPECT_EQ(answers[0].memberName, "R20240307120310.dat");
  ASSERT_TRUE(answers[0].recall);
  EXPECT_EQ(answers[0].recall->id, 7);
  const auto& points = answers[0].recall->points;
  ASSERT_THAT(points, SizeIs(3));
  EXPECT_EQ(SentSeries(points[0]), StoredSeries(kPressure, At(10, 0), At(10, 30)));
  EXPECT_EQ(SentSeries(points[1]), StoredSeries(kRunning, At(10, 0), At(10, 30)));
  EXPECT_EQ(SentSeries(points[2]), StoredSeries(kEnergy, At(10, 0), At(10, 30)));
  EXPECT_THAT(points[0].values, SizeIs(31));
}

TEST_F(Recalls, OfABrokenSeriesSaySoWithoutValues) {
  WriteSystemFile();
  WriteHistory({.gap = 20});
  m_cloud.Order(Order(7));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 3, 20));

  const auto answers = Answers();
  ASSERT_THAT(answers, SizeIs(1));
  ASSERT_TRUE(answers[0].recall);
  for (const auto& point : answers[0].recall->points) {
    EXPECT_EQ(point.flag, 0);
    EXPECT_THAT(point.values, IsEmpty());
  }
}

TEST_F(Recalls, OverlookRowsOffTheMinute) {
  WriteSystemFile();
  WriteHistory({.offMinute = 7});
  m_cloud.Order(Order(7));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 3, 20));

  const auto answers = Answers();
  ASSERT_THAT(answers, SizeIs(1));
  ASSERT_TRUE(answers[0].recall);
  EXPECT_EQ(answers[0].recall->points[0].flag, 1);
  EXPECT_THAT(answers[0].recall->points[0].values, SizeIs(31));
}

TEST_F(Recalls, WithoutAHistoryAreAnsweredAllTheSame) {
  WriteSystemFile();
  m_cloud.Order(Order(7));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 3, 20));

  ASSERT_THAT(Answers(), SizeIs(1));
  EXPECT_EQ(Answers()[0].recall->points[0].flag, 0);
}

TEST_F(Recalls, StayOnTheCardUnderTheirFullPath) {
  WriteSystemFile();
  m_cloud.Order(Order(7));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 3, 20));

  const std::string path = std::string(paths::kCallData) + "/R20240307120310.tar.gz";
  EXPECT_EQ(test::ReadFile(path), Answers().at(0).archive);
  EXPECT_THAT(RecallNames(), ElementsAre(path));
}

TEST_F(Recalls, AreOnlyAskedForWithoutAnOrder) {
  WriteSystemFile();
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 7, 30));

  EXPECT_THAT(Of(Endpoint::kRecallCheck), SizeIs(3));
  EXPECT_THAT(Answers(), IsEmpty());
  EXPECT_EQ(test::TextLogTimes("Recall Receive Response:"),
            (std::vector<std::string>{"12:03:10", "12:05:10", "12:07:10"}));
}

TEST_F(Recalls, AreNeverAskedForWithoutAnInterval) {
  test::SystemFile(m_cloud.Port()).Write();
  m_cloud.Order(Order(7));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(13, 0));

  EXPECT_THAT(Of(Endpoint::kRecallCheck), IsEmpty());
}

TEST_F(Recalls, OfAnotherGatewayAreLeftToIt) {
  WriteSystemFile();
  auto order = Order(7);
  order.serialNumber = "TS20240118";
  order.repeats = 3;
  m_cloud.Order(order);
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 7, 30));

  EXPECT_THAT(Answers(), IsEmpty());
}

TEST_F(Recalls, RepeatedAreAnsweredAgainFromTheThirdRepeatOn) {
  WriteSystemFile();
  auto order = Order(7);
  order.repeats = 6;
  m_cloud.Order(order);
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 20));

  // Asked at 12:03:10, then every 120 s and the second that an answer takes.
  EXPECT_EQ(test::TextLogTimes("start Send Recalldata"),
            (std::vector<std::string>{"12:03:11", "12:09:12", "12:11:13", "12:13:14"}));
  EXPECT_EQ(
      test::OfLevel(test::ReadTextLog(), "WARN"),
      (std::vector<std::string>{
          "Recall receive the same seq: 7==7 times:1, Will recreate file after 3 times\r\n",
          "Recall receive the same seq: 7==7 times:2, Will recreate file after 3 times\r\n"}));
}

TEST_F(Recalls, WhoseUploadFailedAreBuiltAgainAtTheNextPoll) {
  WriteSystemFile();
  WriteHistory();
  m_cloud.Script(Endpoint::kCallData, {Behaviour::Refuse(), Behaviour::Status(503, "busy")});
  m_cloud.Order(Order(7));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 10));

  std::vector<std::pair<std::string, bool>> answers;
  for (const auto& answer : Answers()) answers.emplace_back(answer.fileName, answer.accepted);
  EXPECT_THAT(answers, ElementsAre(std::pair("R20240307120310.tar.gz", false),
                                   std::pair("R20240307120511.tar.gz", false),
                                   std::pair("R20240307120712.tar.gz", true)));
}

TEST_F(Recalls, ThatCannotBePackedAreTriedAtTheNextPoll) {
  WriteSystemFile();
  m_cloud.Order(Order(7));
  // A directory that is not empty, which tar cannot replace.
  test::WriteFile(std::string(paths::kCallData) + "/R20240307120310.tar.gz/inside", "x");
  test::ServiceProcess service(At(12, 3, 10));
  service.RunUntil(At(12, 3, 20));
  const auto failed = test::DatabaseLogTimes("Brennik Create Recall Data File error");

  service.RunUntil(At(12, 5, 30));

  EXPECT_EQ(failed, std::vector<std::string>{"12:03:13"});
  EXPECT_THAT(Answers(), SizeIs(1));
}

TEST_F(Recalls, BeforeTheFirstDataFileCostNothing) {
  std::filesystem::remove(paths::kLedger);
  WriteSystemFile();
  m_cloud.Order(Order(7));
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 30));

  EXPECT_THAT(Answers(), SizeIs(1));
  EXPECT_TRUE(test::Exists(paths::kCallData));
  EXPECT_THAT(test::ReadLedger(), SizeIs(1));
}

}  // namespace
