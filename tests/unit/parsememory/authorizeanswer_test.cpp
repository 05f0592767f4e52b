// The cloud's answer to the login.
#include <gmock/gmock.h>

#include <stdexcept>
#include <string>

#include "answertest.h"

using test::Answer;
using test::AnswerWithData;
using test::LogRecord;
using test::ParseAuthorize;
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

class IncompleteAuthorizeAnswer : public AuthorizeAnswer,
                                  public ::testing::WithParamInterface<Answer> {};

TEST_P(IncompleteAuthorizeAnswer, IsLoggedWholeAndLeavesTheRecordAlone) {
  const auto parsed = ParseAuthorize(GetParam().text);

  EXPECT_EQ(parsed.result, -1);
  EXPECT_TRUE(parsed.IsUntouched());
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "Authorize recv:" + GetParam().text +
                                                                 " ,missing Member"}));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, IncompleteAuthorizeAnswer,
    ::testing::Values(Answer{"WithoutData", R"({"status":0,"message":"%s%n%d"})"},
                      Answer{"WithoutStatus", R"({"message":"ok","data":[{"seqStatus":0}]})"},
                      Answer{"WithoutMessage", R"({"status":0,"data":[{"seqStatus":0}]})"}),
    test::NameOf);

TEST_F(AuthorizeAnswer, LogsAnElementWithoutSeqStatusAndKeepsTheOneBefore) {
  const auto parsed = ParseAuthorize(AnswerWithData(R"([{"seqStatus":4},{},{"seqStatus":5}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_EQ(parsed.ack.seqStatus, 4);
  EXPECT_EQ(parsed.ack.status, test::kUntouchedNumber);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN", "Authorize missing seqStatus Member"}));
}

class WronglyTypedAuthorizeAnswer : public AuthorizeAnswer,
                                    public ::testing::WithParamInterface<Answer> {};

TEST_P(WronglyTypedAuthorizeAnswer, Throws) {
  EXPECT_THAT([] { ParseAuthorize(GetParam().text); },
              ::testing::ThrowsMessage<std::logic_error>(test::kException));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, WronglyTypedAuthorizeAnswer,
    ::testing::Values(Answer{"DataObject", AnswerWithData(R"({"seqStatus":0})")},
                      Answer{"DataNull", AnswerWithData("null")},
                      Answer{"ElementNumber", AnswerWithData("[0]")},
                      Answer{"ElementArray", AnswerWithData("[[]]")},
                      Answer{"SeqStatusText", AnswerWithData(R"([{"seqStatus":"0"}])")},
                      Answer{"SeqStatusFraction", AnswerWithData(R"([{"seqStatus":0.0}])")},
                      Answer{"SeqStatusFalse", AnswerWithData(R"([{"seqStatus":false}])")},
                      Answer{"SeqStatusAbove32Bits",
                             AnswerWithData(R"([{"seqStatus":2147483648}])")},
                      Answer{"RootArray", "[]"}),
    test::NameOf);

TEST_F(AuthorizeAnswer, LeavesSeqStatusInTheRecordBeforeAFaultyStatus) {
  test::Parsed<ST_AUTH_ACK> parsed;

  EXPECT_THROW(test::ParseAuthorizeInto(
                   parsed.ack, R"({"status":"0","message":"ok","data":[{"seqStatus":0}]})"),
               std::logic_error);

  EXPECT_EQ(parsed.ack.seqStatus, 0);
  EXPECT_EQ(parsed.ack.status, test::kUntouchedNumber);
}

}  // namespace
