// What stands between libcurl's bytes and the answer parsers.
#include "service/answerguard.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <stdexcept>

#include "support/gateway.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using namespace std::string_literals;

TEST(ReceivedAnswer, IsATerminatedCopyOfExactlyTheBytes) {
  const std::array<char, 6> bytes = {'{', '}', 'x', 'x', 'x', 'x'};

  EXPECT_EQ(ReceivedText(bytes.data(), 1, 2), "{}");
}

TEST(ReceivedAnswer, IsAsLongAsSizeTimesCount) {
  EXPECT_EQ(ReceivedText("123456789", 2, 3), "123456");
  EXPECT_EQ(ReceivedText("123456789", 3, 2), "123456");
}

TEST(ReceivedAnswer, KeepsAZeroInIt) {
  EXPECT_EQ(ReceivedText("a\0b", 1, 3), "a\0b"s);
}

TEST(ReceivedAnswer, MayBeEmpty) {
  EXPECT_EQ(ReceivedText("x", 1, 0), "");
  EXPECT_EQ(ReceivedText(nullptr, 0, 0), "");
}

class AnswerGuard : public test::GatewayTest {};

TEST_F(AnswerGuard, HandsTheParsersResultOn) {
  EXPECT_EQ(ParseGuarded("{}", [] { return 0; }), 0);
  EXPECT_EQ(ParseGuarded("{}", [] { return -1; }), -1);
  EXPECT_EQ(ParseGuarded("{}", [] { return 5; }), 5);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(AnswerGuard, StopsWhatTheParserThrowsAndTellsTheAnswer) {
  const int result = ParseGuarded(R"({"status":"x"})",
                                  []() -> int { throw std::logic_error("rapidjson exception"); });

  EXPECT_EQ(result, -1);
  EXPECT_THAT(test::TextLog(), ElementsAre(test::LogRecord{
                                   "WARN",
                                   "answer with a member missing or of the wrong type (rapidjson "
                                   "exception):{\"status\":\"x\"}"}));
}

TEST_F(AnswerGuard, TellsAnAnswerWithPercentSignsAsItIs) {
  ParseGuarded("%s%n%d", []() -> int { throw std::logic_error("rapidjson exception"); });

  EXPECT_THAT(
      test::TextLog("WARN"),
      ElementsAre(
          "answer with a member missing or of the wrong type (rapidjson exception):%s%n%d"));
}

TEST(SuccessFlag, NeedNotBeAligned) {
  std::array<char, 8> bytes{};
  bytes.fill('#');

  SetSuccessFlag(&bytes[1], 1);

  std::int32_t flag = 0;
  std::memcpy(&flag, &bytes[1], sizeof(flag));
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(bytes[0], '#');
  EXPECT_EQ(bytes[5], '#');
}

TEST(Verdict, IsZeroOrMinusOneInLibcurlsShape) {
  EXPECT_EQ(kVerdictAccepted, 0U);
  EXPECT_EQ(kVerdictRejected, static_cast<std::size_t>(-1));
}

}  // namespace
