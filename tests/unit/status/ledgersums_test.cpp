// The sums of ledgers that no service makes, compared with those of a plain reading of every row.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ledgerreading.h"
#include "util/sqlite.h"

using status::FileCounts;
using status::LedgerRow;
using test::LedgerReading;
using test::RealName;

namespace {

using Rows = std::vector<LedgerRow>;
using Pick = std::function<bool(const LedgerRow&)>;

Rows AllRows() {
  util::Database ledger(paths::kLedger, util::Database::Missing::kFails);
  util::Statement row = ledger.Prepare(
      util::Format("select filename,coalesce(result=0,0) from %s order by rowid", kPendingTable));
  Rows rows;
  while (row.NextRow()) {
    const std::string name(row.Text(0).substr(0, 127));
    const std::string base = name.substr(name.size() < 22 ? name.size() : name.size() - 22);
    const int type = base.starts_with('S')   ? kRealDataFile
                     : base.starts_with('T') ? kAlarmDataFile
                                             : 0;
    rows.push_back({name, type, row.Integer(1) == 0, status::StampOf(name)});
  }
  return rows;
}

std::string NameOf(const std::optional<LedgerRow>& row) {
  return row ? row->name + (row->accepted ? " accepted" : " pending") : "none";
}

// The first one of the newest rows, or of the oldest ones.
std::optional<LedgerRow> Newest(const Rows& rows, const Pick& pick, int sign = 1) {
  std::optional<LedgerRow> newest;
  for (const LedgerRow& row : rows) {
    if (!row.stamp || !pick(row)) continue;
    if (!newest || sign * (*row.stamp - *newest->stamp) > 0) newest = row;
  }
  return newest;
}

FileCounts Counts(const Rows& rows, const Pick& isOfKind) {
  const Pick accepted = [&](const LedgerRow& row) { return isOfKind(row) && row.accepted; };
  const Pick pending = [&](const LedgerRow& row) { return isOfKind(row) && !row.accepted; };
  const auto count = [&](const Pick& pick) {
    return static_cast<std::size_t>(std::count_if(rows.begin(), rows.end(), pick));
  };
  return {count(pending),         count(accepted),       Newest(rows, isOfKind),
          Newest(rows, accepted), Newest(rows, pending), Newest(rows, pending, -1)};
}

std::string TextOf(const FileCounts& counts) {
  return util::Format("%zu pending, %zu accepted; %s; %s; %s; %s", counts.pending, counts.accepted,
                      NameOf(counts.newest).c_str(), NameOf(counts.newestAccepted).c_str(),
                      NameOf(counts.newestPending).c_str(), NameOf(counts.oldestPending).c_str());
}

// What is done to a ledger of 2,508 rows.
struct Change {
  const char* name;
  const char* statements;
};

class LedgerSums : public LedgerReading, public ::testing::WithParamInterface<Change> {
 protected:
  static void MakeMixedLedger() {
    auto ledger = MakeLedger();
    Insert(ledger, RealName("20240207115900"), kRealDataFile, 1);
    Insert(ledger, RealName("20240307100000"));
    InsertMany(ledger, 2500);
    Insert(ledger, "alarmdata/7/T20240307110000.tar.gz", kAlarmDataFile, 1);
    Insert(ledger, RealName("20240307110000"), kRealDataFile, 1);
    Insert(ledger, "alarmdata/7/T20240307090000.tar.gz", kAlarmDataFile);
    Insert(ledger, "alarmdata/7/T20240307103000.tar.gz", kAlarmDataFile);
    Insert(ledger, "realdata/6/S20240306235900.tar.gz", kRealDataFile, 1);
    Insert(ledger, "notes.txt", 0, 1);
    ledger.Run(GetParam().statements);
  }
};

TEST_P(LedgerSums, EqualThoseOfAPlainReading) {
  MakeMixedLedger();
  const std::time_t latest = test::LocalTimeOf(2024, 3, 7, 12);

  const auto sums = status::SumUpLedger(status::Place(), test::kRuns, latest);

  const Rows rows = AllRows();
  const auto isOf = [](int type) { return [=](const LedgerRow& row) { return row.type == type; }; };
  const auto hasCome = [=](const LedgerRow& row) { return *row.stamp <= latest; };
  EXPECT_EQ(sums.ledger.state, status::LedgerState::kGood) << sums.ledger.detail;
  EXPECT_EQ(TextOf(sums.ledger.all), TextOf(Counts(rows, [](const auto&) { return true; })));
  EXPECT_EQ(TextOf(sums.ledger.realData), TextOf(Counts(rows, isOf(kRealDataFile))));
  EXPECT_EQ(TextOf(sums.ledger.alarmData), TextOf(Counts(rows, isOf(kAlarmDataFile))));
  EXPECT_EQ(NameOf(sums.newestByNow), NameOf(Newest(rows, [&](const LedgerRow& row) {
              return row.type == kRealDataFile && hasCome(row);
            })));
  EXPECT_EQ(
      NameOf(sums.newestAcceptedByNow),
      NameOf(Newest(rows, [&](const LedgerRow& row) { return row.accepted && hasCome(row); })));
}

// Columns without a type keep every value as it is; those of a text column compare as texts.
constexpr char kUntyped[] =
    "alter table tJsonFileNames rename to old;"
    "create table tJsonFileNames(filename,filetype,result);"
    "insert into tJsonFileNames select * from old;"
    "update tJsonFileNames set result='0' where rowid%3=0;"
    "update tJsonFileNames set result=0.0 where rowid%3=1;"
    "update tJsonFileNames set result=0.5 where rowid%7=1;"
    "update tJsonFileNames set result=x'30' where rowid%11=1;";
constexpr char kTexts[] =
    "alter table tJsonFileNames rename to old;"
    "create table tJsonFileNames(filename text,filetype text,result text);"
    "insert into tJsonFileNames select * from old;"
    "update tJsonFileNames set result='00' where rowid%3=1;";

INSTANTIATE_TEST_SUITE_P(
    , LedgerSums,
    ::testing::Values(
        Change{"Plain", "select 1"}, Change{"Empty", "delete from tJsonFileNames"},
        Change{"OneFullPage", "delete from tJsonFileNames where rowid>1000"},
        Change{"ManyPending", "update tJsonFileNames set result=0 where rowid<2000"},
        Change{"AllPending", "update tJsonFileNames set result=0"},
        Change{"GapsBetweenRows", "delete from tJsonFileNames where rowid%2=0"},
        Change{"RowsBelowZero", "update tJsonFileNames set rowid=rowid-2000"},
        Change{"FolderAndTypeDisagree",
               "update tJsonFileNames set filetype=3-filetype where filename like '%0307%'"},
        Change{"OtherLetters",
               "update tJsonFileNames set filename=replace(filename,'/S','/X') where rowid%3=0"},
        Change{"StampOfTheFuture",
               "insert into tJsonFileNames values('realdata/8/S20240308000000.tar.gz',2,1),"
               "('realdata/7/S20240307113000.tar.gz',2,0)"},
        Change{"ForeignNamesWithStamps",
               "insert into tJsonFileNames values('zz/S20240307115000.tar.gz',2,1),"
               "('realdata/7/S20240307_20240307115500.tar.gz',2,0),('20240101000000.tar.gz',1,0)"},
        Change{"Nulls",
               "insert into tJsonFileNames values(NULL,NULL,NULL),(NULL,2,0),"
               "('realdata/7/S20240307115000.tar.gz',2,NULL)"},
        Change{"TextsInNumberColumns",
               "insert into tJsonFileNames values('realdata/7/S20240307115000.tar.gz','x','y'),"
               "('realdata/7/S20240307115100.tar.gz',2,'0'),"
               "('realdata/7/S20240307115200.tar.gz','2',x'00'),(x'00ff',2.5,1e300),(7,8,-9)"},
        Change{"LongName",
               "insert into tJsonFileNames values(printf('%0200d.tar.gz',20240307115000),2,1)"},
        Change{"UntypedColumns", kUntyped}, Change{"TextColumns", kTexts}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
