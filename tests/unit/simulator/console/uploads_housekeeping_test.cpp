// What is kept of a long run.
#include "console/uploads/housekeeping.h"

#include <chrono>

#include "acquisition/historywriter.h"
#include "uploadsfixture.h"

namespace {

using namespace test;
using cloud::Simulator;
using console::Budget;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t kPlenty = std::int64_t{1} << 40;

struct Housekeeping : UploadsTest {
  static Budget Plenty() {
    return {.indexBytes = kPlenty,
            .exchanges = kPlenty,
            .wholeExchanges = 0,
            .fileBytes = kPlenty,
            .historyBytes = kPlenty};
  }
  static void Tidy(const Budget& budget) {
    console::Housekeeping({.index = kIndex, .files = kFiles, .history = paths::kDemandHistory},
                          budget)
        .Tidy();
  }
  static void SendThree(const Simulator& cloud) {
    for (const char* stamp : {"20240307110000", "20240307110100", "20240307110200"}) {
      Send(cloud, RealUpload(stamp));
    }
  }
  // Writes a file of `bytes` bytes whose age is so many hours.
  static void WriteOld(const std::string& name, std::size_t bytes, int hours) {
    const std::filesystem::path path = std::string(kFiles) + "/" + name;
    std::filesystem::create_directories(path.parent_path());
    WriteFile(path, std::string(bytes, 'x'));
    std::filesystem::last_write_time(
        path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(hours));
  }

  static constexpr char kFiles[] = "/tmp/console/files";
};

TEST_F(Housekeeping, EmptiesOldExchangesAndKeepsTheirLines) {
  const Simulator cloud({.indexFile = kIndex});
  SendThree(cloud);
  Budget budget = Plenty();
  budget.indexBytes = 0;
  budget.wholeExchanges = 1;

  Tidy(budget);

  const auto list = Ask("/api/uploads");
  EXPECT_EQ(list["total"].GetInt(), 3);
  EXPECT_STREQ(list["uploads"][2]["name"].GetString(), "S20240307110000.tar.gz");
  EXPECT_TRUE(Ask("/api/uploads/one", {{"id", "3"}})["kept"].GetBool());
  const auto emptied = Ask("/api/uploads/one", {{"id", "1"}});
  EXPECT_FALSE(emptied["kept"].GetBool());
  EXPECT_STREQ(emptied["verdict"].GetString(), "accepted");
  EXPECT_STREQ(emptied["curl"].GetString(), "");
  EXPECT_EQ(Get("/api/uploads/archive", {{"id", "1"}}).status, 404);
}

TEST_F(Housekeeping, RemovesExchangesBeyondTheirNumber) {
  const Simulator cloud({.indexFile = kIndex});
  SendThree(cloud);
  Budget budget = Plenty();
  budget.exchanges = 2;

  Tidy(budget);

  EXPECT_THAT(TextsOf(Ask("/api/uploads")["uploads"], "id"), ElementsAre("3", "2"));
}

TEST_F(Housekeeping, RemovesTheOldestFilesBeyondTheirBytes) {
  WriteOld("realdata/new", 5000, 1);
  WriteOld("realdata/old", 5000, 3);
  WriteOld("refused/alarmdata/middle", 1, 2);
  Budget budget = Plenty();
  budget.fileBytes = 12'288;  // two blocks and one

  Tidy(budget);

  EXPECT_THAT(List(std::string(kFiles) + "/realdata"), ElementsAre("new"));
  EXPECT_THAT(List(std::string(kFiles) + "/refused/alarmdata"), ElementsAre("middle"));
}

TEST_F(Housekeeping, RemovesTheOldestHistoryOfEachDevice) {
  HistoryWriter history;
  const std::time_t begin = LocalTimeOf(2024, 3, 7, 10);
  ASSERT_TRUE(history.Append(HistoryRows({0x01030001, 0x02010001}, begin, begin + 99 * 60)));
  Budget budget = Plenty();
  budget.historyBytes = 0;

  Tidy(budget);

  for (const std::uint32_t point : {0x01030001U, 0x02010001U}) {
    const auto rows = history.Rows(point).value_or(std::vector<HistoryRow>());
    EXPECT_EQ(rows.size(), 98U);
    EXPECT_EQ(rows.front().unixTime, begin + 2 * 60);
  }
}

TEST_F(Housekeeping, LeavesWhatIsWithinTheBudget) {
  const Simulator cloud({.indexFile = kIndex});
  SendThree(cloud);
  WriteOld("realdata/old", 5000, 3);
  HistoryWriter history;
  const std::time_t begin = LocalTimeOf(2024, 3, 7, 10);
  ASSERT_TRUE(history.Append(HistoryRows({0x01030001}, begin, begin + 99 * 60)));

  Tidy(Budget());

  EXPECT_TRUE(Ask("/api/uploads/one", {{"id", "1"}})["kept"].GetBool());
  EXPECT_THAT(List(std::string(kFiles) + "/realdata"), ElementsAre("old"));
  EXPECT_EQ(history.Rows(0x01030001).value_or(std::vector<HistoryRow>()).size(), 100U);
}

TEST_F(Housekeeping, MakesNothingWhereNothingIs) {
  Tidy(Plenty());

  EXPECT_FALSE(Exists(kIndex));
  EXPECT_FALSE(Exists(paths::kDemandHistory));
}

}  // namespace
