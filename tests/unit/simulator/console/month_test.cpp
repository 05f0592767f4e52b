#include "console/watch/month.h"

#include "unit/simulator/console/watchfixture.h"

namespace test {
namespace {

using console::SlotState;

// The clock shows noon; files are due every minute.
class MonthTest : public WatchTest {
 protected:
  static std::string NameAt(std::time_t when) {
    return "S" + util::Stamp(util::LocalTime(when).value_or(std::tm{})) + ".tar.gz";
  }
  void Record(std::time_t when, bool accepted) {
    m_rows.push_back({console::KeyOf(NameAt(when)).value_or(console::FileKey{}), when, accepted});
    m_account.TakeLedger(m_rows, true, m_now);
  }
  void Accept(std::time_t when, int attempts = 1) {
    Record(when, true);
    for (int i = attempts; i > 0; --i) {
      m_account.TakeArrival({++m_id, "realdata", NameAt(when), i == 1, when, 1});
    }
  }
  void Settle() {
    for (int look = 0; look < 10; ++look) m_account.Judge(m_now, true);
  }
  std::string HourToday(int hour) const {
    return NameOf(
        console::MonthOf(m_account, 60, m_now).back().hours[static_cast<std::size_t>(hour)]);
  }

  std::time_t m_now = LocalTimeOf(2024, 3, 7, 12);
  console::Account m_account;
  std::vector<console::SeenRow> m_rows;
  long m_id = 0;
};

TEST_F(MonthTest, ShowsTheWorstSlotOfAnHour) {
  for (int minute = 0; minute < 60; ++minute) Accept(LocalTimeOf(2024, 3, 7, 10) + minute * 60);
  Settle();
  EXPECT_EQ(HourToday(10), "accepted");

  Accept(LocalTimeOf(2024, 3, 7, 11), 2);
  EXPECT_EQ(HourToday(11), "missing");
  for (int minute = 1; minute < 60; ++minute) Accept(LocalTimeOf(2024, 3, 7, 11) + minute * 60);
  Settle();
  EXPECT_EQ(HourToday(11), "sent-again");
}

TEST_F(MonthTest, TellsHoursWithoutFilesApart) {
  Accept(LocalTimeOf(2024, 3, 7, 9));
  Settle();

  EXPECT_EQ(HourToday(8), "before");
  EXPECT_EQ(HourToday(10), "missing");
  EXPECT_EQ(HourToday(12), "future");
  EXPECT_EQ(HourToday(13), "future");
}

TEST_F(MonthTest, Has31DaysUpToToday) {
  const auto days = console::MonthOf(m_account, 60, m_now);

  ASSERT_EQ(days.size(), 31U);
  EXPECT_EQ(days.front().from, LocalTimeOf(2024, 2, 6, 0));
  EXPECT_EQ(days.back().from, LocalTimeOf(2024, 3, 7, 0));
  EXPECT_EQ(days.back().hours.size(), 24U);
}

TEST_F(MonthTest, OpensAnHourIntoItsSlots) {
  const std::time_t ten = LocalTimeOf(2024, 3, 7, 10);
  Accept(ten, 3);
  Record(ten + 120, false);
  Record(ten + 180, true);
  Settle();

  const auto slots = console::HourOf(m_account, 60, ten, m_now);

  ASSERT_EQ(slots.size(), 60U);
  EXPECT_EQ(slots[0].state, SlotState::kSentAgain);
  EXPECT_EQ(slots[0].attempts, 3);
  EXPECT_EQ(slots[0].name, NameAt(ten));
  EXPECT_EQ(slots[1].state, SlotState::kMissing);
  EXPECT_EQ(slots[2].state, SlotState::kPending);
  EXPECT_EQ(slots[3].state, SlotState::kJudgedSent);
}

TEST_F(MonthTest, ListsGapsWithTheirCause) {
  const std::time_t ten = LocalTimeOf(2024, 3, 7, 10);
  DatabaseFile ledger = MakeLedger();
  for (const std::time_t when : {ten, ten + 60, ten + 300, ten + 360}) {
    Insert(ledger, "realdata/7/" + NameAt(when));
  }
  SetTime(ten + 150);
  Log("CreateRealDataJsonFile " + std::string(paths::kRealData) +
      "/7/S20240307100200.dat Error, can't find id: 01030001");
  SetTime(ten + 400);
  console::Watcher watcher(m_sources);
  LookOften(watcher);

  const auto month = Ask(watcher, "/api/month");
  const auto hour = Ask(watcher, "/api/month/hour", {{"from", std::to_string(ten)}});

  ASSERT_EQ(month["gaps"].Size(), 1U);
  const auto& gap = month["gaps"][0];
  EXPECT_EQ(gap["from_unix_s"].GetInt64(), ten + 120);
  EXPECT_EQ(gap["to_unix_s"].GetInt64(), ten + 240);
  EXPECT_EQ(gap["missing"].GetInt(), 3);
  EXPECT_THAT(gap["cause"].GetString(),
              testing::HasSubstr("point 1/3:0001 Level (01030001 in the logs)"));
  EXPECT_STREQ(hour["slots"][2]["cause"].GetString(), gap["cause"].GetString());
}

TEST_F(MonthTest, CountsFilesThatWereNeverMade) {
  const std::time_t ten = LocalTimeOf(2024, 3, 7, 10);
  DatabaseFile ledger = MakeLedger();
  for (const std::time_t when : {ten, ten + 240}) Insert(ledger, "realdata/7/" + NameAt(when));
  SetTime(ten + 400);
  console::Watcher watcher(m_sources);
  LookOften(watcher);

  EXPECT_EQ(State(watcher)["account"]["never_made"].GetInt(), 4);
}

TEST_F(MonthTest, NamesAChangedClockAsTheCauseOfAnUnexplainedGap) {
  const std::time_t ten = LocalTimeOf(2024, 3, 7, 10);
  DatabaseFile ledger = MakeLedger();
  for (const std::time_t when : {ten, ten + 60, ten + 300}) {
    Insert(ledger, "realdata/7/" + NameAt(when));
  }
  SetTime(ten);
  Log("Brennik is Set on");
  console::Watcher watcher(m_sources);
  for (const long second : {0, 60, 120, 360, 600}) {  // a look comes every minute
    SetTime(ten + second);
    LookOnce(watcher);
  }
  SetTime(ten + 320);

  const auto month = Ask(watcher, "/api/month");

  ASSERT_GE(month["gaps"].Size(), 1U);
  EXPECT_THAT(month["gaps"][0]["cause"].GetString(),
              testing::HasSubstr("got another speed, between 2024-03-07 10:01:00 and "));
}

}  // namespace
}  // namespace test
