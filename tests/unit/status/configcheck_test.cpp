#include "judge/configcheck.h"

#include <gmock/gmock.h>

#include "http/http.h"
#include "judge/archivesize.h"
#include "main/commands.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "util/text.h"

namespace status {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kPump[] = "/tessel/Config/devices/pump.xml";
constexpr char kMeter[] = "/tessel/Config/devices/meter.xml";
constexpr std::time_t kStart = 1700000000;

test::SysXml SystemFile() {
  return test::SysXml().Cloud("checked", "1").Cloud("cloudip", "127.0.0.1");
}

void WriteTemplate(const std::string& channels) {
  test::WriteFile(paths::kChannelTemplate, "<ChannelConfig>\n" + channels + "</ChannelConfig>");
}

void WriteDevice(const std::string& types) {
  test::WriteFile(kPump, "<DevConfig><NodeProperty>\n" + types + "</NodeProperty></DevConfig>");
}

// "code file:line text" of every fault, the file without its folder.
std::vector<std::string> Told(const ConfigCheck& check) {
  std::vector<std::string> told;
  for (const ConfigFault& fault : check.faults) {
    told.push_back(fault.code + " " + std::string(util::BaseName(fault.file)) + ":" +
                   std::to_string(fault.line) + " " + fault.text);
  }
  return told;
}

class CheckingConfiguration : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    SystemFile().Write();
    test::WriteSnXml("Ostra-7K-M", "TS20240117");
    test::DeviceFile("pump").Node("AI", 1).Node("DI", 2).Write();
    test::ChannelTemplate().Channel(1).Device(3, kPump).Write();
  }

  static ConfigCheck Check(const LogFacts* running = nullptr, const Segment* segment = nullptr) {
    return CheckConfiguration(Place(), LoadConfiguration(Place()), running, segment);
  }
  static ConfigCheck CheckWith(std::map<std::uint32_t, double> published) {
    Segment segment;
    segment.present = Known(true);
    segment.values = Known(std::move(published));
    return Check(nullptr, &segment);
  }
};

TEST_F(CheckingConfiguration, FindsNothingInAGoodOne) {
  const ConfigCheck check = Check();

  EXPECT_THAT(Told(check), IsEmpty());
  EXPECT_EQ(check.level, Level::kOk);
  EXPECT_EQ(check.text, "the service would start and send");
}

TEST_F(CheckingConfiguration, AcceptsTheExample) {
  const Place example(BRENNIK_EXAMPLE_DIR "/Config");

  const ConfigCheck check =
      CheckConfiguration(example, LoadConfiguration(example), nullptr, nullptr);

  EXPECT_THAT(Told(check), IsEmpty());
}

struct CheckRow {
  const char* name;
  std::string content;
  std::vector<std::string> faults;
};

void PrintTo(const CheckRow& row, std::ostream* out) {
  *out << row.name;
}

// The content of the `cloud` element beside an address that is switched on.
class CloudRow : public CheckingConfiguration, public ::testing::WithParamInterface<CheckRow> {};

TEST_P(CloudRow, IsTold) {
  test::WriteFile(paths::kSystemFile,
                  "<sysConfig>\n<cloud checked='1' " + GetParam().content + "/></sysConfig>");

  EXPECT_EQ(Told(Check()), GetParam().faults);
}

INSTANTIATE_TEST_SUITE_P(
    ConfigCheck, CloudRow,
    ::testing::Values(
        CheckRow{
            "LowSixteenBits",
            "FailInterval='65596'",
            {"BRN-CONFIG-VALUE sys.xml:2 FailInterval 65596 -> 60; good values are 30 to 32767"}},
        CheckRow{"RaisedToTheLeast",
                 "AlarmDataInv='5'",
                 {"BRN-CONFIG-VALUE sys.xml:2 AlarmDataInv 5 -> 10; good values are 10 to 32767"}},
        CheckRow{
            "NumberWithAUnit",
            "RealDataInv='120s'",
            {"BRN-CONFIG-VALUE sys.xml:2 RealDataInv 120s -> 120; good values are 60 to 32767"}},
        CheckRow{
            "SnapshotsOff",
            "RealDataInv='-1'",
            {"BRN-CONFIG-INTERVAL sys.xml:2 RealDataInv is below 1: no real data are packed, only "
             "alarms are sent"}},
        CheckRow{
            "TextCut",
            "FileType='json-and-more-of-it'",
            {"BRN-CONFIG-FILETYPE sys.xml:0 `FileType` json-and-more-o is no part of the files' "
             "path: real data are not sent and count as accepted",
             "BRN-CONFIG-VALUE sys.xml:2 FileType has 19 characters and is cut to 15: "
             "json-and-more-o"}},
        CheckRow{"AddressCut",
                 "cloudip='" + std::string(64, 'h') + "'",
                 {"BRN-CONFIG-CLOUD sys.xml:2 cloudip has 64 characters and is cut to 63: " +
                  std::string(63, 'h')}},
        CheckRow{"UnusedValuesAreNoFault", "HeartInterval='1' IsCompress='300'", {}},
        CheckRow{"RecallsOffAreNoFault", "RecallInterval='0'", {}},
        CheckRow{"SecondElement",
                 "/><cloud checked='1'",
                 {"BRN-CONFIG-VALUE sys.xml:2 a second `cloud` element; the one of line 2 does not "
                  "count"}}),
    ::testing::PrintToStringParamName());

class TemplateRow : public CheckingConfiguration, public ::testing::WithParamInterface<CheckRow> {};

TEST_P(TemplateRow, IsTold) {
  test::DeviceFile("meter").Node("AI", 7).Write();
  WriteTemplate(GetParam().content);

  EXPECT_EQ(Told(Check()), GetParam().faults);
}

std::string Dev(const std::string& attributes) {
  return "<Dev " + attributes + "/>\n";
}

INSTANTIATE_TEST_SUITE_P(
    ConfigCheck, TemplateRow,
    ::testing::Values(
        CheckRow{"OneFileForTwoDevices",
                 "<Channel No='1'>" + Dev("Name='/tessel/Config/devices/pump.xml' SlaveId='1'") +
                     Dev("Name='/tessel/Config/devices/pump.xml' SlaveId='2'") + "</Channel>",
                 {}},
        CheckRow{"DuplicateDevice",
                 "<Channel No='1'>\n" + Dev("Name='/tessel/Config/devices/pump.xml' SlaveId='1'") +
                     "</Channel><Channel No='257'>" +
                     Dev("Name='/tessel/Config/devices/meter.xml' SlaveId='1'") + "</Channel>",
                 {"BRN-CONFIG-VALUE Channel-template.xml:4 No 257 -> 1; good values are 0 to 255",
                  "BRN-CONFIG-DUPLICATE Channel-template.xml:4 a second device 1 on channel 1; the "
                  "first "
                  "stands in line 3. The later counts, with the points of both"}},
        CheckRow{
            "WithoutAddress",
            "<Channel No='1'>" + Dev("Name='/tessel/Config/devices/pump.xml'") + "</Channel>",
            {"BRN-CONFIG-DEVICE Channel-template.xml:2 Dev without `SlaveId` takes the one before "
             "it: 0"}},
        CheckRow{
            "WithoutFile",
            "<Channel No='1'>" + Dev("Name='/tessel/Config/devices/pump.xml' SlaveId='1'") +
                Dev("SlaveId='2'") + "</Channel>",
            {"BRN-CONFIG-DEVICE Channel-template.xml:3 Dev without `Name` takes the file of the "
             "device before it"}},
        CheckRow{
            "RelativePath",
            "<Channel No='1'>" + Dev("Name='tessel/Config/devices/pump.xml' SlaveId='1'") +
                "</Channel>",
            {"BRN-CONFIG-DEVICE Channel-template.xml:2 the path tessel/Config/devices/pump.xml "
             "does not begin with a slash: it depends on the folder in which the service starts"}},
        CheckRow{
            "LeftOutChannel",
            "<Channel No='1'>" + Dev("Name='/tessel/Config/devices/pump.xml' SlaveId='1'") +
                "</Channel><Channel No='193'>" +
                Dev("Name='/tessel/Config/devices/pump.xml' SlaveId='1'") + "</Channel>",
            {"BRN-CONFIG-LEFTOUT Channel-template.xml:0 channel 193: its 2 points are left out of "
             "every snapshot"}},
        CheckRow{
            "UnknownElement",
            "<Channel No='1'>" + Dev("Name='/tessel/Config/devices/pump.xml' SlaveId='1'") +
                "<dev/></Channel>",
            {"BRN-CONFIG-DEVICE Channel-template.xml:3 element dev is no Dev and does not count"}},
        CheckRow{
            "NoPoints",
            "",
            {"BRN-CONFIG-POINT Channel-template.xml:0 no point is configured: the snapshots are "
             "empty"}}),
    ::testing::PrintToStringParamName());

class DeviceRow : public CheckingConfiguration, public ::testing::WithParamInterface<CheckRow> {};

TEST_P(DeviceRow, IsTold) {
  test::DeviceFile("meter").Node("AI", 7).Write();
  test::ChannelTemplate().Channel(1).Device(3, kPump).Device(4, kMeter).Write();
  WriteDevice(GetParam().content);

  EXPECT_EQ(Told(Check()), GetParam().faults);
}

INSTANTIATE_TEST_SUITE_P(
    ConfigCheck, DeviceRow,
    ::testing::Values(
        CheckRow{"SameIdOfTwoTypes", "<AI><Node Id='1'/></AI><DI><Node Id='1'/></DI>", {}},
        CheckRow{"CollidingNodes",
                 "<AI><Node Id='1'/>\n<Node Id='4097'/></AI>",
                 {"BRN-CONFIG-VALUE pump.xml:3 Id 4097 -> 1; good values are 0 to 4095",
                  "BRN-CONFIG-POINT pump.xml:3 a second AI node 1; the first stands in line 2. The "
                  "later "
                  "counts"}},
        CheckRow{"CollidingElements",
                 "<AI><Node Id='1'/></AI>\n<AI><Node Id='1'/></AI>",
                 {"BRN-CONFIG-POINT pump.xml:3 a second AI node 1; the first stands in line 2. The "
                  "later "
                  "counts"}},
        CheckRow{"NodeWithoutId",
                 "<AI><Node Id='1'/>\n<Node Name='level'/></AI>",
                 {"BRN-CONFIG-POINT pump.xml:3 Node without `Id` replaces the node before it"}},
        CheckRow{
            "UnknownType",
            "<AI><Node Id='1'/></AI><Ai><Node Id='2'/></Ai>",
            {"BRN-CONFIG-POINT pump.xml:2 point type Ai is not known: its 1 nodes do not count"}},
        CheckRow{"NoNodes",
                 "<AI/>",
                 {"BRN-CONFIG-DEVICE Channel-template.xml:2 device 3 on channel 1 has no points in "
                  "/tessel/Config/devices/pump.xml"}},
        CheckRow{"NameCut",
                 "<AI><Node Id='1' Name='" + std::string(127, 'n') + "'/></AI>",
                 {"BRN-CONFIG-VALUE pump.xml:2 Name has 127 bytes and is cut to 126"}}),
    ::testing::PrintToStringParamName());

TEST_F(CheckingConfiguration, ListsAHundredFaultsAndTellsHowManyMoreThereAre) {
  std::string nodes;
  for (int i = 0; i < 130; ++i) nodes += "<Node/>\n";
  WriteDevice("<AI>" + nodes + "</AI>");

  const auto told = Told(Check());

  EXPECT_EQ(told.size(), 101U);
  EXPECT_THAT(told, Contains(HasSubstr("30 more faults are not listed")));
}

TEST_F(CheckingConfiguration, TellsTheIdentityInForce) {
  test::WriteSnXml("Ostra-8", "TS20240117-0000000001");

  EXPECT_THAT(Told(Check()),
              ElementsAre("BRN-CONFIG-VALUE sn.xml:2 model Ostra-8 is not known -> Ostra-7K-M",
                          HasSubstr("sn TS20240117-0000000001 -> TS20240117-0000000: 18")));
}

TEST_F(CheckingConfiguration, ComparesWithTheRunningService) {
  LogFacts running;
  running.started = Evidence{kStart, "Brennik Start running", "Cloudlog.db, Pid 1"};
  running.isOn = true;
  running.intervals = Interval_Info{60, 30, 600, 60, -1};
  for (const char* file : {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate}) {
    std::filesystem::last_write_time(file, std::filesystem::file_time_type{});
  }
  std::filesystem::last_write_time(kPump, std::filesystem::file_time_type::clock::now());
  std::filesystem::last_write_time(
      paths::kIdentityFile,
      std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kStart)));
  std::filesystem::last_write_time(
      paths::kSystemFile,
      std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kStart - 1)));
  std::filesystem::last_write_time(
      paths::kChannelTemplate,
      std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(kStart - 1)));

  const ConfigCheck check = Check(&running);

  EXPECT_THAT(
      Told(check),
      ElementsAre("BRN-CONFIG-RESTART pump.xml:0 changed after the service's start: restart needed",
                  "BRN-CONFIG-RESTART sys.xml:0 RealDataInv is 60 in the running service and 300 "
                  "here: restart needed"));
}

TEST_F(CheckingConfiguration, TellsThatTheRunningServiceIsSwitchedOff) {
  LogFacts running;
  running.isOn = false;
  running.intervals = Interval_Info{-1, -1, -1, -1, -1};

  EXPECT_THAT(Told(Check(&running)),
              ElementsAre("BRN-CONFIG-RESTART sys.xml:0 the running service is switched off: "
                          "restart needed"));
}

TEST_F(CheckingConfiguration, NamesPointsThatAreNotPublished) {
  const ConfigCheck check = CheckWith({{0x01030001, 12.5}});

  EXPECT_THAT(Told(check),
              ElementsAre("BRN-SEGMENT-UNPUBLISHED Channel-template.xml:0 1 configured point is "
                          "not published and stops every snapshot: 01030102 (Point)"));
  EXPECT_EQ(check.level, Level::kCritical);
}

TEST_F(CheckingConfiguration, NeedsNoPublishedPointsOfTheChannelThatIsLeftOut) {
  test::ChannelTemplate().Channel(193).Device(3, kPump).Channel(1).Device(3, kPump).Write();

  EXPECT_THAT(Told(CheckWith({{0x01030001, 12.5}, {0x01030102, 1}})),
              ElementsAre(HasSubstr("BRN-CONFIG-LEFTOUT")));
}

struct PaceRow {
  const char* name;
  int devices;  // on one channel: 1.5 s and 0.1 s each
  std::vector<std::string> faults;
  Level level;
};

void PrintTo(const PaceRow& row, std::ostream* out) {
  *out << row.name;
}

class PackingTime : public CheckingConfiguration, public ::testing::WithParamInterface<PaceRow> {};

TEST_P(PackingTime, IsComparedWithTheInterval) {
  SystemFile().Cloud("RealDataInv", "60").Write();
  test::ChannelTemplate channels;
  for (int i = 0; i < GetParam().devices; ++i) {
    if (i % 200 == 0) channels.Channel(1 + i / 200);
    channels.Device(i % 200, kPump);
  }
  channels.Write();

  const ConfigCheck check = Check();

  EXPECT_EQ(Told(check), GetParam().faults);
  EXPECT_EQ(check.level, GetParam().level);
}

INSTANTIATE_TEST_SUITE_P(
    ConfigCheck, PackingTime,
    ::testing::Values(
        PaceRow{"Half", 280, {}, Level::kOk},
        PaceRow{"MoreThanHalf",
                281,
                {"BRN-CONFIG-TIME sys.xml:0 packing a snapshot takes 30.1 s, more than half of the "
                 "60 s of RealDataInv"},
                Level::kWarning},
        PaceRow{
            "MoreThanTheWhole",
            576,
            {"BRN-CONFIG-TIME sys.xml:0 packing a snapshot takes 60.1 s, more than the whole of "
             "the 60 s of RealDataInv"},
            Level::kCritical}),
    ::testing::PrintToStringParamName());

// Devices of a hundred points each.
void WritePoints(int count) {
  test::DeviceFile file("pump");
  for (int i = 1; i <= 100; ++i) file.Node("AI", i);
  file.Write();
  test::ChannelTemplate channels;
  channels.Channel(1);
  for (int i = 0; i < count / 100; ++i) channels.Device(i, kPump);
  channels.Write();
}

TEST_F(CheckingConfiguration, RefusesAnArchiveThatIsNotSent) {
  WritePoints(7000);

  const ConfigCheck check = Check();

  EXPECT_THAT(Told(check), ElementsAre(AllOf(HasSubstr("BRN-CONFIG-SIZE"), HasSubstr("7000 points"),
                                             HasSubstr("not sent and counts as accepted"))));
  EXPECT_EQ(check.level, Level::kCritical);
}

TEST_F(CheckingConfiguration, TellsHowManyPointsFit) {
  WritePoints(1000);
  const std::size_t most = PointsThatFit(LoadConfiguration(Place()), nullptr);
  const int fitting = static_cast<int>(most) / 100 * 100;

  WritePoints(fitting - 100);
  EXPECT_LT(Check().snapshot.archiveBytes, static_cast<std::size_t>(kFileLimitBytes));
  WritePoints(fitting + 200);
  EXPECT_GE(Check().snapshot.archiveBytes, static_cast<std::size_t>(kFileLimitBytes));
}

TEST_F(CheckingConfiguration, UsesTheValuesThatArePublished) {
  WritePoints(7000);
  std::map<std::uint32_t, double> published;
  const Configuration configuration = LoadConfiguration(Place());
  for (const auto& [dataId, point] : *configuration.points) published[dataId] = 0;

  EXPECT_THAT(Told(CheckWith(published)), IsEmpty());
}

// `tar` and `gzip` of the machine pack the same text.
TEST(PackedBytes, AreThoseOfTarWithinAHundredth) {
  std::string text;
  for (unsigned i = 0; i < 4000; ++i)
    text += "{\"value\":\"" + std::to_string(i * 2654435761U % 1000000) + "\"}";
  test::WriteFile("/tmp/packed/S20261122040000.dat", text);
  ASSERT_EQ(std::system("cd /tmp/packed && tar -zcf packed.tar.gz S20261122040000.dat"), 0);
  const auto real = static_cast<double>(std::filesystem::file_size("/tmp/packed/packed.tar.gz"));
  std::filesystem::remove_all("/tmp/packed");

  EXPECT_NEAR(static_cast<double>(PackedBytes(text)), real, real / 100);
}

TEST(ConfigCodes, AreAllThatFaultsHave) {
  for (const Code& code : ConfigCodes()) {
    EXPECT_THAT(code.code, ::testing::StartsWith("BRN-CONFIG-"));
    EXPECT_THAT(code.anchor, ::testing::StartsWith("operations.md#"));
  }
}

class ConfigCommand : public CheckingConfiguration {
 protected:
  // Runs `config /tessel/Config`, which compares with nothing.
  int Run(bool json = false) {
    Options options;
    options.argument = "/tessel/Config";
    options.json = json;
    ::testing::internal::CaptureStdout();
    const int result = CheckConfig(options);
    output = ::testing::internal::GetCapturedStdout();
    return result;
  }

  std::string output;
};

TEST_F(ConfigCommand, EndsWithTheVerdict) {
  EXPECT_EQ(Run(), 0);

  EXPECT_THAT(output, EndsWith("\nOK: the service would start and send\n"));
}

TEST_F(ConfigCommand, TellsTheSizeOfASnapshot) {
  Run();

  EXPECT_THAT(output,
              ContainsRegex("the archive has about [1-9][0-9]* of 40959 bytes .with typical "
                            "values.; about [1-9][0-9]{3} points fit"));
}

TEST_F(ConfigCommand, WarnsWithFileLineAndRemedy) {
  SystemFile().Cloud("FailInterval", "65596").Write();

  EXPECT_EQ(Run(), 1);

  EXPECT_THAT(output, AllOf(HasSubstr("/tessel/Config/sys.xml:2: WARNING BRN-CONFIG-VALUE: "
                                      "FailInterval 65596 -> 60"),
                            HasSubstr("  BRN-CONFIG-VALUE: correct the file"),
                            HasSubstr("  FailInterval    65596 -> 60\n")));
}

TEST_F(ConfigCommand, FailsWhenTheServiceWouldNotStart) {
  std::remove(paths::kIdentityFile);

  EXPECT_EQ(Run(), 2);

  EXPECT_THAT(output, EndsWith("\nCRITICAL: the service would not start\n"));
}

TEST_F(ConfigCommand, PrintsTheSameAsJson) {
  SystemFile().Cloud("FailInterval", "65596").Write();

  EXPECT_EQ(Run(true), 1);

  EXPECT_THAT(output, AllOf(HasSubstr("\"schema\": 1"), HasSubstr("\"code\": \"BRN-CONFIG-VALUE\""),
                            HasSubstr("\"level\": \"WARNING\""), HasSubstr("\"line\": 2"),
                            ContainsRegex("\"archive_bytes\": [1-9]"),
                            ContainsRegex("\"most_points\": [1-9]")));
}

}  // namespace
}  // namespace status
