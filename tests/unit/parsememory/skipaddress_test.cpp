// The cloud's answer to the address check.
#include <gmock/gmock.h>

#include <stdexcept>
#include <string>

#include "answertest.h"
#include "config/sysset.h"

using namespace test;
using namespace testing;

namespace {

constexpr char kConfigured[] = "10.0.0.1";  // the address in use before each answer

std::string AddressInUse() {
  return GetCSysSetInstance().GetRealIpAddress();
}

std::string AnswerWithAddress(const std::string& address) {
  return AnswerWithData(R"([{"realIpAddress":")" + address + R"("}])");
}

class SkipAddressAnswer : public GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    GetCSysSetInstance().SetRealIPAddress(kConfigured);
    DiscardLogs();
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

TEST_F(SkipAddressAnswer, RedirectsToWhatStandsBeforeTheColonOfAtMost63Characters) {
  struct Row {
    std::string json;  // between the quotation marks
    std::string address;
  };
  for (const auto& [json, address] :
       {Row{"192.0.2.7:", "192.0.2.7"}, Row{"cloud.example:8080:9090", "cloud.example"},
        Row{"[::1]:80", "["}, Row{" 192.0.2.7 :1", " 192.0.2.7 "}, Row{"%s%n:80", "%s%n"},
        Row{R"(192.0.2.7\u0000.8:80)", "192.0.2.7"},
        Row{std::string(63, 'a') + ":80", std::string(63, 'a')},
        Row{std::string(64, 'b') + ":80", std::string(63, 'b')}}) {
    const auto parsed = ParseSkipAddress(AnswerWithAddress(json));

    EXPECT_EQ(parsed.result, 0) << address;
    EXPECT_EQ(parsed.ack.realIpAddress, address);
    EXPECT_EQ(AddressInUse(), address);
  }
}

TEST_F(SkipAddressAnswer, ChangesNothingWithoutAnAddress) {
  for (const auto* json : {"", ":8080", R"(\u0000192.0.2.7)"}) {
    const auto parsed = ParseSkipAddress(AnswerWithAddress(json));

    EXPECT_EQ(parsed.result, 0) << json;
    EXPECT_THAT(parsed.ack.realIpAddress, Each(kUntouched)) << json;
    EXPECT_EQ(AddressInUse(), kConfigured) << json;
  }
}

TEST_F(SkipAddressAnswer, FollowsEachElementAndEndsAtTheLastWithAnAddress) {
  const auto parsed = ParseSkipAddress(AnswerWithData(
      R"([{"realIpAddress":"192.0.2.7:1"},{"realIpAddress":"192.0.2.8"},{"realIpAddress":""}])"));

  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.8");
  EXPECT_EQ(AddressInUse(), "192.0.2.8");
  EXPECT_THAT(TextLog(), SizeIs(2));  // one line for each new address
}

TEST_F(SkipAddressAnswer, LogsAnElementWithoutAnAddressAfterFollowingTheOneBefore) {
  const auto parsed = ParseSkipAddress(
      AnswerWithData(R"([{"realIpAddress":"192.0.2.7:1"},{},{"realIpAddress":"192.0.2.9:1"}])"));

  EXPECT_EQ(parsed.result, -1);
  EXPECT_STREQ(parsed.ack.realIpAddress, "192.0.2.7");
  EXPECT_EQ(parsed.ack.status, kUntouchedNumber);
  EXPECT_EQ(AddressInUse(), "192.0.2.7");
  EXPECT_THAT(TextLog("WARN"), ElementsAre("SkipAddress missing realIpAddress Member"));
}

TEST_F(SkipAddressAnswer, ThrowsAtAWrongType) {
  for (const auto* data :
       {R"({"realIpAddress":"192.0.2.7"})", R"(["192.0.2.7"])", R"([{"realIpAddress":192}])"}) {
    EXPECT_THROW(ParseSkipAddress(AnswerWithData(data)), std::logic_error) << data;
  }
}

}  // namespace
