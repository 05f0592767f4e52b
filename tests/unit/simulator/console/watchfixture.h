// A card, logs and arrivals for the tests of the watch.
#pragma once

#include <string>
#include <vector>

#include "console/watch/watcher.h"
#include "log/log.h"
#include "support/configs.h"
#include "unit/status/ledgerreading.h"
#include "util/json.h"

namespace test {

// The gateway's own paths, with a ledger and one configured point, and a watch on them.
class WatchTest : public LedgerReading {
 protected:
  void SetUp() override {
    LedgerReading::SetUp();
    SysXml()
        .Cloud("checked", "1")
        .Cloud("cloudip", "127.0.0.1")
        .Cloud("port", "8080")
        .Cloud("RealDataInv", "60")
        .Cloud("FailInterval", "30")
        .Write();
    WriteSnXml("Ostra-7K-M", "TS20240117");
    const DeviceFile device = DeviceFile("pump").Node("AI", 1, "Level", "m");
    device.Write();
    ChannelTemplate().Channel(1).Device(3, device.Path(), {{"Desc", "Pump 1"}}).Write();
    m_sources.now = [] { return std::time(nullptr); };
    m_sources.arrivals = [this](long after) {
      std::vector<console::Arrival> newer;
      for (const auto& arrival : m_arrivals) {
        if (arrival.id > after) newer.push_back(arrival);
      }
      return newer;
    };
    // Every look comes a minute after the one before, in real time.
    m_sources.steadyNow = [this] { return m_steady; };
    m_sources.processes = [this] { return m_processes; };
  }

  // A record of the text log at the present time.
  static void Log(const std::string& text, const std::string& level = "INFO") {
    const std::tm now = util::LocalTime(std::time(nullptr)).value_or(std::tm{});
    const std::string path = std::string(paths::kLogDirectory) + "/0307_log.txt";
    WriteFile(path,
              ReadFile(path) + util::TimeMark(now) + " logType:" + level + "\n " + text + "\n");
  }
  void Arrive(const std::string& name, bool accepted) {
    const long id = static_cast<long>(m_arrivals.size()) + 1;
    const auto key = console::KeyOf(name);
    m_arrivals.push_back({id, console::NameOf(key->kind), name, accepted, std::time(nullptr), 1});
  }
  static rapidjson::Document State(const console::Watcher& watcher) {
    rapidjson::StringBuffer text;
    console::JsonWriter json(text);
    json.StartObject();
    watcher.WriteState(json);
    json.EndObject();
    rapidjson::Document state;
    state.Parse(text.GetString());
    EXPECT_FALSE(state.HasParseError()) << text.GetString();
    return state;
  }
  // The reply to a GET as JSON.
  static rapidjson::Document Ask(console::Watcher& watcher, const std::string& path,
                                 const std::map<std::string, std::string>& query = {}) {
    console::Router router;
    watcher.AddRoutes(router);
    const console::Reply reply = router.Gets().at(path)({.query = query});
    EXPECT_EQ(reply.status, 200) << reply.body;
    rapidjson::Document json;
    json.Parse(reply.body.c_str());
    return json;
  }

  // Looks so often that doubts are settled.
  void LookOften(console::Watcher& watcher) {
    for (int look = 0; look < 10; ++look) LookOnce(watcher);
  }
  void LookOnce(console::Watcher& watcher) {
    m_steady += std::chrono::minutes(1);
    watcher.Look();
  }

  std::chrono::steady_clock::time_point m_steady{std::chrono::hours(1)};
  std::vector<console::Arrival> m_arrivals;
  std::vector<console::ProcessSight> m_processes = {
      {"service", true, LocalTimeOf(2024, 3, 7, 11), "running"},
      {"acquisition", true, 0, "running"},
      {"cloud", true, 0, "running"}};
  console::WatchSources m_sources;
};

}  // namespace test
