// The cloud's answer to the login.
#include <gmock/gmock.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "parsememory/parsememory.h"
#include "support/gateway.h"
#include "support/logs.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

namespace {

constexpr char kUntouched = '#';
constexpr std::int32_t kUntouchedNumber = 0x23232323;  // four of them
constexpr char kException[] = "rapidjson exception";

ST_AUTH_ACK UntouchedAck() {
  ST_AUTH_ACK ack;
  std::memset(&ack, kUntouched, sizeof(ack));
  return ack;
}

// The outcome of one call on a record that was filled with '#'.
struct Parsed {
  int result = 0;
  ST_AUTH_ACK ack = UntouchedAck();
};

Parsed Parse(const std::string& text) {
  Parsed parsed;
  parsed.result = GetCParseMemoryInstance().ParseAuthorizeInfoFromMemory(
      text.c_str(), static_cast<int>(text.size()), &parsed.ack);
  return parsed;
}

std::string AnswerWithData(const std::string& data) {
  return R"({"status":0,"message":"ok","data":)" + data + "}";
}

class AuthorizeAnswer : public test::GatewayTest {};

TEST_F(AuthorizeAnswer, GivesSeqStatusStatusAndMessage) {
  const Parsed parsed = Parse(R"({"status":2,"message":"ok","data":[{"seqStatus":-7}]})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.seqStatus, -7);
  EXPECT_EQ(parsed.ack.status, 2);
  EXPECT_STREQ(parsed.ack.message, "ok");
}

TEST_F(AuthorizeAnswer, IsNotReported) {
  Parse(AnswerWithData(R"([{"seqStatus":0}])"));

  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(AuthorizeAnswer, TakesTheSeqStatusOfTheLastOfTwoElements) {
  const Parsed granted = Parse(AnswerWithData(R"([{"seqStatus":1},{"seqStatus":0}])"));
  const Parsed refused = Parse(AnswerWithData(R"([{"seqStatus":0},{"seqStatus":1}])"));

  EXPECT_EQ(granted.ack.seqStatus, 0);
  EXPECT_EQ(refused.ack.seqStatus, 1);
}

TEST_F(AuthorizeAnswer, LeavesSeqStatusAloneWhenItsDataIsEmpty) {
  const Parsed parsed = Parse(AnswerWithData("[]"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.seqStatus, kUntouchedNumber);
  EXPECT_EQ(parsed.ack.status, 0);
  EXPECT_STREQ(parsed.ack.message, "ok");
}

TEST_F(AuthorizeAnswer, CutsItsMessageAt127Characters) {
  const Parsed parsed =
      Parse(R"({"status":0,"data":[],"message":")" + std::string(128, 'a') + R"("})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.message, std::string(127, 'a'));
}

struct Text {
  const char* name;
  std::string text;
};

std::string NameOf(const ::testing::TestParamInfo<Text>& test) {
  return test.param.name;
}

class IncompleteAuthorizeAnswer : public AuthorizeAnswer,
                                  public ::testing::WithParamInterface<Text> {};

TEST_P(IncompleteAuthorizeAnswer, IsReportedWholeAndLeavesTheRecordAlone) {
  const Parsed parsed = Parse(GetParam().text);

  const ST_AUTH_ACK untouched = UntouchedAck();
  EXPECT_EQ(parsed.result, -1);
  EXPECT_EQ(std::memcmp(&parsed.ack, &untouched, sizeof(untouched)), 0);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(test::LogRecord{
                  "WARN", "Authorize recv:" + GetParam().text + " ,missing Member"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, IncompleteAuthorizeAnswer,
    ::testing::Values(Text{"WithoutData", R"({"status":0,"message":"ok"})"},
                      Text{"WithoutStatus", R"({"message":"ok","data":[{"seqStatus":0}]})"},
                      Text{"WithoutMessage", R"({"status":0,"data":[{"seqStatus":0}]})"},
                      Text{"WithoutAny", "{}"},
                      Text{"WithFormatsInside", R"({"seqStatus":"%s%n%d"})"}),
    NameOf);

TEST_F(AuthorizeAnswer, ReportsAnElementWithoutSeqStatus) {
  const Parsed parsed = Parse(AnswerWithData(R"([{"status":0}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(test::LogRecord{"WARN", "Authorize missing seqStatus Member"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(AuthorizeAnswer, LeavesInTheRecordWhatStoodBeforeAnElementWithoutSeqStatus) {
  const Parsed parsed = Parse(AnswerWithData(R"([{"seqStatus":4},{},{"seqStatus":5}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_EQ(parsed.ack.seqStatus, 4);
  EXPECT_EQ(parsed.ack.status, kUntouchedNumber);
  EXPECT_THAT(parsed.ack.message, Each(kUntouched));
}

class WronglyTypedAuthorizeAnswer : public AuthorizeAnswer,
                                    public ::testing::WithParamInterface<Text> {};

TEST_P(WronglyTypedAuthorizeAnswer, Throws) {
  EXPECT_THAT([] { Parse(GetParam().text); }, ThrowsMessage<std::logic_error>(kException));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, WronglyTypedAuthorizeAnswer,
    ::testing::Values(
        Text{"DataObject", AnswerWithData(R"({"seqStatus":0})")},
        Text{"DataText", AnswerWithData(R"("0")")}, Text{"DataNumber", AnswerWithData("0")},
        Text{"DataNull", AnswerWithData("null")}, Text{"ElementNumber", AnswerWithData("[0]")},
        Text{"ElementNull", AnswerWithData("[null]")}, Text{"ElementArray", AnswerWithData("[[]]")},
        Text{"SeqStatusText", AnswerWithData(R"([{"seqStatus":"0"}])")},
        Text{"SeqStatusFraction", AnswerWithData(R"([{"seqStatus":0.0}])")},
        Text{"SeqStatusFalse", AnswerWithData(R"([{"seqStatus":false}])")},
        Text{"SeqStatusNull", AnswerWithData(R"([{"seqStatus":null}])")},
        Text{"SeqStatusAbove32Bits", AnswerWithData(R"([{"seqStatus":2147483648}])")},
        Text{"StatusText", R"({"status":"0","message":"ok","data":[]})"},
        Text{"StatusNull", R"({"status":null,"message":"ok","data":[]})"},
        Text{"MessageNumber", R"({"status":0,"message":1,"data":[]})"},
        Text{"MessageNull", R"({"status":0,"message":null,"data":[]})"}, Text{"RootArray", "[]"},
        Text{"RootText", R"("seqStatus")"}),
    NameOf);

TEST_F(AuthorizeAnswer, LeavesSeqStatusInTheRecordWhenTheStatusIsOfTheWrongType) {
  ST_AUTH_ACK ack = UntouchedAck();
  const std::string text = R"({"status":"0","message":"ok","data":[{"seqStatus":0}]})";

  EXPECT_THROW(GetCParseMemoryInstance().ParseAuthorizeInfoFromMemory(text.c_str(), 0, &ack),
               std::logic_error);

  EXPECT_EQ(ack.seqStatus, 0);
  EXPECT_EQ(ack.status, kUntouchedNumber);
}

}  // namespace
