// The cloud's answer to an upload; and "status" and "message", which every answer carries.
#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "answertest.h"

using test::ParseUpload;
using test::Texts;
using ::testing::Each;
using ::testing::IsEmpty;

namespace {

class UploadAnswer : public test::AnswerTest {};

TEST_F(UploadAnswer, GivesStatusAndMessageInAnyOrderAmongOthers) {
  const auto parsed = ParseUpload(R"({"data":[{"status":7}],"message":"m","time":1.5,"status":3})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.status, 3);
  EXPECT_STREQ(parsed.ack.message, "m");
  EXPECT_THAT(parsed.ack.reserved, Each(test::kUntouched));
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(UploadAnswer, GivesEveryStatusOf32Bits) {
  constexpr auto kGreatest = std::numeric_limits<std::int32_t>::max();
  for (const std::int32_t status : {0, -1, kGreatest, -kGreatest - 1}) {
    EXPECT_EQ(ParseUpload(R"({"message":"","status":)" + std::to_string(status) + "}").ack.status,
              status);
  }
}

TEST_F(UploadAnswer, CutsItsMessageAtATerminatorOr127Characters) {
  struct Row {
    std::string json;  // between the quotation marks
    std::string kept;
  };
  for (const auto& [json, kept] : {Row{"", ""}, Row{std::string(127, 'a'), std::string(127, 'a')},
                                   Row{std::string(128, 'a'), std::string(127, 'a')},
                                   Row{std::string(1000000, 'a'), std::string(127, 'a')},
                                   Row{R"(成功\"b\\c\/d\n\u6210)", "成功\"b\\c/d\n成"},
                                   Row{R"(ab\u0000cd)", "ab"}, Row{"a\xff\xfe", "a\xff\xfe"}}) {
    EXPECT_EQ(ParseUpload(R"({"status":0,"message":")" + json + R"("})").ack.message, kept);
  }
}

TEST_F(UploadAnswer, FailsSilentlyWithoutAMemberAndLeavesTheRecordAlone) {
  for (const auto& text :
       Texts{R"({"status":0})", R"({"message":"accepted"})", R"({"Status":0,"Message":"accepted"})",
             R"({"data":{"status":0,"message":"m"}})"}) {
    SCOPED_TRACE(text);
    const auto parsed = ParseUpload(text);

    EXPECT_EQ(parsed.result, -1);
    EXPECT_TRUE(parsed.IsUntouched());
  }
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(UploadAnswer, ThrowsAtAWrongType) {
  for (const auto& text :
       Texts{R"({"status":"0","message":"m"})", R"({"status":0.0,"message":"m"})",
             R"({"status":true,"message":"m"})", R"({"status":null,"message":"m"})",
             R"({"status":[0],"message":"m"})", R"({"status":2147483648,"message":"m"})",
             R"({"status":-2147483649,"message":"m"})",
             R"({"status":18446744073709551616,"message":"m"})",
             R"({"message":"m","status":0.)" + std::string(700, '0') + "1e-2147483000}",
             R"({"status":0,"message":1})", R"({"status":0,"message":null})",
             R"({"status":0,"message":{}})", R"([{"status":0,"message":"m"}])", R"("status")",
             "null"}) {
    SCOPED_TRACE(text);
    EXPECT_THROW(ParseUpload(text), std::logic_error);
  }
}

TEST_F(UploadAnswer, LeavesTheStatusInTheRecordBeforeAFaultyMessage) {
  test::Parsed<ST_UPLOAD_FILE_ACK> parsed;

  EXPECT_THROW(test::ParseInto(parsed.ack, R"({"status":5,"message":1})"), std::logic_error);

  EXPECT_EQ(parsed.ack.status, 5);
  EXPECT_THAT(parsed.ack.message, Each(test::kUntouched));
}

}  // namespace
