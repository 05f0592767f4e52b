// The drivers of alarm and recall files: what they pack, and which files they send.
#include <gmock/gmock.h>

#include <filesystem>

#include "cloudfixture.h"
#include "packfile/packfile.h"
#include "service/uploaddrivers.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

using test::CloudAt;
using test::HttpAnswer;
using test::WriteFile;

constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
constexpr char kAlarms[] = "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7";
constexpr char kRecalls[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata";
constexpr char kRecallFile[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata/R20240307120000.tar.gz";

class PackingDriver : public test::CloudTest {
 protected:
  void SetUp() override {
    CloudTest::SetUp();
    fs::create_directories(kAlarms);
    fs::create_directories(kRecalls);
  }
};

TEST_F(PackingDriver, OfAlarmsAppendsTheArchivesOfThePacker) {
  const Alarm_Data_Struct events(21);
  std::vector<std::string> files{"already there"};

  EXPECT_EQ(CreateAlarmDataFile(&events, kAlarms, &files), 0);
  EXPECT_THAT(files, ElementsAre("already there", std::string(kAlarms) + "/T20240307120000.tar.gz",
                                 std::string(kAlarms) + "/T20240307120001.tar.gz"));
  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.tar.gz", "T20240307120001.tar.gz"));
}

TEST_F(PackingDriver, OfAlarmsReturnsZeroAlsoForAFileThatIsLost) {
  const Alarm_Data_Struct events(1);
  std::vector<std::string> files;
  test::FailCalls(test::Call::kPopen, 3);

  EXPECT_EQ(CreateAlarmDataFile(&events, kAlarms, &files), 0);
  EXPECT_THAT(files, IsEmpty());
}

TEST_F(PackingDriver, OfARecallStoresTheArchiveOfThePacker) {
  const ST_CHECKCALL_ACK order{.sn = "S1", .id = 7, .devs = {}};
  std::string file = "before";

  EXPECT_EQ(CreateRecallDataFile(&order, kRecalls, &file), 0);
  EXPECT_EQ(file, kRecallFile);
  EXPECT_THAT(test::List(kRecalls), ElementsAre("R20240307120000.tar.gz"));
}

TEST_F(PackingDriver, OfARecallReturnsThePackersFailure) {
  const ST_CHECKCALL_ACK order{.sn = "S1", .id = 7, .devs = {}};
  std::string file = "before";
  test::FailCalls(test::Call::kPopen, 3);

  EXPECT_EQ(CreateRecallDataFile(&order, kRecalls, &file), -1);
  EXPECT_EQ(file, "before");
}

class RecalledFile : public test::CloudTest {};

TEST_F(RecalledFile, IsSentWhateverTheFileType) {
  test::Load(CloudAt(m_cloud.Port()).Cloud("FileType", "xml"));
  WriteFile(kRecallFile, "archive");
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  EXPECT_EQ(UploadDemandRecall(kRecallFile), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

TEST_F(RecalledFile, ThatIsMissingCountsAsAccepted) {
  EXPECT_EQ(UploadDemandRecall(kRecallFile), 0);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

TEST_F(RecalledFile, ThatIsTooLargeCountsAsAccepted) {
  WriteFile(kRecallFile, std::string(40960, 'x'));

  EXPECT_EQ(UploadDemandRecall(kRecallFile), 0);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
  EXPECT_EQ(test::TextLog("INFO").back(), std::string("Send Recalldata ") + kRecallFile + " to " +
                                              Url("/eqpapi/EqpDataRecall") + " successfully\n");
}

TEST_F(RecalledFile, ThatCannotBeOpenedFails) {
  WriteFile(std::string(kRecallFile) + "/a-directory-of-that-name", "");

  EXPECT_EQ(UploadDemandRecall(kRecallFile), -1);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(std::string("can not open file ") + kRecallFile + "\n",
                          std::string("Send Recalldata ") + kRecallFile + " to " +
                              Url("/eqpapi/EqpDataRecall") + " failed\n"));
}

TEST_F(RecalledFile, ForWhichThereIsNoHandleFails) {
  WriteFile(kRecallFile, "archive");
  test::FailCalls(test::Call::kCurlEasyInit);

  EXPECT_EQ(UploadDemandRecall(kRecallFile), -1);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

}  // namespace
