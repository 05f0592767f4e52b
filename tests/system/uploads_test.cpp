// The upload worker's walk over the pending rows.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "support/databasefile.h"
#include "system/support/answers.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using test::CloudServer;
using test::HttpAnswer;
using test::LedgerRow;
using ::testing::IsEmpty;

// The service starts at 11:59:30 without an acquisition side: nothing is packed, and the first
// uploads begin at 12:00:00.
class Uploads : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
  }

  // Pending files with the stamps 10:00:00, 10:05:00 and so on, packed and recorded; their names.
  static std::vector<std::string> WritePending(int count) {
    std::vector<std::string> names;
    std::vector<LedgerRow> rows;
    for (int i = 0; i < count; ++i) {
      names.push_back(test::PackDataFile(At(10, 0) + i * 300));
      rows.push_back({names.back()});
    }
    test::WriteLedger(rows);
    return names;
  }

  static std::vector<std::string> UploadedNames(const cloud::Simulator& cloud) {
    std::vector<std::string> names;
    for (const auto& exchange : cloud.Exchanges()) {
      if (exchange.endpoint == Endpoint::kRealData) names.push_back(exchange.fileName);
    }
    return names;
  }
};

TEST_F(Uploads, GoNewestFirstThreeSecondsApart) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  WritePending(3);
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(UploadedNames(cloud),
            (std::vector<std::string>{"S20240307101000.tar.gz", "S20240307100500.tar.gz",
                                      "S20240307100000.tar.gz"}));
  EXPECT_EQ(test::TextLogTimes("start Send realdata"),
            (std::vector<std::string>{"12:00:00", "12:00:03", "12:00:06"}));
}

TEST_F(Uploads, EndAtTheFirstFailureAndGoOnAtTheNextBoundary) {
  cloud::Simulator cloud({});
  cloud.Script(Endpoint::kRealData,
               {Behaviour::Normal(), Behaviour::Normal(), Behaviour::Refuse()});
  test::SystemFile(cloud.Port()).Write();
  const auto names = WritePending(5);
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 59));
  const auto rows = test::ReadLedger();
  service.RunUntil(At(12, 1, 30));

  EXPECT_EQ(rows, (std::vector<LedgerRow>{
                      {names[0]}, {names[1]}, {names[2]}, {names[3], 2, 1}, {names[4], 2, 1}}));
  EXPECT_EQ(test::TextLogTimes("start Send realdata"),
            (std::vector<std::string>{"12:00:00", "12:00:03", "12:00:06", "12:01:00", "12:01:03",
                                      "12:01:06"}));
  EXPECT_EQ(test::CountResults(1), 5);
}

struct Pause {
  int intervalSeconds;
  int retriedAfterSeconds;  // the first boundary five seconds or more behind the failure
};

class PauseAfterFailure : public Uploads, public ::testing::WithParamInterface<Pause> {};

// The cycle's tenth upload fails, 27 s behind the boundary.
TEST_P(PauseAfterFailure, IsFiveSeconds) {
  cloud::Simulator cloud({});
  cloud.Script(Endpoint::kRealData, std::vector<Behaviour>(9, Behaviour::Normal()));
  cloud.Script(Endpoint::kRealData, {Behaviour::Refuse()});
  const int interval = GetParam().intervalSeconds;
  test::SystemFile(cloud.Port()).Cloud("FailInterval", std::to_string(interval)).Write();
  const auto names = WritePending(10);
  const std::time_t boundary = At(12, 0) / interval * interval;
  test::ServiceProcess service(boundary - 10);

  service.RunUntil(boundary + GetParam().retriedAfterSeconds - 1);
  const int before = test::CountResults(0);
  service.RunFor(1);

  EXPECT_EQ(before, 1);
  EXPECT_EQ(test::CountResults(0), 0);
}

INSTANTIATE_TEST_SUITE_P(Uploads, PauseAfterFailure,
                         ::testing::Values(Pause{33, 33}, Pause{32, 64}), [](const auto& row) {
                           return "Interval" + std::to_string(row.param.intervalSeconds);
                         });

TEST_F(Uploads, TakeTwentyRowsACycle) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  const auto names = WritePending(25);
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 1, 59));  // twenty uploads take a minute: the cycle of 12:01 is over
  const auto rows = test::ReadLedger();
  service.RunUntil(At(12, 2, 30));

  std::vector<LedgerRow> expected;
  for (std::size_t i = 0; i < 25; ++i) expected.push_back({names[i], 2, i < 5 ? 0 : 1});
  EXPECT_EQ(rows, expected);
  EXPECT_EQ(test::CountResults(1), 25);
}

TEST_F(Uploads, PutNewFilesBeforeTheBacklog) {
  cloud::Simulator cloud({});
  cloud.Script(Endpoint::kRealData, {Behaviour::Refuse()});
  test::SystemFile(cloud.Port()).Write();
  WritePending(2);
  const Segment segment({{0x01030001, 1}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 1, 30));

  EXPECT_EQ(UploadedNames(cloud),
            (std::vector<std::string>{"S20240307100500.tar.gz", "S20240307120000.tar.gz",
                                      "S20240307100500.tar.gz", "S20240307100000.tar.gz"}));
}

// A clock that stood in the future has left a file that is newer than all to come.
TEST_F(Uploads, StandBehindARefusedFileOfTheFutureUntilItsRowIsFreed) {
  cloud::Simulator cloud({});
  cloud.Script(Endpoint::kRealData, {Behaviour::Refuse(), Behaviour::Refuse()});
  test::SystemFile(cloud.Port()).Write();
  WritePending(2);
  const std::string future = test::PackDataFile(On(2030, 1, 21));
  test::WriteLedger({{future}});
  test::ServiceProcess service(At(11, 59, 30));
  service.RunUntil(At(12, 1, 30));

  // The statement of docs/operations.md.
  test::DatabaseFile(paths::kLedger)
      .Run("update tJsonFileNames set Result=1 where FileName='" + future + "'");
  service.RunUntil(At(12, 2, 30));

  EXPECT_EQ(UploadedNames(cloud),
            (std::vector<std::string>{"S20300121000000.tar.gz", "S20300121000000.tar.gz",
                                      "S20240307100500.tar.gz", "S20240307100000.tar.gz"}));
  EXPECT_EQ(test::CountResults(0), 0);
}

TEST_F(Uploads, WithoutALedgerAreNone) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 10, 0));

  EXPECT_THAT(UploadedNames(cloud), IsEmpty());
  EXPECT_THAT(test::TextLogTimes("start Send"), IsEmpty());
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

TEST_F(Uploads, LeaveAcceptedRowsAlone) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  const std::string name = test::PackDataFile(At(10, 0));
  test::WriteLedger({{name, 2, 1}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 10, 0));

  EXPECT_EQ(UploadedNames(cloud), std::vector<std::string>{});
}

class OtherFileType : public Uploads, public ::testing::WithParamInterface<int> {};

TEST_P(OtherFileType, GoesToTheAlarmEndpoint) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(HttpAnswer(200, test::kAccepted));
  test::SystemFile(server.Port()).Cloud("Dir", "/cloud").Write();
  const std::string name = test::AlarmDataName(At(10, 0));
  test::WriteFile(test::DataFilePath(name), "the alarms");
  test::WriteLedger({{name, GetParam()}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  ASSERT_EQ(server.Requests().size(), 2U);
  EXPECT_EQ(server.Requests()[1].Line(), "POST /cloud/eqpapi/EqpUploadAlarmDataInfo HTTP/1.1");
  EXPECT_EQ(server.Requests()[1].body,
            "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
            "Content-Disposition:form-data;name=\"licence\";filename=\"T20240307100000.tar.gz\"\r\n"
            "Content-Type:application/octet-stream\r\n\r\n"
            "the alarms\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n");
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{name, GetParam(), 1}}));
}

TEST_P(OtherFileType, IsSpokenOfAsAlarms) {
  CloudServer server;
  server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(HttpAnswer(200, test::kRefused));
  server.Answer(HttpAnswer(200, test::kAccepted));
  test::SystemFile(server.Port()).Write();
  const std::string name = test::AlarmDataName(At(10, 0));
  test::WriteFile(test::DataFilePath(name), "the alarms");
  test::WriteLedger({{name, GetParam()}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 1, 30));

  const std::string what =
      test::DataFilePath(name) + " to " + server.Url("/eqpapi/EqpUploadAlarmDataInfo");
  const std::vector<std::string> started{"12:00:00", "12:01:00"};
  EXPECT_EQ(test::TextLogTimes("start Send alarmdata " + what + " \n\n"), started);
  EXPECT_EQ(test::TextLogTimes("Send Alarmdata " + what + " failed\n\n"),
            std::vector<std::string>{"12:00:00"});
  EXPECT_EQ(test::TextLogTimes("Send Alarmdata " + what + " successfully\n\n"),
            std::vector<std::string>{"12:01:00"});
}

INSTANTIATE_TEST_SUITE_P(Uploads, OtherFileType, ::testing::Values(1, 0, 3),
                         ::testing::PrintToStringParamName());

}  // namespace
