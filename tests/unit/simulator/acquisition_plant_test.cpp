#include "acquisition/plant.h"

#include <gmock/gmock.h>

#include <ostream>

#include "acquisition_fixture.h"
#include "util/text.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kDefinition[] = "/tessel/Config/devices/kind.xml";
constexpr char kOneDevice[] =
    R"(<ChannelConfig><Channel No="1"><Dev Name="/tessel/Config/devices/kind.xml" SlaveId="3"/></Channel></ChannelConfig>)";

using PlantReading = test::AcquisitionTest;

// What it is for: an identifier and what it is made of.
struct Composition {
  int channel;
  int slave;
  PointType type;
  int node;
  std::uint32_t dataId;
};

void PrintTo(const Composition& row, std::ostream* out) {
  *out << util::Format("%08x", row.dataId);
}

using DataIdComposition = testing::TestWithParam<Composition>;

TEST_P(DataIdComposition, PacksChannelSlaveTypeAndNode) {
  const Composition& row = GetParam();

  const auto dataId =
      DataIdOf(static_cast<std::uint8_t>(row.channel), static_cast<std::uint8_t>(row.slave),
               row.type, static_cast<std::uint16_t>(row.node));

  EXPECT_EQ(dataId, row.dataId);
  EXPECT_EQ(TypeOf(dataId), row.type);
}

INSTANTIATE_TEST_SUITE_P(Rows, DataIdComposition,
                         testing::Values(Composition{1, 3, PointType::kDi, 0x123, 0x01031123},
                                         Composition{1, 3, PointType::kAi, 0xAB, 0x010300AB},
                                         Composition{2, 12, PointType::kAo, 0xB01, 0x020CB401},
                                         Composition{255, 255, PointType::kAcc, 4095, 0xFFFFF2FF},
                                         Composition{16, 200, PointType::kDo, 256, 0x10C81300},
                                         Composition{1, 3, PointType::kAi, 4096, 0x01030000}));

TEST(DataIdType, IsNothingWhenTheIdentifierNamesNone) {
  EXPECT_EQ(TypeOf(0x01030501), std::nullopt);
  EXPECT_EQ(TypeOf(0x01030F01), std::nullopt);
}

TEST_F(PlantReading, FindsEveryPointOfEveryDevice) {
  WriteSmallPlant();

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  std::vector<std::uint32_t> identifiers;
  for (const auto& [dataId, point] : plant->points) identifiers.push_back(dataId);
  EXPECT_EQ(identifiers, test::kSmallPlantPoints);
  EXPECT_THAT(plant->unreadableDefinitions, IsEmpty());
}

TEST_F(PlantReading, GivesEveryPointItsIdentifierTypeNameAndUnit) {
  WriteSmallPlant();

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  const PlantPoint& frequency = plant->points.at(0x0204B401);
  EXPECT_EQ(frequency.dataId, 0x0204B401U);
  EXPECT_EQ(frequency.type, PointType::kAo);
  EXPECT_EQ(frequency.name, "Frequency");
  EXPECT_EQ(frequency.unit, "Hz");
}

TEST_F(PlantReading, CarriesTheAttributesOfADeviceOverToTheNext) {
  test::WriteFile(test::kTemplatePath, R"(<ChannelConfig>
    <Channel No="7"><Dev Name="/none" Protocol="ModbusRTU" Desc="First" SlaveId="9"/></Channel>
    <Channel><Dev SlaveId="10"/><Dev Desc="Third" SlaveId="11"/></Channel>
  </ChannelConfig>)");

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  ASSERT_EQ(plant->devices.size(), 3U);
  const PlantDevice& second = plant->devices.at(0x070A);
  EXPECT_EQ(second.protocol, "ModbusRTU");
  EXPECT_EQ(second.description, "First");
  EXPECT_EQ(second.definition, "/none");
  EXPECT_EQ(plant->devices.at(0x070B).description, "Third");
}

TEST_F(PlantReading, CarriesNameAndUnitOfANodeOverToTheNext) {
  test::WriteFile(test::kTemplatePath, kOneDevice);
  test::WriteFile(kDefinition, R"(<DevConfig><NodeProperty>
    <AI Num="1"><Node Id="1" Name="Level" EUUnits="m"/></AI>
    <DI Num="1"><Node Id="2"/></DI>
  </NodeProperty></DevConfig>)");

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  const PlantPoint& second = plant->points.at(0x01030102);
  EXPECT_EQ(second.name, "Level");
  EXPECT_EQ(second.unit, "m");
}

TEST_F(PlantReading, LetsANodeWithoutIdReplaceThePointBefore) {
  test::WriteFile(test::kTemplatePath, kOneDevice);
  test::WriteFile(kDefinition, R"(<DevConfig><NodeProperty>
    <AI Num="2"><Node Id="1" Name="Level" EUUnits="m"/><Node Name="Other"/></AI>
  </NodeProperty></DevConfig>)");

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  ASSERT_EQ(plant->points.size(), 1U);
  EXPECT_EQ(plant->points.at(0x01030001).name, "Other");
}

TEST_F(PlantReading, StartsEveryDefinitionFileFromNothing) {
  const test::DeviceFile named = test::DeviceFile("named").Node("AI", 1, "Level", "m");
  named.Write();
  test::WriteFile(kDefinition,
                  R"(<DevConfig><NodeProperty><AI><Node Id="1"/></AI></NodeProperty></DevConfig>)");
  test::ChannelTemplate().Channel(1).Device(3, named.Path()).Device(4, kDefinition).Write();

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  EXPECT_EQ(plant->points.at(0x01040001).name, "");
  EXPECT_EQ(plant->points.at(0x01040001).unit, "");
}

TEST_F(PlantReading, PassesOverElementsThatItDoesNotKnow) {
  test::WriteFile(test::kTemplatePath,
                  R"(<ChannelConfig><Remark No="5"><Dev SlaveId="1"/></Remark>
    <Channel No="1"><Note/><Dev Name="/tessel/Config/devices/kind.xml" SlaveId="3" Colour="red"/>
    </Channel></ChannelConfig>)");
  test::WriteFile(kDefinition, R"(<DevConfig><Remark><AI><Node Id="1"/></AI></Remark>
    <NodeProperty><XX><Node Id="2"/></XX><AI><Note Id="3"/><Node Id="4"/></AI></NodeProperty>
  </DevConfig>)");

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  EXPECT_EQ(plant->devices.size(), 1U);
  ASSERT_EQ(plant->points.size(), 1U);
  EXPECT_TRUE(plant->points.contains(0x01030004));
}

TEST_F(PlantReading, KeepsThe126FirstBytesOfAText) {
  test::DeviceFile("kind").Node("AI", 1, std::string(200, 'n'), std::string(127, 'u')).Write();
  test::WriteFile(test::kTemplatePath, kOneDevice);

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  EXPECT_EQ(plant->points.at(0x01030001).name, std::string(126, 'n'));
  EXPECT_EQ(plant->points.at(0x01030001).unit, std::string(126, 'u'));
}

TEST_F(PlantReading, ListsADefinitionFileThatGivesNoPoints) {
  test::WriteFile("/tessel/Config/devices/odd.xml", "<Other/>");
  test::ChannelTemplate()
      .Channel(1)
      .Device(3, "/tessel/Config/devices/missing.xml")
      .Device(4, "/tessel/Config/devices/odd.xml")
      .Write();

  const auto plant = ReadPlant(test::kTemplatePath);

  ASSERT_TRUE(plant);
  EXPECT_EQ(plant->devices.size(), 2U);
  EXPECT_THAT(plant->points, IsEmpty());
  EXPECT_THAT(plant->unreadableDefinitions,
              ElementsAre("/tessel/Config/devices/missing.xml", "/tessel/Config/devices/odd.xml"));
}

TEST_F(PlantReading, FailsWithoutATemplate) {
  EXPECT_FALSE(ReadPlant(test::kTemplatePath));
}

TEST_F(PlantReading, FailsOnATemplateWithAnotherRoot) {
  test::WriteFile(test::kTemplatePath, "<Channels/>");

  EXPECT_FALSE(ReadPlant(test::kTemplatePath));
}

TEST_F(PlantReading, FailsOnATemplateThatIsNotWellFormed) {
  test::WriteFile(test::kTemplatePath, "<ChannelConfig><Channel>");

  EXPECT_FALSE(ReadPlant(test::kTemplatePath));
}

}  // namespace
