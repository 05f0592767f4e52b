// The log database's limit: how many rows it keeps, and which ones go.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "fixture.h"
#include "log/log.h"
#include "util/sqlite.h"

namespace {

using test::kLogDatabase;
using ::testing::ElementsAre;

// Inserts rows with the numbers from `first` to `last`, their numbers as messages.
std::string Rows(int first, int last) {
  return util::Format(
      "with recursive n(i) as (select %d union all select i + 1 from n where i < %d) insert into "
      "log_tbl select i, '2024-03-05', '00:00:00', 'INFO', i from n;",
      first, last);
}

class LogDatabaseSize : public test::LogDatabaseTest {};

TEST_F(LogDatabaseSize, StaysAt10000Rows) {
  EXPECT_EQ(store.Init(), 0);
  store.LogMaxItemSet(1);
  log_init(0);
  Prepare(Rows(1, 10'000));

  Write({"a", "b", "c"});

  EXPECT_THAT(Column("select count(*) || ' from ' || min(Pid) from log_tbl"),
              ElementsAre("10000 from 4"));
  EXPECT_THAT(Column("select log_Desc from log_tbl where Pid > 10000 order by Pid"),
              ElementsAre("a", "b", "c"));
}

TEST_F(LogDatabaseSize, TakesTheWholeOfABatchThatIsLargerThanTheLimit) {
  store.LogMaxItemSet(2);
  Prepare(Rows(1, 2));

  Write({"a", "b", "c"});

  EXPECT_THAT(Messages(), ElementsAre("a", "b", "c"));
}

TEST_F(LogDatabaseSize, DeletesTheSmallestNumbersForWhatIsComing) {
  const struct {
    int max;
    int incoming;
    std::vector<std::string> left;
  } rows[] = {
      {5, 1, {"5", "6", "20", "21"}},
      {4, 1, {"6", "20", "21"}},
      {2, 1, {"21"}},
      {3, 100, {}},
  };

  for (const auto& row : rows) {
    Prepare("delete from log_tbl;" + Rows(20, 21) + Rows(5, 6));
    util::Database database(kLogDatabase);
    store.CheckSizeAndClear(database.Get(), "log_tbl", row.max, row.incoming);
    EXPECT_EQ(Messages(), row.left) << row.max << ' ' << row.incoming;
  }
}

TEST_F(LogDatabaseSize, SaysThatRowsCannotBeDeletedAndGoesOn) {
  store.LogMaxItemSet(1);
  Prepare(Rows(1, 1) +
          "create trigger t before delete on log_tbl begin select raise(abort, 'kept'); end");
  testing::internal::CaptureStdout();

  EXPECT_EQ(Write({"a"}), 0);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Delete Date from log_tbl failed. kept");
  EXPECT_THAT(Messages(), ElementsAre("1", "a"));
}

TEST_F(LogDatabaseSize, CountsRowsAndReportsAMissingTable) {
  Prepare(Rows(1, 10) + "create table other(a)");
  const util::Database database(kLogDatabase);
  testing::internal::CaptureStdout();

  EXPECT_EQ(store.GetTableSize(database.Get(), "log_tbl"), 10);
  EXPECT_EQ(store.GetTableSize(database.Get(), "other"), 0);
  EXPECT_EQ(store.GetTableSize(database.Get(), std::string(1000, 'x').c_str()), -1);

  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "SQL error: no such table: " + std::string(254 - 21, 'x') + "\n");
}

}  // namespace
