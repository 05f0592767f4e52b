// A whole day of all five workers, with every file accounted for.
#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "cloud/simulator.h"
#include "system/support/alarms.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;

constexpr int kCycles = 288;  // of 300 s
constexpr int kCycleSeconds = 300;
constexpr int kOrders = 8;  // of recalls, one every three hours
constexpr char kOther[] = "127.0.0.2";

// How many events come up in a cycle: nothing most of the time, and bursts.
int EventsOf(int cycle) {
  if (cycle % 24 == 12) return 41;
  if (cycle % 24 == 3) return 21;
  return cycle % 4 == 0 ? 1 : 0;
}

// The day, lived through once for all that is asked of it: events and orders come in, the cloud
// refuses now and then, and data traffic is at another address from morning to evening.
class WholeDay : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
    test::WriteLedger({});
    test::SystemFile(m_cloud.Port()).Cloud("RecallInterval", "300").Write();
    for (const auto endpoint : {Endpoint::kRealData, Endpoint::kAlarmData, Endpoint::kCallData}) {
      m_cloud.Script(endpoint, {Behaviour::Normal(), Behaviour::Refuse(), Behaviour::Normal(),
                                Behaviour::Status(503, "busy"), Behaviour::Nonsense("<html>"),
                                Behaviour::Close()});
    }
    LiveThroughTheDay();
  }

  void LiveThroughTheDay() {
    test::ServiceProcess service(At(0, 0));
    for (int cycle = 0; cycle < kCycles; ++cycle) {
      const std::time_t begin = At(0, 0) + cycle * kCycleSeconds;
      if (cycle % (kCycles / kOrders) == 6) Order(begin);
      if (cycle == 80) m_cloud.Redirect(std::string(kOther) + ":8080");
      if (cycle == 200) m_cloud.Redirect("127.0.0.1");
      const auto events = test::AlarmEvents(begin, EventsOf(cycle));
      EventWriter().Append(events);
      m_events.insert(m_events.end(), events.begin(), events.end());
      HistoryWriter().Append(HistoryRows({0x01030001}, begin, begin + kCycleSeconds - 60));
      service.RunUntil(begin + kCycleSeconds - 1);
    }
  }

  // The half hour before.
  void Order(std::time_t now) {
    m_cloud.Order({.id = ++m_orders,
                   .devices = {{.groupId = 1,
                                .eqpId = 3,
                                .points = {{.pointId = 1,
                                            .beginTime = Mark(now - 1800),
                                            .endTime = Mark(now - 60)}}}}});
  }
  static std::string Mark(std::time_t when) { return test::TimesOf({{.time = when}}).front(); }

  // Names below the root of the data files, of every archive on the card.
  static std::vector<std::string> Archives() {
    std::vector<std::string> names;
    const std::filesystem::path root = paths::kDataFiles;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      if (entry.is_regular_file()) names.push_back(entry.path().lexically_relative(root));
    }
    std::ranges::sort(names);
    return names;
  }

  cloud::Simulator m_cloud{{.secondAddress = kOther, .serialNumber = test::kSerialNumber}};
  Segment m_segment{test::ExampleValues()};
  std::vector<AlarmEvent> m_events;
  int m_orders = 0;
};

TEST_F(WholeDay, OfAllWorkersIsAccountedFor) {
  const auto rows = test::ReadLedger();
  std::vector<std::string> produced;
  for (const auto& name : Archives()) {
    if (!name.starts_with("calldata/")) produced.push_back(name);
  }
  std::vector<std::string> recorded;
  for (const auto& row : rows) recorded.push_back(row.name);
  std::map<std::string, std::string> copies;
  for (const auto& upload : m_cloud.AcceptedUploads()) copies[upload.fileName] = upload.archive;

  // Produced is recorded, and recorded is accepted or pending.
  EXPECT_EQ(recorded, produced);
  EXPECT_EQ(test::CountResults(1) + test::CountResults(0), static_cast<int>(rows.size()));
  EXPECT_LE(test::CountResults(0), 1);  // what the last boundary has made
  // The cloud has what was packed, byte for byte, each file once.
  EXPECT_EQ(copies.size(), m_cloud.AcceptedUploads().size());
  for (const auto& name : Archives()) {
    const auto copy = copies.find(name.substr(name.rfind('/') + 1));
    if (copy == copies.end()) continue;
    EXPECT_EQ(copy->second, test::ReadFile(test::DataFilePath(name))) << name;
  }
  EXPECT_EQ(static_cast<int>(copies.size()), test::CountResults(1) + kOrders);
  // Every cycle's values, every event and every order has arrived.
  EXPECT_EQ(std::ranges::count_if(produced, [](auto& n) { return n.starts_with("realdata/"); }),
            kCycles);
  EXPECT_EQ(test::SentAlarmTimes(test::AlarmUploads(m_cloud)), test::TimesOf(m_events));
  EXPECT_EQ(m_cloud.StandingOrders(), 0U);
}

}  // namespace
