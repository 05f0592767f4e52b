// The gateway's paths on this machine and below a copy.
#include "collect/place.h"

#include <gmock/gmock.h>

#include <string>

#include "support/gateway.h"

namespace {

struct Copy {
  const char* name;
  const char* file;      // one that makes the copy what it is, below the root
  const char* root;      // as it is given
  const char* path;      // of the gateway
  const char* expected;  // where it is
};

class Places : public test::GatewayTest, public ::testing::WithParamInterface<Copy> {};

TEST_P(Places, AreMappedBelowTheRoot) {
  test::WriteFile(GetParam().file, "");

  const status::Place place(GetParam().root);

  EXPECT_EQ(place.At(GetParam().path), GetParam().expected);
}

constexpr char kLedger[] = "/media/mmcblk0p1/Cloud/DB/CloudDB.db";

INSTANTIATE_TEST_SUITE_P(
    , Places,
    ::testing::Values(Copy{"ThisMachine", "/tessel/c/x", "", kLedger, kLedger},
                      Copy{"SlashAlone", "/tessel/c/x", "/", kLedger, kLedger},
                      Copy{"SlashesAlone", "/tessel/c/x", "//", kLedger, kLedger},
                      Copy{"Tree", "/tessel/c/media/x", "/tessel/c", kLedger,
                           "/tessel/c/media/mmcblk0p1/Cloud/DB/CloudDB.db"},
                      Copy{"TreeWithSlashes", "/tessel/c/media/x", "/tessel/c//", kLedger,
                           "/tessel/c/media/mmcblk0p1/Cloud/DB/CloudDB.db"},
                      Copy{"Card", "/tessel/c/Cloud/x", "/tessel/c", kLedger,
                           "/tessel/c/Cloud/DB/CloudDB.db"},
                      Copy{"CardsMountPoint", "/tessel/c/Cloud/x", "/tessel/c", "/media/mmcblk0p1/",
                           "/tessel/c/"},
                      Copy{"LogsBesideACard", "/tessel/c/Cloud/x", "/tessel/c",
                           "/tmp/CloudLog/Cloudlog.db", "/tessel/c/tmp/CloudLog/Cloudlog.db"},
                      Copy{"Configuration", "/tessel/c/sys.xml", "/tessel/c",
                           "/tessel/Config/system/sn.xml", "/tessel/c/system/sn.xml"},
                      Copy{"ConfigurationOfDevices", "/tessel/c/Channel-template.xml", "/tessel/c",
                           "/tessel/Config/sys.xml", "/tessel/c/sys.xml"},
                      Copy{"FolderAroundTheConfiguration", "/tessel/c/Config/sys.xml", "/tessel/c",
                           "/tessel/Config/system/sn.xml", "/tessel/c/Config/system/sn.xml"},
                      Copy{"ConfigurationInATree", "/tessel/c/tessel/Config/sys.xml", "/tessel/c",
                           "/tessel/Config/sys.xml", "/tessel/c/tessel/Config/sys.xml"}),
    [](const auto& parameter) { return parameter.param.name; });

TEST(Place, IsLiveOnlyOnThisMachine) {
  EXPECT_TRUE(status::Place().IsLive());
  EXPECT_TRUE(status::Place("/").IsLive());
  EXPECT_FALSE(status::Place("/tessel/c").IsLive());
}

}  // namespace
