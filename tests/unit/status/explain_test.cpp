#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "judge/codes.h"
#include "main/commands.h"
#include "print/manual.h"

using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

struct Explained {
  int exitStatus;
  std::string output;
  std::string errors;
};

Explained Explain(const std::string& argument, bool markdown = false) {
  status::Options options;
  options.argument = argument;
  options.markdown = markdown;
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  const int exitStatus = status::Explain(options);
  std::string output = ::testing::internal::GetCapturedStdout();
  return {exitStatus, std::move(output), ::testing::internal::GetCapturedStderr()};
}

TEST(ExplainCommand, ExplainsACodeInAnyCase) {
  const Explained explained = Explain("brn-card-missing");

  EXPECT_EQ(explained.exitStatus, 0);
  EXPECT_THAT(explained.output, StartsWith("BRN-CARD-MISSING (CRITICAL)\n"));
  EXPECT_THAT(explained.output, HasSubstr("\n  To do: "));
  EXPECT_THAT(explained.output, HasSubstr("\n  Manual: operations.md#"));
}

TEST(ExplainCommand, FindsTheCodeInALineThatWasPrinted) {
  const Explained explained = Explain("CRITICAL: the card is full: 0 MiB free (BRN-CARD-FULL)");

  EXPECT_EQ(explained.exitStatus, 0);
  EXPECT_THAT(explained.output, StartsWith("BRN-CARD-FULL (CRITICAL)\n"));
}

TEST(ExplainCommand, ExplainsAMessage) {
  const Explained explained = Explain("Brennik Init failed");

  EXPECT_EQ(explained.exitStatus, 0);
  EXPECT_EQ(explained.output,
            "Brennik Init failed\n"
            "  text ERROR, Start and configuration\n"
            "  the configuration cannot be used; the lines before say why. The process ends\n"
            "  after 10 s\n");
}

TEST(ExplainCommand, SaysThatItDoesNotKnowAText) {
  const Explained explained = Explain("no such\ttext");

  EXPECT_EQ(explained.exitStatus, 1);
  EXPECT_EQ(explained.output, "");
  EXPECT_EQ(explained.errors,
            "brennik-status: no code and no message of the service is \"no such\\ttext\"\n");
}

TEST(ExplainCommand, ListsEveryCode) {
  const Explained explained = Explain("");

  EXPECT_EQ(explained.exitStatus, 0);
  for (const status::Code& code : status::AllCodes()) {
    EXPECT_THAT(explained.output, HasSubstr(code.code));
  }
}

TEST(ExplainCommand, PrintsTheManualsPage) {
  EXPECT_EQ(Explain("", true).output, status::ManualOfMessages());
}

}  // namespace
