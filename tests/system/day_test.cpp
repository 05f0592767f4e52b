// Long runs of the service in which every file is accounted for.
#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "system/support/alarms.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;

constexpr int kCycleSeconds = 300;

// The names, below their root, of all data files on the card but the recall archives.
std::vector<std::string> DataFiles() {
  std::vector<std::string> names;
  const std::filesystem::path root = paths::kDataFiles;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) names.push_back(entry.path().lexically_relative(root));
  }
  std::erase_if(names, [](const auto& name) { return name.starts_with("calldata/"); });
  std::ranges::sort(names);
  return names;
}

// The service runs from midnight on, cycle by cycle.
class Day : public test::ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    test::WriteExamplePlant();
  }

  static std::time_t Begin(int cycle) { return At(0, 0) + cycle * kCycleSeconds; }

  // Runs the cycles from `first` to before `end`: the discharge pressure is their number.
  void RunCycles(test::ServiceProcess& service, int first, int end) {
    for (int cycle = first; cycle < end; ++cycle) {
      m_segment.Set(0x01030001, cycle);
      service.RunUntil(Begin(cycle + 1) - 1);
    }
  }

  // The cloud has accepted the file of every cycle once, with the cycle's value and byte for byte
  // as it stands on the card.
  static void ExpectRealData(const cloud::Simulator& cloud, int cycles) {
    std::map<std::string, cloud::Exchange> copies;
    for (const auto& upload : cloud.AcceptedUploads()) {
      if (upload.endpoint != Endpoint::kRealData) continue;
      EXPECT_TRUE(copies.emplace("realdata/7/" + upload.fileName, upload).second)
          << upload.fileName << " was accepted twice";
    }
    EXPECT_EQ(copies.size(), static_cast<std::size_t>(cycles));
    for (int cycle = 0; cycle < cycles; ++cycle) {
      const std::string name = test::RealDataName(Begin(cycle));
      const auto& copy = copies[name];
      EXPECT_EQ(copy.archive, test::ReadFile(test::DataFilePath(name))) << name;
      EXPECT_NE(copy.document.find("\"" + std::to_string(cycle) + ".000\""), std::string::npos)
          << name;
    }
  }

  Segment m_segment{test::ExampleValues()};
};

// Everything that can come in half a day: events, orders, refusals, redirects.
class BusyDay : public Day {
 protected:
  static constexpr int kCycles = 144;
  static constexpr int kCyclesAnOrder = 36;

  void SetUp() override {
    Day::SetUp();
    test::WriteLedger({});
    test::SystemFile(m_cloud.Port(), {.recall = 300}).Write();
    for (const auto endpoint : {Endpoint::kRealData, Endpoint::kAlarmData, Endpoint::kCallData}) {
      m_cloud.Script(endpoint, {Behaviour::Normal(), Behaviour::Refuse(), Behaviour::Normal(),
                                Behaviour::Status(503, "busy"), Behaviour::Nonsense("<html>"),
                                Behaviour::Close()});
    }
  }

  void Live() {
    test::ServiceProcess service(At(0, 0));
    for (int cycle = 0; cycle < kCycles; ++cycle) {
      if (cycle % kCyclesAnOrder == 6) OrderTheHalfHourBefore(Begin(cycle));
      if (cycle == 40) m_cloud.Redirect(kSecondAddress);
      if (cycle == 100) m_cloud.Redirect("127.0.0.1");
      const int burst = cycle == 12 ? 41 : 0;
      const auto events = test::AlarmEvents(Begin(cycle), cycle % 4 == 0 ? 1 + burst : 0);
      EventWriter().Append(events);
      m_events.insert(m_events.end(), events.begin(), events.end());
      HistoryWriter().Append(HistoryRows({0x01030001}, Begin(cycle), Begin(cycle + 1) - 60));
      RunCycles(service, cycle, cycle + 1);
    }
  }

  void OrderTheHalfHourBefore(std::time_t now) {
    const auto mark = [](std::time_t when) { return test::TimesOf({{.time = when}}).front(); };
    m_cloud.Order({.id = ++m_orders,
                   .devices = {{.groupId = 1,
                                .eqpId = 3,
                                .points = {{.pointId = 1,
                                            .beginTime = mark(now - 1800),
                                            .endTime = mark(now - 60)}}}}});
  }

  std::vector<AlarmEvent> m_events;
  int m_orders = 0;
};

TEST_F(BusyDay, LosesNothingOfAnyWorker) {
  Live();

  const auto produced = DataFiles();
  std::vector<std::string> recorded;
  for (const auto& row : test::ReadLedger()) recorded.push_back(row.name);
  EXPECT_EQ(recorded, produced);
  EXPECT_EQ(test::CountResults(0), 0);
  ExpectRealData(m_cloud, kCycles);
  EXPECT_EQ(test::SentAlarmTimes(m_cloud), test::TimesOf(m_events));
  EXPECT_EQ(m_cloud.StandingOrders(), 0U);
  EXPECT_EQ(m_cloud.AcceptedUploads().size(), produced.size() + kCycles / kCyclesAnOrder);
}

TEST_F(Day, CatchesUpAfterHoursWithoutACloud) {
  constexpr int kCycles = 30;
  // The only cloud of these tests that checks the headers.
  std::optional<cloud::Simulator> cloud(std::in_place, cloud::Settings{});
  const int port = cloud->Port();
  cloud.reset();
  test::SystemFile(port).Write();
  test::ServiceProcess service(At(0, 0));
  RunCycles(service, 0, kCycles / 2);
  EXPECT_EQ(test::CountResults(0), kCycles / 2);
  cloud.emplace(cloud::Settings{.port = port});

  RunCycles(service, kCycles / 2, kCycles);

  EXPECT_EQ(test::CountResults(0), 0);
  ExpectRealData(*cloud, kCycles);
}

TEST_F(Day, LosesNothingWhenTheProcessIsKilled) {
  constexpr int kCycles = 36;
  for (const int first : {0, kCycles / 3, 2 * kCycles / 3}) {
    m_segment.Set(0x01030001, first);
    test::ServiceProcess service(Begin(first));
    RunCycles(service, first, first + kCycles / 3);
  }

  EXPECT_EQ(test::CountResults(1), kCycles);
  ExpectRealData(m_cloud, kCycles);
}

}  // namespace
