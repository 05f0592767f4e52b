// The whole road of alarm events: from a row of the acquisition side's database to an upload that
// the cloud has accepted.
#include <ctime>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "cloud/simulator.h"
#include "system/support/alarms.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using test::LedgerRow;

// The service starts at 12:03:10; its alarm worker wakes at 12:03:30 and every 30 s from then on,
// its upload worker at 12:04:00 and every minute.
class Alarms : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
  }
};

TEST_F(Alarms, AreMarkedTakenWhenTheyAreRead) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  EventWriter().Append(test::AlarmEvents(At(12, 3), 2));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 3, 29));
  const auto before = test::TakenFlags(At(12, 3));
  service.RunUntil(At(12, 3, 30));

  EXPECT_EQ(before, (std::vector<int>{0, 0}));
  EXPECT_EQ(test::TakenFlags(At(12, 3)), (std::vector<int>{1, 1}));
}

TEST_F(Alarms, ArePackedAtTheBoundaryAndRecordedAsPending) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  EventWriter().Append(test::AlarmEvents(At(12, 3), 1));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 3, 59));

  EXPECT_EQ(test::ReadLedger(),
            (std::vector<LedgerRow>{{"alarmdata/7/T20240307120330.tar.gz", test::kAlarmDataType}}));
}

TEST_F(Alarms, ReachTheCloudAsTheyWereRecorded) {
  cloud::Simulator cloud({.serialNumber = test::kSerialNumber});
  test::SystemFile(cloud.Port()).Write();
  EventWriter().Append({{.time = At(12, 2, 59),
                         .dataId = 0x01030001,
                         .threshold = 30,
                         .triggerValue = 31.25,
                         .type = 0,
                         .grade = 10,
                         .upFlag = 2}});
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 4, 30));

  const auto uploads = cloud.AcceptedUploads();
  ASSERT_EQ(uploads.size(), 1U);
  EXPECT_EQ(uploads[0].endpoint, Endpoint::kAlarmData);
  EXPECT_EQ(uploads[0].fileName, "T20240307120330.tar.gz");
  EXPECT_EQ(uploads[0].memberName, "T20240307120330.dat");
  EXPECT_EQ(uploads[0].document,
            R"({"sn":"TS20240117","alarmDataType":0,"data":[{"groupId":1,"eqpId":3,)"
            R"("alarmTime":"2024-03-07 12:02:59","alarmType":"10000","alarmGrade":"000A","flag":2,)"
            R"~("alarmDes":"Discharge pressure(阀值:30.000)","alarmValues":[{"pointId":"0001",)~"
            R"("values":[{"timeMark":"2024-03-07 12:02:59","value":"31.250"}]}]}]})");
}

TEST_F(Alarms, AreMarkedInTheLedgerOnceAccepted) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  EventWriter().Append(test::AlarmEvents(At(12, 3), 1));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 4, 30));

  EXPECT_EQ(
      test::ReadLedger(),
      (std::vector<LedgerRow>{{"alarmdata/7/T20240307120330.tar.gz", test::kAlarmDataType, 1}}));
}

TEST_F(Alarms, StayPendingUntilTheCloudAcceptsThem) {
  cloud::Simulator cloud({});
  cloud.Script(Endpoint::kAlarmData, {Behaviour::Refuse(), Behaviour::Close()});
  test::SystemFile(cloud.Port()).Write();
  EventWriter().Append(test::AlarmEvents(At(12, 3), 1));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 59));
  const int acceptedAfterTwo = test::CountResults(1);
  service.RunUntil(At(12, 6, 30));

  EXPECT_EQ(acceptedAfterTwo, 0);
  EXPECT_EQ(test::CountResults(1), 1);
  EXPECT_EQ(test::TextLogTimes("start Send alarmdata"),
            (std::vector<std::string>{"12:04:00", "12:05:00", "12:06:00"}));
}

TEST_F(Alarms, AreSentOnlyOnce) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  EventWriter().Append(test::AlarmEvents(At(12, 3), 1));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(13, 0, 30));

  EXPECT_EQ(test::AlarmUploads(cloud).size(), 1U);
}

TEST_F(Alarms, OfABurstGoTwentyToAFileInTheirOrder) {
  cloud::Simulator cloud({.serialNumber = test::kSerialNumber});
  test::SystemFile(cloud.Port()).Write();
  const auto events = test::AlarmEvents(At(12, 0), 41);
  EventWriter().Append(events);
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 4, 30));

  const auto uploads = test::AlarmUploads(cloud);
  std::vector<std::size_t> counts;
  for (const auto& upload : uploads) counts.push_back(test::AlarmTimes(upload.document).size());
  EXPECT_EQ(counts, (std::vector<std::size_t>{1, 20, 20}));  // the newest file goes first
  EXPECT_EQ(test::SentAlarmTimes(uploads), test::TimesOf(events));
}

TEST_F(Alarms, AreTakenFromBothMonthsAroundMidnightOfTheFirst) {
  cloud::Simulator cloud({.serialNumber = test::kSerialNumber});
  test::SystemFile(cloud.Port()).Write();
  const std::time_t midnight = On(2024, 4, 1);
  test::ServiceProcess service(midnight - 50);
  const auto events = test::AlarmEvents(midnight - 2, 4);  // two seconds before, to one after
  EventWriter().Append(events);

  service.RunUntil(midnight + 90);

  EXPECT_EQ(test::SentAlarmTimes(test::AlarmUploads(cloud)), test::TimesOf(events));
  EXPECT_EQ(test::TakenFlags(midnight - 1), (std::vector<int>{1, 1}));
  EXPECT_EQ(test::TakenFlags(midnight), (std::vector<int>{1, 1}));
}

TEST_F(Alarms, OfTheOldMonthAreTakenUntilThreeDaysIntoTheNew) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  const std::time_t midnight = On(2024, 4, 1);
  constexpr std::time_t kThreeDays = 3 * 86400;
  EventWriter().Append(test::AlarmEvents(midnight - 60, 1));
  test::ServiceProcess service(midnight + kThreeDays - 60);

  service.RunUntil(midnight + kThreeDays - 30);

  EXPECT_EQ(test::TakenFlags(midnight - 60), (std::vector<int>{1}));
}

TEST_F(Alarms, OfTheOldMonthAreLeftAloneFromThenOn) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  const std::time_t midnight = On(2024, 4, 1);
  constexpr std::time_t kThreeDays = 3 * 86400;
  EventWriter().Append(test::AlarmEvents(midnight - 60, 1));
  test::ServiceProcess service(midnight + kThreeDays);

  service.RunUntil(midnight + kThreeDays + 90);

  EXPECT_EQ(test::TakenFlags(midnight - 60), (std::vector<int>{0}));
}

}  // namespace
