// The drivers that send data files: what they send where, what the answer callback makes of the
// cloud's words, and what that leads to.
#include "service/uploaddrivers.h"

#include <gmock/gmock.h>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "http/answercallback.h"
#include "support/logs.h"

namespace {

using namespace std::string_literals;
using namespace test;
using namespace testing;

constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
constexpr char kFile[] = "/media/mmcblk0p1/JsonFiles/X1.tar.gz";

struct Driver {
  const char* name;
  int (*upload)(const char* path);
  const char* endpoint;
  const char* start;
  const char* end;
};

class UploadDriver : public CloudTest, public WithParamInterface<Driver> {
 protected:
  void SetUp() override {
    CloudTest::SetUp();
    WriteFile(kFile, "archive");
  }

  static int Upload(const std::string& path = kFile) { return GetParam().upload(path.c_str()); }
  // A driver's words about the file and where it goes.
  std::string Line(const char* words) const {
    return std::string(words) + " " + kFile + " to " +
           m_cloud.Url(std::string("/cloud") + GetParam().endpoint);
  }
};

INSTANTIATE_TEST_SUITE_P(Drivers, UploadDriver,
                         Values(Driver{"RealData", UploadRealDataFile, "/eqpapi/EqpUploadDataInfo",
                                       "start Send realdata", "Send realdata"},
                                Driver{"AlarmData", UploadAlarmDataFile,
                                       "/eqpapi/EqpUploadAlarmDataInfo", "start Send alarmdata",
                                       "Send Alarmdata"},
                                Driver{"RecallData", UploadDemandRecall, "/eqpapi/EqpDataRecall",
                                       "start Send Recalldata", "Send Recalldata"}),
                         [](const auto& test) { return test.param.name; });

TEST_P(UploadDriver, LogsItsStartAndItsSuccess) {
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  EXPECT_EQ(Upload(), 0);
  const auto log = TextLog();
  EXPECT_EQ(log.front(), (LogRecord{"INFO", Line(GetParam().start) + " \n"}));
  EXPECT_EQ(log.back(), (LogRecord{"INFO", Line(GetParam().end) + " successfully\n"}));
}

TEST_P(UploadDriver, LogsItsFailure) {
  m_cloud.Answer(HttpAnswer(200, R"({"status":1,"message":"x"})"));

  EXPECT_EQ(Upload(), -1);
  EXPECT_EQ(TextLog().back(), (LogRecord{"WARN", Line(GetParam().end) + " failed\n"}));
}

TEST_P(UploadDriver, SendsTheFileToItsEndpointAtTheAddressInUse) {
  const std::string port = std::to_string(m_cloud.Port());
  Load(SysXml().Cloud("cloudip", "127.0.0.2").Cloud("port", port).Cloud("Dir", "/cloud"));
  GetCSysSetInstance().SetRealIPAddress("127.0.0.1");

  Upload();

  EXPECT_THAT(Request(), StartsWith(std::string("/cloud") + GetParam().endpoint + " "));
  EXPECT_THAT(Request(), HasSubstr("\r\n\r\narchive\r\n"));
}

TEST_P(UploadDriver, GoesByTheAnswerAloneWhateverTheHttpStatus) {
  m_cloud.Answer(HttpAnswer(500, kAccepted)).Answer(HttpAnswer(200, ""));

  EXPECT_EQ(Upload(), 0);
  EXPECT_EQ(Upload(), -1);
}

TEST_P(UploadDriver, TakesAFileThatIsJudgedSentForAccepted) {
  EXPECT_EQ(Upload("/media/mmcblk0p1/JsonFiles/missing.tar.gz"), 0);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

TEST_P(UploadDriver, LooksForTheFileUnder127CharactersOfItsPath) {
  const std::string directory = "/media/mmcblk0p1/json/";
  const std::string kept = directory + std::string(127 - directory.size(), 'n');
  WriteFile(kept, "archive");

  Upload(kept + "-and-more");

  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

class FileType : public CloudTest {
 protected:
  // Uses the type and returns how many of the requests for kFile reach the cloud.
  std::size_t RequestsFor(const std::string& type, int (*upload)(const char* path)) {
    Load(CloudAt(m_cloud.Port()).Cloud("FileType", type));
    WriteFile(kFile, "archive");
    m_cloud.Answer(HttpAnswer(200, kAccepted));
    const auto before = m_cloud.Requests().size();
    EXPECT_EQ(upload(kFile), 0);
    return m_cloud.Requests().size() - before;
  }
};

TEST_F(FileType, LetsRealDataBeSentWhenThePathContainsItInAnyCase) {
  for (const char* type : {"json", "jSoNfIlEs", "tar.gz"}) {
    EXPECT_EQ(RequestsFor(type, UploadRealDataFile), 1U) << type;
  }
}

TEST_F(FileType, KeepsRealDataOfAnotherTypeFromBeingSent) {
  EXPECT_EQ(RequestsFor("xml", UploadRealDataFile), 0U);
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(FileType, LeavesAlarmsAndRecallsAlone) {
  EXPECT_EQ(RequestsFor("xml", UploadAlarmDataFile), 1U);
  EXPECT_EQ(RequestsFor("xml", UploadDemandRecall), 1U);
}

using UploadAnswer = AnswerTest<OnUploadFileAnswer>;

TEST_F(UploadAnswer, SetsTheFlagForStatusZero) {
  EXPECT_EQ(Judge(R"({"status":0,"message":"ok","data":[{}]})"), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
  EXPECT_THAT(TextLog(),
              ElementsAre(LogRecord{
                  "INFO", R"(UPloadFile recv message:{"status":0,"message":"ok","data":[{}]})"}));
}

TEST_F(UploadAnswer, RejectsANullTextSilently) {
  EXPECT_EQ(OnUploadFileAnswer(nullptr, 1, 10, &m_flag), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(TextLog(), IsEmpty());
}

struct Row {
  const char* name;
  std::string answer;
  std::int32_t flag;  // afterwards
  std::size_t warnings;
};

class RejectedAnswer : public UploadAnswer, public WithParamInterface<Row> {};

TEST_P(RejectedAnswer, ClearsTheFlagOrLeavesItWhenItIsMisshapen) {
  EXPECT_EQ(Judge(GetParam().answer), kVerdictRejected);
  EXPECT_EQ(m_flag, GetParam().flag);
  EXPECT_THAT(TextLog("WARN"), SizeIs(GetParam().warnings));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, RejectedAnswer,
    Values(Row{"StatusOne", R"({"status":1,"message":"x"})", 0, 0},
           Row{"StatusNegative", R"({"status":-1,"message":"x"})", 0, 0},
           Row{"NoMessage", R"({"status":0})", 0, 0}, Row{"NoJson", "{status}", 0, 0},
           Row{"StatusIsText", R"({"status":"0","message":"ok"})", 0, 1},
           Row{"Empty", "", kUntouched, 1}, Row{"NoStatus", R"({"message":"ok"})", kUntouched, 1},
           Row{"NoBraces", "\"status\"", kUntouched, 1},
           Row{"FirstPiece", R"({"status":0,"mess)", kUntouched, 1},
           Row{"SecondPiece", R"(age":"status"})", kUntouched, 1},
           Row{"BraceAfterAZero", R"({"status":0,"message":"ok"})"s + "\0}"s, kUntouched, 1}),
    [](const auto& test) { return test.param.name; });

TEST_F(UploadAnswer, LogsAMisshapenTextInFull) {
  Judge("status");

  EXPECT_EQ(TextLog().back(), (LogRecord{"WARN", "UPloadFile recv error format message:status"}));
}

}  // namespace
