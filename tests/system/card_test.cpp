// The card and what the service needs beside it in trouble: full, locked, damaged, moved away; and
// what of the data is there when the trouble is over.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "cloud/simulator.h"
#include "support/databasefile.h"
#include "system/support/alarms.h"
#include "system/support/environment.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/file.h"
#include "util/paths.h"

namespace {

namespace fs = std::filesystem;
using test::DatabaseFile;

constexpr char kTools[] = "/tmp/tools";  // before all else in the service's PATH
constexpr char kTar[] = "/tmp/tools/tar";
constexpr char kDay[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7";
constexpr std::uintmax_t kPage = 4096;

// Ends a trouble when it goes.
using Trouble = std::shared_ptr<void>;

Trouble Until(std::function<void()> ending) {
  return {nullptr, [ending = std::move(ending)](void*) { ending(); }};
}

constexpr char kReading[] = "begin; select count(*) from sqlite_master";
constexpr char kAboutToWrite[] = "begin immediate";
constexpr char kWriting[] = "begin exclusive";

Trouble Locked(const std::string& path, const char* lock) {
  auto holder = std::make_shared<DatabaseFile>(path);
  holder->Run(lock);
  return holder;
}

// Leaves that much room on the file system of a directory.
Trouble Full(const std::string& directory, std::uintmax_t room = 0) {
  const std::string ballast = directory + "/ballast";
  const util::Descriptor file(open(ballast.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  posix_fallocate(file.Get(), 0, static_cast<off_t>(fs::space(directory).free - room));
  return Until([=] { fs::remove(ballast); });
}

// Out of the way for a while, with a file of that content in its place, or nothing.
Trouble Replaced(const std::string& path, const std::optional<std::string>& content = {}) {
  fs::rename(path, path + ".aside");
  if (content) test::WriteFile(path, *content);
  return Until([=] {
    fs::remove_all(path);
    if (fs::exists(fs::path(path).parent_path())) fs::rename(path + ".aside", path);
  });
}

Trouble OtherTar(const std::string& script) {
  auto trouble = Replaced(kTar, "#!/bin/sh\n" + script + "\n");
  chmod(kTar, 0755);
  return trouble;
}

// Puts rubbish over the page where a table or an index begins. The ledger is thrown away
// afterwards.
Trouble PageDamaged(const char* type) {
  const auto page = DatabaseFile(paths::kLedger)
                        .Lines(std::string("select rootpage from sqlite_master where type='") +
                               type + "' and tbl_name='tJsonFileNames'");
  std::fstream file(paths::kLedger);
  file.seekp(static_cast<std::streamoff>((std::stoul(page.at(0)) - 1) * kPage));
  file << std::string(kPage, 'x');
  return Until([] { fs::remove(paths::kLedger); });
}

// Whoever started the sandbox makes its card read-only or writable as a file asks, and removes
// that.
constexpr char kSwitch[] = "/tessel/card-switch";

void Switch(const char* mode) {
  test::WriteFile(std::string(kSwitch) + ".new", mode);
  fs::rename(std::string(kSwitch) + ".new", kSwitch);
  while (fs::exists(kSwitch)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

Trouble ReadOnly() {
  Switch("ro");
  return Until([] { Switch("rw"); });
}

struct Row {
  std::string name;
  int from;  // the trouble's first second and its end, after 12:00:00
  int to;
  std::function<Trouble()> begin;
  std::string delivered;  // see Delivered
  bool stops = false;     // the process ends, and is started again when the trouble is over
};

constexpr int Clock(int minute, int second) {
  return minute * 60 + second;
}

// One file waits from the day before. The service starts at 12:04:30, packs at 12:05:00, 12:10:00
// and 12:15:00, and uploads every 90 s from 12:06:00 on. Every trouble is over by 12:12:00.
class Card : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
    test::Empty("/tmp/tools");
    fs::create_directories(kTools);
    fs::create_symlink("/usr/bin/tar", kTar);
    test::SystemFile(m_cloud.Port())
        .Cloud("FailInterval", "90")
        .Cloud("RecallInterval", "60")
        .Write();
    m_waiting = test::PackDataFile(At(11, 55) - 86400);
    test::WriteLedger({{m_waiting}});
  }

  // Lives through the trouble and the first round of uploads behind it.
  void Live(const Row& row) {
    m_service.emplace(At(12, 4, 30));
    m_service->RunUntil(At(12, 0) + row.from);
    Trouble trouble = row.begin();
    m_service->RunUntil(At(12, 0) + row.to);
    if (row.stops) {
      EXPECT_EQ(m_service->ExitStatus(), 128 + SIGABRT);
    }
    trouble.reset();
    if (row.stops) m_service.emplace(At(12, 12));
    m_service->RunUntil(At(12, 17, 20));
  }

  // One sign for each accepted file of live values, sorted: 0 for the one that waited, 1 to 3 for
  // those of 12:05, 12:10 and 12:15, a ? for any other, a ! for a document that is not whole.
  std::string Delivered() const {
    std::string signs;
    for (const auto& upload : m_cloud.AcceptedUploads()) {
      if (upload.endpoint != cloud::Endpoint::kRealData) continue;
      const std::vector<std::string> names{fs::path(m_waiting).filename(), "S20240307120500.tar.gz",
                                           "S20240307121000.tar.gz", "S20240307121500.tar.gz"};
      const auto at = std::ranges::find(names, upload.fileName) - names.begin();
      signs += upload.document == test::EmptyDocument() ? "0123?"[at] : '!';
    }
    std::ranges::sort(signs);
    return signs;
  }

  test::Environment m_path{"PATH", std::string(kTools) + ":" + std::getenv("PATH")};
  cloud::Simulator m_cloud{{.serialNumber = test::kSerialNumber}};
  Segment m_segment{std::vector<SegmentPoint>{{0x01030001, 1}}};
  std::string m_waiting;
  std::optional<test::ServiceProcess> m_service;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class CardTrouble : public Card, public ::testing::WithParamInterface<Row> {};

TEST_P(CardTrouble, CostsWhatItMustAndNoMore) {
  Live(GetParam());

  EXPECT_EQ(Delivered(), GetParam().delivered);
  EXPECT_EQ(test::CountResults(0), 0);
  EXPECT_EQ(test::TextLogTimes("start Send realdata " + std::string(kDay) + "/S20240307121500"),
            std::vector<std::string>{"12:16:30"});
}

// Whoever holds the ledger, and for as long: nothing is lost, nothing is sent twice.
std::vector<Row> LedgerLocks() {
  std::vector<Row> rows;
  const std::pair<const char*, const char*> locks[] = {
      {"Shared", kReading}, {"Reserved", kAboutToWrite}, {"Exclusive", kWriting}};
  for (const auto& [name, lock] : locks) {
    const auto begin = [lock = lock] { return Locked(paths::kLedger, lock); };
    rows.push_back({std::string(name) + "For2s", Clock(5, 0), Clock(5, 2), begin, "0123"});
    rows.push_back({std::string(name) + "For25s", Clock(4, 50), Clock(5, 15), begin, "0123"});
    rows.push_back({std::string(name) + "For5min", Clock(4, 50), Clock(9, 50), begin, "0123"});
    rows.push_back({std::string(name) + "InAMark", Clock(5, 50), Clock(9, 30), begin, "0123"});
  }
  return rows;
}

INSTANTIATE_TEST_SUITE_P(LedgerLocked, CardTrouble, ::testing::ValuesIn(LedgerLocks()),
                         [](const auto& row) { return row.param.name; });

// Content that is none condemns the tree, with what waits in it and the file of that cycle.
INSTANTIATE_TEST_SUITE_P(
    LedgerDamaged, CardTrouble,
    ::testing::Values(Row{"Foreign", Clock(4, 50), Clock(12, 0),
                          [] {
                            test::WriteFile(paths::kLedger, "the shopping list\n");
                            return Trouble();
                          },
                          "23"},
                      Row{"Truncated", Clock(4, 50), Clock(12, 0),
                          [] {
                            fs::resize_file(paths::kLedger, kPage);
                            return Trouble();
                          },
                          "23"},
                      Row{"WithoutItsTable", Clock(4, 50), Clock(12, 0),
                          [] {
                            DatabaseFile(paths::kLedger).Run("drop table tJsonFileNames");
                            return Trouble();
                          },
                          "23"},
                      Row{"InATablePage", Clock(4, 50), Clock(12, 0),
                          [] { return PageDamaged("table"); }, "123"},
                      Row{"InAnIndexPage", Clock(4, 50), Clock(12, 0),
                          [] { return PageDamaged("index"); }, "0123"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(Full, CardTrouble,
                         ::testing::Values(Row{"ForTwoCycles", Clock(4, 50), Clock(12, 0),
                                               [] { return Full(paths::kCardMount); }, "03"},
                                           Row{"WhileATextIsWritten", Clock(4, 50), Clock(5, 0),
                                               [] { return Full(paths::kCardMount); }, "023"},
                                           Row{"WhileAnArchiveIsWritten", Clock(5, 0), Clock(5, 20),
                                               [] { return Full(paths::kCardMount); }, "023"},
                                           Row{"WhileTheLedgerIsWritten", Clock(5, 0), Clock(5, 20),
                                               [] { return Full(paths::kCardMount, kPage); },
                                               "0123"},
                                           Row{"InAMark", Clock(5, 50), Clock(8, 0),
                                               [] { return Full(paths::kCardMount); }, "0123"},
                                           Row{"InTheLogs", Clock(4, 50), Clock(12, 0),
                                               [] { return Full("/tmp"); }, "0123"}),
                         [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Gone, CardTrouble,
    ::testing::Values(Row{"TheTree", Clock(4, 50), Clock(12, 0),
                          [] {
                            fs::remove_all(paths::kCloudTree);
                            return Trouble();
                          },
                          "23", true},
                      Row{"TheDay", Clock(4, 50), Clock(12, 0), [] { return Replaced(kDay); },
                          "023", true},
                      Row{"TheDayForAFile", Clock(4, 50), Clock(12, 0),
                          [] { return Replaced(kDay, ""); }, "023", true},
                      Row{"TheLedger", Clock(4, 50), Clock(12, 0),
                          [] {
                            fs::remove_all(paths::kLedgerDirectory);
                            return Trouble();
                          },
                          "123"},
                      Row{"TheLogsForAFile", Clock(4, 50), Clock(12, 0),
                          [] { return Replaced(paths::kLogDirectory, ""); }, "0123"},
                      Row{"TheLedgersDirectoryForAFile", Clock(4, 50), Clock(12, 0),
                          [] { return Replaced(paths::kLedgerDirectory, ""); }, "0123"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Tar, CardTrouble,
    ::testing::Values(
        Row{"Missing", Clock(4, 50), Clock(12, 0), [] { return OtherTar("exit 127"); }, "03"},
        Row{"Failing", Clock(4, 50), Clock(12, 0), [] { return OtherTar("exit 2"); }, "03"},
        Row{"MakingNothing", Clock(4, 50), Clock(12, 0), [] { return OtherTar("exit 0"); }, "03"},
        Row{"FailingOnce", Clock(5, 0), Clock(5, 1), [] { return OtherTar("exit 2"); }, "0123"}),
    [](const auto& row) { return row.param.name; });

class ReadOnlyCard : public CardTrouble {
 protected:
  void SetUp() override {
    if (std::getenv("BRENNIK_CARD_SWITCH") == nullptr) GTEST_SKIP() << "see scripts/faults card";
    CardTrouble::SetUp();
  }
};

TEST_P(ReadOnlyCard, LosesNothingThatIsOnIt) {
  Live(GetParam());

  EXPECT_EQ(Delivered(), GetParam().delivered);
  EXPECT_EQ(test::CountResults(0), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Card, ReadOnlyCard,
    ::testing::Values(Row{"WhilePacking", Clock(4, 50), Clock(12, 0), ReadOnly, "023", true},
                      Row{"WhileUploading", Clock(5, 50), Clock(9, 50), ReadOnly, "0123"}),
    [](const auto& row) { return row.param.name; });

// The time stands still as long as it hangs.
TEST_F(Card, WithATarThatHangsIsServedOnceTheTarIsKilled) {
  m_service.emplace(At(12, 4, 30));
  Trouble trouble = OtherTar("echo $$ > /tmp/tools/hanging; exec tail -f /dev/null");
  m_service->LetRunUntil(At(12, 8));
  std::string pid;
  while (pid.find('\n') == std::string::npos) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    pid = test::ReadFile("/tmp/tools/hanging");
  }
  trouble.reset();
  kill(std::stoi(pid), SIGKILL);

  m_service->AwaitRest();

  EXPECT_EQ(Delivered(), "01");
}

// What becomes of an event that was recorded before the trouble: "1" when it arrives once, "1+"
// when it may come again.
class EventTrouble : public Card, public ::testing::WithParamInterface<Row> {};

TEST_P(EventTrouble, LosesNoEvent) {
  EventWriter().Append(test::AlarmEvents(At(12, 3), 1));

  Live(GetParam());

  const auto uploads = test::AlarmUploads(m_cloud);
  EXPECT_GE(uploads.size(), 1U);
  if (GetParam().delivered == "1") {
    EXPECT_LE(uploads.size(), 1U);
  }
  EXPECT_EQ(test::TakenFlags(At(12, 3)), std::vector<int>{1});
  EXPECT_EQ(test::CountResults(0), 0);
}

std::string Events() {
  return "/media/mmcblk0p1/202403_event.db";
}

INSTANTIATE_TEST_SUITE_P(
    Database, EventTrouble,
    ::testing::Values(
        Row{"Read", Clock(4, 50), Clock(9, 50), [] { return Locked(Events(), kReading); }, "1+"},
        Row{"Reserved", Clock(4, 50), Clock(9, 50), [] { return Locked(Events(), kAboutToWrite); },
            "1+"},
        Row{"Written", Clock(4, 50), Clock(9, 50), [] { return Locked(Events(), kWriting); }, "1"},
        Row{"Corrupt", Clock(4, 50), Clock(12, 0),
            [] { return Replaced(Events(), std::string(5000, 'x')); }, "1"},
        Row{"WithoutAColumn", Clock(4, 50), Clock(12, 0),
            [] {
              auto trouble = Replaced(Events());
              DatabaseFile(Events()).Run("create table event_tbl(RecordDate, upload)");
              return trouble;
            },
            "1"},
        Row{"OfNullsAndTexts", Clock(4, 50), Clock(12, 0),
            [] {
              DatabaseFile(Events()).Run(
                  "create table loose as select * from event_tbl; drop table event_tbl;"
                  "alter table loose rename to event_tbl;"
                  "update event_tbl set RecordTime=null, threshold='high', grade=null");
              return Trouble();
            },
            "1"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(Card, EventTrouble,
                         ::testing::Values(Row{"Full", Clock(4, 50), Clock(12, 0),
                                               [] { return Full(paths::kCardMount); }, "1+"},
                                           Row{"WithALockedLedger", Clock(4, 50), Clock(9, 50),
                                               [] { return Locked(paths::kLedger, kWriting); },
                                               "1"},
                                           Row{"WithAFailingTar", Clock(4, 50), Clock(5, 2),
                                               [] { return OtherTar("exit 2"); }, "1"}),
                         [](const auto& row) { return row.param.name; });

// One order comes in the trouble, one behind it. The values of both answers are counted.
struct HistoryCase {
  std::string name;
  std::function<Trouble()> begin;
  std::vector<std::size_t> values;
};

class HistoryTrouble : public Card, public ::testing::WithParamInterface<HistoryCase> {
 protected:
  // The minutes from 10:00 to 10:30.
  void Order(int id) {
    m_cloud.Order({.id = id,
                   .devices = {{.groupId = 1,
                                .eqpId = 3,
                                .points = {{.pointId = 0x0001,
                                            .beginTime = "2024-03-07 10:00:00",
                                            .endTime = "2024-03-07 10:30:00"}}}}});
  }
};

TEST_P(HistoryTrouble, IsAnsweredWithoutValuesAndOverWithTheNextOrder) {
  HistoryWriter().Append(HistoryRows({0x01030001}, At(10, 0), At(10, 30)));
  m_service.emplace(At(12, 4, 30));
  Trouble trouble = GetParam().begin();
  Order(7);
  m_service->RunUntil(At(12, 7));
  trouble.reset();
  Order(8);

  m_service->RunUntil(At(12, 9));

  std::vector<std::size_t> values;
  for (const auto& exchange : m_cloud.AcceptedUploads()) {
    if (exchange.recall) values.push_back(exchange.recall->points.at(0).values.size());
  }
  EXPECT_EQ(values, GetParam().values);
}

INSTANTIATE_TEST_SUITE_P(
    Database, HistoryTrouble,
    ::testing::Values(
        HistoryCase{"Written", [] { return Locked(HistoryDatabasePath(), kWriting); }, {0, 31}},
        HistoryCase{"Corrupt",
                    [] { return Replaced(HistoryDatabasePath(), std::string(5000, 'x')); },
                    {0, 31}},
        HistoryCase{"WithoutAColumn",
                    [] {
                      auto trouble = Replaced(HistoryDatabasePath());
                      DatabaseFile(HistoryDatabasePath())
                          .Run("create table history_0103_tbl(dataid, UnixTime, Upload)");
                      return trouble;
                    },
                    {0, 31}},
        HistoryCase{"OfNullsAndTexts",
                    [] {
                      DatabaseFile(HistoryDatabasePath())
                          .Run(
                              "update history_0103_tbl set TriggerValue='high';"
                              "update history_0103_tbl set Upload=null where UnixTime%120=0");
                      return Trouble();
                    },
                    {15, 15}}),
    [](const auto& row) { return row.param.name; });

}  // namespace
