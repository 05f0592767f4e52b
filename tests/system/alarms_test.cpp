// Alarm events on their way from the acquisition side's database to an accepted upload.
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "system/support/alarms.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"

namespace {

using cloud::Endpoint;
using test::LedgerRow;

// The service starts at 12:03:10. The alarm worker wakes at 12:03:30 and every 30 s from then on,
// the upload worker at 12:04:00 and every minute.
using AlarmRoad = test::ConnectedTest;

TEST_F(AlarmRoad, BringsAnEventToTheCloudOnce) {
  test::WriteExamplePlant();
  constexpr char kName[] = "alarmdata/7/T20240307120330.tar.gz";
  EventWriter().Append({{.time = At(12, 2, 59),
                         .dataId = 0x01030001,
                         .threshold = 30,
                         .triggerValue = 31.25,
                         .type = 0,
                         .grade = 10,
                         .upFlag = 2}});
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 3, 29));
  EXPECT_EQ(test::TakenFlags(At(12, 3)), std::vector<int>{0});
  service.RunUntil(At(12, 3, 59));
  EXPECT_EQ(test::TakenFlags(At(12, 3)), std::vector<int>{1});
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kAlarmDataType, 0}}));
  service.RunUntil(At(13, 0, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kAlarmDataType, 1}}));
  const auto uploads = Exchanges(Endpoint::kAlarmData);
  ASSERT_EQ(uploads.size(), 1U);
  EXPECT_EQ(uploads[0].memberName, "T20240307120330.dat");
  EXPECT_EQ(uploads[0].document,
            R"({"sn":"TS20240117","alarmDataType":0,"data":[{"groupId":1,"eqpId":3,)"
            R"("alarmTime":"2024-03-07 12:02:59","alarmType":"10000","alarmGrade":"000A","flag":2,)"
            R"~("alarmDes":"Discharge pressure(阀值:30.000)","alarmValues":[{"pointId":"0001",)~"
            R"("values":[{"timeMark":"2024-03-07 12:02:59","value":"31.250"}]}]}]})");
}

}  // namespace
