#include "collect/configuration.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/configs.h"
#include "support/gateway.h"

namespace status {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kPumpFile[] = "/tessel/Config/devices/pump.xml";

// A configuration without a fault: two points of one device.
void WriteGoodConfiguration() {
  test::SysXml().Cloud("checked", "1").Cloud("cloudip", "127.0.0.1").Write();
  test::WriteSnXml("Ostra-7K-M", "TS20240117");
  test::DeviceFile("pump").Node("AI", 1).Node("DI", 2).Write();
  test::ChannelTemplate().Channel(1).Device(3, kPumpFile).Write();
}

// "code file:line text" of every fault.
std::vector<std::string> Told(const Configuration& configuration) {
  std::vector<std::string> told;
  for (const ConfigFault& fault : configuration.faults) {
    told.push_back(fault.code + " " + fault.file + ":" + std::to_string(fault.line) + " " +
                   fault.text);
  }
  return told;
}

class LoadingConfiguration : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    WriteGoodConfiguration();
  }
};

TEST_F(LoadingConfiguration, GivesWhatTheServiceWouldWorkWith) {
  const Configuration configuration = LoadConfiguration(Place());

  EXPECT_THAT(Told(configuration), IsEmpty());
  EXPECT_TRUE(configuration.starts);
  EXPECT_TRUE(configuration.isOn);
  EXPECT_EQ(configuration.serial, "TS20240117");
  EXPECT_EQ(configuration.cloud.RealDataInv, 300);
  ASSERT_NE(configuration.points, nullptr);
  EXPECT_THAT(*configuration.points,
              ElementsAre(::testing::Key(0x01030001U), ::testing::Key(0x01030102U)));
  EXPECT_THAT(configuration.files,
              ElementsAre(paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate,
                          paths::kVersionFile, kPumpFile));
}

TEST_F(LoadingConfiguration, TellsTheNewestChangeOfItsFiles) {
  for (const char* file : {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate}) {
    const timespec times[2] = {{1000, 0}, {1000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, file, times, 0), 0);
  }
  const timespec times[2] = {{2000, 0}, {2000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, kPumpFile, times, 0), 0);

  EXPECT_EQ(LoadConfiguration(Place()).newestChange, 2000);
}

TEST_F(LoadingConfiguration, KeepsNothingOfTheLoadBefore) {
  LoadConfiguration(Place());
  test::ChannelTemplate().Channel(1).Write();

  const Configuration configuration = LoadConfiguration(Place());
  EXPECT_THAT(*configuration.points, IsEmpty());
}

TEST_F(LoadingConfiguration, PrintsNothing) {
  test::WriteFile(paths::kSystemFile, "<sysConfig>");

  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  LoadConfiguration(Place());

  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

struct FileCase {
  const char* name;
  const char* file;
  const char* content;  // null: the file is missing
  bool starts;
  const char* fault;
};

void PrintTo(const FileCase& file, std::ostream* out) {
  *out << file.name;
}

class RefusedFile : public LoadingConfiguration, public ::testing::WithParamInterface<FileCase> {};

TEST_P(RefusedFile, IsAFaultWithItsLine) {
  const FileCase& file = GetParam();
  std::remove(file.file);
  if (file.content != nullptr) test::WriteFile(file.file, file.content);

  const Configuration configuration = LoadConfiguration(Place());

  EXPECT_THAT(Told(configuration), ElementsAre(file.fault));
  EXPECT_EQ(configuration.starts, file.starts);
}

INSTANTIATE_TEST_SUITE_P(
    Configuration, RefusedFile,
    ::testing::Values(
        FileCase{"NoSystemFile", paths::kSystemFile, nullptr, false,
                 "BRN-CONFIG-SYSTEM /tessel/Config/sys.xml:0 cannot be read: No such file or "
                 "directory; the service does not start"},
        FileCase{"MalformedSystemFile", paths::kSystemFile, "<sysConfig>\n<cloud>\n</sysConfig>",
                 false,
                 "BRN-CONFIG-SYSTEM /tessel/Config/sys.xml:3 Opening and ending tag mismatch: "
                 "cloud line 2 and sysConfig; the service does not start"},
        FileCase{"SystemFileWithAnotherRoot", paths::kSystemFile, "\n<system/>", true,
                 "BRN-CONFIG-SYSTEM /tessel/Config/sys.xml:2 the root is not sysConfig; the "
                 "service is switched off"},
        FileCase{"NoSerialNumber", paths::kIdentityFile, "<snConfig><model model='a'/></snConfig>",
                 false,
                 "BRN-CONFIG-IDENTITY /tessel/Config/system/sn.xml:0 has no usable model or sn; "
                 "the service does not start"},
        FileCase{"TemplateWithAnEntity", paths::kChannelTemplate,
                 "<!DOCTYPE a [\n<!ENTITY b 'c'>]>\n<ChannelConfig/>", false,
                 "BRN-CONFIG-CHANNELS /tessel/Config/Channel-template.xml:2 declares an entity; "
                 "the service does not start"},
        FileCase{"NoDeviceFile", kPumpFile, nullptr, true,
                 "BRN-CONFIG-DEVICE /tessel/Config/devices/pump.xml:0 cannot be read: No such "
                 "file or directory; its devices have no points"},
        FileCase{"DeviceFileWithAnotherRoot", kPumpFile, "<Device/>", true,
                 "BRN-CONFIG-DEVICE /tessel/Config/devices/pump.xml:1 the root is not DevConfig; "
                 "its devices have no points"}),
    ::testing::PrintToStringParamName());

TEST_F(LoadingConfiguration, TellsOfEveryRefusedFileAtOnceTheWorstFirst) {
  for (const char* file : {paths::kSystemFile, paths::kIdentityFile, kPumpFile}) std::remove(file);

  const Configuration configuration = LoadConfiguration(Place());

  EXPECT_THAT(Told(configuration),
              ElementsAre(HasSubstr("sys.xml"), HasSubstr("sn.xml"), HasSubstr("pump.xml")));
}

TEST_F(LoadingConfiguration, HasNoPointsWithoutATemplate) {
  std::remove(paths::kChannelTemplate);

  const Configuration configuration = LoadConfiguration(Place());

  EXPECT_EQ(configuration.points, nullptr);
  EXPECT_FALSE(configuration.starts);
}

// The loader keeps 126 bytes of a path.
TEST_F(LoadingConfiguration, CutsADevicesPathAsTheServiceDoes) {
  const std::string kept = "/tessel/" + std::string(118, 'd');
  test::WriteFile(kept, test::ReadFile(kPumpFile));
  test::ChannelTemplate().Channel(1).Device(3, kept + ".xml").Write();

  const Configuration configuration = LoadConfiguration(Place());

  EXPECT_THAT(Told(configuration), IsEmpty());
  EXPECT_EQ(configuration.files.back(), kept);
}

struct SettingCase {
  const char* name;
  const char* attribute;
  std::string value;
  const char* code;
};

void PrintTo(const SettingCase& setting, std::ostream* out) {
  *out << setting.name;
}

class UselessSetting : public LoadingConfiguration,
                       public ::testing::WithParamInterface<SettingCase> {};

TEST_P(UselessSetting, IsAFaultAlthoughTheServiceStarts) {
  const SettingCase& setting = GetParam();
  test::SysXml().Cloud(setting.attribute, setting.value).Cloud("checked", "1").Write();

  const Configuration configuration = LoadConfiguration(Place());

  ASSERT_EQ(configuration.faults.size(), 1U);
  EXPECT_EQ(configuration.faults[0].code, setting.code);
  EXPECT_EQ(configuration.faults[0].cost, Cost::kStart);
  EXPECT_TRUE(configuration.starts);
}

INSTANTIATE_TEST_SUITE_P(
    Configuration, UselessSetting,
    ::testing::Values(SettingCase{"EmptyAddress", "cloudip", "", "BRN-CONFIG-CLOUD"},
                      SettingCase{"PortBeyondItsEnd", "port", "65536", "BRN-CONFIG-CLOUD"},
                      SettingCase{"OtherFileType", "FileType", "xml", "BRN-CONFIG-FILETYPE"}),
    ::testing::PrintToStringParamName());

TEST_F(LoadingConfiguration, TellsThatTheCloudServiceIsOff) {
  test::SysXml().Cloud("checked", "256").Write();

  const Configuration configuration = LoadConfiguration(Place());

  EXPECT_THAT(Told(configuration), ElementsAre(HasSubstr("BRN-CONFIG-OFF")));
  EXPECT_FALSE(configuration.isOn);
}

// "http://" + 60 + ":8080" + 25 + 30 characters make 127.
TEST_F(LoadingConfiguration, TellsThatAnUploadsAddressIsCut) {
  const std::string host(60, 'h');
  const auto faultsWithPrefix = [&host](std::size_t length) {
    test::SysXml()
        .Cloud("checked", "1")
        .Cloud("cloudip", host)
        .Cloud("port", "8080")
        .Cloud("Dir", "/" + std::string(length - 1, 'p'))
        .Write();
    return Told(LoadConfiguration(Place()));
  };

  EXPECT_THAT(faultsWithPrefix(25), IsEmpty());
  EXPECT_THAT(faultsWithPrefix(26), ElementsAre(HasSubstr("128 characters")));
}

class CopiedConfiguration : public LoadingConfiguration {
 protected:
  // Moves the configuration to another folder, with all below /tessel/Config.
  static void MoveTo(const std::string& folder) {
    std::filesystem::create_directories(std::filesystem::path(folder).parent_path());
    std::filesystem::copy("/tessel/Config", folder, std::filesystem::copy_options::recursive);
    test::Empty("/tessel");
  }
  void TearDown() override {
    std::filesystem::remove_all("/tmp/copy");
    LoadingConfiguration::TearDown();
  }
};

TEST_F(CopiedConfiguration, IsReadBelowTheCopyWithTheGatewaysOwnPaths) {
  MoveTo("/tmp/copy/tessel/Config");
  test::WriteFile("/tmp/copy/tessel/Config/system/sn.xml", "<snConfig>\n</sn>");

  const Configuration configuration = LoadConfiguration(Place("/tmp/copy"));

  ASSERT_NE(configuration.points, nullptr);
  EXPECT_EQ(configuration.points->size(), 2U);
  EXPECT_THAT(Told(configuration), ElementsAre(HasSubstr(" /tessel/Config/system/sn.xml:2 ")));
  EXPECT_GT(configuration.newestChange, 0);
}

TEST_F(CopiedConfiguration, MayBeTheFolderOfTheConfigurationAlone) {
  MoveTo("/tmp/copy/Config");

  const Configuration configuration = LoadConfiguration(Place("/tmp/copy/Config"));

  EXPECT_THAT(Told(configuration), IsEmpty());
  ASSERT_NE(configuration.points, nullptr);
  EXPECT_EQ(configuration.points->size(), 2U);
}

TEST_F(LoadingConfiguration, DoesNotCallAFileBrokenThatOnlyThisUserCannotRead) {
  ASSERT_EQ(chmod(paths::kIdentityFile, 0600), 0);
  const pid_t child = fork();
  if (child == 0) {
    if (setuid(65534) != 0) _exit(2);
    const Configuration configuration = LoadConfiguration(Place());
    const bool isTold = configuration.faults.size() == 1 &&
                        configuration.faults[0].code == "BRN-CONFIG-RIGHTS" && configuration.starts;
    _exit(isTold ? 0 : 1);
  }

  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace status
