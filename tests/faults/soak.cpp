// Months of gateway time with faults on and off. Nothing that the service takes may keep growing.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "cloud/simulator.h"
#include "faults/gauges.h"
#include "system/support/ledger.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/json.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;

constexpr std::time_t kSlice = 300;
constexpr std::time_t kHour = 3600;
constexpr std::time_t kDay = 86400;
constexpr std::time_t kAge = 31 * kDay;
constexpr int kSlicesAnHour = 12;
constexpr std::time_t kAgeingLag = 3 * kHour;  // cycles without live values do not age the ledger
constexpr char kOther[] = "127.0.0.2";
constexpr char kNowhere[] = "127.0.0.3";
constexpr Endpoint kUploads[] = {Endpoint::kRealData, Endpoint::kAlarmData, Endpoint::kCallData};

enum Fault { kNone, kRefusing, kClosing, kDown, kRedirected, kNoSegment, kLocked, kKilled };
constexpr const char* kFaultNames[] = {"none",       "refusing",   "closing", "down",
                                       "redirected", "no segment", "locked",  "killed"};

int Number(const char* variable, int otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : util::Decimal(text);
}

// Whether the stamp is of the hour that the end of summer time repeats.
bool ComesTwice(std::time_t when) {
  return test::StampOf(when) == test::StampOf(when - kHour) ||
         test::StampOf(when) == test::StampOf(when + kHour);
}

class Soak : public test::SystemTest {
 protected:
  // Lives in a zone with summer time.
  void SetUp() override {
    SystemTest::SetUp();
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
  }

  void Begin() {
    m_samples << "day,resident kB,private dirty kB,threads,descriptors,archives,recalls,leftovers,"
                 "rows,pending,log kB\n";
    m_now = On(2024, 10, 25) + 250;  // a second at which the workers usually sleep
    test::WriteExamplePlant();
    WriteFullLedger();
    StartCloud();
    m_segment.emplace(test::ExampleValues());
    test::SystemFile(m_cloud->Port()).Cloud("RecallInterval", "300").Write();
    m_service = std::make_unique<test::ServiceProcess>(m_now);
  }

  // Writes 31 days of accepted files. From the first hour on the oldest are dropped.
  void WriteFullLedger() {
    std::vector<test::LedgerRow> rows;
    for (std::time_t age = kSlice; age < kAge; age += kSlice) {
      const std::string name = test::RealDataName(m_now - age);
      if (!m_known.insert(name).second) continue;  // of an hour that came twice
      test::WriteFile(test::DataFilePath(name), "data");
      m_arrived.insert(test::BaseOf(name));
      rows.push_back({name, test::kRealDataType, 1});
    }
    test::WriteLedger(rows);
  }

  // Runs for a slice, which sometimes begins with events.
  void RunSlice() {
    if (m_random() % 12 == 0) RaiseEvents(m_random() % 4 == 0 ? 45 : 1);
    m_now += kSlice;
    m_service->RunUntil(m_now);
  }

  // Half of the hours have no fault. Kills come in every fifth night, so that most runs are long.
  Fault Choose(int hour) {
    if (hour % 120 > 42 && hour % 120 < 48) return kKilled;
    if (m_random() % 2 == 0) return kNone;
    const auto fault = static_cast<Fault>(m_random() % kKilled);
    return fault == kLocked && Number("BRENNIK_SOAK_LOCKS", 1) == 0 ? kNone : fault;
  }

  void RunAnHour(Fault fault) {
    ++m_faults[fault];
    const int slices = 1 + static_cast<int>(m_random() % (kSlicesAnHour - 3));
    for (int slice = 0; slice < kSlicesAnHour; ++slice) {
      if (slice == 1) Begin(fault);
      if (slice == 1 + slices) End(fault);
      RunSlice();
    }
    ASSERT_FALSE(m_service->ExitStatus()) << m_service->Output();
    CollectUploads();
    Look();
  }

  void Begin(Fault fault) {
    if (fault == kNone && m_cloud && m_random() % 8 == 0) Order();
    if (fault == kRefusing) {
      const auto trouble =
          m_random() % 2 == 0 ? Behaviour::Refuse() : Behaviour::Status(503, "busy");
      for (const auto endpoint : kUploads) m_cloud->Script(endpoint, {5, trouble});
      m_cloud->Script(Endpoint::kRecallCheck, {2, trouble});
    }
    if (fault == kClosing) {
      for (const auto endpoint : kUploads) {
        m_cloud->Script(endpoint, {Behaviour::Close(), Behaviour::Cut(), Behaviour::Nonsense("<")});
      }
      // A silent cloud takes real time, so it is rare.
      if (++m_silences % 24 == 0) {
        m_cloud->Script(Endpoint::kSkipAddress, {Behaviour::Stall(std::chrono::seconds(60))});
      }
    }
    if (fault == kDown) StopCloud();
    if (fault == kRedirected) m_cloud->Redirect(m_random() % 2 == 0 ? kOther : kNowhere);
    if (fault == kNoSegment) m_segment.reset();
    if (fault == kLocked) LockLedger();
    if (fault == kKilled) Kill();
  }

  void End(Fault fault) {
    if (fault == kDown) StartCloud();
    if (fault == kRedirected) m_cloud->Redirect("127.0.0.1");
    if (fault == kNoSegment) m_segment.emplace(test::ExampleValues());
  }

  void StopCloud() {
    CollectUploads();
    m_cloud.reset();
  }
  void StartCloud() {
    m_cloud = std::make_unique<cloud::Simulator>(
        cloud::Settings{.port = m_port,
                        .secondAddress = kOther,
                        .serialNumber = test::kSerialNumber,
                        .exchangesRemembered = 2000,
                        .onAcceptedUpload = [this](std::size_t count) { m_uploads = count; }});
    m_port = m_cloud->Port();
    m_uploads = 0;
    m_collected = 0;
  }

  // Another program locks the ledger across a boundary, for up to a minute.
  void LockLedger() {
    util::Database other(paths::kLedger);
    const std::string how[] = {"begin; select * from tJsonFileNames", "begin immediate",
                               "begin exclusive"};
    EXPECT_TRUE(other.Execute(how[m_random() % std::size(how)]));
    m_service->RunUntil(m_now + 49 + static_cast<std::time_t>(m_random() % 60));
    other.Execute("rollback");
  }

  // Kills the service at a random moment of the next slice and starts it again.
  void Kill() {
    m_service->LetRunUntil(m_now + kSlice);
    std::this_thread::sleep_for(std::chrono::microseconds(m_random() % 30000));
    const std::time_t when = m_service->Now();
    m_service.reset();
    m_kills.push_back(std::max(when, m_now));
    if (m_random() % 2 == 0) m_cloud->Script(Endpoint::kAuthorize, {Behaviour::Refuse()});
    m_service = std::make_unique<test::ServiceProcess>(std::max(when, m_now) + 1);
  }

  void RaiseEvents(int count) {
    std::vector<AlarmEvent> events;
    for (; count > 0; --count) {
      m_events.push_back(m_now);  // the event's value is its number
      events.push_back({.time = m_now,
                        .dataId = 0x01030001,
                        .threshold = 30,
                        .triggerValue = static_cast<double>(m_events.size() - 1)});
    }
    EXPECT_EQ(EventWriter().Append(events), events.size());
  }

  void Order() {
    const auto mark = [this](std::time_t age) {
      return util::TimeMark(*util::LocalTime(m_now - m_now % 60 - age));
    };
    HistoryWriter().Append(HistoryRows({0x01030001}, m_now - 1800, m_now));
    const cloud::RecallPoint point{.pointId = 1, .beginTime = mark(1500), .endTime = mark(60)};
    m_cloud->Order({.id = ++m_orders, .devices = {{.groupId = 1, .eqpId = 3, .points = {point}}}});
  }

  void CollectUploads() {
    if (!m_cloud) return;
    const std::size_t fresh = m_uploads - m_collected;
    const auto uploads = m_cloud->AcceptedUploads();
    ASSERT_LE(fresh, uploads.size());
    for (auto upload = uploads.end() - static_cast<std::ptrdiff_t>(fresh); upload != uploads.end();
         ++upload) {
      if (!m_arrived.insert(upload->fileName).second) ++m_sentTwice;
      if (upload->endpoint == Endpoint::kAlarmData) CollectEvents(upload->document);
    }
    m_collected = m_uploads;
  }

  void CollectEvents(const std::string& document) {
    rapidjson::Document json;
    json.Parse(document.c_str());
    for (const auto& alarm : json["data"].GetArray()) {
      const char* value = alarm["alarmValues"][0]["values"][0]["value"].GetString();
      m_arrivedEvents.insert(static_cast<std::size_t>(util::Decimal(value)));
    }
  }

  // Counts the files, rows and resources and compares them with the last look.
  void Look() {
    int archives = 0;
    int recalls = 0;
    int leftovers = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(paths::kCloudTree)) {
      const std::string path = entry.path();
      if (!entry.is_regular_file() || path.starts_with(paths::kLedger)) continue;
      const bool whole = path.ends_with(".tar.gz");
      ++(!whole ? leftovers : path.starts_with(paths::kCallData) ? recalls : archives);
    }
    int pending = 0;
    std::set<std::string> rows;
    for (const auto& row : test::ReadLedger()) {
      rows.insert(row.name);
      pending += row.result == 0;
      if (row.result == 0 || m_known.contains(row.name)) continue;
      EXPECT_TRUE(m_arrived.contains(test::BaseOf(row.name))) << row.name << " never arrived";
    }
    CheckGone(rows);
    CheckThere(rows);
    m_known = rows;
    m_mostRows = std::max(m_mostRows, rows.size());
    std::uintmax_t logBytes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(paths::kLogDirectory)) {
      logBytes += entry.file_size();
    }
    const auto gauges = test::ReadGauges(m_service->Pid());
    Compare(gauges);
    m_samples << (++m_looks) / 24.0 << ',' << gauges.residentKilobytes << ','
              << gauges.privateDirtyKilobytes << ',' << gauges.threads << ',' << gauges.descriptors
              << ',' << archives << ',' << recalls << ',' << leftovers << ',' << rows.size() << ','
              << pending << ',' << logBytes / 1024 << '\n';
    m_strays = archives - static_cast<int>(rows.size());
    m_leftovers = leftovers;
    m_pending = pending;
  }

  // A row may only go when it is 31 days old.
  void CheckGone(const std::set<std::string>& rows) {
    for (const auto& name : m_known) {
      if (rows.contains(name)) continue;
      EXPECT_LE(test::StampOf(name), test::StampOf(m_now - kAge)) << name << " is lost";
      EXPECT_TRUE(m_arrived.contains(test::BaseOf(name))) << name << " was aged before it arrived";
      ++m_aged;
    }
  }

  // A row may not stay much longer than 31 days, and has its file.
  void CheckThere(const std::set<std::string>& rows) {
    for (const auto& name : rows) {
      EXPECT_GT(test::StampOf(name), test::StampOf(m_now - kAge - kAgeingLag))
          << name << " is not aged";
      if (m_known.contains(name)) continue;
      ++m_recorded;
      EXPECT_TRUE(test::Exists(test::DataFilePath(name))) << name;
    }
  }

  // Keeps the highest of the first day and the highest of all later days.
  void Compare(const test::Gauges& gauges) {
    auto& most = m_looks < 24 ? m_first : m_later;
    most.residentKilobytes = std::max(most.residentKilobytes, gauges.residentKilobytes);
    most.privateDirtyKilobytes = std::max(most.privateDirtyKilobytes, gauges.privateDirtyKilobytes);
    most.peakKilobytes = std::max(most.peakKilobytes, gauges.peakKilobytes);
    most.threads = std::max(most.threads, gauges.threads);
    most.descriptors = std::max(most.descriptors, gauges.descriptors);
  }

  // Counts the events that never arrived. Only a kill and the hour that comes twice may lose one.
  int CountLostEvents() const {
    int lost = 0;
    for (std::size_t number = 0; number < m_events.size(); ++number) {
      if (m_arrivedEvents.contains(number)) continue;
      ++lost;
      const std::time_t raised = m_events[number];
      const bool killed = std::ranges::any_of(
          m_kills, [=](std::time_t kill) { return kill >= raised && kill <= raised + kSlice; });
      EXPECT_TRUE(killed || ComesTwice(raised))
          << "an event of " << test::StampOf(raised) << " is lost";
    }
    return lost;
  }

  void CheckEnd() {
    EXPECT_EQ(m_pending, 0);
    EXPECT_EQ(m_cloud->StandingOrders(), 0U);
    const int kills = static_cast<int>(m_kills.size());
    EXPECT_LE(m_strays + m_leftovers, kills) << "archives without rows, texts without archives";
    EXPECT_LE(m_sentTwice, kills + m_faults[kClosing] + m_faults[kLocked]);
  }

  // Later days may take no more than the first, apart from what the allocator keeps.
  void CheckBounds() {
    EXPECT_LE(m_later.privateDirtyKilobytes, m_first.privateDirtyKilobytes + 1024);
    EXPECT_LE(m_later.threads, m_first.threads);
    EXPECT_LE(m_later.descriptors, m_first.descriptors);
  }

  void Report() const {
    std::printf("soak: %.1f days (", m_looks / 24.0);
    for (const auto& [fault, hours] : m_faults) std::printf("%s %d h, ", kFaultNames[fault], hours);
    std::printf("%zu kills, %d recalls): %d files recorded, %d of them aged by rule, %d pending, ",
                m_kills.size(), m_orders, m_recorded, m_aged, m_pending);
    std::printf("%d sent twice; %d of %zu events lost; at most %zu rows, %d stray files; ",
                m_sentTwice, CountLostEvents(), m_events.size(), m_mostRows,
                m_strays + m_leftovers);
    std::printf("private dirty %d kB on the first day, %d kB later, peak %d and %d kB; ",
                m_first.privateDirtyKilobytes, m_later.privateDirtyKilobytes, m_first.peakKilobytes,
                m_later.peakKilobytes);
    std::printf("%d threads, %d descriptors at most\n", m_later.threads, m_later.descriptors);
  }

  std::mt19937 m_random{static_cast<unsigned>(Number("BRENNIK_SOAK_SEED", 1))};
  int m_port = 0;
  std::unique_ptr<cloud::Simulator> m_cloud;
  std::optional<Segment> m_segment;
  std::unique_ptr<test::ServiceProcess> m_service;
  std::time_t m_now = 0;
  int m_looks = 0;
  std::ofstream m_samples{std::getenv("BRENNIK_SOAK_SAMPLES")};
  std::map<Fault, int> m_faults;
  std::vector<std::time_t> m_kills;
  int m_silences = 0;
  int m_orders = 0;
  std::vector<std::time_t> m_events;      // when each occurred, by number
  std::set<std::size_t> m_arrivedEvents;  // numbers
  std::atomic<std::size_t> m_uploads = 0;
  std::size_t m_collected = 0;
  std::set<std::string> m_arrived;  // file names
  std::set<std::string> m_known;    // the ledger's names at the last look
  std::size_t m_mostRows = 0;
  test::Gauges m_first;
  test::Gauges m_later;
  int m_recorded = 0;
  int m_aged = 0;
  int m_sentTwice = 0;
  int m_strays = 0;
  int m_leftovers = 0;
  int m_pending = 0;
};

TEST_F(Soak, TakesNoMoreLaterAndLosesNothing) {
  const int days = Number("BRENNIK_SOAK_DAYS", 3);
  Begin();

  for (int hour = 0; hour < days * 24 - 3 && !HasFailure(); ++hour) {
    // Every twentieth day has no cloud at all.
    if (hour % 480 == 312) StopCloud();
    if (hour % 480 == 336) StartCloud();
    RunAnHour(m_cloud ? Choose(hour) : kNone);
  }
  if (!m_cloud) StartCloud();
  for (int hour = 0; hour < 3 && !HasFailure(); ++hour) RunAnHour(kNone);

  if (!HasFailure()) CheckEnd();
  CheckBounds();
  Report();
}

}  // namespace
