// A busy gateway for the tools that cut its power and kill its service: the real service on the
// virtual clock, an acquisition side that records events and history, and a cloud that sometimes
// refuses and that orders recalls. It runs inside scripts/sandbox until it is killed:
//
//   busy_gateway attack START SEED  runs cycle after cycle with all workers busy
//   busy_gateway verify START SEED  runs until the end of a cycle after START, with a friendly
//   cloud busy_gateway point START SEED   runs some cycles, rests until it reads a line, and goes
//   on
//
// START is Unix time. Standard output gets "begins" first, "rests" when every thread of the service
// sleeps until the next cycle, "ended STATUS" when the service has ended, and at the end of verify
// "fresh NAME" when the first file after START was accepted within its cycle, otherwise "stale
// NAME". /tmp/events gets the times of all events and /tmp/boundaries the stamps of all cycles, a
// line each, before the service can know of them. /tmp/cloud gets what the cloud has accepted.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <thread>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "cloud/simulator.h"
#include "system/support/alarms.h"
#include "system/support/ledger.h"
#include "system/support/plant.h"
#include "system/support/serviceprocess.h"
#include "util/timetext.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;

constexpr std::time_t kCycleSeconds = 300;
constexpr int kCyclesBeforePoint = 2;
constexpr int kTroubles = 200;
constexpr std::chrono::milliseconds kRest{40};  // in real time
constexpr int kMostPauseMilliseconds = 15;      // until events occur while the service works

std::time_t NearestBoundary(std::time_t when) {
  return (when + kCycleSeconds / 2) / kCycleSeconds * kCycleSeconds;
}

std::string Mark(std::time_t when) {
  return util::TimeMark(*util::LocalTime(when));
}

// The service and its neighbours. Only the main thread uses it; all of them end with it.
class BusyGateway {
 public:
  BusyGateway(std::time_t start, unsigned seed, bool troubled)
      : m_random(seed),
        m_start(start),
        m_stamp(NearestBoundary(start)),
        m_segment(ValuesOf(m_stamp)) {
    test::WriteExamplePlant();
    test::SystemFile(m_cloud.Port()).Cloud("RecallInterval", "60").Write();
    if (troubled) Trouble();
    NoteCycle();
    Record(m_stamp + kVerifyEventsAfter, troubled ? 0 : 1);
    m_service.emplace(start);
  }

  // Runs to the end of the current cycle; false when the service has ended.
  bool LiveCycle() {
    NoteCycle();
    HistoryWriter().Append(HistoryRows({0x01030001}, m_stamp - kCycleSeconds, m_stamp - 60));
    if (Chance(3)) Order();
    m_service->LetRunUntil(m_stamp + kCycleSeconds - 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(Below(kMostPauseMilliseconds)));
    constexpr int kCounts[] = {0, 1, 1, 5, 21, 41};
    Record(m_stamp + kEventsAfter, kCounts[Below(std::size(kCounts))]);
    return Finish();
  }
  // The same without new events, history and orders.
  bool LiveQuietCycle() {
    NoteCycle();
    m_service->LetRunUntil(m_stamp + kCycleSeconds - 1);
    return Finish();
  }

  // After this the next start comes early enough to pack the same file again.
  void LiveUntilNextFileIsRecorded() {
    NoteCycle();
    m_service->RunUntil(m_stamp + kPackedAfter);
  }

  // Whether the latest cycle began after the start.
  bool HasPackedFreshFile() const { return m_stamp - kCycleSeconds > m_start; }
  // Whether the cloud has accepted the file of the latest cycle and the ledger has it marked.
  bool LatestWasAccepted() const {
    const std::string name = LatestName();
    for (const auto& row : test::ReadLedger()) {
      if (row.name == name && row.result == 1) return IsAmongAccepted(name);
    }
    return false;
  }
  std::string LatestName() const { return test::RealDataName(m_stamp - kCycleSeconds); }
  int Status() { return m_service->ExitStatus().value_or(0); }

 private:
  static constexpr std::time_t kEventsAfter = 10;  // from the stamp on, one a second
  static constexpr std::time_t kVerifyEventsAfter = 100;
  static constexpr std::time_t kPackedAfter = 20;

  // Each cycle has a value of its own, which follows from its stamp.
  static std::vector<SegmentPoint> ValuesOf(std::time_t stamp) {
    auto values = test::ExampleValues();
    values[0].value = static_cast<double>(stamp / kCycleSeconds % 100000);
    return values;
  }
  static void Note(std::ofstream& file, const std::string& line) {
    file << line << '\n';
    file.flush();
  }

  void NoteCycle() { Note(m_boundaries, Mark(m_stamp)); }

  unsigned Below(std::size_t end) { return static_cast<unsigned>(m_random() % end); }
  bool Chance(unsigned oneIn) { return Below(oneIn) == 0; }

  bool Finish() {
    m_service->AwaitRest();
    if (m_service->ExitStatus()) return false;
    m_stamp += kCycleSeconds;
    m_segment.Write(ValuesOf(m_stamp));
    std::cout << "rests" << std::endl;
    return true;
  }

  void Record(std::time_t first, int count) {
    const auto events = test::AlarmEvents(first, count);
    for (const auto& time : test::TimesOf(events)) Note(m_events, time);
    EventWriter().Append(events);
  }

  // Orders the history of the half hour before the cycle.
  void Order() {
    m_cloud.Order({.id = static_cast<std::int32_t>(m_stamp % 1000000000),
                   .devices = {{.groupId = 1,
                                .eqpId = 3,
                                .points = {{.pointId = 1,
                                            .beginTime = Mark(m_stamp - 1800),
                                            .endTime = Mark(m_stamp - 60)}}}}});
  }

  void Trouble() {
    for (const auto endpoint : {Endpoint::kRealData, Endpoint::kAlarmData, Endpoint::kCallData}) {
      std::vector<Behaviour> script;
      for (int i = 0; i < kTroubles; ++i) {
        script.insert(script.end(), 1 + Below(8), Behaviour::Normal());
        const Behaviour troubles[] = {Behaviour::Refuse(), Behaviour::Status(503, "busy"),
                                      Behaviour::Close(), Behaviour::Cut()};
        script.push_back(troubles[Below(std::size(troubles))]);
      }
      m_cloud.Script(endpoint, script);
    }
  }

  bool IsAmongAccepted(const std::string& name) const {
    for (const auto& upload : m_cloud.AcceptedUploads()) {
      if (name.ends_with("/" + upload.fileName)) return true;
    }
    return false;
  }

  std::mt19937 m_random;
  const std::time_t m_start;
  std::time_t m_stamp;  // of the current cycle
  Segment m_segment;
  std::ofstream m_events{"/tmp/events", std::ios::app};
  std::ofstream m_boundaries{"/tmp/boundaries", std::ios::app};
  std::ofstream m_lines{"/tmp/cloud-lines", std::ios::app};
  cloud::Simulator m_cloud{
      {.serialNumber = test::kSerialNumber, .uploadFolder = "/tmp/cloud", .lines = &m_lines}};
  std::optional<test::ServiceProcess> m_service;
};

int Ended(BusyGateway& gateway) {
  std::cout << "ended " << gateway.Status() << std::endl;
  return 1;
}

int Attack(BusyGateway& gateway) {
  while (gateway.LiveCycle()) std::this_thread::sleep_for(kRest);
  return Ended(gateway);
}

int Verify(BusyGateway& gateway) {
  while (!gateway.HasPackedFreshFile()) {
    if (!gateway.LiveQuietCycle()) return Ended(gateway);
  }
  const bool accepted = gateway.LatestWasAccepted();
  std::cout << (accepted ? "fresh " : "stale ") << gateway.LatestName() << std::endl;
  gateway.LiveUntilNextFileIsRecorded();
  return accepted ? 0 : 1;
}

int Point(BusyGateway& gateway) {
  for (int cycle = 0; cycle < kCyclesBeforePoint; ++cycle) {
    if (!gateway.LiveCycle()) return Ended(gateway);
  }
  std::cout << "waits" << std::endl;
  std::string line;
  std::getline(std::cin, line);
  return Attack(gateway);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 || std::getenv("BRENNIK_SANDBOX") == nullptr) {
    std::cerr << "usage: scripts/sandbox busy_gateway attack|verify|point START SEED\n";
    return 2;
  }
  setenv("TZ", "CST-8", 1);
  setenv("BRENNIK_VIRTUAL_CLOCK", BRENNIK_LOCK_WAITS ":" BRENNIK_VIRTUAL_CLOCK, 1);
  const std::string task = argv[1];
  std::cout << "begins" << std::endl;
  BusyGateway gateway(std::atoll(argv[2]), static_cast<unsigned>(std::atoll(argv[3])),
                      task == "attack");
  if (task == "verify") return Verify(gateway);
  return task == "point" ? Point(gateway) : Attack(gateway);
}
