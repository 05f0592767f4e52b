// The alarm events of the card, decoded and joined with what the cloud has accepted.
#include "console/uploads/alarmcodes.h"
#include "console/uploads/alarmdocument.h"
#include "support/eventdatabase.h"
#include "uploadsfixture.h"

namespace {

using namespace test;
using cloud::Behaviour;
using cloud::Endpoint;
using cloud::Simulator;
using ::testing::ElementsAre;

constexpr std::uint32_t kLevel = 0x01030001;
constexpr std::uint32_t kRunning = 0x01030101;

std::string AlarmOf(const std::string& clock, const std::string& point, const std::string& value) {
  return R"({"groupId":1,"eqpId":3,"alarmTime":"2024-03-07 )" + clock +
         R"~(","alarmType":"10000","alarmGrade":"0001","flag":1,"alarmDes":"Level(阀值:80.000)",)~"
         R"("alarmValues":[{"pointId":")" +
         point + R"(","values":[{"timeMark":"2024-03-07 )" + clock + R"(","value":")" + value +
         R"("}]}]})";
}

std::string AlarmFile(const std::string& stamp, const std::string& events) {
  return UploadOf("/eqpapi/EqpUploadAlarmDataInfo", "T" + stamp,
                  R"({"sn":"S1","alarmDataType":0,"data":[)" + events + "]}");
}

struct Alarms : UploadsTest {
  std::vector<std::string> States() {
    uploads_ =
        std::make_unique<console::Uploads>(kIndex, kControl, [] { return std::time(nullptr); });
    router = {};
    uploads_->AddRoutes(router);
    return TextsOf(Ask("/api/alarms")["alarms"], "state");
  }

  std::unique_ptr<console::Uploads> uploads_;
  Simulator cloud{{.indexFile = kIndex}};
};

TEST_F(Alarms, AreDecodedAndNamed) {
  EventDatabase(2024, 3)
      .Add({.clock = "11:00:00", .dataId = kLevel})
      .Add({.clock = "11:05:00",
            .dataId = kRunning,
            .threshold = 1,
            .triggerValue = 0,
            .grade = 3,
            .upFlag = 0});

  const auto page = Ask("/api/alarms");

  ASSERT_EQ(page["alarms"].Size(), 2U);
  const auto& off = page["alarms"][0];
  EXPECT_STREQ(off["name"].GetString(), "Running");
  EXPECT_STREQ(off["code"].GetString(), "10200");
  EXPECT_FALSE(off["raised"].GetBool());
  EXPECT_EQ(off["grade"].GetInt(), 3);
  const auto& high = page["alarms"][1];
  EXPECT_STREQ(high["device"].GetString(), "Pump 1");
  EXPECT_STREQ(high["point"].GetString(), "1/3:0001");
  EXPECT_STREQ(high["unit"].GetString(), "m");
  EXPECT_STREQ(high["meaning"].GetString(), "above the upper limit");
  EXPECT_EQ(high["trigger"].GetDouble(), 81.5);
  EXPECT_EQ(high["threshold"].GetDouble(), 80.0);
  EXPECT_EQ(high["unix_s"].GetInt64(), LocalTimeOf(2024, 3, 7, 11));
}

TEST_F(Alarms, AreRecordedThenTakenThenAccepted) {
  EventDatabase database(2024, 3);
  database.Add({.clock = "11:00:00", .dataId = kLevel});
  EXPECT_THAT(States(), ElementsAre("recorded"));

  database.Run("UPDATE event_tbl SET upload = 1");
  EXPECT_THAT(States(), ElementsAre("taken"));

  cloud.Script(Endpoint::kAlarmData, {Behaviour::Refuse()});
  Send(cloud, AlarmFile("20240307110030", AlarmOf("11:00:00", "0001", "81.500")));
  EXPECT_THAT(States(), ElementsAre("taken"));

  Send(cloud, AlarmFile("20240307110030", AlarmOf("11:00:00", "0001", "81.500")));
  EXPECT_THAT(States(), ElementsAre("accepted"));
  EXPECT_EQ(Ask("/api/alarms")["alarms"][0]["upload_id"].GetInt(), 2);
}

TEST_F(Alarms, LookingAlikeAreAcceptedOneByOne) {
  EventDatabase(2024, 3).AddAll(
      {{.clock = "11:00:00", .upload = 1}, {.clock = "11:00:00", .upload = 1}});
  const std::string alarm = AlarmOf("11:00:00", "0001", "81.500");
  const std::string file = AlarmFile("20240307110030", alarm);
  Send(cloud, file);
  Send(cloud, file);  // a second time: it brings nothing new
  EXPECT_THAT(States(), ElementsAre("taken", "accepted"));

  Send(cloud, AlarmFile("20240307110100", alarm));
  EXPECT_THAT(States(), ElementsAre("accepted", "accepted"));
}

TEST_F(Alarms, ComePageByPage) {
  EventDatabase(2024, 2).Add({.date = "2024-02-29", .clock = "23:00:00"});
  SetTime(LocalTimeOf(2024, 3, 1, 12));
  EventDatabase(2024, 3).AddAll(
      {{.date = "2024-03-01", .clock = "01:00:00"}, {.date = "2024-03-01", .clock = "02:00:00"}});

  const auto first = Ask("/api/alarms", {{"limit", "2"}});
  const auto second = Ask("/api/alarms", {{"limit", "2"}, {"before", first["next"].GetString()}});

  EXPECT_EQ(first["total"].GetInt(), 3);
  EXPECT_EQ(first["alarms"][0]["unix_s"].GetInt64(), LocalTimeOf(2024, 3, 1, 2));
  EXPECT_EQ(second["alarms"][0]["unix_s"].GetInt64(), LocalTimeOf(2024, 2, 29, 23));
  EXPECT_TRUE(second["next"].IsNull());
  EXPECT_EQ(Get("/api/alarms", {{"before", "x"}}).status, 400);
}

TEST_F(Alarms, AreReadWithoutWaitingForADatabaseThatIsWritten) {
  EventDatabase database(2024, 3);
  database.Add();
  database.Run("BEGIN EXCLUSIVE");
  EXPECT_THAT(States(), ElementsAre());

  database.Run("COMMIT");
  EXPECT_THAT(States(), ElementsAre("recorded"));
}

TEST_F(Alarms, AreGivenToTheCurvesOfTheirPoint) {
  EventDatabase(2024, 3).AddAll({{.clock = "10:00:00"},
                                 {.clock = "11:00:00", .upFlag = 0},
                                 {.clock = "11:00:01"},
                                 {.clock = "11:00:00", .dataId = kRunning}});

  const auto sights = uploads.AlarmEvents().Between(kLevel, LocalTimeOf(2024, 3, 7, 10, 30),
                                                    LocalTimeOf(2024, 3, 7, 11));

  ASSERT_EQ(sights.size(), 1U);
  EXPECT_EQ(sights[0].text, "no longer above the upper limit: 81.500 against 80.000");
  EXPECT_FALSE(sights[0].raised);
}

struct AlarmLog : GatewayTest {
  std::vector<bool> Taken() {
    log.Follow(std::time(nullptr));
    std::vector<bool> taken;
    for (const auto& [id, event] : log.Events()) taken.push_back(event.taken);
    return taken;
  }

  console::AlarmLog log;
};

TEST_F(AlarmLog, SeesTheServiceTakeEventsThatItHasReadBefore) {
  EventDatabase database(2024, 3);
  database.AddAll({{.clock = "10:00:00"}, {.clock = "11:00:00"}});
  EXPECT_THAT(Taken(), ElementsAre(false, false));

  database.Run("UPDATE event_tbl SET upload = 1 WHERE Pid = 1");
  database.Add({.clock = "11:30:00"});

  EXPECT_THAT(Taken(), ElementsAre(true, false, false));
}

TEST_F(AlarmLog, BeginsAnewWithAnotherCard) {
  EventDatabase(2024, 3).AddAll({{.clock = "10:00:00"}, {.clock = "11:00:00"}});
  EXPECT_EQ(Taken().size(), 2U);

  Empty(paths::kCardMount);
  EXPECT_EQ(Taken().size(), 2U);  // the card is out: what was seen stays
  EventDatabase(2024, 3).Add({.clock = "11:30:00", .upload = 1});

  EXPECT_THAT(Taken(), ElementsAre(true));
}

// The table of docs/interfaces.md.
TEST(AlarmCodes, FollowTheKindOfThePointAndTheEvent) {
  const auto code = [](std::uint32_t dataId, int type, bool up) {
    return std::string(console::MeaningOf(dataId, type, up).code);
  };
  constexpr std::uint32_t kCounter = 0x01030205;
  constexpr std::uint32_t kInputZero = 0x01031100;
  EXPECT_EQ(code(kCounter, 0, true), "10000");
  EXPECT_EQ(code(kCounter, 0, false), "10001");
  EXPECT_EQ(code(kCounter, 1, true), "10100");
  EXPECT_EQ(code(kCounter, 1, false), "10101");
  EXPECT_EQ(code(kCounter, 2, true), "");
  EXPECT_EQ(code(kRunning, 7, true), "10201");
  EXPECT_EQ(code(kRunning, 7, false), "10200");
  EXPECT_EQ(code(kInputZero, 0, true), "10301");
  EXPECT_EQ(code(kInputZero, 0, false), "10300");
  EXPECT_EQ(code(kInputZero, 1, true), "10300");
  EXPECT_EQ(code(kInputZero, 1, false), "10301");
  EXPECT_EQ(code(kInputZero, 2, true), "");
}

TEST(AlarmDocuments, AreReadAsFarAsTheyAreSound) {
  const std::string events = AlarmOf("11:00:00", "0001", "81.500");

  EXPECT_THAT(console::AlarmKeysIn(R"({"sn":"S1","alarmDataType":0,"data":[)" + events + ",{"),
              ElementsAre(console::AlarmKey(kLevel, "2024-03-07 11:00:00", 1, 81.5)));
  EXPECT_TRUE(console::AlarmKeysIn(std::string(1'000'000, '{')).empty());
}

}  // namespace
