// The example plant, as it would stand on a gateway: complete, consistent and within all bounds.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "acquisition/plant.h"
#include "support/files.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/xml.h"

namespace {

using ::testing::_;
using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Each;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Le;
using ::testing::MatchesRegex;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

constexpr std::size_t kTextBytes = 126;
constexpr std::size_t kSiteTextBytes = 255;
constexpr int kNodeIds = 4096;
constexpr int kByteValues = 256;
constexpr int kChannelNotSent = 193;

// What it is for: the example's Config folder, laid down under /tessel.
class ExamplePlant : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
    test::Empty("/tessel");
    std::filesystem::copy(std::string(BRENNIK_EXAMPLE_DIR) + "/Config", "/tessel/Config",
                          std::filesystem::copy_options::recursive);
  }
};

// Every XML file in a folder, at any depth.
std::vector<std::string> XmlFilesBelow(const char* folder) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().extension() == ".xml") files.push_back(entry.path());
  }
  return files;
}

std::vector<std::string> DefinitionFiles() {
  return XmlFilesBelow("/tessel/Config/devices");
}

using Attributes = std::map<std::string, std::string>;

Attributes AttributesOf(const util::XmlElement& element) {
  Attributes attributes;
  for (const auto& attribute : element.Attributes()) attributes[attribute.name] = attribute.value;
  return attributes;
}

util::XmlElement ChildNamed(const util::XmlElement& element, std::string_view name) {
  for (const util::XmlElement& child : element.Children()) {
    if (child.Is(name)) return child;
  }
  throw std::runtime_error("no element " + std::string(name));
}

std::vector<std::string_view> NamesOf(const std::vector<util::XmlElement>& elements) {
  std::vector<std::string_view> names;
  names.reserve(elements.size());
  for (const util::XmlElement& element : elements) names.push_back(element.Name());
  return names;
}

std::vector<Attributes> ChildrenOf(const util::XmlElement& element) {
  std::vector<Attributes> children;
  for (const util::XmlElement& child : element.Children()) children.push_back(AttributesOf(child));
  return children;
}

// Every Node of a definition file.
std::vector<Attributes> NodesOf(const util::XmlElement& root) {
  std::vector<Attributes> nodes;
  for (const util::XmlElement& type : ChildNamed(root, "NodeProperty").Children()) {
    std::ranges::copy(ChildrenOf(type), std::back_inserter(nodes));
  }
  return nodes;
}

MATCHER_P(IsNumberBelow, end, "") {
  return testing::ExplainMatchResult(MatchesRegex("[0-9]+"), arg, result_listener) &&
         util::Decimal(arg.c_str()) < end;
}

// A type element that declares as many nodes as it has.
MATCHER(IsCountedType, "") {
  const auto name = arg.Name();
  *result_listener << name;
  return (name == "AI" || name == "DI" || name == "ACC" || name == "DO" || name == "AO") &&
         arg.Attribute("Num") == std::to_string(arg.Children().size());
}

TEST_F(ExamplePlant, ConsistsOfWellFormedFiles) {
  const auto files = XmlFilesBelow("/tessel/Config");

  EXPECT_EQ(files.size(), 3U + 7U);  // system, identity and template; one for each kind of device
  for (const std::string& file : files) {
    EXPECT_TRUE(util::XmlDocument::Read(file.c_str())) << file;
  }
}

TEST_F(ExamplePlant, HasFourChannelsWithTwelveDevices) {
  const auto plant = ReadPlant(paths::kChannelTemplate);

  ASSERT_TRUE(plant);
  EXPECT_THAT(plant->unreadableDefinitions, IsEmpty());
  EXPECT_EQ(plant->devices.size(), 12U);
  std::set<int> channels;
  for (const auto& [number, device] : plant->devices) channels.insert(device.channel);
  EXPECT_EQ(channels.size(), 4U);
  EXPECT_FALSE(channels.contains(kChannelNotSent));
}

TEST_F(ExamplePlant, HasAboutFourHundredPointsOfAllTypes) {
  const auto plant = ReadPlant(paths::kChannelTemplate);

  ASSERT_TRUE(plant);
  EXPECT_GE(plant->points.size(), 380U);
  EXPECT_LE(plant->points.size(), 450U);
  std::map<PointType, int> types;
  for (const auto& [dataId, point] : plant->points) ++types[point.type];
  EXPECT_EQ(types.size(), 5U);
}

TEST_F(ExamplePlant, GivesEachNodeOfEachDeviceAnIdentifierOfItsOwn) {
  const auto plant = ReadPlant(paths::kChannelTemplate);

  ASSERT_TRUE(plant);
  std::size_t nodes = 0;
  for (const auto& [number, device] : plant->devices) {
    const auto document = util::XmlDocument::Read(device.definition.c_str());
    nodes += NodesOf(*document.Root()).size();
  }
  EXPECT_EQ(plant->points.size(),
            nodes);  // of two nodes with one identifier only one would be left
}

TEST_F(ExamplePlant, UsesNodesAbove255) {
  const auto plant = ReadPlant(paths::kChannelTemplate);

  ASSERT_TRUE(plant);
  std::size_t high = 0;
  for (const auto& [dataId, point] : plant->points) high += (dataId & 0xF000U) != 0 ? 1U : 0U;
  EXPECT_GE(high, 20U);
}

TEST_F(ExamplePlant, WritesOutEveryAttributeOfEveryNode) {
  for (const std::string& file : DefinitionFiles()) {
    const auto document = util::XmlDocument::Read(file.c_str());

    EXPECT_THAT(NodesOf(*document.Root()),
                Each(UnorderedElementsAre(Pair("Id", IsNumberBelow(kNodeIds)),
                                          Pair("Name", SizeIs(AllOf(Ge(1U), Le(kTextBytes)))),
                                          Pair("EUUnits", SizeIs(Le(kTextBytes))))))
        << file;
  }
}

TEST_F(ExamplePlant, DeclaresAsManyNodesAsThereAre) {
  for (const std::string& file : DefinitionFiles()) {
    const auto document = util::XmlDocument::Read(file.c_str());

    EXPECT_THAT(ChildNamed(*document.Root(), "NodeProperty").Children(), Each(IsCountedType()))
        << file;
  }
}

TEST_F(ExamplePlant, WritesOutEveryAttributeOfEveryDevice) {
  const auto document = util::XmlDocument::Read(paths::kChannelTemplate);

  for (const util::XmlElement& channel : document.Root()->Children()) {
    EXPECT_THAT(channel.Attribute("No").value_or(""), IsNumberBelow(kByteValues));
    EXPECT_THAT(
        ChildrenOf(channel),
        Each(UnorderedElementsAre(
            Pair("Name", AllOf(StartsWith("/tessel/Config/devices/"), SizeIs(Le(kTextBytes)))),
            Pair("Protocol", SizeIs(Le(kTextBytes))), Pair("Desc", SizeIs(Le(kTextBytes))),
            Pair("SlaveId", IsNumberBelow(kByteValues)),
            Pair("Group", IsNumberBelow(kByteValues)))));
  }
}

// What it is for: one numeric setting of the cloud element and the values that are taken as they
// are.
struct Bound {
  const char* attribute;
  int least;
  int most;
};

void PrintTo(const Bound& row, std::ostream* out) {
  *out << row.attribute;
}

class ExampleCloudNumber : public ExamplePlant, public testing::WithParamInterface<Bound> {};

TEST_P(ExampleCloudNumber, IsWithinItsBounds) {
  const auto document = util::XmlDocument::Read(paths::kSystemFile);

  const auto value = ChildNamed(*document.Root(), "cloud").Attribute(GetParam().attribute);

  ASSERT_TRUE(value);
  EXPECT_THAT(*value, MatchesRegex("[0-9]+"));
  EXPECT_GE(util::Decimal(value->c_str()), GetParam().least);
  EXPECT_LE(util::Decimal(value->c_str()), GetParam().most);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, ExampleCloudNumber,
    testing::Values(Bound{"checked", 1, 1}, Bound{"port", 8080, 8080},
                    Bound{"RealDataInv", 60, 32767}, Bound{"AlarmDataInv", 10, 32767},
                    Bound{"HeartInterval", 60, 32767}, Bound{"FailInterval", 30, 32767},
                    Bound{"RecallInterval", 60, 32767}, Bound{"IsCompress", 0, 1}));

TEST_F(ExamplePlant, SetsNothingInTheCloudElementThatIsNotRead) {
  const auto document = util::XmlDocument::Read(paths::kSystemFile);

  const auto attributes = AttributesOf(ChildNamed(*document.Root(), "cloud"));

  EXPECT_THAT(attributes, Each(Key(AnyOf("checked", "cloudip", "port", "Dir", "RealDataInv",
                                         "AlarmDataInv", "HeartInterval", "FailInterval",
                                         "RecallInterval", "FileType", "IsCompress"))));
  EXPECT_EQ(attributes.at("cloudip"), "127.0.0.1");
  EXPECT_THAT(attributes.at("Dir"), MatchesRegex("/[a-z/]*[a-z]"));
  EXPECT_EQ(attributes.at("FileType"), "json");
}

TEST_F(ExamplePlant, DescribesTheSiteInTextsThatFit) {
  const auto document = util::XmlDocument::Read(paths::kSystemFile);
  const std::map<std::string, std::set<std::string>> known = {
      {"station", {"stationName", "longitude", "latitude"}},
      {"rooms", {"roomName", "desc"}},
      {"baseInfo", {"gatewayName", "address"}},
      {"owner", {"ownerName", "desc"}}};

  for (const util::XmlElement& element : ChildNamed(*document.Root(), "Info").Children()) {
    std::set<std::string> names;
    for (const auto& [name, text] : AttributesOf(element)) names.insert(name);
    EXPECT_EQ(names, known.at(std::string(element.Name())));
    EXPECT_THAT(AttributesOf(element), Each(Pair(_, SizeIs(AllOf(Ge(1U), Le(kSiteTextBytes))))));
  }
}

TEST_F(ExamplePlant, HoldsNoOtherElementsInTheSystemFile) {
  const auto document = util::XmlDocument::Read(paths::kSystemFile);

  const auto root = document.Root();

  ASSERT_TRUE(root);
  EXPECT_EQ(root->Name(), "sysConfig");
  EXPECT_THAT(NamesOf(root->Children()), UnorderedElementsAre("Info", "cloud"));
  EXPECT_THAT(NamesOf(ChildNamed(*root, "cloud").Children()), UnorderedElementsAre("https"));
}

TEST_F(ExamplePlant, SetsNothingForHttpsThatIsNotRead) {
  const auto document = util::XmlDocument::Read(paths::kSystemFile);

  const auto https = ChildNamed(ChildNamed(*document.Root(), "cloud"), "https");

  EXPECT_THAT(AttributesOf(https), Each(Key(AnyOf("checked", "certfile", "user", "password"))));
}

TEST_F(ExamplePlant, HasAnIdentityOfAKnownModel) {
  const auto document = util::XmlDocument::Read(paths::kIdentityFile);

  const auto root = document.Root();

  ASSERT_TRUE(root);
  EXPECT_TRUE(root->Is("snConfig"));
  EXPECT_THAT(ChildNamed(*root, "model").Attribute("model").value_or(""),
              AnyOf("Ostra-7K", "Ostra-7K-M", "Ostra-5N", "Ostra-5N-M"));
  EXPECT_THAT(ChildNamed(*root, "sn").Attribute("sn").value_or(""),
              MatchesRegex("[A-Z][A-Z][0-9]+"));
  EXPECT_LE(ChildNamed(*root, "sn").Attribute("sn")->size(), 18U);
}

TEST_F(ExamplePlant, HasAFirmwareVersionInOneShortLine) {
  EXPECT_THAT(test::ReadFile(paths::kVersionFile), MatchesRegex("V[0-9.]+\n"));
}

}  // namespace
