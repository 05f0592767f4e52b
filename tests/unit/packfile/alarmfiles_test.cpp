// The alarm-data files of one call: how many, their names, and what becomes of events that could
// not be packed.
#include <gmock/gmock.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "packfile/packfile.h"
#include "packtest.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"

using namespace test;
using namespace testing;

namespace {

constexpr std::uint32_t kKnown = 0x01030001;
constexpr std::uint32_t kUnknown = 0x0C030100;

// A path in the directory of the day; `second` is counted from noon.
std::string Path(int second, const std::string& ending = ".tar.gz") {
  return std::string(kAlarmDay) + "/T2024030712000" + std::to_string(second) + ending;
}

// Events of points that follow each other.
Alarm_Data_Struct Events(std::uint32_t count) {
  Alarm_Data_Struct events;
  for (std::uint32_t i = 0; i < count; ++i) events.push_back(AlarmEvent{.dataId = kKnown + i});
  return events;
}

class AlarmFiles : public PackTest {
 protected:
  void SetUp() override {
    PackTest::SetUp();
    for (std::uint32_t i = 0; i < 41; ++i) AddPoint(kKnown + i, "Known");
  }

  std::vector<std::string> Pack(const Alarm_Data_Struct& events) {
    std::vector<std::string> files;
    EXPECT_EQ(
        GetCPackFileInstance().CreateAlarmDataJsonFile(&events, kAlarmDay, &files, &m_unwritten),
        0);
    return files;
  }

  Alarm_Data_Struct m_unwritten;
};

TEST_F(AlarmFiles, HoldTwentyEventsEachInTheirOrder) {
  EXPECT_THAT(Pack({}), IsEmpty());
  EXPECT_THAT(Pack(Events(20)), SizeIs(1));

  std::string points;
  for (const auto& file : Pack(Events(41))) {
    points += "|";
    for (const auto& point : Texts(Unpack(file), "pointId")) points += point.substr(2);
  }

  EXPECT_EQ(points,
            "|0102030405060708090A0B0C0D0E0F1011121314|15161718191A1B1C1D1E1F202122232425262728"
            "|29");
}

TEST_F(AlarmFiles, AreNamedBetweenDocumentAndPauseAndWrittenAfterIt) {
  AtNextCall(Call::kLocaltime, [] { SetTime(LocalTimeOf(2024, 12, 31)); });
  std::vector<std::pair<Pause, std::vector<std::string>>> seen;  // files at each pause
  OnPause([&](Pause pause) {
    seen.emplace_back(pause, List(kAlarmDay));
    SetTime(LocalTimeOf(2025, 1, 1));
  });

  Pack(Events(1));

  EXPECT_THAT(seen, ElementsAre(Pair(Pause(50000), IsEmpty()),
                                Pair(kBeforeAnAttempt, ElementsAre("T20241231000000.dat"))));
}

TEST_F(AlarmFiles, AreMadeOfTheRestAfterOneThatIsLost) {
  Alarm_Data_Struct events = Events(40);
  events[39] = AlarmEvent{.dataId = kKnown, .type = 1};
  events.push_back(AlarmEvent{.dataId = kUnknown, .type = 2});
  ReplaceTar("case $2 in T20240307120001*) exit 1;; esac; real_tar \"$@\"");

  const auto files = Pack(events);

  ASSERT_THAT(files, ElementsAre(Path(0), Path(4)));
  EXPECT_TRUE(Exists(Path(1, ".dat")));
  EXPECT_THAT(m_unwritten, IsEmpty());
  // The last event takes over from the one that was lost.
  EXPECT_THAT(Texts(Unpack(files[1]), "alarmType"), ElementsAre("10101"));
  EXPECT_THAT(Texts(Unpack(files[1]), "alarmDes"), ElementsAre("Known(阀值:0.000)"));
}

TEST_F(AlarmFiles, TakeNothingOverFromAnotherCall) {
  Pack(Events(1));

  const auto files = Pack({AlarmEvent{.dataId = kUnknown, .type = 2}});

  EXPECT_THAT(Texts(Unpack(files.at(0)), "alarmDes"), ElementsAre("(阀值:0.000)"));
}

TEST_F(AlarmFiles, HandBackTheEventsOfATextThatTheCardDidNotTakeWhole) {
  ASSERT_EQ(symlink("/dev/full", Path(1, ".dat").c_str()), 0);
  const Alarm_Data_Struct events = Events(41);

  EXPECT_THAT(Pack(events), SizeIs(2));

  ASSERT_THAT(m_unwritten, SizeIs(20));
  EXPECT_EQ(m_unwritten.front().DataId, events[20].DataId);
}

TEST_F(AlarmFiles, AreMadeOfTheRestAfterATimeThatCannotBeConverted) {
  FailCalls(Call::kLocaltime, 1, 20);  // twenty events come before the first name

  EXPECT_THAT(Pack(Events(21)), ElementsAre(Path(0)));

  EXPECT_THAT(TextLog("WARN"), ElementsAre("CreateAlarmDataJsonFile in " + std::string(kAlarmDay) +
                                           " failed, no local time"));
}

}  // namespace
