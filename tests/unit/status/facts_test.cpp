// What the logs say about the time since the last start, and what is put together from all facts.
#include "collect/facts.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "acquisition/segment.h"
#include "ledgerreading.h"
#include "support/configs.h"
#include "util/timetext.h"

using status::LogFacts;
using ::testing::ElementsAre;
using ::testing::StartsWith;

namespace {

constexpr char kFactsLog[] = "/tmp/CloudLog/0307_log.txt";

// A record of the text log or of the log database.
struct Logged {
  std::string text;
  bool isDatabase = false;
};
Logged Database(const char* text) {
  return {.text = text, .isDatabase = true};
}

// Writes the records, one a second: the first one at the second after `start`.
void WriteLogs(const std::vector<Logged>& records, std::time_t start) {
  std::string text;
  test::WriteFile(kFactsLog, text);
  test::DatabaseFile database(paths::kLogDatabase);
  database.Run(
      "CREATE TABLE log_tbl(Pid INTEGER PRIMARY KEY, RecordDate DATE, RecordTime TIME, log_Type "
      "TEXT, log_Desc TEXT)");
  std::time_t when = start;
  for (const Logged& record : records) {
    const std::tm time = *util::LocalTime(++when);
    if (record.isDatabase) {
      database.Run("INSERT INTO log_tbl(RecordDate, RecordTime, log_Type, log_Desc) VALUES('" +
                   util::DateText(time) + "', '" + util::ClockText(time) + "', 'INFO', '" +
                   record.text + "')");
    } else {
      text += util::TimeMark(time) + " logType:INFO\n " + record.text + "\n";
    }
  }
  test::WriteFile(kFactsLog, text);
}

class LogFactsTest : public test::GatewayTest {
 protected:
  static status::LogFacts Collect(const std::vector<Logged>& records, long beginAge = 600) {
    const std::time_t now = std::time(nullptr);
    WriteLogs(records, now - beginAge);
    return status::CollectLogFacts({}, now);
  }
};

// The records of a row are numbered from 1. A fact is shown by the number of its record.
std::string Shown(std::optional<std::time_t> time) {
  const std::time_t start = test::LocalTimeOf(2024, 3, 7, 11, 50);
  return time ? std::to_string(*time - start) : "none";
}
std::string Shown(const std::optional<status::Evidence>& evidence) {
  return Shown(evidence ? std::optional(evidence->time) : std::nullopt);
}
std::string Shown(const status::Attempts& attempts) {
  return "succeeded " + Shown(attempts.succeeded) + ", failed " + Shown(attempts.failed) +
         ", first " + Shown(attempts.firstFailed);
}

struct FactRow {
  const char* name;
  std::vector<Logged> records;
  std::string (*look)(const status::LogFacts&);
  const char* shown;
};
void PrintTo(const FactRow& row, std::ostream* out) {
  *out << row.name;
}
class LogFactsOf : public LogFactsTest, public ::testing::WithParamInterface<FactRow> {};

TEST_P(LogFactsOf, AreTakenFromTheRecords) {
  EXPECT_EQ(GetParam().look(Collect(GetParam().records)), GetParam().shown);
}

std::string Login(const LogFacts& facts) {
  return Shown(facts.login) + ", reason " + Shown(facts.loginReason);
}
std::string Uploads(const LogFacts& facts) {
  return Shown(facts.uploads) + ", reason " + Shown(facts.uploadReason);
}
std::string Refused(const LogFacts& facts) {
  return facts.refusedFile + " since " + Shown(facts.refusedFirst) +
         (facts.othersAccepted ? ", others accepted" : "");
}
std::string IsOn(const LogFacts& facts) {
  const char* const on = facts.isOn.value_or(false) ? "on" : "off";
  return (facts.isOn ? on : "unknown") + (" " + Shown(facts.setOnOff));
}

const Logged kAccepted{"Post Authorize Info Successfully"};
const Logged kLoginFailed{"Post Authorize Info failed"};
const Logged kNoServer{
    "curl_easy_perform() failed when post: Couldn't connect to server,httpcode =0"};

INSTANTIATE_TEST_SUITE_P(
    Starting, LogFactsOf,
    ::testing::Values(
        FactRow{"StartedAtItsLastStart",
                {Database("Brennik Start running"), {"x"}, Database("Brennik Start running")},
                [](const LogFacts& f) { return Shown(f.started); },
                "3"},
        FactRow{"EndedEarlyWithoutACard",
                {Database("no sd card, please check if insert the sd card")},
                [](const LogFacts& f) { return Shown(f.endedEarly); },
                "1"},
        FactRow{"EndedEarlyWithoutItsFiles",
                {{"Brennik Init failed"}},
                [](const LogFacts& f) { return Shown(f.endedEarly); },
                "1"},
        FactRow{"SwitchedOn", {{"Brennik is Set on"}}, IsOn, "on 1"},
        FactRow{"SwitchedOff", {{"Brennik is Set off "}}, IsOn, "off 1"},
        FactRow{"NotSwitched", {{"Brennik is not set"}}, IsOn, "unknown none"},
        FactRow{"NewestRecordOfAnyKind",
                {{"x"}, Database("y")},
                [](const LogFacts& f) { return Shown(f.newestRecord); },
                "2"}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Cloud, LogFactsOf,
    ::testing::Values(
        FactRow{"LoginSucceeded",
                {kLoginFailed, kAccepted, kAccepted},
                Login,
                "succeeded 3, failed none, first none, reason none"},
        FactRow{"LoginFailedWithoutConnection",
                {kAccepted, kNoServer, kLoginFailed, kNoServer, kLoginFailed},
                Login,
                "succeeded 1, failed 5, first 3, reason 4"},
        FactRow{"LoginFailedWithItsAnswer",
                {{"Auth Receive Response:\n{\"code\":401}"}, kLoginFailed},
                Login,
                "succeeded none, failed 2, first 2, reason 1"},
        FactRow{
            "LoginFailedAtAnAnswerWithAPartMissing",
            {{"Auth Receive Response:\n{}"}, {"Authorize recv:{} ,missing Member"}, kLoginFailed},
            Login,
            "succeeded none, failed 3, first 3, reason 2"},
        FactRow{"LoginFailedAfterAStartWithTheReasonOfThisRun",
                {kNoServer, Database("Brennik Start running"), kLoginFailed},
                Login,
                "succeeded none, failed 3, first 3, reason none"},
        FactRow{"HeartbeatSucceeded",
                {{"Skip Address Receive Response:\n{}"}},
                [](const LogFacts& f) { return Shown(f.heartbeat); },
                "succeeded 1, failed none, first none"},
        FactRow{"LastAddress",
                {{"real IP has become 10.0.0.1"}, {"real IP has become 10.0.0.2:8080"}},
                [](const LogFacts& f) { return f.address + " " + Shown(f.addressSet); },
                "10.0.0.2:8080 2"}),
    [](const auto& test) { return test.param.name; });

const Logged kPacked{"CreateRealDataJsonFile /media/S.tar.gz Success"};
const Logged kAlarmsPacked{"CreateAlarmDataJsonFile /media/T.tar.gz Success"};
const Logged kNoValues = Database("Brennik Get RealData error");

INSTANTIATE_TEST_SUITE_P(
    Packing, LogFactsOf,
    ::testing::Values(
        FactRow{"SegmentFailed",
                {kPacked, kNoValues, kNoValues},
                [](const LogFacts& f) { return Shown(f.segment); },
                "succeeded 1, failed 3, first 2"},
        FactRow{"SegmentSucceededWithLiveValues",
                {kNoValues, kPacked},
                [](const LogFacts& f) { return Shown(f.segment); },
                "succeeded 2, failed none, first none"},
        FactRow{"SegmentUntouchedByAlarms",
                {kNoValues, kAlarmsPacked},
                [](const LogFacts& f) { return Shown(f.segment); },
                "succeeded none, failed 1, first 1"},
        FactRow{"SegmentSucceededAlthoughAPointIsMissing",
                {kNoValues, {"CreateRealDataJsonFile S.dat Error, can't find id: 01030001"}},
                [](const LogFacts& f) { return Shown(f.segment); },
                "succeeded 2, failed none, first none"},
        FactRow{"PointsFailed",
                {{"CreateRealDataJsonFile S.dat Error, can't find id: 01030001"}, kAlarmsPacked},
                [](const LogFacts& f) { return Shown(f.points); },
                "succeeded none, failed 1, first 1"},
        FactRow{"PointsSucceeded",
                {{"CreateRealDataJsonFile S.dat Error, can't find id: 01030001"}, kPacked},
                [](const LogFacts& f) { return Shown(f.points); },
                "succeeded 2, failed none, first none"},
        FactRow{"PackingFailed",
                {{"CreateRealDataJsonFile /media/S.tar.gz failed,errno 256"},
                 {"CreateAlarmDataJsonFile in /media/ failed, no local time"}},
                [](const LogFacts& f) { return Shown(f.packing); },
                "succeeded none, failed 2, first 1"},
        FactRow{"PackingSucceededWithAlarms",
                {{"CreateRealDataJsonFile /media/S.tar.gz failed,errno 256"}, kAlarmsPacked},
                [](const LogFacts& f) { return Shown(f.packing); },
                "succeeded 2, failed none, first none"},
        FactRow{"RecordingFailed",
                {{"ledger: recording fails, 1 rows wait in memory: disk I/O error"},
                 {"ledger: 1 of the oldest rows in memory are given up"}},
                [](const LogFacts& f) { return Shown(f.recording); },
                "succeeded none, failed 1, first 1"},
        FactRow{"RecordingSucceeded",
                {{"ledger: ageing fails, 1 rows wait in memory: disk I/O error"},
                 {"ledger: recording and ageing succeed again"}},
                [](const LogFacts& f) { return Shown(f.recording); },
                "succeeded 2, failed none, first none"}),
    [](const auto& test) { return test.param.name; });

Logged Send(const std::string& file, const std::string& result) {
  return {"Send realdata /media/mmcblk0p1/realdata/7/" + file + " to http://10.0.0.1 " + result};
}

INSTANTIATE_TEST_SUITE_P(
    Uploads, LogFactsOf,
    ::testing::Values(
        FactRow{"UploadAccepted",
                {Send("A", "failed"), Send("B", "successfully")},
                [](const LogFacts& f) { return Shown(f.uploads); },
                "succeeded 2, failed none, first none"},
        FactRow{"AlarmsAccepted",
                {{"Send Alarmdata /media/T.tar.gz to http://10.0.0.1 successfully"}},
                [](const LogFacts& f) { return Shown(f.uploads); },
                "succeeded 1, failed none, first none"},
        FactRow{"UploadOnlyBegun",
                {{"start Send realdata /media/A to http://10.0.0.1 "}},
                [](const LogFacts& f) { return Shown(f.uploads); },
                "succeeded none, failed none, first none"},
        FactRow{"UploadRefusedWithItsAnswer",
                {{"UPloadFile recv message:{\"code\":5}"}, Send("A", "failed")},
                Uploads,
                "succeeded none, failed 2, first 2, reason 1"},
        FactRow{"UploadFailedWithoutConnection",
                {{"send file A failed: Timeout was reached,httpcode =0"}, Send("A", "failed")},
                Uploads,
                "succeeded none, failed 2, first 2, reason 1"},
        FactRow{"UploadFailedWithoutTheFile",
                {{"can not open file A"}, Send("A", "failed")},
                Uploads,
                "succeeded none, failed 2, first 2, reason 1"},
        FactRow{"OneFileRefusedFromItsFirstFailureOn",
                {Send("A", "failed"), Send("B", "failed"), Send("B", "failed")},
                Refused,
                "B since 2"},
        FactRow{"OneFileRefusedWhileOthersAreAccepted",
                {Send("A", "failed"), Send("B", "successfully"), Send("A", "failed")},
                Refused,
                "A since 1, others accepted"},
        FactRow{"NewFileRefusedAfterOthersWereAccepted",
                {Send("A", "failed"), Send("B", "successfully"), Send("C", "failed")},
                Refused,
                "C since 3"},
        FactRow{"AlarmsRefused",
                {{"Send Alarmdata /media/mmcblk0p1/T.tar.gz to http://10.0.0.1 failed"}},
                Refused,
                "T.tar.gz since 1"}),
    [](const auto& test) { return test.param.name; });

TEST_F(LogFactsTest, ForgetsWhatAnEarlierRunHasLeft) {
  const auto facts =
      Collect({kAccepted,
               {"Brennik is Set on"},
               {"realdata timeinv = 300,alarm timeinv = 30,heartbeat timeinv = 600,checkfail "
                "timeinv = 60,recall timeinv = -1"},
               {"real IP has become 10.0.0.1"},
               kNoValues,
               Send("A", "failed"),
               Database("no sd card, please check if insert the sd card"),
               Database("Brennik Start running")});

  EXPECT_EQ(Login(facts), "succeeded none, failed none, first none, reason none");
  EXPECT_EQ(Shown(facts.segment), "succeeded none, failed none, first none");
  EXPECT_EQ(Shown(facts.uploads), "succeeded none, failed none, first none");
  EXPECT_FALSE(facts.isOn || facts.intervals || facts.endedEarly || facts.refusedFirst);
  EXPECT_EQ(facts.address, "");
  EXPECT_EQ(Shown(facts.newestRecord), "8");
}

TEST_F(LogFactsTest, CountsTheStartsOfTheLastHour) {
  const Logged start = Database("Brennik Start running");

  EXPECT_EQ(Collect({start, {"x"}, start, start}, 3602).startsInLastHour, 2);
}

TEST_F(LogFactsTest, ReadsTheIntervalsInForce) {
  const auto facts =
      Collect({{"realdata timeinv = 300,alarm timeinv = 30,heartbeat timeinv = 600,checkfail "
                "timeinv = 60,recall timeinv = -1"},
               {"realdata timeinv = 1,alarm timeinv = 2"}});

  ASSERT_TRUE(facts.intervals);
  EXPECT_EQ(facts.intervals->realDataInv, 300);
  EXPECT_EQ(facts.intervals->alarmDataInv, 30);
  EXPECT_EQ(facts.intervals->heartBeatInv, 600);
  EXPECT_EQ(facts.intervals->checkFailInv, 60);
  EXPECT_EQ(facts.intervals->recallInv, -1);
  EXPECT_EQ(Shown(facts.intervalsLine), "1");
}

TEST_F(LogFactsTest, KeepsTheRecordAndItsPlaceAsEvidence) {
  const auto facts = Collect({kNoValues, {"x"}, kLoginFailed});

  ASSERT_TRUE(facts.login.failed && facts.segment.failed);
  EXPECT_EQ(facts.login.failed->text, "Post Authorize Info failed");
  EXPECT_EQ(facts.login.failed->where, "/tmp/CloudLog/0307_log.txt:3");
  EXPECT_EQ(facts.segment.failed->where, "/tmp/CloudLog/Cloudlog.db, Pid 1");
}

TEST_F(LogFactsTest, SaysWhyALogCannotBeRead) {
  const auto facts = status::CollectLogFacts({}, std::time(nullptr));

  EXPECT_THAT(facts.read.text.reason, StartsWith("there is no /tmp/CloudLog"));
  EXPECT_FALSE(facts.newestRecord);
}

// Everything together.

class FactsTest : public test::LedgerReading {
 protected:
  void SetUp() override {
    LedgerReading::SetUp();
    Segment::RequireNone(StaleSegment::kReplace);
  }

  // Points 0x01030001 and 0x01030102, and the same ones of channel 193.
  static void WriteConfiguration() {
    test::SysXml().Cloud("checked", "1").Cloud("cloudip", "127.0.0.1").Write();
    test::WriteSnXml("Ostra-7K-M", "TS20240117");
    const test::DeviceFile pump = test::DeviceFile("pump").Node("AI", 1).Node("DI", 2);
    pump.Write();
    const std::string file = pump.Path();
    test::ChannelTemplate().Channel(1).Device(3, file).Channel(193).Device(3, file).Write();
  }
};

TEST_F(FactsTest, HoldsPointsThatAreNotPublishedWithoutThoseOfChannel193) {
  WriteConfiguration();
  const Segment published({{0x01030001, 12.5}});

  const auto facts = status::CollectFacts({});

  ASSERT_EQ(facts.configuration.points->size(), 4U);
  ASSERT_TRUE(facts.unpublished) << facts.unpublished.reason;
  EXPECT_THAT(*facts.unpublished, ElementsAre(0x01030102));
}

TEST_F(FactsTest, DoesNotKnowWhatIsUnpublishedWithoutASegment) {
  WriteConfiguration();

  const auto facts = status::CollectFacts({});

  EXPECT_FALSE(facts.unpublished);
  EXPECT_EQ(facts.unpublished.reason, facts.segment.values.reason);
}

TEST_F(FactsTest, DoesNotKnowWhatIsUnpublishedWithoutAConfiguration) {
  EXPECT_EQ(status::CollectFacts({}).unpublished.reason, "there is no usable configuration");
}

// The clock shows 2024-03-07 12:00:00. A stamp may be a minute ahead.
TEST_F(FactsTest, TakesNoStampOfTheFutureForTheNewest) {
  auto ledger = MakeLedger();
  Insert(ledger, test::RealName("20240307115700"), kRealDataFile, 1);
  Insert(ledger, test::RealName("20240307120100"));
  Insert(ledger, test::RealName("20240307120000"));
  Insert(ledger, test::RealName("20240307120101"), kRealDataFile, 1);
  Insert(ledger, "realdata/7/S.tar.gz", kRealDataFile, 1);

  const auto facts = status::CollectFacts({});

  ASSERT_TRUE(facts.newestByNow && facts.newestAcceptedByNow);
  EXPECT_EQ(facts.newestByNow->name, test::RealName("20240307120100"));
  EXPECT_EQ(facts.newestAcceptedByNow->name, test::RealName("20240307115700"));
  EXPECT_EQ(facts.ledger.all.newest->name, test::RealName("20240307120101"));
}

TEST_F(FactsTest, TakesOnlyLiveValuesForTheNewestFileAndAnyKindForTheNewestAcceptedOne) {
  auto ledger = MakeLedger();
  Insert(ledger, test::RealName("20240307115700"));
  Insert(ledger, "alarmdata/7/T20240307115800.tar.gz", kAlarmDataFile, 1);

  const auto facts = status::CollectFacts({});

  ASSERT_TRUE(facts.newestByNow && facts.newestAcceptedByNow);
  EXPECT_EQ(facts.newestByNow->name, test::RealName("20240307115700"));
  EXPECT_EQ(facts.newestAcceptedByNow->name, "alarmdata/7/T20240307115800.tar.gz");
}

}  // namespace
