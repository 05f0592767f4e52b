#include "judge/messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "print/manual.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

std::vector<std::string> Found(const std::string& text) {
  std::vector<std::string> found;
  for (const status::Message* message : status::FindMessages(text))
    found.emplace_back(message->text);
  return found;
}

struct Example {
  const char* name;
  const char* text;
  std::vector<std::string> messages;
};
void PrintTo(const Example& example, std::ostream* out) {
  *out << example.name;
}
class Finding : public ::testing::TestWithParam<Example> {};

TEST_P(Finding, FindsTheMessagesThatATextCouldBe) {
  EXPECT_EQ(Found(GetParam().text), GetParam().messages);
}

constexpr char kLogin[] = "Post Authorize Info failed";
constexpr char kSendFailed[] = "send file %s failed: %s,httpcode =%ld";

INSTANTIATE_TEST_SUITE_P(
    All, Finding,
    ::testing::Values(
        Example{"the text itself", kLogin, {kLogin}},
        Example{"a format, as in the manual", kSendFailed, {kSendFailed}},
        Example{"values",
                "send file /media/a b.tar.gz failed: Timeout was reached,httpcode =0",
                {kSendFailed}},
        Example{"an empty value", "UPloadFile recv message:", {"UPloadFile recv message:%s"}},
        Example{"another case", "post authorize info FAILED", {kLogin}},
        Example{"a record of the text log",
                "2026-11-22 04:00:10 logType:WARN\n "
                "Post Authorize Info failed\n",
                {kLogin}},
        Example{"a row of the log database",
                "1|2026-11-21|04:57:52|INFO|Brennik Start running",
                {"Brennik Start running"}},
        Example{"a line of this program's list",
                "2026-11-22 04:00:10 WARN  Post Authorize Info failed (12 times until 04:10:33)",
                {kLogin}},
        Example{"a line end that is spelled",
                "Auth Receive Response:\\n{\"status\":0}",
                {"Auth Receive Response:\\n%s"}},
        Example{
            "a message that begins like a level", "Send file a finish", {"Send file %s finish"}},
        Example{"a part", "Set on", {"Brennik is Set on"}},
        Example{"a part with a value",
                "judge it send OK",
                {"Can not find File %s when send files,judge it send OK",
                 "file %s size is 0 ,error,do not send it,judge it send OK",
                 "Recall %d has more than %zu bytes or %zu values of a point,judge it send OK"}},
        Example{"a part whose beginning is the message's",
                "start Send alarmdata T1.tar.gz to",
                {"start Send alarmdata %s to %s"}},
        Example{"a file and a reason", "/tessel/Config/sys.xml: line 3: wrong", {"%s: %s"}},
        Example{"three characters", "SQL", {}},
        Example{"any other text", "nothing: of the kind", {}}, Example{"nothing", "  ", {}},
        Example{"only a date", "2026-11-22 04:00:10 logType:WARN", {}}));

TEST(Manual, HasATableForEachSection) {
  const std::string page = status::ManualOfMessages();

  EXPECT_THAT(page, HasSubstr("| `parsed %s failed` | text ERROR | `sys.xml` is missing"));
  EXPECT_THAT(page, HasSubstr("\n### Recalls\n\n| message | log |"));
  EXPECT_THAT(page, HasSubstr("CRITICAL"));
}

TEST(Manual, BecomesPlainTextOnATerminal) {
  EXPECT_EQ(status::PlainText("see [a full card](operations.md#a-full-card), **now** `x`."),
            "see a full card (operations.md#a-full-card), now `x`.");
  EXPECT_EQ(status::PlainText("[a](b [open"), "[a](b [open");
}

}  // namespace
