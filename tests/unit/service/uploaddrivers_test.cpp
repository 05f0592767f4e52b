// The upload drivers: what they send where, and what the cloud's answer makes of it.
#include "service/uploaddrivers.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "support/logs.h"
#include "util/paths.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

namespace {

using test::CloudAt;
using test::HttpAnswer;
using test::LogRecord;
using test::RawServer;
using test::WriteFile;

constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
constexpr char kRefused[] = R"({"status":1,"message":"x"})";

struct Driver {
  const char* name;
  int (*upload)(const char* path);
  const char* path;
  const char* endpoint;
  const char* start;
  const char* success;
  const char* failure;

  // These words about its file and that URL.
  std::string Line(const std::string& words, const std::string& url) const {
    return words + " " + path + " to " + url;
  }
};

constexpr Driver kRealData{"RealData",
                           UploadRealDataFile,
                           "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz",
                           "/eqpapi/EqpUploadDataInfo",
                           "start Send realdata",
                           "Send realdata",
                           "Send realdata"};
constexpr Driver kAlarmData{"AlarmData",
                            UploadAlarmDataFile,
                            "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7/T20240307120000.tar.gz",
                            "/eqpapi/EqpUploadAlarmDataInfo",
                            "start Send alarmdata",
                            "Send Alarmdata",
                            "Send Alarmdata"};

constexpr Driver kRecallData{"RecallData",
                             UploadDemandRecall,
                             "/media/mmcblk0p1/Cloud/JsonFiles/calldata/R20240307120000.tar.gz",
                             "/eqpapi/EqpDataRecall",
                             "start Send Recalldata",
                             "Send Recalldata",
                             "Send Recalldata"};

void PrintTo(const Driver& driver, std::ostream* out) {
  *out << driver.name;
}

class UploadDriver : public test::CloudTest, public ::testing::WithParamInterface<Driver> {
 protected:
  void SetUp() override {
    CloudTest::SetUp();
    WriteFile(GetParam().path, "archive");
  }

  static int Upload() { return GetParam().upload(GetParam().path); }
  std::string Url() const { return CloudTest::Url(GetParam().endpoint); }
  std::string StartLine() const { return GetParam().Line(GetParam().start, Url()) + " \n"; }
  std::string SuccessLine() const {
    return GetParam().Line(GetParam().success, Url()) + " successfully\n";
  }
  std::string FailureLine() const {
    return GetParam().Line(GetParam().failure, Url()) + " failed\n";
  }
};

INSTANTIATE_TEST_SUITE_P(Drivers, UploadDriver,
                         ::testing::Values(kRealData, kAlarmData, kRecallData),
                         [](const auto& test) { return test.param.name; });

TEST_P(UploadDriver, SendsTheFileToItsEndpoint) {
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  const int result = Upload();

  EXPECT_EQ(result, 0);
  const auto requests = m_cloud.Requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].Line(), std::string("POST /cloud") + GetParam().endpoint + " HTTP/1.1");
  EXPECT_THAT(requests[0].body, HasSubstr("\r\n\r\narchive\r\n----"));
}

TEST_P(UploadDriver, TellsEveryStepOfAnAcceptedUpload) {
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  Upload();

  const std::string path = GetParam().path;
  const std::string name = path.substr(path.rfind('/') + 1);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", StartLine()},
                          LogRecord{"INFO", "start Send file " + name + " to " + Url()},
                          LogRecord{"INFO", std::string("UPloadFile recv message:") + kAccepted},
                          LogRecord{"INFO", "Send file " + path + " finish"},
                          LogRecord{"INFO", SuccessLine()}));
}

TEST_P(UploadDriver, FailsWhenTheCloudRefuses) {
  m_cloud.Answer(HttpAnswer(200, kRefused));

  const int result = Upload();

  EXPECT_EQ(result, -1);
  const auto log = test::TextLog();
  ASSERT_THAT(log, SizeIs(5));
  EXPECT_EQ(log[0], (LogRecord{"INFO", StartLine()}));
  EXPECT_EQ(log[4], (LogRecord{"WARN", FailureLine()}));
}

TEST_P(UploadDriver, GoesByTheAnswerAlsoBesideAnHttpError) {
  m_cloud.Answer(HttpAnswer(500, kAccepted));

  const int result = Upload();

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::TextLog("INFO"), Contains(SuccessLine()));
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(std::string("send file ") + GetParam().path +
                          " failed: Failed writing received data to disk/application,httpcode "
                          "=500"));
}

TEST_P(UploadDriver, GoesByTheAnswerAlsoBesideARedirect) {
  m_cloud.Answer(HttpAnswer(302, kAccepted));

  EXPECT_EQ(Upload(), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

TEST_P(UploadDriver, GoesByTheAnswerAlsoWhenItBreaksOffBehindTheDocument) {
  m_cloud.Answer(std::string("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n") + kAccepted);

  EXPECT_EQ(Upload(), 0);
}

TEST_P(UploadDriver, TakesStatus200WithoutAnAnswerForAFailure) {
  m_cloud.Answer(HttpAnswer(200, ""));

  const int result = Upload();

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(FailureLine()));
}

TEST_P(UploadDriver, RejectsAnAnswerInTwoPieces) {
  m_cloud.Answer(RawServer::Pieces{"HTTP/1.1 200 OK\r\nContent-Length: 27\r\n\r\n{\"status\":0,",
                                   "\"message\":\"ok\"}"});

  const int result = Upload();

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre("UPloadFile recv error format message:{\"status\":0,", FailureLine()));
}

TEST_P(UploadDriver, RejectsAnAnswerThatIsTooLongForOnePiece) {
  m_cloud.Answer(HttpAnswer(200, R"({"status":0,"message":")" + std::string(100000, 'm') + "\"}"));

  EXPECT_EQ(Upload(), -1);
  EXPECT_THAT(test::WholeTextLog(),
              HasSubstr("logType:WARN\n UPloadFile recv error format message:{\"status\":0,"));
}

TEST_P(UploadDriver, SurvivesAnAnswerWithAMemberOfTheWrongType) {
  m_cloud.Answer(HttpAnswer(200, R"({"status":"x","message":"ok"})"));

  const int result = Upload();

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre("answer with a member missing or of the wrong type (rapidjson "
                          "exception):{\"status\":\"x\",\"message\":\"ok\"}",
                          FailureLine()));
}

struct BadCloud {
  const char* name;
  RawServer::Pieces answer;
};

void PrintTo(const BadCloud& cloud, std::ostream* out) {
  *out << cloud.name;
}

std::string DeepAnswer() {
  return "{\"status\":" + std::string(100000, '[') + std::string(100000, ']') + "}";
}

class UploadToABadCloud : public test::CloudTest,
                          public ::testing::WithParamInterface<std::tuple<Driver, BadCloud>> {};

TEST_P(UploadToABadCloud, Fails) {
  const auto& [driver, cloud] = GetParam();
  WriteFile(driver.path, "archive");
  m_cloud.Answer(cloud.answer);

  const int result = driver.upload(driver.path);

  EXPECT_EQ(result, -1);
  EXPECT_EQ(test::TextLog().back(),
            (LogRecord{"WARN", driver.Line(driver.failure, Url(driver.endpoint)) + " failed\n"}));
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(
    Clouds, UploadToABadCloud,
    ::testing::Combine(
        ::testing::Values(kRealData, kAlarmData, kRecallData),
        ::testing::Values(BadCloud{"Silent", {}}, BadCloud{"Garbage", {"garbage\r\n\r\n{}"}},
                          BadCloud{"NotFound", {HttpAnswer(404, "<html>status</html>")}},
                          BadCloud{"Empty500", {HttpAnswer(500, "")}},
                          BadCloud{"Empty204", {"HTTP/1.1 204 No Content\r\n\r\n"}},
                          BadCloud{"NoJson", {HttpAnswer(200, "{status}")}},
                          BadCloud{"TopLevelArray", {HttpAnswer(200, R"([{"status":0}])")}},
                          BadCloud{"DeeplyNested", {HttpAnswer(200, DeepAnswer())}},
                          BadCloud{"Compressed", {HttpAnswer(200, "\x1f\x8b\x08{\"status\":0")}})),
    [](const auto& test) {
      return std::string(std::get<0>(test.param).name) + std::get<1>(test.param).name;
    });

TEST_P(UploadDriver, ToNobodyFails) {
  const auto port = RawServer().Port();
  test::Load(CloudAt(port));

  const int result = Upload();

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::TextLog("WARN"), SizeIs(2));
}

// Without its file nothing is sent, but the start is told all the same.
TEST_P(UploadDriver, NamesTheAddressInUseWithTheConfiguredPortAndPrefix) {
  std::filesystem::remove(GetParam().path);
  test::Load(CloudAt(8080));
  GetCSysSetInstance().SetRealIPAddress("10.1.2.3");
  test::DiscardLogs();

  Upload();

  const std::string url = std::string("http://10.1.2.3:8080/cloud") + GetParam().endpoint;
  EXPECT_EQ(test::TextLog("INFO").front(), GetParam().Line(GetParam().start, url) + " \n");
}

TEST_P(UploadDriver, DoesNotGoToTheConfiguredAddressOnceRedirected) {
  test::Load(
      test::SysXml().Cloud("cloudip", "127.0.0.2").Cloud("port", std::to_string(m_cloud.Port())));
  GetCSysSetInstance().SetRealIPAddress("127.0.0.1");
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  EXPECT_EQ(Upload(), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

TEST_P(UploadDriver, CutsTheUrlAt127Characters) {
  std::filesystem::remove(GetParam().path);
  const std::string prefix = "/" + std::string(62, 'p');
  test::Load(test::SysXml()
                 .Cloud("cloudip", std::string(63, 'h'))
                 .Cloud("port", "1")
                 .Cloud("Dir", prefix));
  test::DiscardLogs();

  Upload();

  const std::string whole = "http://" + std::string(63, 'h') + ":1" + prefix + GetParam().endpoint;
  EXPECT_EQ(test::TextLog("INFO").front(),
            GetParam().Line(GetParam().start, whole.substr(0, 127)) + " \n");
}

}  // namespace
