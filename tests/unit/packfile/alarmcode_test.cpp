// The alarm type codes, row by row.
#include <gmock/gmock.h>

#include <cstdint>
#include <limits>

#include "packfile/alarmdocument.h"
#include "packfile/packfile.h"

namespace {

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();

// A point on channel 12 at address 3.
constexpr std::uint32_t Point(std::uint8_t type, std::uint16_t node) {
  return ComposeDataId(12, 3, type, node);
}
constexpr std::uint8_t kAi = 0;
constexpr std::uint8_t kDi = 1;
constexpr std::uint8_t kAcc = 2;
constexpr std::uint8_t kDo = 3;
constexpr std::uint8_t kAo = 4;

struct Row {
  const char* name;
  std::uint32_t dataId;
  std::int32_t eventType;
  const char* flagSet;
  const char* flagClear;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << std::hex << row.dataId << " with event type " << std::dec << row.eventType;
}

const auto kRows = ::testing::Values(
    // Not DI, whatever the node.
    Row{"AiEvent0", Point(kAi, 5), 0, "10000", "10001"},
    Row{"AiEvent1", Point(kAi, 5), 1, "10100", "10101"},
    Row{"AiNode0Event0", Point(kAi, 0), 0, "10000", "10001"},
    Row{"AiNode0Event1", Point(kAi, 0), 1, "10100", "10101"},
    Row{"AccEvent0", Point(kAcc, 5), 0, "10000", "10001"},
    Row{"AccEvent1", Point(kAcc, 5), 1, "10100", "10101"},
    Row{"DoEvent0", Point(kDo, 0), 0, "10000", "10001"},
    Row{"DoEvent1", Point(kDo, 255), 1, "10100", "10101"},
    Row{"AoEvent0", Point(kAo, 0xFFF), 0, "10000", "10001"},
    Row{"AoEvent1", Point(kAo, 0), 1, "10100", "10101"},
    Row{"Type15Event0", Point(15, 1), 0, "10000", "10001"},
    Row{"Type9Event1", Point(9, 1), 1, "10100", "10101"},
    // DI with a node number whose low byte is not 0, whatever the event type.
    Row{"Di5Event0", 0x0C030105, 0, "10201", "10200"},
    Row{"Di5Event1", 0x0C030105, 1, "10201", "10200"},
    Row{"Di5Event2", 0x0C030105, 2, "10201", "10200"},
    Row{"Di5Event256", 0x0C030105, 256, "10201", "10200"},
    Row{"Di5EventMinus1", 0x0C030105, -1, "10201", "10200"},
    Row{"Di255Event1", Point(kDi, 0xFF), 1, "10201", "10200"},
    Row{"Di0x101Event0", Point(kDi, 0x101), 0, "10201", "10200"},
    // DI with a node number whose low byte is 0: the flag's sense turns round with the event type.
    Row{"Di0Event0", Point(kDi, 0), 0, "10301", "10300"},
    Row{"Di0Event1", Point(kDi, 0), 1, "10300", "10301"},
    Row{"Di0x100Event0", Point(kDi, 0x100), 0, "10301", "10300"},
    Row{"Di0x200Event1", Point(kDi, 0x200), 1, "10300", "10301"},
    Row{"Di0xF00Event0", Point(kDi, 0xF00), 0, "10301", "10300"});

class AlarmCodes : public ::testing::TestWithParam<Row> {};

TEST_P(AlarmCodes, GoWithThePointTheEventTypeAndTheFlag) {
  const Row& row = GetParam();

  EXPECT_STREQ(AlarmCode(row.dataId, row.eventType, true), row.flagSet);
  EXPECT_STREQ(AlarmCode(row.dataId, row.eventType, false), row.flagClear);
}

TEST_P(AlarmCodes, AreToldByThePackerTheSame) {
  const Row& row = GetParam();
  const auto lowByte = static_cast<unsigned char>(row.eventType & 0xFF);
  CPackFile& packer = GetCPackFileInstance();

  EXPECT_STREQ(packer.GetAlarmType(row.dataId, lowByte, 1), row.flagSet);
  EXPECT_STREQ(packer.GetAlarmType(row.dataId, lowByte, 2), row.flagSet);
  EXPECT_STREQ(packer.GetAlarmType(row.dataId, lowByte, 255), row.flagSet);
  EXPECT_STREQ(packer.GetAlarmType(row.dataId, lowByte, 0), row.flagClear);
}

INSTANTIATE_TEST_SUITE_P(Table, AlarmCodes, kRows,
                         [](const auto& test) { return test.param.name; });

struct WithoutCode {
  const char* name;
  std::uint32_t dataId;
  std::int32_t eventType;
};

void PrintTo(const WithoutCode& row, std::ostream* out) {
  *out << std::hex << row.dataId << " with event type " << std::dec << row.eventType;
}

class EventsWithoutCode : public ::testing::TestWithParam<WithoutCode> {};

TEST_P(EventsWithoutCode, HaveNoneForEitherFlag) {
  EXPECT_EQ(AlarmCode(GetParam().dataId, GetParam().eventType, true), nullptr);
  EXPECT_EQ(AlarmCode(GetParam().dataId, GetParam().eventType, false), nullptr);
}

// All of the event type counts, not its low byte.
INSTANTIATE_TEST_SUITE_P(Table, EventsWithoutCode,
                         ::testing::Values(WithoutCode{"Ai2", Point(kAi, 5), 2},
                                           WithoutCode{"Ai256", Point(kAi, 5), 256},
                                           WithoutCode{"Ai257", Point(kAi, 5), 257},
                                           WithoutCode{"Ai65536", Point(kAi, 5), 65536},
                                           WithoutCode{"AiMinus1", Point(kAi, 5), -1},
                                           WithoutCode{"AccLeast", Point(kAcc, 0), kLeast},
                                           WithoutCode{"AoGreatest", Point(kAo, 1), kGreatest},
                                           WithoutCode{"Di0Event2", Point(kDi, 0), 2},
                                           WithoutCode{"Di0Event256", Point(kDi, 0), 256},
                                           WithoutCode{"Di0Event257", Point(kDi, 0), 257},
                                           WithoutCode{"Di0x100EventMinus1", Point(kDi, 0x100), -1},
                                           WithoutCode{"Di0EventLeast", Point(kDi, 0), kLeast}),
                         [](const auto& test) { return test.param.name; });

// The packer is handed low bytes, where 256 is 0 and 257 is 1.
TEST(PackersAlarmType, IsOfTheLowBytes) {
  CPackFile& packer = GetCPackFileInstance();

  EXPECT_STREQ(packer.GetAlarmType(Point(kAi, 5), static_cast<unsigned char>(256U & 0xFFU), 1),
               "10000");
  EXPECT_STREQ(packer.GetAlarmType(Point(kAi, 5), static_cast<unsigned char>(257U & 0xFFU), 1),
               "10100");
}

TEST(PackersAlarmType, IsEmptyWhereThereIsNone) {
  CPackFile& packer = GetCPackFileInstance();

  EXPECT_STREQ(packer.GetAlarmType(Point(kAi, 5), 2, 1), "");
  EXPECT_STREQ(packer.GetAlarmType(Point(kDi, 0), 255, 0), "");
}

TEST(PackersAlarmType, LivesForTheWholeRun) {
  CPackFile& packer = GetCPackFileInstance();

  const char* first = packer.GetAlarmType(Point(kDi, 5), 0, 1);
  packer.GetAlarmType(Point(kAi, 5), 1, 0);

  EXPECT_EQ(packer.GetAlarmType(Point(kDi, 5), 1, 1), first);
  EXPECT_STREQ(first, "10201");
}

}  // namespace
