// The cloud's answer to the login.
#include <gmock/gmock.h>

#include <stdexcept>
#include <string>

#include "answertest.h"

using test::AnswerWithData;
using test::ParseAuthorize;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class AuthorizeAnswer : public test::GatewayTest {};

TEST_F(AuthorizeAnswer, GivesItsLastSeqStatusStatusAndMessage) {
  const auto parsed =
      ParseAuthorize(R"({"status":2,"message":"ok","data":[{"seqStatus":0},{"seqStatus":-7}]})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.seqStatus, -7);
  EXPECT_EQ(parsed.ack.status, 2);
  EXPECT_STREQ(parsed.ack.message, "ok");
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(AuthorizeAnswer, LeavesSeqStatusAloneWhenItsDataIsEmpty) {
  const auto parsed = ParseAuthorize(AnswerWithData("[]"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.seqStatus, test::kUntouchedNumber);
}

TEST_F(AuthorizeAnswer, LogsAnElementWithoutSeqStatusAndKeepsTheOneBefore) {
  const auto parsed = ParseAuthorize(AnswerWithData(R"([{"seqStatus":4},{},{"seqStatus":5}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_EQ(parsed.ack.seqStatus, 4);
  EXPECT_EQ(parsed.ack.status, test::kUntouchedNumber);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre("Authorize missing seqStatus Member"));
}

TEST_F(AuthorizeAnswer, ThrowsAtAWrongType) {
  for (const auto* data : {R"({"seqStatus":0})", "[0]", R"([{"seqStatus":"0"}])",
                           R"([{"seqStatus":0.0}])", R"([{"seqStatus":2147483648}])"}) {
    EXPECT_THROW(ParseAuthorize(AnswerWithData(data)), std::logic_error) << data;
  }
}

}  // namespace
