// The alarm events where three days reach into another month.
#include <gmock/gmock.h>

#include "alarmtest.h"
#include "support/clock.h"
#include "support/eventdatabase.h"
#include "support/files.h"

using test::EventDatabase;
using test::Events;
using test::ValuesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class AlarmMonths : public test::AlarmTest {};

TEST_F(AlarmMonths, OfBothMonthsAreTakenEarlyInTheSecondTheOlderFileFirst) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));
  EventDatabase march(2024, 3);
  march.AddAll(
      {{.date = "2024-03-02", .triggerValue = 4}, {.date = "2024-03-01", .triggerValue = 3}});
  EventDatabase february(2024, 2);
  february.AddAll({{.date = "2024-02-27", .triggerValue = 0},
                   {.date = "2024-02-28", .triggerValue = 1},
                   {.date = "2024-02-29", .triggerValue = 2}});

  const Events events = Take();

  EXPECT_THAT(ValuesOf(events), ElementsAre(1, 2, 4, 3));
  EXPECT_THAT(february.Uploads(), ElementsAre("0", "1", "1"));
  EXPECT_THAT(march.Uploads(), ElementsAre("1", "1"));
}

TEST_F(AlarmMonths, AreReachedByTheSameDatesInBothFiles) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));
  EventDatabase(2024, 2).AddAll(
      {{.date = "2024-03-02", .triggerValue = 1}, {.date = "2024-03-03", .triggerValue = 0}});
  EventDatabase(2024, 3).AddAll(
      {{.date = "2024-02-27", .triggerValue = 0}, {.date = "2024-02-28", .triggerValue = 2}});

  const Events events = Take();

  EXPECT_THAT(ValuesOf(events), ElementsAre(1, 2));
}

TEST_F(AlarmMonths, OfBothYearsAreTakenOnNewYearsDay) {
  test::SetTime(test::LocalTimeOf(2024, 1, 1));
  EventDatabase december(2023, 12);
  december.AddAll({{.date = "2023-12-28", .triggerValue = 0},
                   {.date = "2023-12-29", .triggerValue = 1},
                   {.date = "2023-12-31", .triggerValue = 2}});
  EventDatabase january(2024, 1);
  january.Add({.date = "2024-01-01", .triggerValue = 3});
  EventDatabase(2024, 12).Add({.date = "2023-12-31", .triggerValue = 0});

  const Events events = Take();

  EXPECT_THAT(ValuesOf(events), ElementsAre(1, 2, 3));
  EXPECT_THAT(december.Uploads(), ElementsAre("0", "1", "1"));
  EXPECT_THAT(january.Uploads(), ElementsAre("1"));
}

TEST_F(AlarmMonths, OfTheMonthBeforeAreLeftFromTheFourthOn) {
  EventDatabase(2024, 2).Add({.date = "2024-03-01", .triggerValue = 1});
  EventDatabase(2024, 3).Add({.date = "2024-03-02", .triggerValue = 2});

  test::SetTime(test::LocalTimeOf(2024, 3, 4, 0, 0, 0));
  const Events fourth = Take();
  test::SetTime(test::LocalTimeOf(2024, 3, 3, 23, 59, 59));
  const Events third = Take();

  EXPECT_THAT(ValuesOf(fourth), ElementsAre(2));
  EXPECT_THAT(ValuesOf(third), ElementsAre(1));
}

TEST_F(AlarmMonths, OfOtherMonthsAreNotLookedFor) {
  EventDatabase(2024, 2).Add();
  EventDatabase(2024, 4).Add();
  EventDatabase(2023, 3).Add();

  const Events events = Take();

  EXPECT_THAT(events, IsEmpty());
}

TEST_F(AlarmMonths, AreNoneOnACardWithoutFiles) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));

  const Events events = Take();

  EXPECT_THAT(events, IsEmpty());
  EXPECT_THAT(test::List("/media/mmcblk0p1"), IsEmpty());  // and none is made
}

TEST_F(AlarmMonths, OfTheMonthBeforeAreTakenWhereThisMonthHasNoFile) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));
  EventDatabase(2024, 2).Add({.date = "2024-02-29"});

  const Events events = Take();

  EXPECT_THAT(events, SizeIs(1));
  EXPECT_THAT(test::List("/media/mmcblk0p1"), ElementsAre("202402_event.db"));
}

TEST_F(AlarmMonths, OfThisMonthAreTakenWhereTheMonthBeforeHasNoFile) {
  test::SetTime(test::LocalTimeOf(2024, 3, 2, 2));
  EventDatabase(2024, 3).Add({.date = "2024-03-01"});

  const Events events = Take();

  EXPECT_THAT(events, SizeIs(1));
  EXPECT_THAT(test::List("/media/mmcblk0p1"), ElementsAre("202403_event.db"));
}

}  // namespace
