#include "judge/gaps.h"

#include <map>
#include <string>
#include <vector>

#include "historydata/historydata.h"
#include "support/gateway.h"

namespace {

using status::Cause;
using status::Gap;
using status::Hour;
using status::Packed;
using test::LocalTimeOf;

constexpr long kInterval = 300;

// The tests' day.
std::time_t At(int hour, int minute, int second = 0) {
  return LocalTimeOf(2024, 3, 7, hour, minute, second);
}

// Accepted files at every boundary from `first` to `last`.
std::vector<Packed> Every(std::time_t first, std::time_t last, long interval = kInterval) {
  std::vector<Packed> files;
  for (std::time_t stamp = first; stamp <= last; stamp += interval) files.push_back({stamp, true});
  return files;
}

std::vector<Packed> operator+(std::vector<Packed> files, const std::vector<Packed>& more) {
  files.insert(files.end(), more.begin(), more.end());
  return files;
}

class GapsTest : public test::GatewayTest {};

std::string HoursText(const std::vector<Packed>& files, std::time_t now) {
  const std::map<Hour, char> signs = {
      {Hour::kNone, ' '},   {Hour::kBefore, '-'},  {Hour::kFuture, '.'},  {Hour::kNothing, 'x'},
      {Hour::kPartly, '+'}, {Hour::kPending, 'o'}, {Hour::kComplete, '#'}};
  std::string text;
  for (const Hour hour : status::HoursOfDay(files, kInterval, now, now)) text += signs.at(hour);
  return text;
}

TEST_F(GapsTest, CountsOnlyLiveValuesWithAStamp) {
  status::PackedFiles files;
  files.Add({"realdata/7/S20240307040500.tar.gz", kRealDataFile, true, At(4, 5)});
  files.Add({"realdata/7/S20240307040000.tar.gz", kRealDataFile, false, At(4, 0)});
  files.Add({"realdata/7/S20240307041000.tar.gz", kRealDataFile, true, At(4, 10)});
  files.Add({"realdata/7/S20240307042000.tar.gz", kRealDataFile, true, At(4, 20)});
  files.Add({"alarmdata/7/T20240307040100.tar.gz", kAlarmDataFile, true, At(4, 1)});
  files.Add({"strange", kRealDataFile, true, {}});
  files.Sort();
  ASSERT_EQ(files.All().size(), 4U);
  EXPECT_EQ(files.All().front().stamp, At(4, 0));
  EXPECT_EQ(files.MostFrequentDistance(), kInterval);
  EXPECT_EQ(status::PackedFiles().MostFrequentDistance(), 0);
}

TEST_F(GapsTest, JudgesEachHourOfADay) {
  std::vector<Packed> files = Every(At(2, 30), At(5, 30)) + Every(At(7, 5), At(9, 55));
  files.back().accepted = false;
  EXPECT_EQ(HoursText(files, At(10, 2)), "--###+x+#o..............");
  // What is due by now: the file of 9:55 may still be on its way at 9:59, the one of 9:50 not.
  EXPECT_EQ(HoursText(Every(At(8, 0), At(9, 50)), At(9, 59)), "--------##..............");
  EXPECT_EQ(HoursText(Every(At(8, 0), At(9, 45)), At(9, 59)), "--------#+..............");
  EXPECT_EQ(HoursText({}, At(10, 0)), "-----------.............");
}

TEST_F(GapsTest, JudgesTheHoursOfDaysWithAnotherClockTime) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  const auto day = [](int month, int date) {
    const std::time_t begin = LocalTimeOf(2024, month, date);
    const std::vector<Packed> files = Every(begin - 3600, begin + 90000);
    std::string text;
    for (const Hour hour : status::HoursOfDay(files, kInterval, begin + 43200, begin + 200000)) {
      text += hour == Hour::kComplete ? '#' : hour == Hour::kNone ? ' ' : '?';
    }
    return text;
  };
  EXPECT_EQ(day(3, 31), "## #####################");
  EXPECT_EQ(day(10, 27), "########################");
}

TEST_F(GapsTest, FindsWhereFilesAreMissing) {
  const std::vector<Packed> files =
      Every(At(2, 0), At(3, 0)) + Every(At(3, 10), At(4, 0)) + Every(At(6, 0), At(11, 30));
  const std::vector<Gap> gaps = status::FindGaps(files, kInterval, At(0, 0), At(12, 0));
  ASSERT_EQ(gaps.size(), 3U);
  EXPECT_EQ(gaps[0].from, At(3, 0));
  EXPECT_EQ(gaps[0].to, At(3, 10));
  EXPECT_EQ(gaps[0].missing, 1);
  EXPECT_EQ(gaps[1].missing, 23);
  EXPECT_FALSE(gaps[1].isOpen);
  EXPECT_TRUE(gaps[2].isOpen);
  EXPECT_EQ(gaps[2].missing, 5);
  EXPECT_EQ(status::FindGaps(files, kInterval, At(4, 0), At(11, 39)).size(), 1U);
  EXPECT_TRUE(status::FindGaps({}, kInterval, At(0, 0), At(12, 0)).empty());
}

TEST_F(GapsTest, PassesOverFilesOfTheFuture) {
  const std::vector<Packed> files = Every(At(2, 0), At(3, 0)) + Every(At(20, 0), At(21, 0));
  EXPECT_TRUE(status::FindGaps(files, kInterval, At(0, 0), At(3, 4)).empty());
}

TEST_F(GapsTest, TakesASteadyDistanceAsOneGap) {
  const std::vector<Gap> gaps = status::FindGaps(
      Every(At(2, 0), At(3, 0), 900) + Every(At(3, 5), At(4, 0)), kInterval, At(0, 0), At(4, 2));
  ASSERT_EQ(gaps.size(), 1U);
  EXPECT_EQ(gaps[0].cause, Cause::kOtherPace);
  EXPECT_EQ(gaps[0].missing, 8);
  EXPECT_EQ(status::CauseText(gaps[0]),
            "a file every 900 s: another interval was set, or making a file takes longer");
}

struct LoggedMessage {
  std::time_t time;
  const char* text;
};

// The gap between 4:00 and 6:00 after these records.
Gap Judged(const std::vector<LoggedMessage>& records) {
  std::vector<Gap> gaps = status::FindGaps(Every(At(2, 0), At(4, 0)) + Every(At(6, 0), At(7, 0)),
                                           kInterval, At(0, 0), At(7, 1));
  status::CauseFinder finder(gaps, kInterval);
  for (const LoggedMessage& each : records) {
    status::LogRecord record;
    record.time = each.time;
    record.text = each.text;
    finder.Take(record);
  }
  finder.Finish();
  return gaps.at(0);
}

TEST_F(GapsTest, FindsTheLikelyCauseOfAGap) {
  const LoggedMessage before{At(3, 0), "real IP has become 127.0.0.1"};
  struct Row {
    const char* name;
    std::vector<LoggedMessage> records;
    Cause cause;
    const char* text;
  };
  const std::vector<Row> rows = {
      {"no logs", {}, Cause::kLogsGone, "unknown, the logs of that time are gone"},
      {"logs since then",
       {{At(5, 0), "x"}},
       Cause::kLogsGone,
       "unknown, the logs of that time are gone"},
      {"stopped and started",
       {before, {At(4, 7), "Send file x finish"}, {At(5, 58), "Brennik Start running"}},
       Cause::kNotRunning,
       "the service did not run from 2024-03-07 04:07:00 to 2024-03-07 05:58:00"},
      {"started after the last boundary",
       {before, {At(6, 1), "Brennik Start running"}},
       Cause::kNotRunning,
       "the service did not run from 2024-03-07 03:00:00 to 2024-03-07 06:01:00"},
      {"the gateway started",
       {{At(5, 50), "Brennik Start running"}},
       Cause::kNotRunning,
       "the service did not run until 2024-03-07 05:50:00, and no older record is kept: was the "
       "gateway off?"},
      {"a start long before",
       {{At(3, 0), "Brennik Start running"}, {At(5, 0), "x"}},
       Cause::kUnknown,
       "unknown, the logs do not tell"},
      {"switched off",
       {before, {At(4, 1), "Brennik is Set off"}, {At(5, 1), "x"}},
       Cause::kSwitchedOff,
       "the service was switched off by sys.xml"},
      {"nothing published",
       {before, {At(4, 5), "Brennik Get RealData error"}},
       Cause::kNothingPublished,
       "the acquisition side published nothing (Brennik Get RealData error)"},
      {"a point",
       {before,
        {At(4, 5, 2),
         "CreateRealDataJsonFile /x/7/S20240307040500.dat Error, can't find id: 01030005"}},
       Cause::kPointMissing,
       "point 01030005 is configured and had no value"},
      {"a full card",
       {before,
        {At(4, 5, 2), "CreateRealDataJsonFile /x/7/S20240307040500.tar.gz failed,errno 28"}},
       Cause::kPackingFailed,
       "packing failed, errno 28: the card was full"},
      {"not recorded",
       {before, {At(4, 5, 2), "CreateRealDataJsonFile /x/7/S20240307040500.tar.gz Success"}},
       Cause::kNotRecorded,
       "packed and not recorded: the ledger was locked or the service ended"},
      {"the file before is no clue",
       {before, {At(4, 4), "CreateRealDataJsonFile /x/7/S20240307040000.tar.gz Success"}},
       Cause::kUnknown,
       "unknown, the logs do not tell"},
      {"silence",
       {before, {At(6, 5), "x"}},
       Cause::kSilent,
       "nothing was logged and the service did not start: the clock was set, or it stood still"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Gap gap = Judged(row.records);
    EXPECT_EQ(gap.cause, row.cause);
    EXPECT_EQ(status::CauseText(gap), row.text);
  }
}

TEST_F(GapsTest, NamesTheFileThatWasJudgedSent) {
  status::LogRecord record;
  record.text = "Can not find File /x/S1.tar.gz when send files,judge it send OK";
  EXPECT_EQ(status::JudgedSent(record), "/x/S1.tar.gz");
  record.text = "file /x/S2.tar.gz size is 0 ,error,do not send it,judge it send OK";
  EXPECT_EQ(status::JudgedSent(record), "/x/S2.tar.gz");
  record.text = "Send file /x/S2.tar.gz finish";
  EXPECT_EQ(status::JudgedSent(record), "");
}

}  // namespace
