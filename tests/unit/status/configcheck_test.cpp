// The check of the files: every fault has its file and line.
#include "unit/status/configchecking.h"

namespace status {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kMeter[] = "/tessel/Config/devices/meter.xml";

void WriteTemplate(const std::string& channels) {
  test::WriteFile(paths::kChannelTemplate, "<ChannelConfig>\n" + channels + "</ChannelConfig>");
}

void WriteDevice(const std::string& types) {
  test::WriteFile(kPump, "<DevConfig><NodeProperty>\n" + types + "</NodeProperty></DevConfig>");
}

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

TEST(ConfigCodes, AreAllThatFaultsHave) {
  for (const Code& code : ConfigCodes()) {
    EXPECT_THAT(code.code, ::testing::StartsWith("BRN-CONFIG-"));
    EXPECT_THAT(code.anchor, ::testing::StartsWith("operations.md#"));
  }
}

}  // namespace
}  // namespace status
