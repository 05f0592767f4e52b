// What the loaders accept without a word in the template and the device files.
#include <algorithm>
#include <array>
#include <map>
#include <optional>

#include "collect/loadwatch.h"
#include "judge/configparts.h"
#include "packfile/realdatadocument.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/xml.h"

namespace status {
namespace {

constexpr std::size_t kTextLimitBytes = 126;  // the loader cuts longer texts
constexpr long kLargestNode = 4095;
constexpr std::array<std::string_view, 5> kPointTypes = {"AI", "DI", "ACC", "DO", "AO"};
constexpr char kDeviceCode[] = "BRN-CONFIG-DEVICE";
constexpr char kPointCode[] = "BRN-CONFIG-POINT";
constexpr char kValueCode[] = "BRN-CONFIG-VALUE";

// Where faults of one file go.
struct Report {
  FaultList& faults;
  std::string file;

  void Add(const char* code, const util::XmlElement& element, std::string text) const {
    faults.Add(Cost::kPart, code, file, element.Line(), std::move(text));
  }
};

void CheckLength(const Report& report, const util::XmlElement& element, const char* attribute) {
  const auto text = element.Attribute(attribute);
  if (!text || text->size() <= kTextLimitBytes) return;
  report.Add(
      kValueCode, element,
      util::Format("%s has %zu bytes and is cut to %zu", attribute, text->size(), kTextLimitBytes));
}

// The low 8 bits of an attribute's number, or `before` without one.
std::uint8_t ByteOr(const Report& report, const util::XmlElement& element, const char* attribute,
                    std::uint8_t before) {
  const auto text = element.Attribute(attribute);
  if (!text) {
    report.Add(kDeviceCode, element,
               util::Format("%s without `%s` takes the one before it: %d",
                            std::string(element.Name()).c_str(), attribute, before));
    return before;
  }
  const auto number = static_cast<std::uint8_t>(util::Decimal(text->c_str()));
  if (!IsNumber(*text, number)) {
    report.Add(
        kValueCode, element,
        util::Format("%s %s -> %d; good values are 0 to 255", attribute, text->c_str(), number));
  }
  return number;
}

struct Address {
  std::uint8_t channel = 0;
  std::uint8_t device = 0;
};

// The devices of the template, by number: the line of the latest one.
using DeviceLines = std::map<std::uint16_t, long>;

void CheckDevice(const Report& report, const util::XmlElement& element, Address& address,
                 DeviceLines& lines) {
  address.device = ByteOr(report, element, "SlaveId", address.device);
  const auto name = element.Attribute("Name");
  if (!name) {
    report.Add(kDeviceCode, element, "Dev without `Name` takes the file of the device before it");
  } else if (!name->starts_with('/')) {
    report.Add(kDeviceCode, element,
               util::Format("the path %s does not begin with a slash: it depends on the folder in "
                            "which the service starts",
                            name->c_str()));
  }
  CheckLength(report, element, "Name");
  long& line = lines[ComposeDeviceNumber(address.channel, address.device)];
  if (line != 0) {
    report.Add("BRN-CONFIG-DUPLICATE", element,
               util::Format("a second device %d on channel %d; the first stands in line %ld. The "
                            "later counts, with the points of both",
                            address.device, address.channel, line));
  }
  line = element.Line();
}

void CheckTemplate(const Report& report, DeviceLines& lines) {
  const auto document = util::XmlDocument::Read(paths::kChannelTemplate);
  const auto root = document ? document.Root() : std::nullopt;
  if (!root || !root->Is("ChannelConfig")) return;
  Address address;
  for (const auto& channel : root->Children()) {
    if (!channel.Is("Channel")) {
      report.Add(kDeviceCode, channel,
                 util::Format("element %s is no Channel and does not count",
                              std::string(channel.Name()).c_str()));
      continue;
    }
    address.channel = ByteOr(report, channel, "No", address.channel);
    for (const auto& element : channel.Children()) {
      if (element.Is("Dev")) {
        CheckDevice(report, element, address, lines);
      } else {
        report.Add(kDeviceCode, element,
                   util::Format("element %s is no Dev and does not count",
                                std::string(element.Name()).c_str()));
      }
    }
  }
}

// The nodes of a file, by type and identifier: the line of the latest one.
using NodeLines = std::map<std::uint32_t, long>;

void CheckNode(const Report& report, const util::XmlElement& node, std::size_t type,
               NodeLines& lines) {
  CheckLength(report, node, "Name");
  CheckLength(report, node, "EUUnits");
  const auto text = node.Attribute("Id");
  if (!text) {
    report.Add(kPointCode, node,
               lines.empty() ? "Node without `Id` gets the identifier 0"
                             : "Node without `Id` replaces the node before it");
    return;
  }
  const auto id = static_cast<std::uint16_t>(util::Decimal(text->c_str()));
  const long counts = id & kLargestNode;
  if (!IsNumber(*text, counts)) {
    report.Add(kValueCode, node,
               util::Format("Id %s -> %ld; good values are 0 to %ld", text->c_str(), counts,
                            kLargestNode));
  }
  long& line = lines[ComposeDataId(0, 0, static_cast<std::uint8_t>(type), id)];
  if (line != 0) {
    report.Add(kPointCode, node,
               util::Format("a second %s node %ld; the first stands in line %ld. The later counts",
                            std::string(kPointTypes[type]).c_str(), counts, line));
  }
  line = node.Line();
}

void CheckDeviceFile(const Report& report) {
  const auto document = util::XmlDocument::Read(report.file.c_str());
  const auto root = document ? document.Root() : std::nullopt;
  if (!root || !root->Is("DevConfig")) return;
  NodeLines lines;
  for (const auto& properties : root->Children()) {
    if (!properties.Is("NodeProperty")) continue;
    for (const auto& typeElement : properties.Children()) {
      const auto* const type =
          std::find(kPointTypes.begin(), kPointTypes.end(), typeElement.Name());
      if (type == kPointTypes.end()) {
        report.Add(
            kPointCode, typeElement,
            util::Format("point type %s is not known: its %zu nodes do not count",
                         std::string(typeElement.Name()).c_str(), typeElement.Children().size()));
        continue;
      }
      for (const auto& node : typeElement.Children()) {
        if (node.Is("Node")) {
          CheckNode(report, node, static_cast<std::size_t>(type - kPointTypes.begin()), lines);
        }
      }
    }
  }
}

bool IsRefused(const Configuration& configuration, const std::string& file) {
  return std::any_of(configuration.faults.begin(), configuration.faults.end(),
                     [&file](const ConfigFault& fault) { return fault.file == file; });
}

// Devices that have no points although their file could be read, and the channel that is left out.
void CheckCatalogue(const Configuration& configuration, const DeviceLines& lines,
                    FaultList& faults) {
  if (configuration.devices == nullptr) return;
  for (const auto& [number, device] : *configuration.devices) {
    const auto line = lines.find(number);
    const long at = line == lines.end() ? 0 : line->second;
    const auto channel = configuration.groups->find(device.ChannelNo);
    const bool hasPoints =
        channel != configuration.groups->end() && channel->second.contains(device.SlaveId);
    if (!hasPoints && !IsRefused(configuration, device.Name)) {
      faults.Add(Cost::kPart, kDeviceCode, paths::kChannelTemplate, at,
                 util::Format("device %d on channel %d has no points in %s", device.SlaveId,
                              device.ChannelNo, device.Name));
    }
  }
  const auto leftOut = configuration.groups->find(kChannelLeftOut);
  if (leftOut != configuration.groups->end()) {
    std::size_t points = 0;
    for (const auto& [device, ofDevice] : leftOut->second) points += ofDevice.size();
    faults.Add(Cost::kPart, "BRN-CONFIG-LEFTOUT", paths::kChannelTemplate, 0,
               util::Format("channel %d: its %zu points are left out of every snapshot",
                            kChannelLeftOut, points));
  }
}

}  // namespace

void CheckChannels(const Place& place, const Configuration& configuration, FaultList& faults) {
  LoadWatch watch(place);
  DeviceLines lines;
  CheckTemplate({faults, paths::kChannelTemplate}, lines);
  for (std::size_t i = 4; i < configuration.files.size(); ++i) {
    const std::string& file = configuration.files[i];
    if (!IsRefused(configuration, file)) CheckDeviceFile({faults, file});
  }
  CheckCatalogue(configuration, lines, faults);
}

}  // namespace status
