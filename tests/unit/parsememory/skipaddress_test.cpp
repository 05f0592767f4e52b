// The cloud's answer to the address check.
#include <gmock/gmock.h>

#include <ostream>
#include <stdexcept>
#include <string>

#include "answertest.h"
#include "config/sysset.h"

using test::Answer;
using test::AnswerWithData;
using test::LogRecord;
using test::ParseSkipAddress;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr char kConfigured[] = "10.0.0.1";  // the address in use before each answer

std::string AddressInUse() {
  return GetCSysSetInstance().GetRealIpAddress();
}

std::string AnswerWithAddress(const std::string& address) {
  return AnswerWithData(R"([{"realIpAddress":")" + address + R"("}])");
}

class SkipAddressAnswer : public test::AnswerTest {
 protected:
  void SetUp() override {
    AnswerTest::SetUp();
    GetCSysSetInstance().SetRealIPAddress(kConfigured);
    test::DiscardLogs();
  }
};

TEST_F(SkipAddressAnswer, GivesAddressStatusAndMessageWhateverItsStatus) {
  const auto parsed =
      ParseSkipAddress(R"({"status":2,"message":"moved","data":[{"realIpAddress":"192.0.2.7"}]})");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.7");
  EXPECT_EQ(parsed.ack.status, 2);
  EXPECT_STREQ(parsed.ack.message, "moved");
  EXPECT_EQ(AddressInUse(), "192.0.2.7");
}

struct Redirect {
  const char* name;
  std::string json;     // between the quotation marks
  std::string address;  // in use afterwards; none when it stays the configured one
};

void PrintTo(const Redirect& redirect, std::ostream* out) {
  *out << redirect.name;
}

class RedirectedAddress : public SkipAddressAnswer,
                          public ::testing::WithParamInterface<Redirect> {};

TEST_P(RedirectedAddress, IsWhatStandsBeforeTheColonOfAtMost63Characters) {
  const auto parsed = ParseSkipAddress(AnswerWithAddress(GetParam().json));

  const bool redirects = !GetParam().address.empty();
  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(AddressInUse(), redirects ? GetParam().address : kConfigured);
  if (redirects) {
    EXPECT_EQ(parsed.ack.realIpAddress, GetParam().address);
  } else {
    EXPECT_THAT(parsed.ack.realIpAddress, Each(test::kUntouched));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, RedirectedAddress,
    ::testing::Values(
        Redirect{"WithPort", "192.0.2.7:8080", "192.0.2.7"},
        Redirect{"Name", "cloud.example:80", "cloud.example"},
        Redirect{"WithoutNumberOfAPort", "192.0.2.7:", "192.0.2.7"},
        Redirect{"TwoColons", "192.0.2.7:8080:9090", "192.0.2.7"},
        Redirect{"Brackets", "[::1]:80", "["}, Redirect{"Blanks", " 192.0.2.7 :1", " 192.0.2.7 "},
        Redirect{"Formats", "%s%n:80", "%s%n"},
        Redirect{"TerminatorInside", R"(192.0.2.7\u0000.8:80)", "192.0.2.7"},
        Redirect{"Of63Characters", std::string(63, 'a') + ":80", std::string(63, 'a')},
        Redirect{"Of64Characters", std::string(64, 'a') + ":80", std::string(63, 'a')},
        Redirect{"OfAMillionCharacters", std::string(1000000, 'a'), std::string(63, 'a')},
        Redirect{"Empty", "", ""}, Redirect{"OnlyAPort", ":8080", ""},
        Redirect{"OnlyATerminator", R"(\u0000192.0.2.7)", ""}),
    [](const auto& test) { return test.param.name; });

TEST_F(SkipAddressAnswer, ChangesNoAddressWithoutElements) {
  const auto parsed = ParseSkipAddress(AnswerWithData("[]"));

  EXPECT_EQ(parsed.result, 0);
  EXPECT_STREQ(parsed.ack.message, "ok");
  EXPECT_EQ(AddressInUse(), kConfigured);
}

TEST_F(SkipAddressAnswer, FollowsEachElementAndEndsAtTheLastWithAnAddress) {
  const auto parsed = ParseSkipAddress(AnswerWithData(
      R"([{"realIpAddress":"192.0.2.7:1"},{"realIpAddress":"192.0.2.8"},{"realIpAddress":""}])"));

  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.8");
  EXPECT_EQ(AddressInUse(), "192.0.2.8");
  EXPECT_THAT(test::TextLog(), ::testing::SizeIs(2));  // one line for each new address
}

class IncompleteSkipAddressAnswer : public SkipAddressAnswer,
                                    public ::testing::WithParamInterface<Answer> {};

TEST_P(IncompleteSkipAddressAnswer, IsLoggedWholeAndLeavesRecordAndAddressAlone) {
  const auto parsed = ParseSkipAddress(GetParam().text);

  EXPECT_EQ(parsed.result, -1);
  EXPECT_TRUE(parsed.IsUntouched());
  EXPECT_EQ(AddressInUse(), kConfigured);
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "SkipAddress recv:" + GetParam().text +
                                                                 " ,missing Member"}));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, IncompleteSkipAddressAnswer,
    ::testing::Values(
        Answer{"WithoutData", R"({"status":0,"message":"%s%n%d"})"},
        Answer{"WithoutStatus", R"({"message":"ok","data":[{"realIpAddress":"192.0.2.7"}]})"},
        Answer{"WithoutMessage", R"({"status":0,"data":[{"realIpAddress":"192.0.2.7"}]})"}),
    test::NameOf);

TEST_F(SkipAddressAnswer, LogsAnElementWithoutAnAddressAfterFollowingTheOneBefore) {
  const auto parsed = ParseSkipAddress(
      AnswerWithData(R"([{"realIpAddress":"192.0.2.7:1"},{},{"realIpAddress":"192.0.2.9:1"}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.7");
  EXPECT_EQ(parsed.ack.status, test::kUntouchedNumber);
  EXPECT_EQ(AddressInUse(), "192.0.2.7");
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre("SkipAddress missing realIpAddress Member"));
}

class WronglyTypedSkipAddressAnswer : public SkipAddressAnswer,
                                      public ::testing::WithParamInterface<Answer> {};

TEST_P(WronglyTypedSkipAddressAnswer, Throws) {
  EXPECT_THAT([] { ParseSkipAddress(GetParam().text); },
              ::testing::ThrowsMessage<std::logic_error>(test::kException));

  EXPECT_EQ(AddressInUse(), kConfigured);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, WronglyTypedSkipAddressAnswer,
    ::testing::Values(Answer{"DataObject", AnswerWithData(R"({"realIpAddress":"192.0.2.7"})")},
                      Answer{"DataNull", AnswerWithData("null")},
                      Answer{"ElementText", AnswerWithData(R"(["192.0.2.7"])")},
                      Answer{"ElementArray", AnswerWithData("[[]]")},
                      Answer{"AddressNumber", AnswerWithData(R"([{"realIpAddress":192}])")},
                      Answer{"AddressNull", AnswerWithData(R"([{"realIpAddress":null}])")},
                      Answer{"RootArray", "[]"}),
    test::NameOf);

TEST_F(SkipAddressAnswer, FollowsTheRedirectBeforeItReadsTheStatus) {
  test::Parsed<ST_SKIP_ADDRESS_ACK> parsed;

  EXPECT_THROW(
      test::ParseSkipAddressInto(
          parsed.ack, R"({"status":"0","message":"ok","data":[{"realIpAddress":"192.0.2.7"}]})"),
      std::logic_error);

  EXPECT_EQ(AddressInUse(), "192.0.2.7");
  EXPECT_EQ(parsed.ack.status, test::kUntouchedNumber);
}

}  // namespace
