#include "config/channelset.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <string_view>

#include "log/log.h"
#include "util/text.h"

namespace {

constexpr unsigned kPacePauseMicroseconds = 100000;
constexpr std::size_t kTextLimitBytes = 127;  // deliberate: one less than the field

std::uint8_t LowByte(std::int32_t value) {
  return static_cast<std::uint8_t>(value);
}

template <std::size_t N>
void CopyAttribute(char (&field)[N], const util::XmlAttribute& attribute) {
  static_assert(N > kTextLimitBytes);
  util::CopyText(field, kTextLimitBytes, attribute.value);
}

// Deliberate: where an attribute is missing, the record keeps the value it has.
void ReadDevice(const util::XmlElement& element, ST_DEV_ATTR& dev) {
  for (const auto& attribute : element.Attributes()) {
    if (attribute.name == "Name") {
      CopyAttribute(dev.Name, attribute);
    } else if (attribute.name == "Protocol") {
      CopyAttribute(dev.Protocol, attribute);
    } else if (attribute.name == "Desc") {
      CopyAttribute(dev.Desc, attribute);
    } else if (attribute.name == "SlaveId") {
      dev.SlaveId = LowByte(util::Decimal(attribute.value.c_str()));
    } else if (attribute.name == "Group") {
      dev.GroupNo = LowByte(util::Decimal(attribute.value.c_str()));
    }
  }
}

void ReadPoint(const util::XmlElement& element, ST_POINTID_ATTR& point) {
  for (const auto& attribute : element.Attributes()) {
    if (attribute.name == "Id") {
      point.NodeId = static_cast<std::uint16_t>(util::Decimal(attribute.value.c_str()));
      point.db_link = ComposeDataId(point.GroupNo, point.DevId, point.type, point.NodeId);
    } else if (attribute.name == "Name") {
      CopyAttribute(point.Name, attribute);
    } else if (attribute.name == "EUUnits") {
      CopyAttribute(point.EUUnits, attribute);
    }
  }
}

std::optional<std::uint8_t> PointType(std::string_view name) {
  static constexpr std::array<std::string_view, 5> kTypes = {"AI", "DI", "ACC", "DO", "AO"};
  const auto* const found = std::find(kTypes.begin(), kTypes.end(), name);
  if (found == kTypes.end()) return std::nullopt;
  return static_cast<std::uint8_t>(found - kTypes.begin());
}

}  // namespace

int CChannelSet::Open(const char* path) {
  m_document = util::XmlDocument::Read(path);
  if (!m_document) {
    log_Text(ERROR, "Document %s parsed failed.", path);
    return -1;
  }
  return LoadNodeFromXml() == 0 ? 0 : -1;
}

int CChannelSet::LoadNodeFromXml() {
  if (!m_document) {
    log_Text(ERROR, "[LoadChannelParamFromXml]: Xml document is null");
    return -1;
  }
  const auto root = m_document.Root();
  if (!root) {
    log_Text(ERROR, "[LoadChannelParamFromXml]: Empty document.");
    m_document.Free();
    return -1;
  }
  if (!root->Is("ChannelConfig")) {
    log_Text(ERROR, "[LoadChannelParamFromXml]: Root node is not 'ChannelConfig'");
    m_document.SayOtherRoot("ChannelConfig");
    m_document.Free();
    return -1;
  }
  ST_DEV_ATTR dev{};
  for (const auto& element : root->Children()) {
    if (element.Is("Channel")) LoadChannel(element, dev);
    usleep(kPacePauseMicroseconds);
  }
  return 0;
}

void CChannelSet::LoadChannel(const util::XmlElement& channel, ST_DEV_ATTR& dev) {
  if (const auto number = channel.Attribute("No")) {
    dev.ChannelNo = LowByte(util::Decimal(number->c_str()));
  }
  for (const auto& element : channel.Children()) {
    if (!element.Is("Dev")) continue;
    ReadDevice(element, dev);
    AddDev(dev);
    LoadDevPointAttr(dev);
    usleep(kPacePauseMicroseconds);
  }
}

int CChannelSet::LoadDevPointAttr(ST_DEV_ATTR dev) {
  const util::XmlDocument document = util::XmlDocument::Read(dev.Name);
  if (!document) {
    log_Text(ERROR, "[LoadDevPointAttr]: parsed Parse failed");
    return -1;
  }
  const auto root = document.Root();
  if (!root) {
    log_Text(ERROR, "[LoadDevPointAttr]: empty document");
    return -1;
  }
  if (!root->Is("DevConfig")) {
    log_Text(ERROR, "[LoadDevPointAttr]:  wrong type, root node != DevConfig");
    document.SayOtherRoot("DevConfig");
    return -1;
  }
  ST_POINTID_ATTR point{};
  for (const auto& properties : root->Children()) {
    if (!properties.Is("NodeProperty")) continue;
    for (const auto& typeElement : properties.Children()) LoadPointType(typeElement, dev, point);
  }
  return 0;
}

void CChannelSet::LoadPointType(const util::XmlElement& typeElement, const ST_DEV_ATTR& dev,
                                ST_POINTID_ATTR& point) {
  point.GroupNo = dev.ChannelNo;
  point.DevId = dev.SlaveId;
  const auto type = PointType(typeElement.Name());
  if (!type) return;

  point.type = *type;
  for (const auto& element : typeElement.Children()) {
    if (!element.Is("Node")) continue;
    ReadPoint(element, point);
    AddSamplePoint(point);
  }
}

int CChannelSet::Close() {
  return m_document.Free() ? 0 : -1;
}

int CChannelSet::IsOpen() const {
  return m_document ? 0 : -1;
}

int CChannelSet::AddDev(ST_DEV_ATTR dev) {
  m_devices[ComposeDeviceNumber(dev.ChannelNo, dev.SlaveId)] = dev;
  return 0;
}

int CChannelSet::AddSamplePoint(ST_POINTID_ATTR point) {
  const std::uint32_t dataId = point.db_link;  // a reference to a packed field is not allowed
  m_groups[point.GroupNo][point.DevId][dataId] = point;
  m_points[dataId] = point;
  return 0;
}

int CChannelSet::GetAttr(unsigned int dataId, ST_POINTID_ATTR** out) {
  if (out == nullptr) return -1;
  const auto found = m_points.find(dataId);
  if (found == m_points.end()) {
    std::printf("Can not find DataId %08x's Attr \n", dataId);
    return -1;
  }
  *out = &found->second;
  return 0;
}

int CChannelSet::GetAttr(unsigned short devNo, ST_DEV_ATTR** out) {
  if (out == nullptr) return -1;
  const auto found = m_devices.find(devNo);
  if (found == m_devices.end()) {
    std::printf("Can not find Device %04x's Attr\n", devNo);
    return -1;
  }
  *out = &found->second;
  return 0;
}

int CChannelSet::GetAttr(MAP_GROUP_ATTR** out) {
  if (out == nullptr) return -1;
  *out = &m_groups;
  return 0;
}

int CChannelSet::GetAttr(MAP_DEV_ATTR** out) {
  if (out == nullptr) return -1;
  *out = &m_devices;
  return 0;
}

int CChannelSet::GetAttr(MAP_POINT_ATTR** out) {
  if (out == nullptr) return -1;
  *out = &m_points;
  return 0;
}

CChannelSet& GetCChannelSetInstance() {
  static CChannelSet instance;
  return instance;
}
