#include <gtest/gtest.h>

#include "print/print.h"
#include "printfacts.h"

using status::Level;
using status::Range;
using status::Verdict;

namespace {

std::string Line(const status::Facts& facts, const Verdict& verdict,
                 const status::Thresholds& thresholds = {}) {
  return status::MonitorText(facts, verdict, thresholds);
}

Verdict Says(const std::string& text) {
  return {Level::kOk, text, {}, {}};
}

std::string BeforeBar(const std::string& line) {
  return line.substr(0, line.find('|'));
}

std::string AfterBar(const std::string& line) {
  return line.substr(line.find('|') + 1);
}

}  // namespace

TEST(MonitorText, HoldsStatusTextAndPerformanceData) {
  status::Thresholds thresholds;
  thresholds.warningAge = Range::Parse("600");
  thresholds.criticalAge = Range::Parse("~:3600");
  thresholds.warningPending = Range::Parse("@10:20");
  thresholds.criticalPending = Range::Parse("30");
  status::Facts facts = test::PrintedFacts();
  facts.logs.intervals->checkFailInv = 0;  // no forecast

  EXPECT_EQ(Line(facts, Says("data arrive"), thresholds),
            "BRENNIK OK - data arrive | 'newest_accepted_age'=60s;600;~:3600;0"
            " 'oldest_pending_age'=120s;;;0 'pending'=1;@10:20;30;0"
            " 'card_free_bytes'=1000B;;;0;4000 'card_free_inodes'=50;;;0;200\n");
}

TEST(MonitorText, ShowsTheDefaultThresholds) {
  const status::Facts facts = test::PrintedFacts();
  const status::Thresholds inForce = status::InForce({}, facts);

  const std::string line = Line(facts, Says("data arrive"));

  EXPECT_NE(line.find("'newest_accepted_age'=60s;" + inForce.warningAge->Text() + ";" +
                      inForce.criticalAge->Text() + ";0"),
            std::string::npos)
      << line;
}

TEST(MonitorText, ShowsTheForecastWhenThereIsOne) {
  EXPECT_NE(Line(test::PrintedFacts(), Says("data arrive")).find(" 'catch_up'="),
            std::string::npos);
}

TEST(MonitorText, LeavesTheThresholdsOutWhereAValueIsUnknown) {
  status::Facts facts = test::PrintedFacts();
  facts.ledger = {};
  facts.ledger.state = status::LedgerState::kBusy;
  facts.card.space = status::Unknown<status::Space>("no card");

  EXPECT_EQ(AfterBar(Line(facts, Says("no data"))),
            " 'newest_accepted_age'=U 'oldest_pending_age'=U 'pending'=U\n");
}

TEST(MonitorText, LeavesInodesOutWhereTheyAreNotCounted) {
  status::Facts facts = test::PrintedFacts();
  facts.card.space.value->totalInodes = 0;

  EXPECT_EQ(Line(facts, Says("x")).find("inodes"), std::string::npos);
}

TEST(MonitorText, StaysUnder80BytesUpToTheBar) {
  const std::string longest = "BRENNIK OK - " + std::string(65, 'x') + " ";
  EXPECT_EQ(BeforeBar(Line(test::PrintedFacts(), Says(std::string(65, 'x')))), longest);
  EXPECT_EQ(BeforeBar(Line(test::PrintedFacts(), Says(std::string(66, 'x')))),
            "BRENNIK OK - " + std::string(62, 'x') + "... ");
}

TEST(MonitorText, CutsBetweenCharacters) {
  std::string text;
  for (int i = 0; i < 40; ++i) text += "塔";

  const std::string line = BeforeBar(Line(test::PrintedFacts(), Says(text)));

  EXPECT_LT(line.size(), 80U);
  EXPECT_EQ(line, status::ValidUtf8(line));
}

TEST(MonitorText, IsOneLineWithOneBar) {
  EXPECT_EQ(BeforeBar(Line(test::PrintedFacts(), Says("a|b\nc\r\td\x1b\xff"))),
            "BRENNIK OK - a/b c  d\\x1b\\xff ");
}
