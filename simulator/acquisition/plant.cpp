#include "acquisition/plant.h"

#include <array>

#include "util/text.h"
#include "util/xml.h"

namespace {

constexpr std::size_t kTextBytes = 126;  // what the gateway keeps of a text attribute

constexpr std::array<std::string_view, kPointTypes> kTypeNames = {"AI", "DI", "ACC", "DO", "AO"};

std::string Kept(const std::string& text) {
  return text.substr(0, kTextBytes);
}

std::uint8_t Byte(const std::string& number) {
  return static_cast<std::uint8_t>(util::Decimal(number.c_str()));
}

std::optional<PointType> TypeNamed(std::string_view name) {
  for (std::size_t i = 0; i < kTypeNames.size(); ++i) {
    if (kTypeNames[i] == name) return static_cast<PointType>(i);
  }
  return std::nullopt;
}

// Reads one definition file. `m_point` keeps the values that the next Node element may omit.
class DefinitionReader {
 public:
  DefinitionReader(const PlantDevice& device, Plant& plant) : m_device(device), m_plant(plant) {}

  void Read() {
    const util::XmlDocument document = util::XmlDocument::Read(m_device.definition.c_str());
    const auto root = document ? document.Root() : std::nullopt;
    if (!root || !root->Is("DevConfig")) {
      m_plant.unreadableDefinitions.push_back(m_device.definition);
      return;
    }
    for (const util::XmlElement& property : root->Children()) {
      if (!property.Is("NodeProperty")) continue;
      for (const util::XmlElement& group : property.Children()) ReadGroup(group);
    }
  }

 private:
  void ReadGroup(const util::XmlElement& group) {
    const auto type = TypeNamed(group.Name());
    if (!type) return;
    m_point.type = *type;
    for (const util::XmlElement& node : group.Children()) {
      if (node.Is("Node")) ReadNode(node);
    }
  }

  void ReadNode(const util::XmlElement& node) {
    for (const util::XmlAttribute& attribute : node.Attributes()) {
      if (attribute.name == "Id") {
        const auto id = static_cast<std::uint16_t>(util::Decimal(attribute.value.c_str()));
        m_point.dataId = DataIdOf(m_device.channel, m_device.slave, m_point.type, id);
      } else if (attribute.name == "Name") {
        m_point.name = Kept(attribute.value);
      } else if (attribute.name == "EUUnits") {
        m_point.unit = Kept(attribute.value);
      }
    }
    m_plant.points.insert_or_assign(m_point.dataId, m_point);
  }

  const PlantDevice& m_device;
  Plant& m_plant;
  PlantPoint m_point;
};

void TakeDeviceAttribute(const util::XmlAttribute& attribute, PlantDevice& device) {
  if (attribute.name == "Name") device.definition = Kept(attribute.value);
  if (attribute.name == "Protocol") device.protocol = Kept(attribute.value);
  if (attribute.name == "Desc") device.description = Kept(attribute.value);
  if (attribute.name == "SlaveId") device.slave = Byte(attribute.value);
}

// `device` keeps the values that the next Dev element of the template may omit.
void ReadChannel(const util::XmlElement& channel, PlantDevice& device, Plant& plant) {
  if (const auto number = channel.Attribute("No")) device.channel = Byte(*number);
  for (const util::XmlElement& element : channel.Children()) {
    if (!element.Is("Dev")) continue;
    for (const util::XmlAttribute& attribute : element.Attributes()) {
      TakeDeviceAttribute(attribute, device);
    }
    const auto deviceNumber = static_cast<std::uint16_t>((device.channel << 8) | device.slave);
    plant.devices.insert_or_assign(deviceNumber, device);
    DefinitionReader(device, plant).Read();
  }
}

}  // namespace

std::string_view PointTypeName(PointType type) {
  return kTypeNames[static_cast<std::size_t>(type)];
}

std::uint32_t DataIdOf(std::uint8_t channel, std::uint8_t slave, PointType type,
                       std::uint16_t node) {
  const std::uint32_t high = node & 0x0F00U;
  const std::uint32_t low = node & 0x00FFU;
  return (std::uint32_t{channel} << 24) | (std::uint32_t{slave} << 16) | (high << 4) |
         (static_cast<std::uint32_t>(type) << 8) | low;
}

std::optional<PointType> TypeOf(std::uint32_t dataId) {
  const std::uint32_t type = (dataId >> 8) & 0x0FU;
  if (type >= kPointTypes) return std::nullopt;
  return static_cast<PointType>(type);
}

std::optional<Plant> ReadPlant(const char* templatePath) {
  const util::XmlDocument document = util::XmlDocument::Read(templatePath);
  const auto root = document ? document.Root() : std::nullopt;
  if (!root || !root->Is("ChannelConfig")) return std::nullopt;

  Plant plant;
  PlantDevice device;
  for (const util::XmlElement& channel : root->Children()) {
    if (channel.Is("Channel")) ReadChannel(channel, device, plant);
  }
  return plant;
}
