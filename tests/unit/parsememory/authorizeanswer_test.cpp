// The cloud's answer to the login.
#include <gmock/gmock.h>

#include <stdexcept>
#include <string>

#include "answertest.h"

using test::AnswerWithData;
using test::LogRecord;
using test::ParseAuthorize;
using test::Texts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class AuthorizeAnswer : public test::AnswerTest {};

TEST_F(AuthorizeAnswer, GivesSeqStatusStatusAndMessage) {
  const auto parsed = ParseAuthorize(R"({"status":2,"message":"ok","data":[{"seqStatus":-7}]})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.seqStatus, -7);
  EXPECT_EQ(parsed.ack.status, 2);
  EXPECT_STREQ(parsed.ack.message, "ok");
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(AuthorizeAnswer, TakesTheSeqStatusOfTheLastElement) {
  EXPECT_EQ(ParseAuthorize(AnswerWithData(R"([{"seqStatus":1},{"seqStatus":0}])")).ack.seqStatus,
            0);
  EXPECT_EQ(ParseAuthorize(AnswerWithData(R"([{"seqStatus":0},{"seqStatus":1}])")).ack.seqStatus,
            1);
}

TEST_F(AuthorizeAnswer, LeavesSeqStatusAloneWhenItsDataIsEmpty) {
  const auto parsed = ParseAuthorize(AnswerWithData("[]"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.seqStatus, test::kUntouchedNumber);
  EXPECT_EQ(parsed.ack.status, 0);
}

TEST_F(AuthorizeAnswer, IsLoggedWholeWithoutAMember) {
  for (const auto& text :
       Texts{R"({"status":0,"message":"%s%n%d"})", R"({"message":"ok","data":[{"seqStatus":0}]})",
             R"({"status":0,"data":[{"seqStatus":0}]})"}) {
    SCOPED_TRACE(text);
    test::DiscardLogs();

    const auto parsed = ParseAuthorize(text);

    EXPECT_EQ(parsed.result, -1);
    EXPECT_TRUE(parsed.IsUntouched());
    EXPECT_THAT(test::TextLog(),
                ElementsAre(LogRecord{"WARN", "Authorize recv:" + text + " ,missing Member"}));
  }
}

TEST_F(AuthorizeAnswer, LogsAnElementWithoutSeqStatusAndKeepsTheOneBefore) {
  const auto parsed = ParseAuthorize(AnswerWithData(R"([{"seqStatus":4},{},{"seqStatus":5}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_EQ(parsed.ack.seqStatus, 4);
  EXPECT_EQ(parsed.ack.status, test::kUntouchedNumber);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN", "Authorize missing seqStatus Member"}));
}

TEST_F(AuthorizeAnswer, ThrowsAtAWrongType) {
  for (const auto& text :
       Texts{AnswerWithData(R"({"seqStatus":0})"), AnswerWithData("null"), AnswerWithData("[0]"),
             AnswerWithData("[[]]"), AnswerWithData(R"([{"seqStatus":"0"}])"),
             AnswerWithData(R"([{"seqStatus":0.0}])"), AnswerWithData(R"([{"seqStatus":false}])"),
             AnswerWithData(R"([{"seqStatus":2147483648}])"), "[]"}) {
    SCOPED_TRACE(text);
    EXPECT_THROW(ParseAuthorize(text), std::logic_error);
  }
}

TEST_F(AuthorizeAnswer, LeavesSeqStatusInTheRecordBeforeAFaultyStatus) {
  test::Parsed<ST_AUTH_ACK> parsed;

  EXPECT_THROW(
      test::ParseInto(parsed.ack, R"({"status":"0","message":"ok","data":[{"seqStatus":0}]})"),
      std::logic_error);

  EXPECT_EQ(parsed.ack.seqStatus, 0);
  EXPECT_EQ(parsed.ack.status, test::kUntouchedNumber);
}

}  // namespace
