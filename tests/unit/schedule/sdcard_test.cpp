// Whether the SD card can be used.
#include <gmock/gmock.h>

#include <filesystem>

#include "schedule/schedule.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "systemtap.h"
#include "util/paths.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using test::CardSpace;
using test::SetCardSpace;

constexpr CardSpace kPlenty{4096, 1000000, 1000000};
constexpr CardSpace kNone{4096, 0, 0};

class SdCard : public test::GatewayTest {};

TEST_F(SdCard, CannotBeUsedWhenItIsOut) {
  std::filesystem::remove(paths::kCardDevice);
  SetCardSpace(kPlenty);

  EXPECT_EQ(IsExistSDCard(), 0);
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(SdCard, CanBeUsedWhenItsSpaceCannotBeTold) {
  test::HideCardSpace();

  EXPECT_EQ(IsExistSDCard(), 1);
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(SdCard, IsLookedAtWhereItIsMounted) {
  SetCardSpace(kPlenty);

  IsExistSDCard();

  EXPECT_EQ(test::ExaminedPath(), "/media/mmcblk0p1/");
}

TEST_F(SdCard, ThatIsFullIsReportedWithTheThreshold) {
  SetCardSpace({1000, 3, 3});

  EXPECT_EQ(IsExistSDCard(), 0);
  EXPECT_THAT(test::DatabaseLog(), ElementsAre(test::LogRecord{
                                       "FATAL", "There is only 512000B free space in sdcard\n"}));
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(SdCard, ThatIsFullLosesNothing) {
  test::WriteFile("/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz", "archive");
  SetCardSpace(kNone);

  IsExistSDCard();

  EXPECT_TRUE(test::Exists("/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz"));
}

struct Space {
  const char* name;
  CardSpace space;
  int usable;
};

void PrintTo(const Space& space, std::ostream* out) {
  *out << space.space.blockBytes << " x " << space.space.freeBlocks;
}

class FreeSpace : public SdCard, public ::testing::WithParamInterface<Space> {};

TEST_P(FreeSpace, DecidesFrom512000BytesOn) {
  SetCardSpace(GetParam().space);

  EXPECT_EQ(IsExistSDCard(), GetParam().usable);
  EXPECT_EQ(test::DatabaseLog("FATAL").size(), GetParam().usable == 1 ? 0U : 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Spaces, FreeSpace,
    ::testing::Values(Space{"Nothing", kNone, 0}, Space{"OneByteShort", {1, 511999, 511999}, 0},
                      Space{"ExactlyInBytes", {1, 512000, 512000}, 1},
                      Space{"ExactlyInBlocks", {4096, 125, 125}, 1},
                      Space{"OneBlockShort", {4096, 124, 124}, 0}, Space{"Plenty", kPlenty, 1},
                      // 0 in the low 32 bits
                      Space{"FourGibibytes", {65536, 65536, 65536}, 1},
                      Space{"AboveFourGibibytes", {4096, 0x100001, 0x100001}, 1},
                      Space{"ManyBlocks", {1, 0x100000001, 0x100000001}, 1},
                      // free blocks count, also those that are set aside for root
                      Space{"SetAsideForRoot", {4096, 1000, 0}, 1}),
    [](const auto& test) { return test.param.name; });

}  // namespace
