// Configuration files that cannot be read. The tests of util read files that are made to harm.
#include <sys/stat.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

class HostileConfiguration : public test::ConnectedTest {
 protected:
  // Puts a named pipe in the file's place. Nobody writes to it: a reader would wait for ever.
  static void ReplaceByPipe(const std::string& path) {
    std::filesystem::remove(path);
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
  }

  // How many printed lines begin with the file's name.
  static long LinesAbout(const std::string& path, const std::string& output) {
    std::istringstream lines(output);
    long count = 0;
    for (std::string line; std::getline(lines, line);) count += line.starts_with(path + ": ");
    return count;
  }
};

TEST_F(HostileConfiguration, EndsTheStartAndIsNamedOnce) {
  for (const auto* path : {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate}) {
    SCOPED_TRACE(path);
    SetUp();
    ReplaceByPipe(path);
    test::ServiceProcess service(At(12, 0));

    EXPECT_EQ(service.RunToItsEnd(At(12, 1)), 255);

    EXPECT_EQ(LinesAbout(path, service.Output()), 1);
  }
}

TEST_F(HostileConfiguration, CostsOnlyItsDeviceInADefinitionFile) {
  test::WriteExamplePlant();
  const std::string path = test::DeviceFile("meter").Path();
  ReplaceByPipe(path);
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 20));

  EXPECT_EQ(LinesAbout(path, service.Output()), 1);
  EXPECT_EQ(test::CountResults(0), 1);
}

}  // namespace
