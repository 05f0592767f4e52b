// The verdict on an upload: what the answer callback makes of the cloud's words.
#include <gmock/gmock.h>

#include "cloudfixture.h"
#include "http/answercallback.h"
#include "service/uploaddrivers.h"
#include "support/logs.h"

using ::testing::ElementsAre;
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
  std::int32_t flag;  // afterwards
  std::size_t warnings;
};

class RejectedAnswer : public UploadAnswer, public ::testing::WithParamInterface<Row> {};

TEST_P(RejectedAnswer, ClearsTheFlagOrLeavesItWhenItIsMisshapen) {
  EXPECT_EQ(Judge(GetParam().answer), kVerdictRejected);
  EXPECT_EQ(m_flag, GetParam().flag);
  EXPECT_THAT(test::TextLog("WARN"), SizeIs(GetParam().warnings));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, RejectedAnswer,
    ::testing::Values(Row{"StatusOne", R"({"status":1,"message":"x"})", 0, 0},
                      Row{"StatusNegative", R"({"status":-1,"message":"x"})", 0, 0},
                      Row{"NoMessage", R"({"status":0})", 0, 0}, Row{"NoJson", "{status}", 0, 0},
                      Row{"StatusIsText", R"({"status":"0","message":"ok"})", 0, 1},
                      Row{"Empty", "", kUntouched, 1},
                      Row{"NoStatus", R"({"message":"ok"})", kUntouched, 1},
                      Row{"NoBraces", "\"status\"", kUntouched, 1},
                      Row{"FirstPiece", R"({"status":0,"mess)", kUntouched, 1},
                      Row{"SecondPiece", R"(age":"status"})", kUntouched, 1},
                      Row{"BraceAfterAZero", R"({"status":0,"message":"ok"})"s + "\0}"s, kUntouched,
                          1}),
    [](const auto& test) { return test.param.name; });

TEST_F(UploadAnswer, LogsAMisshapenTextInFull) {
  Judge("status");

  EXPECT_EQ(test::TextLog().back(),
            (LogRecord{"WARN", "UPloadFile recv error format message:status"}));
}

}  // namespace
