// Alarm events: how they stand in the monthly databases, and that none is lost to other programs.
#include "acquisition_card_fixture.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <ostream>

#include "acquisition/eventwriter.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Events = test::CardTest;

constexpr char kColumns[] =
    "SELECT RecordDate||'|'||RecordTime||'|'||DataId||'|'||threshold||'|'||triggervalue||'|'||"
    "eventtype||'|'||grade||'|'||upflag||'|'||upload FROM event_tbl ORDER BY Pid";
constexpr std::int64_t kFirstOfMarch = 1709222400;  // 2024-03-01 00:00 local time
constexpr std::chrono::milliseconds kImpatient{20};

// An event of March, told from others by its time.
AlarmEvent EventAt(std::int64_t time) {
  AlarmEvent event;
  event.time = time;
  event.dataId = 0x01031123;
  return event;
}

TEST_F(Events, StandUnderTheirLocalDateAndTimeAndAreNotTaken) {
  AlarmEvent event;
  event.time = test::kNoon + 3;
  event.dataId = 0x01030001;
  event.threshold = 30.5;
  event.triggerValue = 31.25;
  event.type = kBelowLimit;
  event.grade = 2;
  event.upFlag = 0;

  const std::size_t recorded = EventWriter().Append({event});

  EXPECT_EQ(recorded, 1U);
  EXPECT_THAT(test::Lines(test::kMarchEvents, kColumns),
              ElementsAre("2024-03-07|12:00:03|16973825|30.5|31.25|1|2|0|0"));
}

TEST_F(Events, ArePaddedWithZeros) {
  constexpr std::int64_t kEarly = 1704135845;  // 2024-01-02 03:04:05 local time

  EventWriter().Append({EventAt(kEarly)});

  EXPECT_THAT(test::Lines("/media/mmcblk0p1/202401_event.db",
                          "SELECT RecordDate||' '||RecordTime FROM event_tbl"),
              ElementsAre("2024-01-02 03:04:05"));
}

TEST_F(Events, StandInATableWithARowNumberAndTypedColumns) {
  EventWriter().Append({EventAt(test::kNoon)});

  EXPECT_THAT(
      test::Lines(test::kMarchEvents, "SELECT name||' '||type FROM pragma_table_info('event_tbl')"),
      ElementsAre("Pid INTEGER", "RecordDate TEXT", "RecordTime TEXT", "DataId INTEGER",
                  "threshold REAL", "triggervalue REAL", "eventtype INTEGER", "grade INTEGER",
                  "upflag INTEGER", "upload INTEGER"));
}

TEST_F(Events, GoIntoTheFileOfTheirOwnMonth) {
  const std::vector<AlarmEvent> events = {EventAt(kFirstOfMarch - 1), EventAt(kFirstOfMarch),
                                          EventAt(kFirstOfMarch - 2)};

  const std::size_t recorded = EventWriter().Append(events);

  constexpr char kMoments[] = "SELECT RecordDate||' '||RecordTime FROM event_tbl ORDER BY Pid";
  EXPECT_EQ(recorded, 3U);
  EXPECT_THAT(test::Lines("/media/mmcblk0p1/202402_event.db", kMoments),
              ElementsAre("2024-02-29 23:59:59", "2024-02-29 23:59:58"));
  EXPECT_THAT(test::Lines(test::kMarchEvents, kMoments), ElementsAre("2024-03-01 00:00:00"));
}

TEST_F(Events, KeepIdentifiersAsSignedNumbers) {
  AlarmEvent event = EventAt(test::kNoon);
  event.dataId = 0xFFFF0401;
  EventWriter writer;

  writer.Append({event});

  EXPECT_THAT(test::Lines(test::kMarchEvents, "SELECT DataId FROM event_tbl"),
              ElementsAre("-64511"));
  ASSERT_TRUE(writer.Rows(test::kNoon));
  EXPECT_THAT(*writer.Rows(test::kNoon), ElementsAre(Field(&EventRow::dataId, 0xFFFF0401)));
}

TEST_F(Events, AreReadBackAsTheyWereRecorded) {
  AlarmEvent event;
  event.time = test::kNoon;
  event.dataId = 0x01030001;
  event.threshold = 0.1;
  event.triggerValue = 123456.789;
  event.type = 7;
  event.grade = 10;
  event.upFlag = 2;
  EventWriter writer;
  writer.Append({EventAt(test::kNoon), event});

  const auto rows = writer.Rows(test::kNoon);

  ASSERT_TRUE(rows);
  ASSERT_THAT(*rows, SizeIs(2));
  const EventRow& row = rows->back();
  EXPECT_EQ(row.id, 2);
  EXPECT_EQ(row.date, "2024-03-07");
  EXPECT_EQ(row.time, "12:00:00");
  EXPECT_EQ(row.dataId, 0x01030001U);
  EXPECT_EQ(row.threshold, 0.1);
  EXPECT_EQ(row.triggerValue, 123456.789);
  EXPECT_EQ(row.type, 7);
  EXPECT_EQ(row.grade, 10);
  EXPECT_EQ(row.upFlag, 2);
  EXPECT_EQ(row.upload, 0);
}

TEST_F(Events, TellWhichOfThemHaveBeenTaken) {
  EventWriter writer;
  writer.Append({EventAt(test::kNoon), EventAt(test::kNoon + 1), EventAt(test::kNoon + 2)});

  ASSERT_TRUE(test::Change(test::kMarchEvents, "UPDATE event_tbl SET upload=1 WHERE Pid=2"));

  ASSERT_TRUE(writer.Rows(test::kNoon));
  EXPECT_THAT(*writer.Rows(test::kNoon),
              ElementsAre(Field(&EventRow::upload, 0), Field(&EventRow::upload, 1),
                          Field(&EventRow::upload, 0)));
}

TEST_F(Events, OfAMonthWithoutAFileAreNotReadAndNoFileIsMade) {
  const auto rows = EventWriter().Rows(test::kNoon);

  EXPECT_FALSE(rows);
  EXPECT_THAT(test::List(test::kCard), IsEmpty());
}

TEST_F(Events, BeforeTheOneThatCannotBeRecordedAreCounted) {
  test::WriteFile(std::string(test::kMarchEvents) + "/in-the-way", "");
  EventWriter writer;

  const std::size_t recorded =
      writer.Append({EventAt(kFirstOfMarch - 1), EventAt(kFirstOfMarch), EventAt(test::kNoon)});

  EXPECT_EQ(recorded, 1U);
  EXPECT_EQ(writer.Trouble(),
            "cannot write /media/mmcblk0p1/202403_event.db: unable to open database file");
}

TEST_F(Events, OfOneCallAndMonthAreRecordedTogetherOrNotAtAll) {
  EventWriter writer;
  writer.Append({EventAt(test::kNoon)});
  ASSERT_TRUE(test::Change(test::kMarchEvents,
                           "CREATE TRIGGER refuse BEFORE INSERT ON event_tbl WHEN NEW.grade=9 "
                           "BEGIN SELECT RAISE(ABORT,'refused'); END"));
  AlarmEvent refused = EventAt(test::kNoon + 2);
  refused.grade = 9;

  const std::size_t recorded = writer.Append({EventAt(test::kNoon + 1), refused});

  EXPECT_EQ(recorded, 0U);
  EXPECT_EQ(writer.Trouble(), "cannot write /media/mmcblk0p1/202403_event.db: refused");
  EXPECT_THAT(test::Lines(test::kMarchEvents, "SELECT Pid FROM event_tbl"), ElementsAre("1"));
}

class LockedEvents : public test::CardTest, public testing::WithParamInterface<test::Lock> {};

TEST_P(LockedEvents, WaitForTheOtherProgram) {
  EventWriter writer;
  writer.Append({EventAt(test::kNoon)});
  test::LockHolder other(test::kMarchEvents, GetParam());

  auto recorded = std::async(std::launch::async,
                             [&writer] { return writer.Append({EventAt(test::kNoon + 1)}); });
  const auto whileLocked = recorded.wait_for(std::chrono::milliseconds(50));
  ASSERT_TRUE(other.LetGo());

  EXPECT_EQ(whileLocked, std::future_status::timeout);
  EXPECT_EQ(recorded.get(), 1U);
  EXPECT_EQ(writer.Trouble(), "");
  EXPECT_THAT(test::Lines(test::kMarchEvents, "SELECT RecordTime FROM event_tbl"),
              ElementsAre("12:00:00", "12:00:01"));
}

TEST_P(LockedEvents, CanBeAppendedAgainWhenThePatienceHasRunOut) {
  EventWriter writer(kImpatient);
  writer.Append({EventAt(test::kNoon)});
  test::LockHolder other(test::kMarchEvents, GetParam());
  const AlarmEvent late = EventAt(test::kNoon + 1);

  const std::size_t whileLocked = writer.Append({late});
  const std::string trouble = writer.Trouble();
  ASSERT_TRUE(other.LetGo());
  const std::size_t afterwards = writer.Append({late});

  EXPECT_EQ(whileLocked, 0U);
  EXPECT_EQ(trouble, "cannot write /media/mmcblk0p1/202403_event.db: database is locked");
  EXPECT_EQ(afterwards, 1U);
  EXPECT_EQ(writer.Trouble(), "");
  EXPECT_THAT(test::Lines(test::kMarchEvents, "SELECT RecordTime FROM event_tbl"),
              ElementsAre("12:00:00", "12:00:01"));
}

INSTANTIATE_TEST_SUITE_P(Rows, LockedEvents,
                         testing::Values(test::kReading, test::kAboutToWrite, test::kWriting),
                         [](const auto& row) { return row.param.name; });

TEST_F(Events, CannotBeReadBackWhileAnotherProgramWritesOn) {
  EventWriter writer(kImpatient);
  writer.Append({EventAt(test::kNoon)});
  const test::LockHolder other(test::kMarchEvents, test::kWriting);

  const auto rows = writer.Rows(test::kNoon);

  EXPECT_FALSE(rows);
}

// Takes what is there as the gateway's cloud link does, and counts it.
int TakeEvents(util::Database& database) {
  if (!database.Execute("BEGIN IMMEDIATE")) return 0;
  int taken = 0;
  util::Statement rows = database.Prepare("SELECT Pid FROM event_tbl WHERE upload=0");
  while (rows && rows.NextRow()) ++taken;
  database.Execute("UPDATE event_tbl SET upload=1 WHERE upload=0");
  database.Execute("COMMIT");
  return taken;
}

TEST_F(Events, ReachAProgramThatTakesThemMeanwhileEachOnce) {
  constexpr int kEvents = 100;
  EventWriter writer;
  ASSERT_EQ(writer.Append({EventAt(test::kNoon)}), 1U);
  const auto takeUntilAllAreThere = [](util::Database& database) {
    int taken = 0;
    for (int round = 0; round < 20'000 && taken < kEvents; ++round) {
      taken += TakeEvents(database);
      usleep(1000);
    }
    return taken;
  };
  test::OtherProgram taker(
      test::kMarchEvents, [](util::Database&) { return 0; }, takeUntilAllAreThere);
  auto taken = std::async(std::launch::async, [&taker] { return taker.End(); });

  std::size_t recorded = 1;
  for (int i = 1; i < kEvents; ++i) recorded += writer.Append({EventAt(test::kNoon + i)});

  EXPECT_EQ(recorded, std::size_t{kEvents});
  EXPECT_EQ(taken.get(), kEvents);
  EXPECT_THAT(test::Lines(test::kMarchEvents, "SELECT COUNT(*) FROM event_tbl WHERE upload=1"),
              ElementsAre("100"));
}

}  // namespace
