// brennik-status beside a busy service: the same hours with the tool in loops and without it. It
// may cost the service nothing, and may change nothing on the gateway.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "faults/lived.h"
#include "faults/lockstatistics.h"
#include "faults/stillness.h"
#include "faults/watchers.h"
#include "system/support/alarms.h"
#include "system/support/environment.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;

constexpr std::time_t kMinute = 60;
constexpr std::time_t kAge = std::time_t{31} * 86400;
constexpr int kRows = 45000;
constexpr int kQuietMinutes = 4;  // at the end, until everything has arrived
constexpr int kMinutesAnOrder = 20;
constexpr unsigned kMinutesARefusal = 10;  // on average

constexpr char kWaits[] = "/dev/shm/lock-waits";
constexpr char kHolds[] = "/dev/shm/lock-holds";

int Number(const char* variable, int otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : util::Decimal(text);
}

template <typename Statistics>
Statistics* NewStatistics(const char* path) {
  test::WriteFile(path, std::string(sizeof(Statistics), '\0'));
  return test::MapStatistics<Statistics>(path);
}

std::string Milliseconds(std::uint64_t microseconds) {
  return util::Format("%.1f ms", static_cast<double>(microseconds) / 1000);
}

std::string Average(const test::LockStatistics& of) {
  return Milliseconds(of.microseconds / std::max<std::uint64_t>(of.times, 1));
}

class Watched : public test::SystemTest {
 protected:
  test::Lived Live(bool watched) {
    SystemTest::SetUp();
    test::WriteExamplePlant();
    WriteMonth();
    const auto* const waits = NewStatistics<test::LockStatistics>(kWaits);
    const test::Environment counted(test::kLockWaitsVariable, kWaits);
    const test::Environment clock("BRENNIK_VIRTUAL_CLOCK",
                                  BRENNIK_LOCK_WAITS ":" BRENNIK_VIRTUAL_CLOCK);
    m_times.clear();
    m_events.clear();
    m_orders = 0;
    m_refusals = 0;
    cloud::Simulator cloud({.serialNumber = test::kSerialNumber,
                            .onAcceptedUpload = [this](std::size_t count) { Note(count); }});
    test::SystemFile(cloud.Port(), {.realData = kMinute, .upload = kMinute, .recall = kMinute})
        .Write();
    Segment segment(test::ExampleValues());
    test::ServiceProcess service(Start() - kMinute / 2);
    m_service = &service;
    RunMinutes(cloud, segment, watched);
    EXPECT_EQ(cloud.StandingOrders(), 0U);
    test::Lived lived = test::Collect(cloud, m_times);
    lived.waits = waits->times;
    lived.waitedMicroseconds = waits->microseconds;
    return lived;
  }

  // Each cycle has its row, accepted once; each event and each old row is there.
  void CheckComplete(const test::Lived& lived) const {
    std::map<std::string, int> results;
    for (const auto& row : lived.ledger) results[row.name] = row.result;
    CheckCycles(lived.uploads, results);
    CheckMonth(results);
    EXPECT_EQ(lived.events, test::TimesOf(m_events));
  }

  const int m_minutes = Number("BRENNIK_WATCHED_HOURS", 1) * 60;
  test::Stillness m_stillness;
  int m_refusals = 0;
  std::vector<AlarmEvent> m_events;

 private:
  static std::time_t Start() { return At(0, 0); }
  std::time_t End() const { return Start() + (m_minutes + kQuietMinutes) * kMinute; }

  void CheckCycles(const test::Arrivals& uploads, const std::map<std::string, int>& results) const {
    for (int minute = 0; minute < m_minutes; ++minute) {
      const std::string name = test::RealDataName(Start() + minute * kMinute);
      EXPECT_TRUE(uploads.contains(test::BaseOf(name))) << name << " has not arrived";
      ASSERT_TRUE(results.contains(name)) << name << " has no row";
      EXPECT_EQ(results.at(name), 1) << name;
    }
  }

  void CheckMonth(const std::map<std::string, int>& results) const {
    for (const auto& row : m_month) {
      const bool aged = test::StampOf(row.name) <= test::StampOf(End() - kAge);
      EXPECT_TRUE(aged || results.contains(row.name)) << row.name << " is lost";
    }
  }

  // A ledger of accepted files, the oldest of which are dropped in the first hours.
  void WriteMonth() {
    if (m_month.empty()) {
      for (std::time_t age = kMinute; age < kAge; age += kMinute) {
        m_month.push_back({test::RealDataName(Start() - age), test::kRealDataType, 1});
      }
      for (int row = 0; m_month.size() < kRows; ++row) {
        m_month.push_back(
            {test::AlarmDataName(Start() - row * kMinute - 30), test::kAlarmDataType, 1});
      }
      test::WriteLedger(m_month);
      m_ledger = test::ReadFile(paths::kLedger);
    }
    test::WriteFile(paths::kLedger, m_ledger);
    for (int minute = 0; minute < m_minutes; ++minute) {
      const std::string oldest = test::RealDataName(Start() - kAge + minute * kMinute);
      test::WriteFile(test::DataFilePath(oldest), "data");
    }
  }

  void Note(std::size_t count) {
    const std::lock_guard lock(m_mutex);
    m_times[count - 1] = m_service->Now();
  }

  // A refusal ends a round: the files behind it come in a later one. Of files with one stamp, the
  // one that is recorded first goes first, and a millisecond decides which that is, with the tool
  // and without it. So a refused file shares its stamp with no other: in its minute the events come
  // after the snapshot. In all other minutes both are packed at the same time.
  void RunMinutes(cloud::Simulator& cloud, Segment& segment, bool watched) {
    std::mt19937 random(static_cast<unsigned>(Number("BRENNIK_WATCHED_SEED", 1)));
    std::optional<test::Watchers> watchers;
    const auto now = [this] { return m_service->Now(); };
    for (int minute = 0; minute < m_minutes; ++minute) {
      if (watched && !watchers) watchers.emplace(now);
      const std::time_t begin = Start() + minute * kMinute;
      segment.Set(0x01030001, minute);
      HistoryWriter().Append(HistoryRows({0x01030001}, begin - kMinute, begin - 1));
      if (minute % kMinutesAnOrder == kMinutesAnOrder - 1) Order(cloud, begin);
      constexpr int kEvents[] = {0, 1, 1, 2, 5, 21, 41};
      const int events = kEvents[random() % std::size(kEvents)];
      const bool refuses = random() % kMinutesARefusal == 0;
      if (refuses) m_service->RunUntil(begin + kMinute / 3);
      RecordEvents(begin, events);
      m_service->RunUntil(begin + kMinute - 1);
      const bool ofAlarms = events > 0 && random() % 2 == 0;
      if (refuses) Refuse(cloud, ofAlarms ? Endpoint::kAlarmData : Endpoint::kRealData);
      if (!watched || minute != m_minutes / 2) continue;
      watchers.reset();
      m_stillness = test::ExpectNothingChanges(m_service->Now());
    }
    m_service->RunFor(kQuietMinutes * kMinute);
  }

  void Refuse(cloud::Simulator& cloud, Endpoint endpoint) {
    cloud.Script(endpoint, {Behaviour::Refuse()});
    ++m_refusals;
  }

  void RecordEvents(std::time_t begin, int count) {
    const auto events = test::AlarmEvents(begin - 50, count);
    EXPECT_EQ(EventWriter().Append(events), events.size());
    m_events.insert(m_events.end(), events.begin(), events.end());
  }

  void Order(cloud::Simulator& cloud, std::time_t now) {
    const auto mark = [](std::time_t when) { return util::TimeMark(*util::LocalTime(when)); };
    const cloud::RecallPoint point{
        .pointId = 1, .beginTime = mark(now - 900), .endTime = mark(now - kMinute)};
    cloud.Order({.id = ++m_orders, .devices = {{.groupId = 1, .eqpId = 3, .points = {point}}}});
  }

  std::vector<test::LedgerRow> m_month;
  std::string m_ledger;
  test::ServiceProcess* m_service = nullptr;
  int m_orders = 0;
  std::mutex m_mutex;
  std::map<std::size_t, std::time_t> m_times;  // of accepted uploads; guarded by m_mutex
};

TEST_F(Watched, CostsTheServiceNothing) {
  std::filesystem::create_directories(test::kWatchersFolder);
  const auto* const holds = NewStatistics<test::LockHolds>(kHolds);
  const test::Environment counted(test::kLockHoldsVariable, kHolds);

  const test::Lived alone = Live(false);
  const test::Lived watched = Live(true);

  CheckComplete(alone);
  CheckComplete(watched);
  const test::Delays delays = test::ExpectSameRounds(alone.uploads, watched.uploads);
  test::ExpectSameTraces(alone, watched);
  auto& ended = test::Watchers::Ended();
  EXPECT_EQ(ended[test::Watchers::kStatuses - 1], 0) << "brennik-status has crashed";
  const int runs = ended[0] + ended[1] + ended[2] + ended[3];
  EXPECT_GT(runs, m_minutes);
  std::printf(
      "watched: %d hours at %d rows with %d refusals, %d runs of brennik-status beside them (%d "
      "said "
      "OK, %d warning, %d critical, %d unknown): %d files and %zu events arrived, %zu missing, %zu "
      "in another round of uploads, %zu later in theirs; the service waited %ju times for a lock, "
      "%s in all (%ju times, %s without the tool); a page held the lock %s on average, %s at most, "
      "of which %s and %s of processor time, %ju times; %d runs at rest: %d paths unchanged\n",
      m_minutes / 60, kRows, m_refusals, runs, ended[0].load(), ended[1].load(), ended[2].load(),
      ended[3].load(), watched.files, watched.events.size(), delays.missing, delays.inAnotherRound,
      delays.laterInTheirRound, watched.waits, Milliseconds(watched.waitedMicroseconds).c_str(),
      alone.waits, Milliseconds(alone.waitedMicroseconds).c_str(), Average(holds->real).c_str(),
      Milliseconds(holds->real.longestMicroseconds).c_str(), Average(holds->processor).c_str(),
      Milliseconds(holds->processor.longestMicroseconds).c_str(), holds->real.times.load(),
      m_stillness.runs, m_stillness.unchanged);
}

}  // namespace
