#include "faults/lived.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "faults/stillness.h"
#include "support/databasefile.h"
#include "support/files.h"
#include "util/json.h"
#include "util/paths.h"
#include "util/text.h"

namespace test {
namespace {

using cloud::Endpoint;

constexpr std::time_t kMinute = 60;
// The clock is read in whole seconds. A wait of a millisecond may cross into the next one.
constexpr std::time_t kToleranceSeconds = 1;

// A name without its seconds, if it is of an alarm or recall file: these have the second in which
// they were packed, and a wait of a millisecond may cross into the next one.
std::string Comparable(std::string name) {
  const std::size_t at = name.rfind('/') + 1;
  if (name.ends_with(".tar.gz") && name[at] != 'S') name.replace(at + 13, 2, "..");
  return name;
}

// The records of both logs without numbers, sorted. None may tell of trouble with the ledger.
std::vector<std::string> LogRecords() {
  auto records =
      DatabaseFile(paths::kLogDatabase).Lines("select log_Type || ' ' || log_Desc from log_tbl");
  for (const auto& name : List(paths::kLogDirectory)) {
    if (!name.ends_with("_log.txt")) continue;
    std::ifstream lines(paths::kLogDirectory + ("/" + name));
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(' ')) records.push_back(line);
    }
  }
  for (const auto& record : records) {
    EXPECT_EQ(record.find("ledger:"), std::string::npos) << record;
  }
  for (auto& record : records) {
    std::erase_if(record, [](char c) { return c >= '0' && c <= '9'; });
  }
  std::ranges::sort(records);
  return records;
}

// One accepted upload of live values or events.
void AddArrivals(const cloud::Exchange& upload, std::time_t when, Lived& lived) {
  if (upload.endpoint == Endpoint::kRealData) {
    ++lived.files;
    EXPECT_TRUE(lived.uploads.emplace(upload.fileName, when).second)
        << upload.fileName << " has arrived twice";
  }
  if (upload.endpoint != Endpoint::kAlarmData) return;
  rapidjson::Document json;
  json.Parse(upload.document.c_str());
  for (const auto& alarm : json["data"].GetArray()) {
    const char* time = alarm["alarmTime"].GetString();
    EXPECT_TRUE(lived.uploads.emplace(time, when).second) << time << " has arrived twice";
    lived.events.emplace_back(time);
  }
}

// Shows the first ones only: an alarm file has up to twenty events.
void ExpectNone(const std::vector<std::string>& found, const char* what) {
  EXPECT_TRUE(found.empty()) << found.size() << " " << what << ", first " << found.front()
                             << ", last " << found.back();
}

// Both are sorted.
void ExpectSame(const std::vector<std::string>& alone, const std::vector<std::string>& watched) {
  std::vector<std::string> lost;
  std::vector<std::string> added;
  std::ranges::set_difference(alone, watched, std::back_inserter(lost));
  std::ranges::set_difference(watched, alone, std::back_inserter(added));
  ExpectNone(lost, "without the tool only");
  ExpectNone(added, "with the tool only");
}

}  // namespace

Lived Collect(const cloud::Simulator& cloud, const std::map<std::size_t, std::time_t>& accepted) {
  Lived lived;
  const auto uploads = cloud.AcceptedUploads();
  for (std::size_t i = 0; i < uploads.size(); ++i) AddArrivals(uploads[i], accepted.at(i), lived);
  for (const auto& exchange : cloud.Exchanges()) {
    if (exchange.endpoint) ++lived.exchanges[cloud::Facts(*exchange.endpoint).name];
  }
  std::ranges::sort(lived.events);
  lived.ledger = ReadLedger();
  for (const auto& row : lived.ledger) {
    lived.rows.push_back(
        util::Format("%s %d %d", Comparable(row.name).c_str(), row.type, row.result));
  }
  for (const auto& [path, facts] : Snapshot()) lived.paths.push_back(Comparable(path));
  for (auto* texts : {&lived.rows, &lived.paths}) std::ranges::sort(*texts);
  lived.log = LogRecords();
  return lived;
}

Delays ExpectSameRounds(const Arrivals& alone, const Arrivals& watched) {
  Delays delays;
  std::vector<std::string> lost;
  std::vector<std::string> elsewhere;
  std::vector<std::string> late;
  std::map<std::time_t, std::time_t> ends;  // of rounds, without the tool
  for (const auto& [name, when] : alone) {
    ends[when / kMinute] = std::max(ends[when / kMinute], when);
    const auto found = watched.find(name);
    if (found == watched.end()) {
      lost.push_back(name);
      continue;
    }
    if (found->second / kMinute != when / kMinute) elsewhere.push_back(name);
    delays.laterInTheirRound += found->second > when ? 1U : 0U;
  }
  for (const auto& [name, when] : watched) {
    if (when > ends[when / kMinute] + kToleranceSeconds) late.push_back(name);
  }
  ExpectNone(lost, "arrived without the tool only");
  ExpectNone(elsewhere, "came in another round");
  ExpectNone(late, "came after the end of their round");
  EXPECT_EQ(alone.size(), watched.size());
  delays.missing = lost.size();
  delays.inAnotherRound = elsewhere.size();
  return delays;
}

void ExpectSameTraces(const Lived& alone, const Lived& watched) {
  ExpectSame(alone.rows, watched.rows);
  ExpectSame(alone.log, watched.log);
  ExpectSame(alone.paths, watched.paths);
  EXPECT_EQ(alone.exchanges, watched.exchanges);
}

}  // namespace test
