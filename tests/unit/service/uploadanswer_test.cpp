// The verdict on an upload: what the answer callback makes of the cloud's words.
#include <gmock/gmock.h>

#include "cloudfixture.h"
#include "http/answercallback.h"
#include "service/uploaddrivers.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using namespace std::string_literals;
using test::kUntouched;
using test::LogRecord;

class UploadAnswer : public test::GatewayTest {
 protected:
  std::size_t Judge(const std::string& answer) {
    return test::Judge(OnUploadFileAnswer, answer, &m_flag);
  }

  std::int32_t m_flag = kUntouched;
};

TEST_F(UploadAnswer, SetsTheFlagForStatusZero) {
  EXPECT_EQ(Judge(R"({"status":0,"message":"ok","data":[{}]})"), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{
                  "INFO", R"(UPloadFile recv message:{"status":0,"message":"ok","data":[{}]})"}));
}

TEST_F(UploadAnswer, RejectsANullTextSilently) {
  EXPECT_EQ(OnUploadFileAnswer(nullptr, 1, 10, &m_flag), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

struct Row {
  const char* name;
  std::string answer;
};

class RefusedAnswer : public UploadAnswer, public ::testing::WithParamInterface<Row> {};

TEST_P(RefusedAnswer, ClearsTheFlagWithoutAComplaint) {
  EXPECT_EQ(Judge(GetParam().answer), kVerdictRejected);
  EXPECT_EQ(m_flag, 0);
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Answers, RefusedAnswer,
                         ::testing::Values(Row{"StatusOne", R"({"status":1,"message":"x"})"},
                                           Row{"StatusNegative", R"({"status":-1,"message":"x"})"},
                                           Row{"NoMessage", R"({"status":0})"},
                                           Row{"NoJson", "{status}"}),
                         [](const auto& test) { return test.param.name; });

class MisshapenAnswer : public UploadAnswer, public ::testing::WithParamInterface<Row> {};

TEST_P(MisshapenAnswer, LeavesTheFlag) {
  EXPECT_EQ(Judge(GetParam().answer), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog("WARN"), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, MisshapenAnswer,
    ::testing::Values(Row{"Empty", ""}, Row{"NoStatus", R"({"message":"ok"})"},
                      Row{"NoBraces", "\"status\""}, Row{"FirstPiece", R"({"status":0,"mess)"},
                      Row{"SecondPiece", R"(age":"status"})"},
                      Row{"BraceAfterAZero", R"({"status":0,"message":"ok"})"s + "\0}"s}),
    [](const auto& test) { return test.param.name; });

TEST_F(UploadAnswer, LogsAMisshapenTextInFull) {
  Judge("status");

  EXPECT_EQ(test::TextLog().back(),
            (LogRecord{"WARN", "UPloadFile recv error format message:status"}));
}

TEST_F(UploadAnswer, ClearsTheFlagWhenTheParserThrows) {
  EXPECT_EQ(Judge(R"({"status":"0","message":"ok"})"), kVerdictRejected);
  EXPECT_EQ(m_flag, 0);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(HasSubstr(R"({"status":"0")")));
}

}  // namespace
