// The judge on facts that a test makes up: which finding, how bad, and what else is judged.
#include <algorithm>

#include "healthyfacts.h"
#include "judge/codes.h"
#include "judge/verdict.h"

using namespace testing;
using namespace test;
using status::Facts;
using status::Level;
using status::LinkState;
using status::Verdict;

namespace {

Verdict Judged(const Facts& facts, const status::Thresholds& thresholds = {}) {
  return status::Judge(facts, thresholds);
}

status::Thresholds Grace(long seconds) {
  status::Thresholds thresholds;
  thresholds.graceSeconds = seconds;
  return thresholds;
}

status::Attempts Failing(long sinceAge, const char* text) {
  return {
      .succeeded = std::nullopt, .failed = Record(5, text), .firstFailed = Record(sinceAge, text)};
}

struct Trouble {
  const char* name;
  void (*make)(Facts&);
  const char* code;
  Level level;
  const char* link;  // the one that it stands at
};
void PrintTo(const Trouble& trouble, std::ostream* out) {
  *out << trouble.name;
}

class OneTrouble : public TestWithParam<Trouble> {};

TEST_P(OneTrouble, IsTheCause) {
  Facts facts = HealthyFacts();
  GetParam().make(facts);
  const Verdict verdict = Judged(facts);

  ASSERT_FALSE(verdict.findings.empty());
  EXPECT_EQ(verdict.findings.front().code, GetParam().code);
  EXPECT_EQ(verdict.level, GetParam().level);
  EXPECT_EQ(verdict.text, verdict.findings.front().text);
  const auto at = std::find_if(verdict.road.begin(), verdict.road.end(), [](const auto& link) {
    return link.state == LinkState::kBroken || link.state == LinkState::kNoted;
  });
  ASSERT_NE(at, verdict.road.end());
  EXPECT_EQ(at->name, GetParam().link);
}

void FailUploads(Facts& facts, long sinceAge, const char* reason) {
  facts.logs.uploads = Failing(sinceAge, "Send realdata x to y failed");
  facts.logs.uploadReason = Record(6, reason);
  facts.logs.refusedFile = "S20240307115500.tar.gz";
  facts.logs.refusedFirst = Record(sinceAge, "Send realdata x to y failed");
}

void FailLogin(Facts& facts, const char* reason) {
  facts.logs.login = Failing(200, "Post Authorize Info failed");
  facts.logs.loginReason = Record(201, reason);
}

void Age(Facts& facts, long age) {
  facts.newestAcceptedByNow = Row("realdata/7/S.tar.gz", kRealDataFile, true, age);
}

status::ConfigFault Fault(status::Cost cost) {
  return {.cost = cost,
          .code = "BRN-CONFIG-SYSTEM",
          .file = "/tessel/Config/sys.xml",
          .line = 3,
          .text = "bad"};
}

constexpr char kRefusedConnection[] =
    "curl_easy_perform() failed when post: Couldn't connect to server,httpcode =0";
constexpr char kTimeout[] = "send file x failed: Timeout was reached,httpcode =0";

const Trouble kTroubles[] = {
    {"NoCard", [](Facts& f) { f.card.device = status::Known(false); }, "BRN-CARD-MISSING",
     Level::kCritical, "card"},
    {"NotMounted", [](Facts& f) { f.card.mounted = status::Known(false); }, "BRN-CARD-NOT-MOUNTED",
     Level::kCritical, "mount"},
    {"ReadOnly", [](Facts& f) { f.card.readOnly = status::Known(true); }, "BRN-CARD-READ-ONLY",
     Level::kCritical, "mount"},
    {"NoBytes", [](Facts& f) { f.card.space.value->freeBytes = 65535; }, "BRN-CARD-FULL",
     Level::kCritical, "free space"},
    {"NoInodes", [](Facts& f) { f.card.space.value->freeInodes = 0; }, "BRN-CARD-FULL",
     Level::kCritical, "free space"},
    {"FewBytes", [](Facts& f) { f.card.space.value->freeBytes = 100 << 20; },
     "BRN-CARD-NEARLY-FULL", Level::kWarning, "free space"},
    {"FewInodes", [](Facts& f) { f.card.space.value->freeInodes = 49; }, "BRN-CARD-NEARLY-FULL",
     Level::kWarning, "free space"},
    {"BrokenConfigurationBeforeTheNextStart",
     [](Facts& f) { f.configuration.faults = {Fault(status::Cost::kStart)}; }, "BRN-CONFIG-SYSTEM",
     Level::kWarning, "configuration"},
    {"BrokenConfigurationAfterIt",
     [](Facts& f) {
       f.configuration.faults = {Fault(status::Cost::kStart)};
       f.logs.endedEarly = Record(9, "Brennik Init failed");
     },
     "BRN-CONFIG-SYSTEM", Level::kCritical, "configuration"},
    {"BrokenDeviceFile", [](Facts& f) { f.configuration.faults = {Fault(status::Cost::kPart)}; },
     "BRN-CONFIG-SYSTEM", Level::kWarning, "configuration"},
    {"ChangedConfiguration", [](Facts& f) { f.configuration.newestChange = kNow - 60; },
     "BRN-CONFIG-RESTART", Level::kWarning, "configuration"},
    {"NoProcess", [](Facts& f) { f.process = status::Known<pid_t>(0); }, "BRN-PROCESS-DOWN",
     Level::kCritical, "process"},
    {"ManyStarts",
     [](Facts& f) {
       f.logs.startsInLastHour = 4;
       f.logs.started = Record(299, "Brennik Start running");
       Age(f, 300);
     },
     "BRN-PROCESS-RESTARTS", Level::kWarning, "process"},
    {"SwitchedOff", [](Facts& f) { f.logs.isOn = false; }, "BRN-SWITCHED-OFF", Level::kCritical,
     "switched on"},
    {"NoSegment",
     [](Facts& f) {
       f.segment = {.present = status::Known(false),
                    .values = status::Unknown<std::map<std::uint32_t, double>>("none")};
     },
     "BRN-SEGMENT-MISSING", Level::kWarning, "live values"},
    {"UnpublishedPoint",
     [](Facts& f) { f.unpublished = status::Known(std::vector<std::uint32_t>{7}); },
     "BRN-SEGMENT-UNPUBLISHED", Level::kWarning, "live values"},
    {"NoValuesForAnHour",
     [](Facts& f) {
       f.unpublished = status::Known(std::vector<std::uint32_t>{7});
       Age(f, 3601);
     },
     "BRN-SEGMENT-UNPUBLISHED", Level::kCritical, "live values"},
    {"NoValuesAndNothingAcceptedEver",
     [](Facts& f) {
       f.unpublished = status::Known(std::vector<std::uint32_t>{7});
       f.newestAcceptedByNow = f.ledger.all.newestAccepted = std::nullopt;
     },
     "BRN-SEGMENT-UNPUBLISHED", Level::kCritical, "live values"},
    {"NoValuesAndNoLogin",
     [](Facts& f) {
       f.unpublished = status::Known(std::vector<std::uint32_t>{7});
       FailLogin(f, kTimeout);
     },
     "BRN-SEGMENT-UNPUBLISHED", Level::kCritical, "live values"},
    {"ClockSetBackBeforeTheFirstFile",
     [](Facts& f) {
       f.ledger.all.newest = f.ledger.all.newestAccepted =
           Row("realdata/7/S.tar.gz", kRealDataFile, true, -61);
       f.newestAcceptedByNow.reset();
     },
     "BRN-CLOCK-BACK", Level::kWarning, "newest file packed"},
    {"PackingFails",
     [](Facts& f) { f.logs.packing = Failing(30, "CreateRealDataJsonFile x failed,errno 127"); },
     "BRN-PACK-FAILED", Level::kWarning, "newest file packed"},
    {"OldNewestFile",
     [](Facts& f) { f.newestByNow = Row("realdata/7/S.tar.gz", kRealDataFile, true, 661); },
     "BRN-PACK-OLD", Level::kWarning, "newest file packed"},
    {"ClockSetBack",
     [](Facts& f) { f.ledger.all.newest = Row("realdata/7/S.tar.gz", kRealDataFile, true, -61); },
     "BRN-CLOCK-BACK", Level::kWarning, "newest file packed"},
    {"NoLedger", [](Facts& f) { f.ledger.state = status::LedgerState::kMissing; },
     "BRN-LEDGER-MISSING", Level::kCritical, "ledger"},
    {"ForeignLedger", [](Facts& f) { f.ledger.state = status::LedgerState::kForeign; },
     "BRN-LEDGER-DAMAGED", Level::kCritical, "ledger"},
    {"LedgerWithoutTable", [](Facts& f) { f.ledger.state = status::LedgerState::kNoTable; },
     "BRN-LEDGER-DAMAGED", Level::kCritical, "ledger"},
    {"DamagedLedger", [](Facts& f) { f.ledger.state = status::LedgerState::kDamaged; },
     "BRN-LEDGER-DAMAGED", Level::kCritical, "ledger"},
    {"BusyLedger", [](Facts& f) { f.ledger.state = status::LedgerState::kBusy; }, "BRN-LEDGER-BUSY",
     Level::kWarning, "ledger"},
    {"UnfinishedWrite", [](Facts& f) { f.ledger.state = status::LedgerState::kUnfinished; },
     "BRN-LEDGER-UNFINISHED", Level::kWarning, "ledger"},
    {"UnreadableLedger", [](Facts& f) { f.ledger.state = status::LedgerState::kUnreadable; },
     "BRN-LEDGER-UNREADABLE", Level::kWarning, "ledger"},
    {"RowsWaitInMemory",
     [](Facts& f) {
       f.logs.recording = Failing(70, "ledger: recording fails, 3 rows wait in memory: full");
     },
     "BRN-LEDGER-RECORDING", Level::kWarning, "ledger"},
    {"RefusedConnection", [](Facts& f) { FailLogin(f, kRefusedConnection); }, "BRN-CLOUD-REFUSED",
     Level::kCritical, "login"},
    {"SilentCloud",
     [](Facts& f) {
       FailLogin(f, "curl_easy_perform() failed when post: Timeout was reached,httpcode =0");
     },
     "BRN-CLOUD-SILENT", Level::kCritical, "login"},
    {"UnknownName",
     [](Facts& f) {
       FailLogin(f, "curl_easy_perform() failed when post: Couldn't resolve host name,httpcode =0");
     },
     "BRN-CLOUD-NAME", Level::kCritical, "login"},
    {"OtherServer",
     [](Facts& f) { FailLogin(f, "curl_easy_perform() failed when post: No error,httpcode =404"); },
     "BRN-CLOUD-OTHER", Level::kCritical, "login"},
    {"RefusedSerial", [](Facts& f) { FailLogin(f, "Auth Receive Response:\n{\"status\":0}"); },
     "BRN-LOGIN-REFUSED", Level::kCritical, "login"},
    {"SilentForTwoRounds", [](Facts& f) { FailUploads(f, 120, kTimeout); }, "BRN-CLOUD-SILENT",
     Level::kCritical, "address in use"},
    {"SilentForOneRound", [](Facts& f) { FailUploads(f, 119, kTimeout); }, "BRN-CLOUD-SILENT",
     Level::kWarning, "address in use"},
    {"NewestFileRefused",
     [](Facts& f) { FailUploads(f, 479, "UPloadFile recv message:{\"status\":1}"); },
     "BRN-UPLOADS-REFUSED", Level::kWarning, "newest file accepted"},
    {"EveryFileRefused",
     [](Facts& f) { FailUploads(f, 480, "UPloadFile recv message:{\"status\":1}"); },
     "BRN-UPLOADS-REFUSED", Level::kCritical, "newest file accepted"},
    {"OneFileRefused",
     [](Facts& f) {
       FailUploads(f, 4000, "UPloadFile recv message:{\"status\":1}");
       f.logs.othersAccepted = true;
     },
     "BRN-FILE-REFUSED", Level::kWarning, "newest file accepted"},
    {"NothingAcceptedEver",
     [](Facts& f) { f.newestAcceptedByNow = f.ledger.all.newestAccepted = std::nullopt; },
     "BRN-ACCEPTED-NONE", Level::kCritical, "newest file accepted"},
    {"NothingAcceptedForTenMinutes", [](Facts& f) { Age(f, 601); }, "BRN-ACCEPTED-OLD",
     Level::kWarning, "newest file accepted"},
    {"NothingAcceptedForAnHour", [](Facts& f) { Age(f, 3601); }, "BRN-ACCEPTED-OLD",
     Level::kCritical, "newest file accepted"},
    {"ManyPending", [](Facts& f) { f.ledger.all.pending = 101; }, "BRN-BACKLOG", Level::kWarning,
     "newest file accepted"},
    {"OldPending",
     [](Facts& f) {
       f.ledger.all.pending = 1;
       f.ledger.all.oldestPending = Row("realdata/6/S.tar.gz", kRealDataFile, false, 86401);
     },
     "BRN-BACKLOG", Level::kWarning, "newest file accepted"},
};
INSTANTIATE_TEST_SUITE_P(, OneTrouble, ValuesIn(kTroubles),
                         [](const auto& row) { return row.param.name; });

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
