// The judge on facts with one trouble: which finding, how bad, and at which link.
#include <algorithm>

#include "troubledfacts.h"

using namespace testing;
using namespace test;
using status::Facts;
using status::Level;
using status::LinkState;
using status::Verdict;

namespace {

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

}  // namespace
