// Live values and alarm events on their way to an upload that the cloud has accepted; the login,
// and the uploads of what is pending.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/tornwriter.h"
#include "cloud/archive.h"
#include "support/databasefile.h"
#include "system/support/alarms.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using test::LedgerRow;
using ::testing::ElementsAre;

constexpr char kName[] = "realdata/7/S20240307120500.tar.gz";

// The service packs at 12:05:00 and uploads at 12:06:00. It ignores the settings of HTTPS and
// compression.
class RealDataRoad : public test::ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    test::WriteExamplePlant();
    test::SystemFile(m_cloud.Port())
        .Cloud("IsCompress", "1")
        .Https("checked", "1")
        .Https("certfile", "/tessel/Config/cert.pem")
        .Write();
  }

  static std::vector<std::string> FilesOnTheCard() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(paths::kCloudTree)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
  }

  std::optional<Segment> m_segment{test::ExampleValues()};
};

TEST_F(RealDataRoad, BringsTheValuesToTheCloud) {
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 30));
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 0}}));
  service.RunUntil(At(12, 6, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 1}}));
  EXPECT_EQ(FilesOnTheCard(), (std::vector<std::string>{paths::kLedger, paths::kLedgerJournal,
                                                        test::DataFilePath(kName)}));
  EXPECT_EQ(Exchanges(Endpoint::kAuthorize).size(), 1U);
  const auto uploads = m_cloud.AcceptedUploads();
  ASSERT_EQ(uploads.size(), 1U);
  EXPECT_EQ(uploads[0].endpoint, Endpoint::kRealData);
  EXPECT_EQ(uploads[0].memberName, "S20240307120500.dat");
  EXPECT_EQ(uploads[0].document, test::ExampleDocument("2024-03-07 12:05:00"));
  EXPECT_EQ(uploads[0].archive, test::ReadFile(test::DataFilePath(kName)));
}

TEST_F(RealDataRoad, TakesTheValuesAtTheBoundary) {
  test::ServiceProcess service(At(12, 3, 10));
  service.RunUntil(At(12, 4, 59));
  m_segment->Set(0x01030001, 99);
  service.RunUntil(At(12, 5, 0));
  m_segment->Set(0x01030001, 100);

  service.RunUntil(At(12, 5, 30));

  const std::string text = cloud::ReadArchive(test::ReadFile(test::DataFilePath(kName))).text;
  EXPECT_NE(text.find("\"99.000\""), std::string::npos) << text;
}

TEST_F(RealDataRoad, GoesOnOnceTheSegmentIsSound) {
  m_segment.reset();
  test::ServiceProcess service(At(12, 3, 10));
  service.RunUntil(At(12, 6));  // without a segment
  m_segment.emplace(test::ExampleValues(), SegmentShape{.count = 0xFFFFFFFF});
  service.RunUntil(At(12, 11));
  m_segment.reset();
  m_segment.emplace(test::ExampleValues());

  service.RunUntil(At(12, 15, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{"realdata/7/S20240307121500.tar.gz"}}));
}

// Values of even and odd seconds, which differ in both words.
std::vector<SegmentPoint> Flickering(std::int64_t unixSeconds) {
  auto values = test::ExampleValues();
  for (auto& value : values) value.value = unixSeconds % 2 == 0 ? 1.1 : -2.2e5;
  return values;
}

TEST_F(RealDataRoad, MakesSoundDocumentsWhileTheSegmentIsRewritten) {
  const TornWriter writer(*m_segment, Flickering);
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(13, 4, 30));

  EXPECT_EQ(m_cloud.AcceptedUploads().size(), 12U);  // the cloud takes only sound documents
}

// The service starts at 12:03:10. The alarm worker wakes at 12:03:30 and every 30 s from then on,
// the upload worker at 12:04:00 and every minute.
using AlarmRoad = test::ConnectedTest;

TEST_F(AlarmRoad, BringsAnEventToTheCloudOnce) {
  test::WriteExamplePlant();
  constexpr char kAlarmFile[] = "alarmdata/7/T20240307120330.tar.gz";
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
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kAlarmFile, test::kAlarmDataType, 0}}));
  service.RunUntil(At(13, 0, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kAlarmFile, test::kAlarmDataType, 1}}));
  const auto uploads = Exchanges(Endpoint::kAlarmData);
  ASSERT_EQ(uploads.size(), 1U);
  EXPECT_EQ(uploads[0].memberName, "T20240307120330.dat");
  EXPECT_EQ(uploads[0].document,
            R"({"sn":"TS20240117","alarmDataType":0,"data":[{"groupId":1,"eqpId":3,)"
            R"("alarmTime":"2024-03-07 12:02:59","alarmType":"10000","alarmGrade":"000A","flag":2,)"
            R"~("alarmDes":"Discharge pressure(阀值:30.000)","alarmValues":[{"pointId":"0001",)~"
            R"("values":[{"timeMark":"2024-03-07 12:02:59","value":"31.250"}]}]}]})");
}

using UploadRoad = test::ConnectedTest;

TEST_F(UploadRoad, WaitsForTheLoginWhilePackingGoesOn) {
  m_cloud.Script(Endpoint::kAuthorize, std::vector<Behaviour>(15, Behaviour::Refuse()));
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(12, 14, 20));
  EXPECT_EQ(test::CountResults(0), 3);  // of 12:00, 12:05 and 12:10
  EXPECT_TRUE(Exchanges(Endpoint::kRealData).empty());
  service.RunUntil(At(12, 17));

  EXPECT_EQ(test::CountResults(1), 4);
  EXPECT_EQ(Exchanges(Endpoint::kAuthorize).size(), 16U);
}

// A clock that stood in the future has left a file that stays the newest.
TEST_F(UploadRoad, WaitsBehindARefusedFileOfTheFutureUntilItsRowIsFreed) {
  m_cloud.Script(Endpoint::kRealData, {Behaviour::Refuse(), Behaviour::Refuse()});
  const std::string future = test::PackDataFile(On(2030, 1, 21));
  test::WriteLedger({{test::PackDataFile(At(10, 0))}, {test::PackDataFile(At(10, 5))}, {future}});
  test::ServiceProcess service(At(11, 59, 30));
  service.RunUntil(At(12, 1, 30));

  // The statement of docs/operations.md.
  test::DatabaseFile(paths::kLedger)
      .Run("update tJsonFileNames set Result=1 where FileName='" + future + "'");
  service.RunUntil(At(12, 2, 30));

  EXPECT_THAT(FileNames(Endpoint::kRealData),
              ElementsAre("S20300121000000.tar.gz", "S20300121000000.tar.gz",
                          "S20240307100500.tar.gz", "S20240307100000.tar.gz"));
}

}  // namespace
