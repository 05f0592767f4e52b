// The cloud's answers to an upload and to the login; and "status" and "message", which every answer
// carries.
#include <gmock/gmock.h>

#include <stdexcept>
#include <string>

#include "answertest.h"

namespace {

using namespace test;
using namespace testing;

class UploadAnswer : public GatewayTest {};

TEST_F(UploadAnswer, GivesStatusAndMessageInAnyOrderAmongOthers) {
  const auto parsed =
      ParseUpload(R"({"data":[{"status":7}],"message":"m","time":1.5,"status":-3})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.status, -3);
  EXPECT_STREQ(parsed.ack.message, "m");
  EXPECT_THAT(parsed.ack.reserved, Each(kUntouched));
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(UploadAnswer, CutsItsMessageAtATerminatorOr127Characters) {
  struct Row {
    std::string json;  // between the quotation marks
    std::string kept;
  };
  for (const auto& [json, kept] : {Row{"", ""}, Row{std::string(127, 'a'), std::string(127, 'a')},
                                   Row{std::string(128, 'a'), std::string(127, 'a')},
                                   Row{R"(成功\"b\\c\/d\n\u6210)", "成功\"b\\c/d\n成"},
                                   Row{R"(ab\u0000cd)", "ab"}, Row{"a\xff\xfe", "a\xff\xfe"}}) {
    EXPECT_EQ(ParseUpload(R"({"status":0,"message":")" + json + R"("})").ack.message, kept);
  }
}

TEST_F(UploadAnswer, FailsSilentlyWithoutAMemberAndLeavesTheRecordAlone) {
  for (const auto& text : Texts{R"({"status":0,"Message":"m"})", R"({"message":"accepted"})"}) {
    SCOPED_TRACE(text);
    const auto parsed = ParseUpload(text);

    EXPECT_EQ(parsed.result, -1);
    EXPECT_TRUE(parsed.IsUntouched());
  }
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(UploadAnswer, ThrowsAtAWrongType) {
  for (const auto& text :
       Texts{R"({"status":"0","message":"m"})", R"({"status":0.0,"message":"m"})",
             R"({"status":null,"message":"m"})", R"({"status":2147483648,"message":"m"})",
             R"({"status":-2147483649,"message":"m"})",
             R"({"message":"m","status":0.)" + std::string(700, '0') + "1e-2147483000}",
             R"({"status":0,"message":1})", R"([{"status":0,"message":"m"}])"}) {
    EXPECT_THROW(ParseUpload(text), std::logic_error) << text;
  }
}

TEST_F(UploadAnswer, LeavesTheStatusInTheRecordBeforeAFaultyMessage) {
  ST_UPLOAD_FILE_ACK ack{};

  EXPECT_THROW(
      GetCParseMemoryInstance().ParseUploadFileFromMemory(R"({"status":5,"message":1})", 0, &ack),
      std::logic_error);

  EXPECT_EQ(ack.status, 5);
}

class AuthorizeAnswer : public GatewayTest {};

TEST_F(AuthorizeAnswer, GivesItsLastSeqStatusStatusAndMessage) {
  const auto parsed =
      ParseAuthorize(R"({"status":2,"message":"ok","data":[{"seqStatus":0},{"seqStatus":-7}]})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.seqStatus, -7);
  EXPECT_EQ(parsed.ack.status, 2);
  EXPECT_STREQ(parsed.ack.message, "ok");
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(AuthorizeAnswer, LeavesSeqStatusAloneWhenItsDataIsEmpty) {
  const auto parsed = ParseAuthorize(AnswerWithData("[]"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.seqStatus, kUntouchedNumber);
}

TEST_F(AuthorizeAnswer, LogsAnElementWithoutSeqStatusAndKeepsTheOneBefore) {
  const auto parsed = ParseAuthorize(AnswerWithData(R"([{"seqStatus":4},{},{"seqStatus":5}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_EQ(parsed.ack.seqStatus, 4);
  EXPECT_EQ(parsed.ack.status, kUntouchedNumber);
  EXPECT_THAT(TextLog("WARN"), ElementsAre("Authorize missing seqStatus Member"));
}

TEST_F(AuthorizeAnswer, ThrowsAtAWrongType) {
  for (const auto* data : {R"({"seqStatus":0})", "[0]", R"([{"seqStatus":"0"}])",
                           R"([{"seqStatus":0.0}])", R"([{"seqStatus":2147483648}])"}) {
    EXPECT_THROW(ParseAuthorize(AnswerWithData(data)), std::logic_error) << data;
  }
}

}  // namespace
