// The judge on facts that a test makes up: which finding comes first, and what else is judged.
#include <algorithm>

#include "judge/codes.h"
#include "troubledfacts.h"

using namespace testing;
using namespace test;
using status::Facts;
using status::Level;
using status::LinkState;
using status::Verdict;

namespace {

status::Thresholds Grace(long seconds) {
  status::Thresholds thresholds;
  thresholds.graceSeconds = seconds;
  return thresholds;
}

TEST(Judge, SaysThatDataArriveWhenAllLinksAreGood) {
  const Verdict verdict = Judged(HealthyFacts());
  EXPECT_EQ(verdict.level, Level::kOk);
  EXPECT_EQ(verdict.text, "data arrive: the newest accepted file is 1 min old, 0 pending");
  EXPECT_THAT(verdict.findings, IsEmpty());
  EXPECT_THAT(verdict.road, SizeIs(12));
  EXPECT_THAT(verdict.road, Each(Field(&status::Link::state, LinkState::kGood)));
}

TEST(Judge, DoesNotJudgeWhatStandsBehindTheBrokenLink) {
  Facts facts = HealthyFacts();
  facts.process = status::Known<pid_t>(0);
  FailLogin(facts, kRefusedConnection);
  const Verdict verdict = Judged(facts);
  EXPECT_THAT(verdict.findings, SizeIs(1));
  EXPECT_EQ(verdict.road.back().text, "not judged, because the link \"process\" is broken");
  EXPECT_EQ(verdict.road[3].state, LinkState::kGood);
}

TEST(Judge, PutsTheWorstFindingFirst) {
  Facts facts = HealthyFacts();
  facts.card.space.value->freeInodes = 49;
  FailLogin(facts, kRefusedConnection);
  const Verdict verdict = Judged(facts);
  ASSERT_THAT(verdict.findings, SizeIs(2));
  EXPECT_EQ(verdict.findings[0].code, "BRN-CLOUD-REFUSED");
  EXPECT_EQ(verdict.findings[0].since, kNow - 200);
  EXPECT_EQ(verdict.findings[0].evidence, "/tmp/CloudLog/0307_log.txt:17");
}

// A restart would not heal the broken link, and might do harm.
TEST(Judge, PutsTheBrokenLinkBeforeOthersOfItsLevel) {
  Facts facts = HealthyFacts();
  facts.configuration.newestChange = kNow - 60;
  facts.unpublished = status::Known(std::vector<std::uint32_t>{7});
  const Verdict verdict = Judged(facts);
  ASSERT_THAT(verdict.findings, SizeIs(2));
  EXPECT_EQ(verdict.findings[0].code, "BRN-SEGMENT-UNPUBLISHED");
  EXPECT_EQ(verdict.findings[0].evidence, "brennik-status config");
}

TEST(Judge, WithholdsOldAndMissingFilesWithinTheGrace) {
  Facts facts = HealthyFacts();
  facts.logs.started = Record(299, "Brennik Start running");
  Age(facts, 9000);
  EXPECT_EQ(Judged(facts).level, Level::kOk);
  facts.newestAcceptedByNow = facts.ledger.all.newestAccepted = std::nullopt;
  EXPECT_EQ(Judged(facts).level, Level::kOk);
  EXPECT_EQ(Judged(facts, Grace(299)).findings.front().code, "BRN-ACCEPTED-NONE");
  FailLogin(facts, kRefusedConnection);
  EXPECT_EQ(Judged(facts).level, Level::kCritical);
}

TEST(Judge, ForgetsManyStartsOnceTheServiceWorks) {
  Facts facts = HealthyFacts();
  facts.logs.startsInLastHour = 300;
  EXPECT_EQ(Judged(facts).level, Level::kOk);
  facts.logs.started = Record(299, "Brennik Start running");
  Age(facts, 299);  // the ledger says it before the log does
  EXPECT_EQ(Judged(facts).level, Level::kOk);
  Age(facts, 300);
  facts.logs.uploads.succeeded = Record(9, "Send realdata x to y successfully");
  EXPECT_EQ(Judged(facts).level, Level::kOk);
}

TEST(Judge, FollowsTheThresholdsEvenBehindTheBrokenLink) {
  Facts facts = HealthyFacts();
  facts.ledger.all.pending = 11;
  facts.unpublished = status::Known(std::vector<std::uint32_t>{7});
  status::Thresholds thresholds;
  thresholds.criticalPending = status::Range::Above(10);
  EXPECT_EQ(Judged(facts, thresholds).level, Level::kCritical);
}

TEST(Judge, JudgesNothingOfAnEmptyCopy) {
  const auto none = status::Unknown<bool>("a copy has no card");
  Facts facts = HealthyFacts();
  facts.card = {none, none, none, status::Unknown<status::Space>("a copy has no card")};
  facts.process = status::Unknown<pid_t>("a copy has no process");
  facts.logs = {};
  facts.logs.read.text = status::Unknown<long>("there is no log");
  facts.ledger.state = status::LedgerState::kUnreadable;
  facts.newestByNow = facts.newestAcceptedByNow = std::nullopt;
  EXPECT_EQ(Judged(facts).road.front().text, "not judged, because a copy has no card");
  EXPECT_EQ(Judged(facts).findings.front().code, "BRN-LEDGER-UNREADABLE");
}

TEST(Judge, JudgesACopyWithoutAConfiguration) {
  Facts facts = HealthyFacts();
  facts.place = status::Place("/tessel/c");
  facts.configuration = {};
  facts.configuration.faults = {Fault(status::Cost::kStart)};
  facts.logs = {};
  const Verdict verdict = Judged(facts);
  EXPECT_EQ(verdict.level, Level::kOk);
  EXPECT_EQ(verdict.road[3].text, "not judged, because the copy has no configuration");
  facts.newestByNow = Row("realdata/7/S.tar.gz", kRealDataFile, true, 661);
  EXPECT_EQ(Judged(facts).findings.front().code, "BRN-PACK-OLD");  // of the default interval
}

struct Sentence {
  const char* code;
  const char* file;
  long line;
  const char* text;
  const char* expected;
};

TEST(Judge, NamesTheFileOfAFaultInTheFirstLine) {
  const Sentence rows[] = {
      {"BRN-CONFIG-SYSTEM", "/tessel/Config/sys.xml", 3, "bad",
       "sys.xml cannot be used: line 3: bad"},
      {"BRN-CONFIG-DEVICE", "/tessel/Config/devices/pump.xml", 0, "cannot be read: gone",
       "pump.xml cannot be read: gone"},
      {"BRN-CONFIG-CLOUD", "/tessel/Config/sys.xml", 0, "`port` is 0", "sys.xml: `port` is 0"}};
  for (const Sentence& row : rows) {
    Facts facts = HealthyFacts();
    facts.configuration.faults = {{.cost = status::Cost::kPart,
                                   .code = row.code,
                                   .file = row.file,
                                   .line = row.line,
                                   .text = row.text}};
    EXPECT_EQ(Judged(facts).text, row.expected);
  }
}

TEST(Judge, NamesTheCommandWhenTheLogNeedsRoot) {
  Facts facts = HealthyFacts();
  facts.logs.read.text = status::Unknown<long>("needs root's rights: sudo brennik-status");
  const Verdict verdict = Judged(facts);
  EXPECT_EQ(verdict.level, Level::kOk);
  ASSERT_THAT(verdict.findings, SizeIs(1));
  EXPECT_EQ(verdict.findings[0].code, "BRN-NEEDS-ROOT");
  EXPECT_EQ(verdict.findings[0].remedy, "sudo brennik-status");
}

TEST(Thresholds, FollowTheIntervalsInForce) {
  Facts facts = HealthyFacts();
  facts.logs.intervals->realDataInv = 3600;
  const auto in = status::InForce({}, facts);
  EXPECT_TRUE(in.warningAge->Alarms(3781));
  EXPECT_FALSE(in.warningAge->Alarms(3780));
  EXPECT_TRUE(in.criticalAge->Alarms(11341));
  EXPECT_FALSE(in.criticalAge->Alarms(11340));
  EXPECT_FALSE(in.criticalPending);
}

TEST(Results, ForecastTheEndOfABacklog) {
  Facts facts = HealthyFacts();
  facts.ledger.all.pending = 600;
  // 20 files in 120 s go, one in 300 s comes.
  EXPECT_EQ(status::ResultsOf(facts).catchUpSeconds, 600 * 600 / 98 + 120);
  facts.logs.intervals->realDataInv = 5;
  EXPECT_EQ(status::ResultsOf(facts).catchUpSeconds, std::nullopt);
}

TEST(Codes, AreUniqueAndComplete) {
  std::vector<std::string> codes;
  for (const status::Code& code : status::AllCodes()) {
    codes.emplace_back(code.code);
    EXPECT_THAT(code.code, StartsWith("BRN-"));
    EXPECT_STRNE(code.meaning, "");
    EXPECT_STRNE(code.remedy, "");
    EXPECT_THAT(code.anchor, StartsWith("operations.md#"));
  }
  std::sort(codes.begin(), codes.end());
  EXPECT_EQ(std::adjacent_find(codes.begin(), codes.end()), codes.end());
}

}  // namespace
