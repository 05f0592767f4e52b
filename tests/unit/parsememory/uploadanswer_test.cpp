// The cloud's answer to an upload.
#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "parsememory/parsememory.h"
#include "support/gateway.h"
#include "support/logs.h"

using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

namespace {

constexpr char kUntouched = '#';
constexpr char kException[] = "rapidjson exception";

ST_UPLOAD_FILE_ACK UntouchedAck() {
  ST_UPLOAD_FILE_ACK ack;
  std::memset(&ack, kUntouched, sizeof(ack));
  return ack;
}

bool IsUntouched(const ST_UPLOAD_FILE_ACK& ack) {
  const ST_UPLOAD_FILE_ACK untouched = UntouchedAck();
  return std::memcmp(&ack, &untouched, sizeof(ack)) == 0;
}

// The outcome of one call on a record that was filled with '#'.
struct Parsed {
  int result = 0;
  ST_UPLOAD_FILE_ACK ack = UntouchedAck();
};

Parsed Parse(const std::string& text) {
  Parsed parsed;
  parsed.result = GetCParseMemoryInstance().ParseUploadFileFromMemory(
      text.c_str(), static_cast<int>(text.size()), &parsed.ack);
  return parsed;
}

class UploadAnswer : public test::GatewayTest {};

TEST_F(UploadAnswer, GivesStatusAndMessage) {
  const Parsed parsed = Parse(R"({"status":0,"message":"accepted"})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.status, 0);
  EXPECT_STREQ(parsed.ack.message, "accepted");
}

TEST_F(UploadAnswer, LeavesTheFirstFieldAlone) {
  const Parsed parsed = Parse(R"({"status":0,"message":"accepted"})");

  EXPECT_THAT(parsed.ack.reserved, Each(kUntouched));
}

TEST_F(UploadAnswer, MayHoldItsMembersInAnyOrderAmongOthers) {
  const Parsed parsed = Parse(R"({"data":[{"status":7}],"message":"m","time":12.5,"status":3})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.status, 3);
  EXPECT_STREQ(parsed.ack.message, "m");
}

TEST_F(UploadAnswer, IsNotReported) {
  Parse(R"({"status":0,"message":"accepted"})");

  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

class UploadStatus : public UploadAnswer, public ::testing::WithParamInterface<std::int32_t> {};

TEST_P(UploadStatus, IsTakenOverWithItsSign) {
  const Parsed parsed = Parse(R"({"status":)" + std::to_string(GetParam()) + R"(,"message":""})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.status, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Statuses, UploadStatus,
                         ::testing::Values(0, 1, -1, 500, std::numeric_limits<std::int32_t>::max(),
                                           std::numeric_limits<std::int32_t>::min()));

struct Message {
  const char* name;
  std::string json;  // between the quotation marks
  std::string kept;
};

class UploadMessage : public UploadAnswer, public ::testing::WithParamInterface<Message> {};

TEST_P(UploadMessage, IsKeptUpToItsTerminatorAndCutAt127Characters) {
  const Parsed parsed = Parse(R"({"status":0,"message":")" + GetParam().json + R"("})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.message, GetParam().kept);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, UploadMessage,
    ::testing::Values(Message{"Empty", "", ""},
                      Message{"Of127", std::string(127, 'a'), std::string(127, 'a')},
                      Message{"Of128", std::string(128, 'a'), std::string(127, 'a')},
                      Message{"OfAMillion", std::string(1000000, 'a'), std::string(127, 'a')},
                      Message{"Chinese", "成功", "成功"},
                      Message{"Escaped", R"(a\"b\\c\/d\n\u6210)", "a\"b\\c/d\n成"},
                      Message{"WithATerminatorInside", R"(ab\u0000cd)", "ab"},
                      Message{"OfBytesThatAreNoText", "a\xff\xfe", "a\xff\xfe"}),
    [](const auto& test) { return test.param.name; });

struct Text {
  const char* name;
  std::string text;
};

std::string NameOf(const ::testing::TestParamInfo<Text>& test) {
  return test.param.name;
}

class IncompleteUploadAnswer : public UploadAnswer, public ::testing::WithParamInterface<Text> {};

TEST_P(IncompleteUploadAnswer, FailsSilentlyAndLeavesTheRecordAlone) {
  const Parsed parsed = Parse(GetParam().text);

  EXPECT_EQ(parsed.result, -1);
  EXPECT_TRUE(IsUntouched(parsed.ack));
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, IncompleteUploadAnswer,
    ::testing::Values(Text{"WithoutMessage", R"({"status":0})"},
                      Text{"WithoutStatus", R"({"message":"accepted"})"}, Text{"WithoutBoth", "{}"},
                      Text{"WithOtherCase", R"({"Status":0,"Message":"accepted"})"},
                      Text{"WithMembersOneLevelDown", R"({"data":{"status":0,"message":"m"}})"}),
    NameOf);

class WronglyTypedUploadAnswer : public UploadAnswer, public ::testing::WithParamInterface<Text> {};

TEST_P(WronglyTypedUploadAnswer, Throws) {
  EXPECT_THAT([] { Parse(GetParam().text); }, ThrowsMessage<std::logic_error>(kException));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, WronglyTypedUploadAnswer,
    ::testing::Values(Text{"StatusText", R"({"status":"0","message":"m"})"},
                      Text{"StatusFraction", R"({"status":0.0,"message":"m"})"},
                      Text{"StatusTrue", R"({"status":true,"message":"m"})"},
                      Text{"StatusNull", R"({"status":null,"message":"m"})"},
                      Text{"StatusArray", R"({"status":[0],"message":"m"})"},
                      Text{"StatusAbove32Bits", R"({"status":2147483648,"message":"m"})"},
                      Text{"StatusBelow32Bits", R"({"status":-2147483649,"message":"m"})"},
                      Text{"StatusAbove64Bits", R"({"status":18446744073709551616,"message":"m"})"},
                      Text{"StatusWithAnExponentBeyondAllBounds", R"({"message":"m","status":0.)" +
                                                                      std::string(700, '0') +
                                                                      "1e-2147483000}"},
                      Text{"MessageNumber", R"({"status":0,"message":1})"},
                      Text{"MessageNull", R"({"status":0,"message":null})"},
                      Text{"MessageObject", R"({"status":0,"message":{}})"},
                      Text{"RootArray", R"([{"status":0,"message":"m"}])"},
                      Text{"RootText", R"("status")"}, Text{"RootNumber", "0"},
                      Text{"RootNull", "null"}),
    NameOf);

TEST_F(UploadAnswer, LeavesTheStatusInTheRecordWhenTheMessageIsOfTheWrongType) {
  ST_UPLOAD_FILE_ACK ack = UntouchedAck();

  EXPECT_THROW(
      GetCParseMemoryInstance().ParseUploadFileFromMemory(R"({"status":5,"message":1})", 24, &ack),
      std::logic_error);

  EXPECT_EQ(ack.status, 5);
  EXPECT_THAT(ack.message, Each(kUntouched));
}

}  // namespace
