// What the answer parsers throw.
#include "service/parseguard.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "support/gateway.h"
#include "support/logs.h"

using namespace testing;

namespace {

class ParseGuard : public test::GatewayTest {};

TEST_F(ParseGuard, ReturnsTrueForAParserThatReturnsZero) {
  EXPECT_TRUE(ParseGuarded("{}", [] { return 0; }));
  EXPECT_FALSE(ParseGuarded("{}", [] { return -1; }));
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(ParseGuard, CatchesWhatTheParserThrowsAndShowsTheAnswer) {
  EXPECT_FALSE(ParseGuarded(R"({"status":"%n"})", []() -> int { throw std::logic_error("why"); }));
  EXPECT_THAT(
      test::TextLog(),
      ElementsAre(test::LogRecord{
          "WARN", "answer with a member missing or of the wrong type (why):{\"status\":\"%n\"}"}));
}

}  // namespace
