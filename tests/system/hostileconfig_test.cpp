// Configuration files that are unusable, or made to harm.
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "system/support/answers.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

namespace fs = std::filesystem;

constexpr long kMemoryLimitKibibytes = 200 * 1024;  // with a sanitizer's own; the bomb needs 3 GiB
constexpr char kPipe[] = "/tmp/never-written";      // whoever reads it waits for ever

// One of the files, with the root that it should have.
struct File {
  const char* name;
  const char* path;
  const char* root;
  std::vector<std::string> messages;  // when it cannot be used
};

const File kSystem{
    "SystemFile",
    paths::kSystemFile,
    "sysConfig",
    {"parsed /tessel/Config/sys.xml failed", "Parse sys.xml failed", "Brennik Init failed\n"}};
const File kIdentity{"IdentityFile",
                     paths::kIdentityFile,
                     "snConfig",
                     {"parse Document /tessel/Config/system/sn.xml failed", "Parse sn.xml failed",
                      "Brennik Init failed\n"}};
const File kTemplate{"ChannelTemplate",
                     paths::kChannelTemplate,
                     "ChannelConfig",
                     {"Document /tessel/Config/Channel-template.xml parsed failed.",
                      "Parse Channel-template.xml failed", "Brennik Init failed\n"}};

// A way to harm; `write` puts it where the file should be.
struct Harm {
  const char* name;
  std::function<void(const std::string& path, const std::string& root)> write;
};

using Text = std::function<std::string(const std::string& root)>;

Harm Content(const char* name, const Text& text) {
  return {name, [text](const std::string& path, const std::string& root) {
            test::WriteFile(path, text(root));
          }};
}

// A document with a declaration inside its document type, which the content may use.
std::string Declaring(const std::string& root, const std::string& declarations,
                      const std::string& content) {
  return "<?xml version=\"1.0\"?><!DOCTYPE " + root + " [" + declarations + "]><" + root + ">" +
         content + "</" + root + ">";
}

// Ten entities, each ten times the one before: 3 GB of "lol".
std::string Bomb(const std::string& root) {
  std::string declarations = "<!ENTITY e0 \"lol\">";
  for (int level = 1; level < 10; ++level) {
    std::string tenfold;
    for (int i = 0; i < 10; ++i) tenfold += "&e" + std::to_string(level - 1) + ";";
    declarations += "<!ENTITY e" + std::to_string(level) + " \"" + tenfold + "\">";
  }
  return Declaring(root, declarations, "<a b=\"&e9;\">&e9;</a>");
}

std::string Repeated(const std::string& text, int times) {
  std::string repeated;
  for (int i = 0; i < times; ++i) repeated += text;
  return repeated;
}

std::string ManyAttributes(const std::string& root) {
  std::ostringstream text;
  text << "<" << root;
  for (int i = 0; i < 50000; ++i) text << " a" << i << "=\"\"";
  text << "/>";
  return text.str();
}

const std::vector<Harm> kHarms = {
    {"Missing", [](const std::string& path, const std::string&) { fs::remove(path); }},
    {"ADirectory",
     [](const std::string& path, const std::string&) {
       fs::remove(path);
       fs::create_directory(path);
     }},
    {"ANamedPipe",
     [](const std::string& path, const std::string&) {
       fs::remove(path);
       mkfifo(path.c_str(), 0600);
     }},
    Content("Empty", [](const std::string&) { return ""; }),
    Content("Blank", [](const std::string&) { return " \n"; }),
    Content("NoXml", [](const std::string&) { return "checked=1\n"; }),
    Content("Binary", [](const std::string&) { return Repeated("\xFF\xFE\x01", 10000); }),
    Content("CutOff", [](const std::string& root) { return "<" + root + "><a b=\"1\"/>"; }),
    Content("Huge",
            [](const std::string& root) {
              return "<" + root + "><!--" + std::string(8388608, ' ') + "--></" + root + ">";
            }),
    Content("NestedDeeply",
            [](const std::string& root) {
              return "<" + root + ">" + Repeated("<a>", 100000) + Repeated("</a>", 100000) + "</" +
                     root + ">";
            }),
    Content("ManyAttributes", ManyAttributes),
    Content("EntityBomb", Bomb),
    Content("ExternalEntity",
            [](const std::string& root) {
              return Declaring(root, std::string("<!ENTITY x SYSTEM \"file://") + kPipe + "\">",
                               "&x;");
            }),
    Content("ExternalParameterEntity",
            [](const std::string& root) {
              return Declaring(
                  root, std::string("<!ENTITY % x SYSTEM \"file://") + kPipe + "\"> %x;", "");
            }),
};

class HostileConfiguration : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    fs::remove(kPipe);
    ASSERT_EQ(mkfifo(kPipe, 0600), 0);
    test::WriteExamplePlant();
    test::SystemFile(m_server.Port()).Write();
  }

  // The most memory that the process has had resident.
  static long PeakKibibytes(const test::ServiceProcess& service) {
    std::istringstream lines(test::ReadFile("/proc/" + std::to_string(service.Pid()) + "/status"));
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("VmHWM:")) return std::stol(line.substr(6));
    }
    return -1;
  }

  // How many lines of the output begin with the file's name.
  static long NamesOf(const std::string& output, const std::string& path) {
    std::istringstream lines(output);
    long count = 0;
    for (std::string line; std::getline(lines, line);) count += line.starts_with(path + ": ");
    return count;
  }

  test::CloudServer m_server;
};

class UnusableFile : public HostileConfiguration,
                     public ::testing::WithParamInterface<std::tuple<File, Harm>> {
 protected:
  void SetUp() override {
    HostileConfiguration::SetUp();
    std::get<Harm>(GetParam()).write(TheFile().path, TheFile().root);
  }

  static const File& TheFile() { return std::get<File>(GetParam()); }
};

TEST_P(UnusableFile, EndsTheStartAfterTenSecondsWithItsMessages) {
  test::ServiceProcess service(At(12, 0));
  service.RunUntil(At(12, 0, 9));
  const long peak = PeakKibibytes(service);

  service.RunUntil(At(12, 0, 11));

  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "ERROR"), TheFile().messages);
  EXPECT_EQ(NamesOf(service.Output(), TheFile().path), 1);
  EXPECT_EQ(service.ExitStatus(), 255);
  EXPECT_GT(peak, 0);
  EXPECT_LT(peak, kMemoryLimitKibibytes);
}

INSTANTIATE_TEST_SUITE_P(HostileConfiguration, UnusableFile,
                         ::testing::Combine(::testing::Values(kSystem, kIdentity, kTemplate),
                                            ::testing::ValuesIn(kHarms)),
                         [](const auto& row) {
                           return std::string(std::get<File>(row.param).name) +
                                  std::get<Harm>(row.param).name;
                         });

class UnusableDefinition : public HostileConfiguration,
                           public ::testing::WithParamInterface<Harm> {};

TEST_P(UnusableDefinition, LeavesItsDeviceWithoutPoints) {
  test::DeviceFile("meter").Write();
  GetParam().write(test::DeviceFile("meter").Path(), "DevConfig");
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 4, 30));
  const long peak = PeakKibibytes(service);

  service.RunUntil(At(12, 5, 20));

  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "ERROR"),
            std::vector<std::string>{"[LoadDevPointAttr]: parsed Parse failed"});
  EXPECT_EQ(NamesOf(service.Output(), test::DeviceFile("meter").Path()), 1);
  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/7/S20240307120500.tar.gz"}}));
  EXPECT_LT(peak, kMemoryLimitKibibytes);
}

INSTANTIATE_TEST_SUITE_P(HostileConfiguration, UnusableDefinition, ::testing::ValuesIn(kHarms),
                         [](const auto& row) { return row.param.name; });

struct OtherRoot {
  const char* name;
  const char* path;
  std::vector<std::string> messages;
};

class WrongRoot : public HostileConfiguration, public ::testing::WithParamInterface<OtherRoot> {};

TEST_P(WrongRoot, EndsTheStartWithItsMessages) {
  test::WriteFile(GetParam().path, "<?xml version=\"1.0\"?><other><sn sn=\"S\"/></other>");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 11));

  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "ERROR"), GetParam().messages);
  EXPECT_EQ(service.ExitStatus(), 255);
}

INSTANTIATE_TEST_SUITE_P(
    HostileConfiguration, WrongRoot,
    ::testing::Values(OtherRoot{"IdentityFile",
                                paths::kIdentityFile,
                                {"parse SN Document failed,wrong type,root node is not snConfig",
                                 "Parse sn.xml failed", "Brennik Init failed\n"}},
                      OtherRoot{"ChannelTemplate",
                                paths::kChannelTemplate,
                                {"[LoadChannelParamFromXml]: Root node is not 'ChannelConfig'",
                                 "Parse Channel-template.xml failed", "Brennik Init failed\n"}}),
    [](const auto& row) { return row.param.name; });

TEST_F(HostileConfiguration, WithAWrongRootInADefinitionLeavesTheDeviceWithoutPoints) {
  test::WriteFile(test::DeviceFile("meter").Path(), "<other/>");
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 10));

  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "ERROR"),
            std::vector<std::string>{"[LoadDevPointAttr]:  wrong type, root node != DevConfig"});
}

TEST_F(HostileConfiguration, NamesNoAddressThatIsVisited) {
  test::CloudServer visited;
  test::SysXml system = test::SystemFile(m_server.Port());
  std::string text = system.Text();
  text.insert(text.find("<sysConfig"),
              "<!DOCTYPE sysConfig SYSTEM \"" + visited.Url("/system.dtd") + "\">");
  test::WriteFile(paths::kSystemFile, text);
  test::WriteFile(
      paths::kIdentityFile,
      Declaring("snConfig", "<!ENTITY x SYSTEM \"" + visited.Url("/entity") + "\">", "&x;"));
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 11));

  EXPECT_EQ(visited.Requests().size(), 0U);
  EXPECT_EQ(service.ExitStatus(), 255);  // for the identity; the system file's type was let be
  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "ERROR"), kIdentity.messages);
}

TEST_F(HostileConfiguration, OfTheLargestSizeIsRead) {
  std::string text = test::SystemFile(m_server.Port()).Text();
  text.insert(text.find("<cloud"), "<!--" + std::string(8388608 - 7 - text.size(), ' ') + "-->");
  ASSERT_EQ(text.size(), 8388608U);
  test::WriteFile(paths::kSystemFile, text);
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 0, 20));

  EXPECT_EQ(m_server.Requests().size(), 1U);  // the login
}

}  // namespace
