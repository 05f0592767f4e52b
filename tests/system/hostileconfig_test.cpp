// Configuration files that are unusable or made to harm.
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

namespace fs = std::filesystem;

constexpr long kMostKib = 200L << 10;           // a sanitizer's own included; the bomb needs 3 GiB
constexpr char kPipe[] = "/tmp/never-written";  // its reader waits for ever

// Ten entities, each ten times the one before: 3 GB of "lol".
std::string Bomb() {
  std::string text = "<!DOCTYPE r [<!ENTITY e0 \"lol\">";
  for (int level = 1; level < 10; ++level) {
    text += util::Format("<!ENTITY e%d \"", level);
    for (int i = 0; i < 10; ++i) text += util::Format("&e%d;", level - 1);
    text += "\">";
  }
  return text + "]><r>&e9;</r>";
}

struct Harm {
  const char* name;
  std::function<void(const std::string& path)> write;
};

Harm Content(const char* name, const std::string& text) {
  return {name, [=](const std::string& path) { test::WriteFile(path, text); }};
}

const std::vector<Harm> kHarms = {
    {"Missing", [](const std::string& path) { fs::remove(path); }},
    {"ANamedPipe",
     [](const std::string& path) {
       fs::remove(path);
       mkfifo(path.c_str(), 0600);
     }},
    Content("Binary", std::string(30000, '\xFE')),
    Content("Huge", "<r><!--" + std::string(8388608, ' ') + "--></r>"),
    Content("EntityBomb", Bomb()),
    Content("ExternalEntity",
            std::string("<!DOCTYPE r [<!ENTITY x SYSTEM \"file://") + kPipe + "\">]><r>&x;</r>"),
};

class HostileConfiguration : public test::ConnectedTest,
                             public ::testing::WithParamInterface<Harm> {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    fs::remove(kPipe);
    ASSERT_EQ(mkfifo(kPipe, 0600), 0);
  }

  // How many printed lines begin with the file's name.
  static long LinesAbout(const std::string& path, const std::string& output) {
    std::istringstream lines(output);
    long count = 0;
    for (std::string line; std::getline(lines, line);) count += line.starts_with(path + ": ");
    return count;
  }
};

TEST_P(HostileConfiguration, EndsTheStartAndIsNamedOnce) {
  for (const auto* path : {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate}) {
    SCOPED_TRACE(path);
    SetUp();
    GetParam().write(path);
    test::ServiceProcess service(At(12, 0));
    const long peak = service.PeakKib();

    EXPECT_EQ(service.RunToItsEnd(At(12, 1)), 255);

    EXPECT_EQ(LinesAbout(path, service.Output()), 1);
    EXPECT_LT(peak, kMostKib);
  }
}

TEST_P(HostileConfiguration, CostsOnlyItsDeviceInADefinitionFile) {
  test::WriteExamplePlant();
  const std::string path = test::DeviceFile("meter").Path();
  GetParam().write(path);
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_EQ(LinesAbout(path, service.Output()), 1);
  EXPECT_EQ(test::CountResults(0), 1);
  EXPECT_LT(service.PeakKib(), kMostKib);
}

INSTANTIATE_TEST_SUITE_P(Harms, HostileConfiguration, ::testing::ValuesIn(kHarms),
                         [](const auto& row) { return row.param.name; });

}  // namespace
