// Whether the SD card can be used.
#include <gmock/gmock.h>

#include <filesystem>

#include "schedule/schedule.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "systemtap.h"
#include "util/paths.h"

using namespace testing;

namespace {

class SdCard : public test::GatewayTest {};

TEST_F(SdCard, CannotBeUsedWhenItIsOut) {
  std::filesystem::remove(paths::kCardDevice);
  test::SetCardSpace({{4096, 1000000}});

  EXPECT_EQ(IsExistSDCard(), 0);
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(SdCard, CanBeUsedWhenItsSpaceIsUnknown) {
  test::SetCardSpace(std::nullopt);

  EXPECT_EQ(IsExistSDCard(), 1);
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(SdCard, ReportsTheThresholdAndKeepsTheFilesWhenItIsFull) {
  test::WriteFile("/media/mmcblk0p1/S1.tar.gz", "archive");
  test::SetCardSpace({{1000, 3}});

  IsExistSDCard();

  EXPECT_THAT(test::DatabaseLog(), ElementsAre(test::LogRecord{
                                       "FATAL", "There is only 512000B free space in sdcard\n"}));
  EXPECT_TRUE(test::Exists("/media/mmcblk0p1/S1.tar.gz"));
}

TEST_F(SdCard, CanBeUsedFrom512000FreeBytesOn) {
  const struct {
    const char* name;
    test::CardSpace space;
    int usable;
  } rows[] = {{"nothing", {4096, 0}, 0},
              {"one byte short", {1, 511999}, 0},
              {"exactly", {1, 512000}, 1},
              {"exactly in blocks", {4096, 125}, 1},
              {"four GiB, 0 in the low 32 bits", {65536, 65536}, 1},
              {"many blocks", {1, 0x100000001}, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    test::DiscardLogs();
    test::SetCardSpace(row.space);

    EXPECT_EQ(IsExistSDCard(), row.usable);
    EXPECT_EQ(test::DatabaseLog().empty(), row.usable == 1);
  }
}

}  // namespace
