// Troubles of the card and of what the service needs beside it, and which data survive them.
#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "acquisition/eventwriter.h"
#include "system/support/alarms.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "system/support/troubles.h"
#include "util/paths.h"

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr char kDay[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7";
constexpr char kEvents[] = "/media/mmcblk0p1/202403_event.db";
constexpr char kHangingTar[] = "/tmp/hanging-tar";  // holds its process number
constexpr std::uintmax_t kPage = 4096;
constexpr char kReading[] = "begin; select count(*) from sqlite_master";
constexpr char kAboutToWrite[] = "begin immediate";
constexpr char kWriting[] = "begin exclusive";

constexpr int Clock(int minute, int second = 0) {
  return minute * 60 + second;
}

struct CardRow {
  std::string name;
  Begin begin;
  std::string delivered;    // see Delivered
  int from = Clock(4, 50);  // when the trouble begins and ends, after 12:00:00
  int to = Clock(12);
  bool stops = false;  // the process ends in the trouble and is started again after it
};

// One file waits from the day before. The service starts at 12:04:30, packs at 12:05:00, 12:10:00
// and 12:15:00, and uploads every 90 s from 12:06:00 on. Every trouble is over by 12:12:00.
class Card : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    SystemFile(m_cloud.Port(), {.upload = 90, .recall = 60}).Write();
    m_waiting = PackDataFile(At(11, 55) - 86400);
    WriteLedger({{m_waiting}});
  }

  // Lives through the trouble and the first round of uploads after it.
  void Live(const CardRow& row) {
    m_service.emplace(At(12, 4, 30));
    m_service->RunUntil(At(12, 0) + row.from);
    Trouble trouble = row.begin();
    if (row.stops) {
      EXPECT_EQ(m_service->RunToItsEnd(At(12, 0) + row.to), 128 + SIGABRT);
    } else {
      m_service->RunUntil(At(12, 0) + row.to);
    }
    trouble.reset();
    if (row.stops) m_service.emplace(At(12, 12));
    m_service->RunUntil(At(12, 17, 20));
  }

  // A sign for each accepted real-data file, sorted: 0 for the one that waited, 1 to 3 for those of
  // 12:05, 12:10 and 12:15, ? for any other, ! for a document that is not whole.
  std::string Delivered() const {
    std::string signs;
    for (const auto& upload : m_cloud.AcceptedUploads()) {
      if (upload.endpoint != cloud::Endpoint::kRealData) continue;
      const std::vector<std::string> names{fs::path(m_waiting).filename(), "S20240307120500.tar.gz",
                                           "S20240307121000.tar.gz", "S20240307121500.tar.gz"};
      const auto at = std::ranges::find(names, upload.fileName) - names.begin();
      signs += upload.document == EmptyDocument() ? "0123?"[at] : '!';
    }
    std::ranges::sort(signs);
    return signs;
  }

  ExchangeableTar m_tar;
  Segment m_segment{ExampleValues()};
  std::string m_waiting;
  std::optional<ServiceProcess> m_service;
};

class CardTrouble : public Card, public ::testing::WithParamInterface<CardRow> {};

TEST_P(CardTrouble, LosesOnlyWhatItMust) {
  Live(GetParam());

  EXPECT_EQ(Delivered(), GetParam().delivered);
  EXPECT_EQ(CountResults(0), 0);
  EXPECT_EQ(CountResults(1), static_cast<int>(Delivered().size()));
}

// Another program's lock on the ledger: nothing is lost and nothing is sent twice.
std::vector<CardRow> LedgerLocks() {
  std::vector<CardRow> rows;
  const std::pair<std::string, const char*> locks[] = {
      {"Shared", kReading}, {"Reserved", kAboutToWrite}, {"Exclusive", kWriting}};
  for (const auto& [name, how] : locks) {
    const Begin lock = Lock(paths::kLedger, how);
    rows.push_back({name + "For2s", lock, "0123", Clock(5), Clock(5, 2)});
    rows.push_back({name + "For25s", lock, "0123", Clock(4, 50), Clock(5, 15)});
    rows.push_back({name + "For5min", lock, "0123", Clock(4, 50), Clock(9, 50)});
    rows.push_back({name + "InAMark", lock, "0123", Clock(5, 50), Clock(9, 30)});
  }
  return rows;
}

constexpr auto kCardRowName = [](const auto& row) { return row.param.name; };

INSTANTIATE_TEST_SUITE_P(LedgerLocked, CardTrouble, ::testing::ValuesIn(LedgerLocks()),
                         kCardRowName);

// If the rows cannot be read, the tree is lost with what waits in it and the file of that cycle.
INSTANTIATE_TEST_SUITE_P(
    LedgerDamaged, CardTrouble,
    ::testing::Values(
        CardRow{"Foreign", Once([] { WriteFile(paths::kLedger, "the shopping list\n"); }), "23"},
        CardRow{"Truncated", Once([] { fs::resize_file(paths::kLedger, kPage); }), "23"},
        CardRow{"NoTable", Run(paths::kLedger, "drop table tJsonFileNames"), "23"},
        CardRow{"TablePage", DamagePage("table"), "23"},
        CardRow{"IndexPage", DamagePage("index"), "0123"}),
    kCardRowName);

INSTANTIATE_TEST_SUITE_P(
    Full, CardTrouble,
    ::testing::Values(
        CardRow{"TwoCycles", Fill(paths::kCardMount), "03"},
        CardRow{"TextWriting", Fill(paths::kCardMount), "023", Clock(4, 50), Clock(5)},
        CardRow{"ArchiveWriting", Fill(paths::kCardMount), "023", Clock(5), Clock(5, 20)},
        CardRow{"LedgerWriting", Fill(paths::kCardMount, kPage), "0123", Clock(5), Clock(5, 20)},
        CardRow{"Marking", Fill(paths::kCardMount), "0123", Clock(5, 50), Clock(8)},
        CardRow{"Logs",
                [] {
                  fs::remove_all(paths::kLogDirectory);  // its files would have room left
                  return Fill("/tmp")();
                },
                "0123"}),
    kCardRowName);

INSTANTIATE_TEST_SUITE_P(
    Gone, CardTrouble,
    ::testing::Values(
        CardRow{"TheTree", Once([] { fs::remove_all(paths::kCloudTree); }), "23", Clock(4, 50),
                Clock(12), true},
        CardRow{"TheDay", Replace(kDay), "023", Clock(4, 50), Clock(12), true},
        CardRow{"TheDayForAFile", Replace(kDay, ""), "023", Clock(4, 50), Clock(12), true},
        CardRow{"TheLogsForAFile", Replace(paths::kLogDirectory, ""), "0123"},
        CardRow{"TheLedger", Once([] { fs::remove_all(paths::kLedgerDirectory); }), "123"},
        CardRow{"TheLedgersDirectoryForAFile", Replace(paths::kLedgerDirectory, ""), "0123"}),
    kCardRowName);

INSTANTIATE_TEST_SUITE_P(Tar, CardTrouble,
                         ::testing::Values(CardRow{"Missing", OtherTar("exit 127"), "03"},
                                           CardRow{"Failing", OtherTar("exit 2"), "03"},
                                           CardRow{"MakingNothing", OtherTar("exit 0"), "03"},
                                           CardRow{"FailingOnce", OtherTar("exit 2"), "0123",
                                                   Clock(5), Clock(5, 1)}),
                         kCardRowName);

class ReadOnlyCard : public CardTrouble {
 protected:
  void SetUp() override {
    if (std::getenv("BRENNIK_CARD_SWITCH") == nullptr) GTEST_SKIP() << "see scripts/faults card";
    CardTrouble::SetUp();
  }
};

TEST_P(ReadOnlyCard, LosesOnlyTheCycleUnderWay) {
  Live(GetParam());

  EXPECT_EQ(Delivered(), GetParam().delivered);
  EXPECT_EQ(CountResults(0), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Card, ReadOnlyCard,
    ::testing::Values(CardRow{"Packing", ReadOnly, "023", Clock(4, 50), Clock(12), true},
                      CardRow{"Uploading", ReadOnly, "0123", Clock(5, 50), Clock(9, 50)}),
    kCardRowName);

// Time stands still as long as tar hangs.
TEST_F(Card, ReceivesFilesAgainOnceAHangingTarIsKilled) {
  fs::remove(kHangingTar);
  m_service.emplace(At(12, 4, 30));
  Trouble trouble =
      OtherTar("echo $$ > " + std::string(kHangingTar) + "; exec tail -f /dev/null")();
  m_service->LetRunUntil(At(12, 8));
  std::string pid;
  while (pid.find('\n') == std::string::npos) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    pid = ReadFile(kHangingTar);
  }
  trouble.reset();
  kill(std::stoi(pid), SIGKILL);

  m_service->AwaitRest();

  EXPECT_EQ(Delivered(), "01");
}

// An event that was recorded before the trouble arrives once, "1", or may come again, "1+".
class EventTrouble : public Card, public ::testing::WithParamInterface<CardRow> {};

TEST_P(EventTrouble, LosesNoEvent) {
  EventWriter().Append(AlarmEvents(At(12, 3), 1));

  Live(GetParam());

  const std::size_t arrived = SentAlarmTimes(m_cloud).size();
  EXPECT_TRUE(arrived == 1 || (arrived > 1 && GetParam().delivered == "1+")) << arrived;
  EXPECT_EQ(TakenFlags(At(12, 3)), std::vector<int>{1});
  EXPECT_EQ(CountResults(0), 0);
}

INSTANTIATE_TEST_SUITE_P(Database, EventTrouble,
                         ::testing::Values(CardRow{"Read", Lock(kEvents, kReading), "1+"},
                                           CardRow{"Reserved", Lock(kEvents, kAboutToWrite), "1+"},
                                           CardRow{"Written", Lock(kEvents, kWriting), "1"},
                                           CardRow{"Corrupt",
                                                   Replace(kEvents, std::string(5000, 'x')), "1"}),
                         kCardRowName);

INSTANTIATE_TEST_SUITE_P(
    Card, EventTrouble,
    ::testing::Values(CardRow{"FullCard", Fill(paths::kCardMount), "1+"},
                      CardRow{"LockedLedger", Lock(paths::kLedger, kWriting), "1"},
                      CardRow{"FailingTar", OtherTar("exit 2"), "1", Clock(4, 50), Clock(5, 2)}),
    kCardRowName);

}  // namespace
}  // namespace test
