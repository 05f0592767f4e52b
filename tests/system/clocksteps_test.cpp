// The wall clock is set and the calendar turns. All five workers go on, and no file is lost.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "system/support/alarms.h"
#include "system/support/environment.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

using cloud::Endpoint;
using Names = std::set<std::string>;

constexpr std::time_t kMinute = 60;
constexpr std::time_t kHour = 3600;
constexpr std::time_t kDay = 86400;
// Files younger than the one must stay, older than the other must go.
constexpr std::time_t kStays = 30 * kDay;
constexpr std::time_t kGoes = 32 * kDay;
constexpr int kLookSeconds = 30;  // between two looks at the workers
constexpr int kWorkSeconds = 5;   // the longest cycle
constexpr char kEightEast[] = "CST-8";
constexpr char kSavingDaylight[] = "CET-1CEST,M3.5.0,M10.5.0/3";

enum Worker { kRealData, kAlarms, kHeart, kUpload, kRecall, kWorkers };
constexpr const char* kWorkerNames[] = {"real data", "alarms", "heartbeat", "upload", "recall"};
constexpr std::time_t kIntervals[] = {300, 30, 600, 60, 300};
// After a step the real-data worker may wait for one and a half intervals: to the nearest boundary.
constexpr std::time_t kMostBetweenSigns[] = {450, 30, 600, 60, 300};

// A gateway whose clock is set. Every look checks that each worker has given a sign of life in time
// and that no file has been removed too early.
class Life {
 public:
  explicit Life(std::time_t start) : m_wall(start) {
    // Files of earlier days: two that are too old and two that are not.
    std::vector<test::LedgerRow> rows;
    for (const std::time_t age : {kGoes + kDay, kGoes + kHour, kStays - kDay, kDay}) {
      const std::string name = test::RealDataName(start - age);
      test::WriteFile(test::DataFilePath(name), "data");
      rows.push_back({name, test::kRealDataType, 1});
      m_rows.insert(name);
    }
    test::WriteLedger(rows);
    Look();
    m_produced.clear();
    test::SystemFile(m_cloud.Port(), {.recall = 300}).Write();
    m_service.emplace(start);
  }

  void RunUntil(std::time_t wall) {
    while (m_wall < wall) {
      const std::time_t seconds = std::min<std::time_t>(kLookSeconds, wall - m_wall);
      m_wall += seconds;
      m_lived += seconds;
      m_service->RunUntil(m_wall);
      Look();
    }
  }
  void RunFor(std::time_t seconds) { RunUntil(m_wall + seconds); }
  void SetWallClock(std::time_t wall) {
    m_service->SetWallClock(wall);
    m_wall = wall;
  }
  void RaiseAlarm() {
    EventWriter().Append(test::AlarmEvents(m_wall, 1));
    m_alarmRaised = true;
  }

  // Lets everything arrive that is on its way and checks every file.
  void Finish() {
    RunUntil(m_wall - m_wall % kIntervals[kHeart] + kIntervals[kHeart] + 250);
    EXPECT_EQ(m_pending, 0);
    ExpectArrivals();
    ExpectRows();
  }

  std::time_t Wall() const { return m_wall; }
  std::time_t Lived() const { return m_lived; }
  int Replaced() const { return m_replaced; }

 private:
  void Look() {
    LookForArchives();
    LookForAged();
    LookForExchanges(Endpoint::kSkipAddress, kHeart);
    LookForExchanges(Endpoint::kRecallCheck, kRecall);
    LookForExchanges(Endpoint::kRealData, kUpload);
    LookForExchanges(Endpoint::kAlarmData, kUpload);
    if (!m_alarmRaised) m_lastSign[kAlarms] = m_lived;  // nothing to do
    if (m_pending == 0) m_lastSign[kUpload] = m_lived;
    for (int worker = 0; worker < kWorkers; ++worker) {
      EXPECT_LE(m_lived - m_lastSign[worker],
                kMostBetweenSigns[worker] + kWorkSeconds + kLookSeconds)
          << kWorkerNames[worker] << " stalls at " << test::StampOf(m_wall);
    }
  }

  // Every file that was made is recorded and has arrived, unless it was too old.
  void ExpectArrivals() const {
    Names accepted;
    for (const auto& upload : m_cloud.AcceptedUploads()) accepted.insert(upload.fileName);
    for (const auto& name : m_produced) {
      const std::string fileName = std::filesystem::path(name).filename();
      EXPECT_TRUE(m_aged.contains(name) || m_rows.contains(name)) << name;
      EXPECT_TRUE(m_aged.contains(name) || accepted.contains(fileName)) << name;
    }
  }

  // What is too old has gone, and what is recorded is there.
  void ExpectRows() const {
    const std::string oldest =
        test::StampOf(m_wall - kMostBetweenSigns[kRealData] - kWorkSeconds - kGoes);
    for (const auto& name : m_rows) {
      EXPECT_GT(test::StampOf(name), oldest) << name << " is too old";
      EXPECT_TRUE(test::Exists(test::DataFilePath(name))) << name;
    }
  }

  void LookForArchives() {
    const std::filesystem::path root = paths::kDataFiles;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const std::string name = entry.path().lexically_relative(root);
      if (!name.ends_with(".tar.gz")) continue;
      auto& written = m_written[name];
      if (written == entry.last_write_time()) continue;
      written = entry.last_write_time();
      if (!m_produced.insert(name).second && m_rows.contains(name)) ++m_replaced;
      m_aged.erase(name);
      const bool alarms = name.starts_with("alarmdata/");
      if (alarms) m_alarmRaised = false;
      m_lastSign[alarms ? kAlarms : kRealData] = m_lived;
    }
  }

  // A row that has gone was too old by the clock of that time, and its file has gone too.
  void LookForAged() {
    Names now;
    m_pending = 0;
    for (const auto& row : test::ReadLedger()) {
      now.insert(row.name);
      m_pending += row.result == 0;
    }
    for (const auto& name : m_rows) {
      if (now.contains(name)) continue;
      EXPECT_LE(test::StampOf(name), test::StampOf(m_wall - kStays))
          << name << " went at " << test::StampOf(m_wall);
      EXPECT_FALSE(test::Exists(test::DataFilePath(name))) << name;
      m_aged.insert(name);
      m_lastSign[kRealData] = m_lived;  // a file of an old stamp may be made and go in one cycle
    }
    m_rows = now;
  }

  void LookForExchanges(Endpoint endpoint, Worker worker) {
    auto& seen = m_seen[endpoint];
    while (m_cloud.AwaitAccepted(endpoint, seen + 1, std::chrono::milliseconds(0))) {
      ++seen;
      m_lastSign[worker] = m_lived;
    }
  }

  cloud::Simulator m_cloud{{.serialNumber = test::kSerialNumber, .checksHeaders = false}};
  Segment m_segment{test::ExampleValues()};
  std::optional<test::ServiceProcess> m_service;
  std::time_t m_wall;
  std::time_t m_lived = 0;  // seconds since the start, whatever the clock says
  bool m_alarmRaised = false;
  std::time_t m_lastSign[kWorkers] = {};
  std::map<Endpoint, std::size_t> m_seen;  // accepted exchanges
  std::map<std::string, std::filesystem::file_time_type> m_written;
  Names m_produced;
  Names m_rows;
  Names m_aged;
  int m_pending = 0;
  int m_replaced = 0;  // files that were made again under a name that was recorded
};

class ClockSteps : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
  }
};

constexpr std::time_t kTo1970 = 9 * kHour + 7 * kMinute + 17;  // a morning of 1970
constexpr std::time_t kTo2038 = 2147483648 + kDay;             // a number of 33 bits

// After half an hour all workers are at work: a file is being compressed. Here all sleep.
constexpr std::time_t kAtWork = 30 * kMinute;
constexpr std::time_t kAsleep = 27 * kMinute + 17;

struct Start {
  const char* zone = kEightEast;
  int year = 2024;
  int month = 3;
  int day = 7;
  std::time_t fromMidnight = 12 * kHour;
};

// The start of a life shortly before a day of the calendar.
constexpr Start Before(int year, int month, int day, const char* zone = kEightEast) {
  return {zone, year, month, day, -20 * kMinute};
}

struct Step {
  const char* name;
  std::time_t after;                 // seconds of life
  std::time_t by;                    // how far the clock is set, or
  std::time_t to = 0;                // the time that it is set to
  int replaced = 0;                  // files whose stamp comes twice
  std::time_t lived = 30 * kMinute;  // afterwards
  Start start{};
};

class ClockStep : public ClockSteps, public ::testing::WithParamInterface<Step> {};

TEST_P(ClockStep, StallsNoWorkerAndLosesNoFile) {
  const Step& step = GetParam();
  const test::Environment zone("TZ", step.start.zone);
  tzset();
  Life life(On(step.start.year, step.start.month, step.start.day) + step.start.fromMidnight);
  life.RaiseAlarm();
  life.RunFor(step.after);

  life.SetWallClock(step.to != 0 ? step.to : life.Wall() + step.by);
  life.RaiseAlarm();
  life.RunFor(step.lived);
  life.Finish();

  EXPECT_EQ(life.Replaced(), step.replaced);
}

constexpr auto kName = [](const auto& row) { return row.param.name; };

INSTANTIATE_TEST_SUITE_P(
    Steps, ClockStep,
    ::testing::Values(Step{"ASecondForward", kAtWork, 1}, Step{"ASecondBack", kAtWork, -1},
                      Step{"ASecondBackAsleep", kAsleep, -1}, Step{"AnHourForward", kAsleep, kHour},
                      Step{"AnHourBack", kAtWork, -kHour, 0, 7, 70 * kMinute},
                      Step{"ADayForward", kAtWork, kDay}, Step{"ADayBack", kAsleep, -kDay},
                      Step{"BackTo1970", kAtWork, 0, kTo1970},
                      Step{"BackTo1970Asleep", kAsleep, 0, kTo1970},
                      Step{"AheadTo2038", kAsleep, 0, kTo2038}),
    kName);

// The calendar turns by itself; nobody sets the clock.
INSTANTIATE_TEST_SUITE_P(
    Turns, ClockStep,
    ::testing::Values(Step{"SummerTimeBegins", 150 * kMinute, 0, 0, 0, 30 * kMinute,
                           Before(2024, 3, 31, kSavingDaylight)},
                      Step{"SummerTimeEnds", 220 * kMinute, 0, 0, 12, 80 * kMinute,
                           Before(2024, 10, 27, kSavingDaylight)},
                      Step{"ALeapDayEnds", kAtWork, 0, 0, 0, 30 * kMinute, Before(2024, 3, 1)},
                      Step{"AYearEnds", kAtWork, 0, 0, 0, 30 * kMinute, Before(2025, 1, 1)}),
    kName);

// A time to set the clock to: near `wall`, the right one, or far away.
std::time_t Elsewhere(std::time_t wall, std::time_t right, std::mt19937& random) {
  const std::time_t choices[] = {wall + 1,    wall - 1,        wall + kHour, wall - kHour,
                                 wall + kDay, wall - kDay,     right,        right,
                                 right + 7,   kTo1970 + kHour, kTo2038};
  return std::max(choices[random() % std::size(choices)], kDay);
}

// One step every half hour on average; the last one sets the clock right.
void LiveThroughRandomSteps(int steps, std::mt19937& random, Life& life) {
  const std::time_t start = life.Wall();
  for (int step = 1; step <= steps; ++step) {
    life.RunFor(kMinute + static_cast<std::time_t>(random() % kHour));
    const std::time_t toBoundary = kIntervals[kRealData] - life.Wall() % kIntervals[kRealData];
    if (random() % 2 == 0) life.RunFor(toBoundary);  // within cycles
    const std::time_t right = start + life.Lived();
    life.SetWallClock(step == steps ? right : Elsewhere(life.Wall(), right, random));
    life.RaiseAlarm();
  }
  life.RunFor(kHour);
  life.Finish();
}

// Runs as many sequences of 24 steps as scripts/faults clock asks for.
TEST_F(ClockSteps, StallNoWorkerAtRandomTimes) {
  const char* sequences = std::getenv("BRENNIK_CLOCK_SEQUENCES");
  if (sequences == nullptr) GTEST_SKIP() << "see scripts/faults clock";
  const char* seed = std::getenv("BRENNIK_CLOCK_SEED");
  std::mt19937 random(static_cast<unsigned>(util::Decimal(seed == nullptr ? "1" : seed)));
  std::time_t lived = 0;
  for (int left = util::Decimal(sequences); left > 0 && !HasFailure(); --left) {
    SetUp();
    Life life(At(12, 0));
    LiveThroughRandomSteps(24, random, life);
    lived += life.Lived();
  }
  std::printf("%s random sequences over %.1f days\n", sequences, static_cast<double>(lived) / kDay);
}

}  // namespace
