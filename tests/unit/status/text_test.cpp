// The verdict as a technician reads it.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "print/print.h"
#include "printfacts.h"

using status::Finding;
using status::Level;
using status::LinkState;
using status::Verdict;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

std::string Text(const Verdict& verdict, const status::Terminal& terminal = {},
                 const status::Facts& facts = test::PrintedFacts()) {
  return status::VerdictText(facts, verdict, terminal);
}

Verdict WithFinding(void (*change)(Finding&)) {
  Verdict verdict = test::PrintedVerdict();
  change(verdict.findings.front());
  return verdict;
}

}  // namespace

TEST(VerdictText, ShowsVerdictRoadAndFindings) {
  EXPECT_EQ(Text(test::PrintedVerdict()),
            "CRITICAL: the card is full (BRN-CARD-FULL)\n"
            "\n"
            "  ok      card    present\n"
            "  -       ledger  not judged\n"
            "\n"
            "  CRITICAL BRN-CARD-FULL\n"
            "    what      the card is full\n"
            "    since     unknown, because no log\n"
            "    evidence  df\n"
            "    remedy    rm\n"
            "    manual    operations.md#a-full-card\n");
}

TEST(VerdictText, ShowsNoCodeInTheFirstLineWhenAllIsWell) {
  Verdict verdict = test::PrintedVerdict();
  verdict.level = Level::kOk;
  EXPECT_THAT(Text(verdict), StartsWith("OK: the card is full\n"));

  EXPECT_EQ(Text({Level::kWarning, "data arrive", {}, {}}), "WARNING: data arrive\n\n");
}

TEST(VerdictText, MarksEachLinkByItsState) {
  const Verdict verdict{Level::kOk,
                        "x",
                        {{"a", LinkState::kGood, "1"},
                         {"free space", LinkState::kNoted, "2"},
                         {"c", LinkState::kBroken, "3"},
                         {"d", LinkState::kNotJudged, "4"}},
                        {}};

  EXPECT_THAT(Text(verdict), HasSubstr("  ok      a           1\n"
                                       "  !       free space  2\n"
                                       "  BROKEN  c           3\n"
                                       "  -       d           4\n"));
}

TEST(VerdictText, ShowsSinceWhen) {
  const std::string text =
      Text(WithFinding([](Finding& f) { f.since = test::LocalTimeOf(2026, 11, 22, 4, 0, 10); }));

  EXPECT_THAT(text, HasSubstr("    since     2026-11-22 04:00:10\n"));
}

TEST(VerdictText, LeavesOutWhatAFindingDoesNotHave) {
  const std::string text = Text(WithFinding([](Finding& f) { f.evidence = f.anchor = ""; }));

  EXPECT_THAT(text, Not(HasSubstr("evidence")));
  EXPECT_THAT(text, Not(HasSubstr("manual")));
}

TEST(VerdictText, BreaksLinesAtTheWidthAndIndentsTheRest) {
  Verdict verdict = WithFinding([](Finding& f) { f.text = "one two three four"; });
  verdict.road = {{"card", LinkState::kGood, "five six seven eight"}};

  const std::string text = Text(verdict, {.colours = false, .width = 24});

  EXPECT_THAT(text, HasSubstr("  ok      card  five six\n"
                              "                seven\n"
                              "                eight\n"));
  EXPECT_THAT(text, HasSubstr("    what      one two\n"
                              "              three four\n"));
}

TEST(VerdictText, NeverBreaksARemedy) {
  const std::string text = Text(
      WithFinding([](Finding& f) { f.remedy = "systemctl restart brennik && journalctl -n 1"; }),
      {.colours = false, .width = 20});

  EXPECT_THAT(text, HasSubstr("    remedy    systemctl restart brennik && journalctl -n 1\n"));
}

TEST(VerdictText, MakesControlCharactersVisible) {
  Verdict verdict = WithFinding([](Finding& f) { f.text = f.evidence = "a\x1b[2J\nb"; });
  verdict.text = verdict.road.front().text = "a\x1b[2J\nb";

  const std::string text = Text(verdict);

  EXPECT_THAT(text, Not(HasSubstr("\x1b")));
  EXPECT_THAT(text, Not(HasSubstr("\nb")));
}

TEST(VerdictText, NamesTheCopy) {
  status::Facts facts = test::PrintedFacts();
  EXPECT_THAT(Text(test::PrintedVerdict(), {}, facts), Not(HasSubstr("copy")));

  facts.place = status::Place("/mnt/card");

  EXPECT_THAT(Text(test::PrintedVerdict(), {}, facts), EndsWith("\n  This is a copy: /mnt/card\n"));
}

TEST(VerdictText, ColoursLevelsMarksAndCodes) {
  const std::string text = Text(test::PrintedVerdict(), {.colours = true});

  EXPECT_THAT(text, StartsWith("\x1b[31mCRITICAL\x1b[0m: the card"));
  EXPECT_THAT(text, HasSubstr("  \x1b[32mok    \x1b[0m  card    present\n"));
  EXPECT_THAT(text, HasSubstr("  \x1b[2m-     \x1b[0m  ledger  not judged\n"));
  EXPECT_THAT(text, HasSubstr("  \x1b[31mCRITICAL\x1b[0m \x1b[1mBRN-CARD-FULL\x1b[0m\n"));
}

TEST(VerdictText, HasAColourForEachLevel) {
  for (const auto& [level, start] : {std::pair{Level::kOk, "\x1b[32mOK"},
                                     {Level::kWarning, "\x1b[33mWARNING"},
                                     {Level::kCritical, "\x1b[31mCRITICAL"},
                                     {Level::kUnknown, "\x1b[33mUNKNOWN"}})
    EXPECT_THAT(Text({level, "x", {}, {}}, {.colours = true}), StartsWith(start));
}
