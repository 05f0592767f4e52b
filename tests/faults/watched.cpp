// brennik-status beside a busy service: the same hours with the tool in loops and without it. It
// may cost the service nothing, and may change nothing on the gateway.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "faults/lockstatistics.h"
#include "faults/watchers.h"
#include "support/databasefile.h"
#include "system/support/alarms.h"
#include "system/support/environment.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/json.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;

constexpr std::time_t kMinute = 60;
constexpr std::time_t kAge = 31 * 86400;
constexpr int kRows = 45000;
constexpr int kQuietMinutes = 4;  // at the end, until everything has arrived
constexpr int kMinutesAnOrder = 20;
constexpr int kRounds = 5;  // of all commands while the service rests
// The clock is read in whole seconds. A wait of a millisecond may cross into the next one.
constexpr std::time_t kToleranceSeconds = 1;

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

// When the cloud accepted what.
using Arrivals = std::map<std::string, std::time_t>;

// What one run of the gateway has shown. Times are the gateway's.
struct Lived {
  Arrivals uploads;  // of live values by name, of events by their time, both together
  int files = 0;     // of live values
  std::vector<std::string> events;       // times, sorted
  std::map<std::string, int> exchanges;  // by endpoint
  std::vector<test::LedgerRow> ledger;
  // Sorted.
  std::vector<std::string> rows;   // of the ledger, with their marks
  std::vector<std::string> log;    // records of both logs
  std::vector<std::string> paths;  // of all files and folders
  std::uint64_t waits = 0;
  std::uint64_t waitedMicroseconds = 0;
};

// Everything that is known of every path of the gateway, but when it was last read.
std::map<std::string, std::string> Snapshot() {
  std::map<std::string, std::string> found;
  const auto add = [&found](const std::string& path) {
    struct stat about {};
    if (lstat(path.c_str(), &about) != 0) return;
    const std::string content = S_ISREG(about.st_mode) ? test::ReadFile(path) : "";
    found[path] = util::Format(
        "mode %o, owner %u:%u, links %ju, inode %ju, %jd bytes, changed %jd.%09ld %jd.%09ld, %zx",
        about.st_mode, about.st_uid, about.st_gid, static_cast<std::uintmax_t>(about.st_nlink),
        static_cast<std::uintmax_t>(about.st_ino), static_cast<std::intmax_t>(about.st_size),
        static_cast<std::intmax_t>(about.st_mtim.tv_sec), about.st_mtim.tv_nsec,
        static_cast<std::intmax_t>(about.st_ctim.tv_sec), about.st_ctim.tv_nsec,
        std::hash<std::string>()(content));
  };
  for (const char* root : {"/media", "/tessel", "/tmp", paths::kCardDevice}) {
    add(root);
    if (!std::filesystem::is_directory(root)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) add(entry.path());
  }
  return found;
}

// A name without its seconds, if it is of an alarm or recall file: these have the second in which
// they were packed, and a wait of a millisecond may cross into the next one.
std::string Comparable(std::string name) {
  const std::size_t at = name.rfind('/') + 1;
  if (name.ends_with(".tar.gz") && name[at] != 'S') name.replace(at + 13, 2, "..");
  return name;
}

class Watched : public test::SystemTest {
 protected:
  Lived Live(bool watched) {
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
    cloud::Simulator cloud({.serialNumber = test::kSerialNumber,
                            .onAcceptedUpload = [this](std::size_t count) { Note(count); }});
    test::SystemFile(cloud.Port(), {.realData = kMinute, .upload = kMinute, .recall = kMinute})
        .Write();
    Segment segment(test::ExampleValues());
    test::ServiceProcess service(Start() - kMinute / 2);
    m_service = &service;
    RunMinutes(cloud, segment, watched);
    EXPECT_EQ(cloud.StandingOrders(), 0U);
    Lived lived = Collect(cloud);
    lived.waits = waits->times;
    lived.waitedMicroseconds = waits->microseconds;
    return lived;
  }

  // Each cycle has its row, accepted once; each event and each old row is there.
  void CheckComplete(const Lived& lived) const {
    std::map<std::string, int> results;
    for (const auto& row : lived.ledger) results[row.name] = row.result;
    for (int minute = 0; minute < m_minutes; ++minute) {
      const std::string name = test::RealDataName(Start() + minute * kMinute);
      EXPECT_TRUE(lived.uploads.contains(test::BaseOf(name))) << name << " has not arrived";
      ASSERT_TRUE(results.contains(name)) << name << " has no row";
      EXPECT_EQ(results[name], 1) << name;
    }
    for (const auto& row : m_month) {
      const bool aged = test::StampOf(row.name) <= test::StampOf(End() - kAge);
      EXPECT_TRUE(aged || results.contains(row.name)) << row.name << " is lost";
    }
    EXPECT_EQ(lived.events, test::TimesOf(m_events));
  }

  // By the gateway's clock, everything comes in the same round of uploads, which begins at a full
  // minute, and no round takes longer. Two files of one stamp may change places within a round: the
  // ledger gives the one first whose row came first. Returns how many came later in their round.
  static int CheckPunctual(const Arrivals& alone, const Arrivals& watched) {
    int later = 0;
    std::map<std::time_t, std::time_t> ends;  // of rounds, without the tool
    for (const auto& [name, when] : alone) {
      ends[when / kMinute] = std::max(ends[when / kMinute], when);
      const auto found = watched.find(name);
      if (found == watched.end()) {
        ADD_FAILURE() << name << " has arrived without the tool only";
        continue;
      }
      EXPECT_EQ(found->second / kMinute, when / kMinute) << name << " came in another round";
      later += found->second > when;
    }
    for (const auto& [name, when] : watched) {
      EXPECT_LE(when, ends[when / kMinute] + kToleranceSeconds) << name << " is late";
    }
    EXPECT_EQ(alone.size(), watched.size());
    return later;
  }

  // Both are sorted. Shows the first differences only.
  static void ExpectSame(const std::vector<std::string>& alone,
                         const std::vector<std::string>& watched) {
    std::vector<std::string> lost;
    std::vector<std::string> added;
    std::ranges::set_difference(alone, watched, std::back_inserter(lost));
    std::ranges::set_difference(watched, alone, std::back_inserter(added));
    EXPECT_TRUE(lost.empty()) << lost.size() << " without the tool only, first " << lost[0];
    EXPECT_TRUE(added.empty()) << added.size() << " with the tool only, first " << added[0];
  }

  const int m_minutes = Number("BRENNIK_WATCHED_HOURS", 1) * 60;
  int m_snapshotPaths = 0;
  int m_snapshotRuns = 0;
  std::vector<AlarmEvent> m_events;

 private:
  static std::time_t Start() { return At(0, 0); }
  std::time_t End() const { return Start() + (m_minutes + kQuietMinutes) * kMinute; }

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

  void RunMinutes(cloud::Simulator& cloud, Segment& segment, bool watched) {
    std::mt19937 random(static_cast<unsigned>(Number("BRENNIK_WATCHED_SEED", 1)));
    std::optional<test::Watchers> watchers;
    const auto now = [this] { return m_service->Now(); };
    for (int minute = 0; minute < m_minutes; ++minute) {
      if (watched && !watchers) watchers.emplace(now);
      const std::time_t begin = Start() + minute * kMinute;
      segment.Set(0x01030001, minute);
      constexpr int kEvents[] = {0, 1, 1, 2, 5, 21, 41};
      const auto events = test::AlarmEvents(begin - 50, kEvents[random() % std::size(kEvents)]);
      EXPECT_EQ(EventWriter().Append(events), events.size());
      m_events.insert(m_events.end(), events.begin(), events.end());
      HistoryWriter().Append(HistoryRows({0x01030001}, begin - kMinute, begin - 1));
      if (minute % kMinutesAnOrder == kMinutesAnOrder - 1) Order(cloud, begin);
      if (random() % 30 == 0) cloud.Script(Endpoint::kRealData, {Behaviour::Refuse()});
      m_service->RunUntil(begin + kMinute - 1);
      if (!watched || minute != m_minutes / 2) continue;
      watchers.reset();
      ExpectNothingChanges();
    }
    m_service->RunFor(kQuietMinutes * kMinute);
  }

  void Order(cloud::Simulator& cloud, std::time_t now) {
    const auto mark = [](std::time_t when) { return util::TimeMark(*util::LocalTime(when)); };
    const cloud::RecallPoint point{
        .pointId = 1, .beginTime = mark(now - 900), .endTime = mark(now - kMinute)};
    cloud.Order({.id = ++m_orders, .devices = {{.groupId = 1, .eqpId = 3, .points = {point}}}});
  }

  // While the service rests, its time stands still and every change is the tool's.
  void ExpectNothingChanges() {
    const auto before = Snapshot();
    const std::time_t now = m_service->Now();
    auto commands = test::QuickCommands(now);
    const auto slow = test::SlowCommands(now);
    commands.insert(commands.end(), slow.begin(), slow.end());
    for (const auto& command : commands) {
      for (int round = 0; round < kRounds; ++round) test::RunStatus(command, now);
      ExpectHarmlessCalls(command, now);
      m_snapshotRuns += kRounds + 1;
    }
    const auto after = Snapshot();
    for (const auto& [path, facts] : after) {
      const auto found = before.find(path);
      ASSERT_NE(found, before.end()) << path << " is new";
      EXPECT_EQ(facts, found->second) << path;
    }
    EXPECT_EQ(after.size(), before.size());
    m_snapshotPaths = static_cast<int>(after.size());
  }

  // Asks the kernel which files the tool opens for writing, makes, removes and renames, and whether
  // it makes a socket.
  static void ExpectHarmlessCalls(const test::Words& command, std::time_t now) {
    const std::string trace = std::string(test::kWatchersFolder) + "/trace";
    const std::string holds = std::string("--unset=") + test::kLockHoldsVariable;
    test::RunStatus(command, now,
                    {"env", holds, "strace", "-f", "-y", "-qq", "-o", trace, "-s", "200", "-e",
                     "trace=%file,%network,ftruncate,fchmod,fchown,fallocate,shmget,semget"});
    const std::regex writes(
        "O_WRONLY|O_RDWR|O_CREAT|O_TRUNC|O_TMPFILE|"
        "\\b(socket|connect|sendto|sendmsg|bind|creat|mkdir|mkdirat|mknod|mknodat|unlink|unlinkat|"
        "rmdir|rename|renameat|renameat2|link|linkat|symlink|symlinkat|truncate|ftruncate|"
        "fallocate|chmod|fchmod|fchmodat|chown|fchown|lchown|fchownat|utime|utimes|utimensat|"
        "setxattr|IPC_CREAT)\\b");
    std::ifstream lines(trace);
    int calls = 0;
    for (std::string line; std::getline(lines, line); ++calls) {
      if (line.find("resumed>") != std::string::npos) continue;  // judged where it began
      if (!std::regex_search(line, writes)) continue;
      // The null device, what the user has named, the library that fakes the time, and tar, which
      // asks this machine for the names of users.
      const bool allowed =
          line.find("\"/dev/null\"") != std::string::npos ||
          line.find(test::kWatchersFolder) != std::string::npos ||
          line.find("faketime_") != std::string::npos ||
          (!command.empty() && command[0] == "report" && line.find("AF_UNIX") != std::string::npos);
      EXPECT_TRUE(allowed) << (command.empty() ? "verdict" : command[0]) << ": " << line;
    }
    EXPECT_GT(calls, 20) << "strace has seen nothing";
  }

  Lived Collect(const cloud::Simulator& cloud) const {
    Lived lived;
    const auto uploads = cloud.AcceptedUploads();
    for (std::size_t i = 0; i < uploads.size(); ++i) {
      const std::time_t when = m_times.at(i);
      if (uploads[i].endpoint == Endpoint::kRealData) {
        ++lived.files;
        EXPECT_TRUE(lived.uploads.emplace(uploads[i].fileName, when).second)
            << uploads[i].fileName << " has arrived twice";
      }
      if (uploads[i].endpoint != Endpoint::kAlarmData) continue;
      rapidjson::Document json;
      json.Parse(uploads[i].document.c_str());
      for (const auto& alarm : json["data"].GetArray()) {
        const char* time = alarm["alarmTime"].GetString();
        EXPECT_TRUE(lived.uploads.emplace(time, when).second) << time << " has arrived twice";
        lived.events.emplace_back(time);
      }
    }
    for (const auto& exchange : cloud.Exchanges()) {
      if (exchange.endpoint) ++lived.exchanges[cloud::Facts(*exchange.endpoint).name];
    }
    std::ranges::sort(lived.events);
    lived.ledger = test::ReadLedger();
    for (const auto& row : lived.ledger) {
      lived.rows.push_back(
          util::Format("%s %d %d", Comparable(row.name).c_str(), row.type, row.result));
    }
    for (const auto& [path, facts] : Snapshot()) lived.paths.push_back(Comparable(path));
    lived.log = Log();
    return lived;
  }

  // The records of both logs without numbers, sorted. None may tell of trouble with the ledger.
  static std::vector<std::string> Log() {
    auto records = test::DatabaseFile(paths::kLogDatabase)
                       .Lines("select log_Type || ' ' || log_Desc from log_tbl");
    for (const auto& name : test::List(paths::kLogDirectory)) {
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

  const Lived alone = Live(false);
  const Lived watched = Live(true);

  CheckComplete(alone);
  CheckComplete(watched);
  const int later = CheckPunctual(alone.uploads, watched.uploads);
  ExpectSame(alone.rows, watched.rows);
  ExpectSame(alone.log, watched.log);
  ExpectSame(alone.paths, watched.paths);
  EXPECT_EQ(alone.exchanges, watched.exchanges);
  auto& ended = test::Watchers::Ended();
  EXPECT_EQ(ended[test::Watchers::kStatuses - 1], 0) << "brennik-status has crashed";
  const int runs = ended[0] + ended[1] + ended[2] + ended[3];
  EXPECT_GT(runs, m_minutes);
  std::printf(
      "watched: %d hours at %d rows, %d runs of brennik-status beside them (%d said OK, %d "
      "warning, "
      "%d critical, %d unknown): %d files and %zu events arrived once and in their round, %d of "
      "them later in it, 0 lost; the service waited %ju times for a lock, %s in all (%ju times, %s "
      "without "
      "the tool); a page held the lock %s on average, %s at most, of which %s and %s of processor "
      "time, %ju times; %d runs at rest: %d "
      "paths unchanged\n",
      m_minutes / 60, kRows, runs, ended[0].load(), ended[1].load(), ended[2].load(),
      ended[3].load(), watched.files, watched.events.size(), later, watched.waits,
      Milliseconds(watched.waitedMicroseconds).c_str(), alone.waits,
      Milliseconds(alone.waitedMicroseconds).c_str(), Average(holds->real).c_str(),
      Milliseconds(holds->real.longestMicroseconds).c_str(), Average(holds->processor).c_str(),
      Milliseconds(holds->processor.longestMicroseconds).c_str(), holds->real.times.load(),
      m_snapshotRuns, m_snapshotPaths);
}

}  // namespace
