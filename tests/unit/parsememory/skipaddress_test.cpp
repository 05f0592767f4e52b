// The cloud's answer to the address check.
#include <gmock/gmock.h>

#include <cstring>
#include <ostream>
#include <stdexcept>
#include <string>

#include "config/sysset.h"
#include "parsememory/parsememory.h"
#include "support/gateway.h"
#include "support/logs.h"

using test::LogRecord;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

namespace {

constexpr char kUntouched = '#';
constexpr std::int32_t kUntouchedNumber = 0x23232323;  // four of them
constexpr char kConfigured[] = "10.0.0.1";             // the address in use before each answer
constexpr char kException[] = "rapidjson exception";

ST_SKIP_ADDRESS_ACK UntouchedAck() {
  ST_SKIP_ADDRESS_ACK ack;
  std::memset(&ack, kUntouched, sizeof(ack));
  return ack;
}

bool IsUntouched(const ST_SKIP_ADDRESS_ACK& ack) {
  const ST_SKIP_ADDRESS_ACK untouched = UntouchedAck();
  return std::memcmp(&ack, &untouched, sizeof(ack)) == 0;
}

std::string AddressInUse() {
  return GetCSysSetInstance().GetRealIpAddress();
}

int ParseInto(ST_SKIP_ADDRESS_ACK& ack, const std::string& text) {
  return GetCParseMemoryInstance().ParseSkipAddressFromMemory(text.c_str(),
                                                              static_cast<int>(text.size()), &ack);
}

// The outcome of one call on a record that was filled with '#'.
struct Parsed {
  int result = 0;
  ST_SKIP_ADDRESS_ACK ack = UntouchedAck();
};

Parsed Parse(const std::string& text) {
  Parsed parsed;
  parsed.result = ParseInto(parsed.ack, text);
  return parsed;
}

std::string AnswerWithData(const std::string& data) {
  return R"({"status":0,"message":"ok","data":)" + data + "}";
}

std::string AnswerWithAddress(const std::string& address) {
  return AnswerWithData(R"([{"realIpAddress":")" + address + R"("}])");
}

class SkipAddressAnswer : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    GetCSysSetInstance().SetRealIPAddress(kConfigured);
    test::DiscardLogs();
  }
};

TEST_F(SkipAddressAnswer, GivesAddressStatusAndMessage) {
  const Parsed parsed =
      Parse(R"({"status":2,"message":"moved","data":[{"realIpAddress":"192.0.2.7:8080"}]})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.7");
  EXPECT_EQ(parsed.ack.status, 2);
  EXPECT_STREQ(parsed.ack.message, "moved");
}

TEST_F(SkipAddressAnswer, ReportsNothingButTheNewAddress) {
  Parse(AnswerWithAddress("192.0.2.7:8080"));

  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"INFO", "real IP has become 192.0.2.7"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

struct Redirect {
  const char* name;
  std::string json;     // between the quotation marks
  std::string address;  // in use afterwards
};

void PrintTo(const Redirect& redirect, std::ostream* out) {
  *out << redirect.name;
}

class RedirectedAddress : public SkipAddressAnswer,
                          public ::testing::WithParamInterface<Redirect> {};

TEST_P(RedirectedAddress, IsWhatStandsBeforeTheColonOfAtMost63Characters) {
  const Parsed parsed = Parse(AnswerWithAddress(GetParam().json));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.ack.realIpAddress, GetParam().address);
  EXPECT_EQ(AddressInUse(), GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, RedirectedAddress,
    ::testing::Values(
        Redirect{"WithPort", "192.0.2.7:8080", "192.0.2.7"},
        Redirect{"WithoutPort", "192.0.2.7", "192.0.2.7"},
        Redirect{"Name", "cloud.example:80", "cloud.example"},
        Redirect{"WithoutNumberOfAPort", "192.0.2.7:", "192.0.2.7"},
        Redirect{"TwoColons", "192.0.2.7:8080:9090", "192.0.2.7"},
        Redirect{"Brackets", "[::1]:80", "["}, Redirect{"Blanks", " 192.0.2.7 :1", " 192.0.2.7 "},
        Redirect{"Formats", "%s%n:80", "%s%n"},
        Redirect{"TerminatorInside", R"(192.0.2.7\u0000.8:80)", "192.0.2.7"},
        Redirect{"Of63Characters", std::string(63, 'a') + ":80", std::string(63, 'a')},
        Redirect{"Of64Characters", std::string(64, 'a') + ":80", std::string(63, 'a')},
        Redirect{"OfAMillionCharacters", std::string(1000000, 'a'), std::string(63, 'a')}),
    [](const auto& test) { return test.param.name; });

class NoAddress : public SkipAddressAnswer, public ::testing::WithParamInterface<Redirect> {};

TEST_P(NoAddress, ChangesNothing) {
  const Parsed parsed = Parse(AnswerWithAddress(GetParam().json));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_THAT(parsed.ack.realIpAddress, Each(kUntouched));
  EXPECT_EQ(parsed.ack.status, 0);
  EXPECT_EQ(AddressInUse(), kConfigured);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Addresses, NoAddress,
                         ::testing::Values(Redirect{"Empty", "", ""},
                                           Redirect{"OnlyAPort", ":8080", ""},
                                           Redirect{"OnlyAColon", ":", ""},
                                           Redirect{"Terminator", R"(\u0000192.0.2.7)", ""}),
                         [](const auto& test) { return test.param.name; });

TEST_F(SkipAddressAnswer, WithoutElementsChangesNoAddress) {
  const Parsed parsed = Parse(AnswerWithData("[]"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_THAT(parsed.ack.realIpAddress, Each(kUntouched));
  EXPECT_STREQ(parsed.ack.message, "ok");
  EXPECT_EQ(AddressInUse(), kConfigured);
}

TEST_F(SkipAddressAnswer, OfSeveralElementsFollowsEachAndEndsAtTheLast) {
  const Parsed parsed =
      Parse(AnswerWithData(R"([{"realIpAddress":"192.0.2.7:1"},{"realIpAddress":"192.0.2.8:2"}])"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.8");
  EXPECT_EQ(AddressInUse(), "192.0.2.8");
  EXPECT_THAT(test::TextLog("INFO"),
              ElementsAre("real IP has become 192.0.2.7", "real IP has become 192.0.2.8"));
}

TEST_F(SkipAddressAnswer, KeepsTheAddressBeforeAnEmptyOne) {
  const Parsed parsed =
      Parse(AnswerWithData(R"([{"realIpAddress":"192.0.2.7:1"},{"realIpAddress":""}])"));

  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.7");
  EXPECT_EQ(AddressInUse(), "192.0.2.7");
}

TEST_F(SkipAddressAnswer, RedirectsWhateverItsStatus) {
  Parse(R"({"status":-1,"message":"","data":[{"realIpAddress":"192.0.2.7"}]})");

  EXPECT_EQ(AddressInUse(), "192.0.2.7");
}

TEST_F(SkipAddressAnswer, CutsItsMessageAt127Characters) {
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

class IncompleteSkipAddressAnswer : public SkipAddressAnswer,
                                    public ::testing::WithParamInterface<Text> {};

TEST_P(IncompleteSkipAddressAnswer, IsReportedWholeAndLeavesRecordAndAddressAlone) {
  const Parsed parsed = Parse(GetParam().text);

  EXPECT_EQ(parsed.result, -1);
  EXPECT_TRUE(IsUntouched(parsed.ack));
  EXPECT_EQ(AddressInUse(), kConfigured);
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "SkipAddress recv:" + GetParam().text +
                                                                 " ,missing Member"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, IncompleteSkipAddressAnswer,
    ::testing::Values(
        Text{"WithoutData", R"({"status":0,"message":"ok"})"},
        Text{"WithoutStatus", R"({"message":"ok","data":[{"realIpAddress":"192.0.2.7"}]})"},
        Text{"WithoutMessage", R"({"status":0,"data":[{"realIpAddress":"192.0.2.7"}]})"},
        Text{"WithoutAny", "{}"}, Text{"WithFormatsInside", R"({"status":"%s%n%d"})"}),
    NameOf);

TEST_F(SkipAddressAnswer, ReportsAnElementWithoutAnAddress) {
  const Parsed parsed = Parse(AnswerWithData(R"([{"address":"192.0.2.7"}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_TRUE(IsUntouched(parsed.ack));
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN", "SkipAddress missing realIpAddress Member"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(SkipAddressAnswer, HasFollowedTheElementsBeforeOneWithoutAnAddress) {
  const Parsed parsed = Parse(
      AnswerWithData(R"([{"realIpAddress":"192.0.2.7:1"},{},{"realIpAddress":"192.0.2.9:1"}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.7");
  EXPECT_EQ(parsed.ack.status, kUntouchedNumber);
  EXPECT_THAT(parsed.ack.message, Each(kUntouched));
  EXPECT_EQ(AddressInUse(), "192.0.2.7");
}

class WronglyTypedSkipAddressAnswer : public SkipAddressAnswer,
                                      public ::testing::WithParamInterface<Text> {};

TEST_P(WronglyTypedSkipAddressAnswer, Throws) {
  EXPECT_THAT([] { Parse(GetParam().text); }, ThrowsMessage<std::logic_error>(kException));

  EXPECT_EQ(AddressInUse(), kConfigured);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, WronglyTypedSkipAddressAnswer,
    ::testing::Values(Text{"DataObject", AnswerWithData(R"({"realIpAddress":"192.0.2.7"})")},
                      Text{"DataText", AnswerWithData(R"("192.0.2.7")")},
                      Text{"DataNull", AnswerWithData("null")},
                      Text{"ElementText", AnswerWithData(R"(["192.0.2.7"])")},
                      Text{"ElementNull", AnswerWithData("[null]")},
                      Text{"ElementArray", AnswerWithData("[[]]")},
                      Text{"AddressNumber", AnswerWithData(R"([{"realIpAddress":192}])")},
                      Text{"AddressNull", AnswerWithData(R"([{"realIpAddress":null}])")},
                      Text{"AddressArray", AnswerWithData(R"([{"realIpAddress":["192.0.2.7"]}])")},
                      Text{"StatusText", R"({"status":"0","message":"ok","data":[]})"},
                      Text{"StatusAbove32Bits",
                           R"({"status":2147483648,"message":"ok","data":[]})"},
                      Text{"MessageNull", R"({"status":0,"message":null,"data":[]})"},
                      Text{"RootArray", "[]"}, Text{"RootText", R"("realIpAddress")"}),
    NameOf);

TEST_F(SkipAddressAnswer, HasFollowedTheElementsBeforeOneOfTheWrongType) {
  ST_SKIP_ADDRESS_ACK ack = UntouchedAck();

  EXPECT_THROW(
      ParseInto(ack, AnswerWithData(R"([{"realIpAddress":"192.0.2.7"},{"realIpAddress":8}])")),
      std::logic_error);

  EXPECT_STREQ(ack.realIpAddress, "192.0.2.7");
  EXPECT_EQ(AddressInUse(), "192.0.2.7");
}

TEST_F(SkipAddressAnswer, HasBeenFollowedBeforeItsStatusIsReadAndItsStatusBeforeItsMessage) {
  ST_SKIP_ADDRESS_ACK ack = UntouchedAck();
  const std::string data = R"("data":[{"realIpAddress":"192.0.2.7"}]})";

  EXPECT_THROW(ParseInto(ack, R"({"status":"0","message":"ok",)" + data), std::logic_error);
  EXPECT_EQ(AddressInUse(), "192.0.2.7");
  EXPECT_EQ(ack.status, kUntouchedNumber);

  EXPECT_THROW(ParseInto(ack, R"({"status":5,"message":6,)" + data), std::logic_error);
  EXPECT_EQ(ack.status, 5);
  EXPECT_THAT(ack.message, Each(kUntouched));
}

}  // namespace
