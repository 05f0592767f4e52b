#include "support/configs.h"

#include "support/gateway.h"
#include "util/paths.h"

namespace test {
namespace {

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Text as it must stand in an attribute.
std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else if (c == '"') {
      escaped += "&quot;";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

// An element with attributes and finished content.
std::string Element(const std::string& name, const Attributes& attributes,
                    const std::string& content = "") {
  std::string text = "<" + name;
  for (const auto& [key, value] : attributes) text += " " + key + "=\"" + Escape(value) + "\"";
  return text + ">" + content + "</" + name + ">\n";
}

}  // namespace

SysXml& SysXml::Cloud(const std::string& attribute, const std::string& value) {
  m_cloud.emplace_back(attribute, value);
  return *this;
}

SysXml& SysXml::Https(const std::string& attribute, const std::string& value) {
  m_https.emplace_back(attribute, value);
  return *this;
}

SysXml& SysXml::Info(const std::string& element, const Attributes& attributes) {
  m_info += Element(element, attributes);
  return *this;
}

SysXml& SysXml::WithoutCloud() {
  m_hasCloud = false;
  return *this;
}

std::string SysXml::Text() const {
  std::string content;
  if (!m_info.empty()) content += Element("Info", {}, m_info);
  const std::string https = m_https.empty() ? "" : Element("https", m_https);
  if (m_hasCloud) content += Element("cloud", m_cloud, https);
  return kHead + Element("sysConfig", {}, content);
}

void SysXml::Write() const {
  WriteFile(paths::kSystemFile, Text());
}

void WriteSnXml(const std::string& model, const std::string& serial) {
  WriteFile(paths::kIdentityFile, kHead + Element("snConfig", {},
                                                  Element("model", {{"model", model}}) +
                                                      Element("sn", {{"sn", serial}})));
}

DeviceFile& DeviceFile::Node(const std::string& type, int id, const std::string& name,
                             const std::string& unit) {
  m_nodes.emplace_back(
      type, Element("Node", {{"Id", std::to_string(id)}, {"Name", name}, {"EUUnits", unit}}));
  return *this;
}

std::string DeviceFile::Path() const {
  return "/tessel/Config/devices/" + m_name + ".xml";
}

void DeviceFile::Write() const {
  std::string types;
  for (const auto& [type, node] : m_nodes) types += Element(type, {{"Num", "1"}}, node);
  WriteFile(Path(), kHead + Element("DevConfig", {}, Element("NodeProperty", {}, types)));
}

ChannelTemplate& ChannelTemplate::Channel(int number) {
  m_channels.emplace_back(number, "");
  return *this;
}

ChannelTemplate& ChannelTemplate::Device(int slaveId, const std::string& definitionFile,
                                         const Attributes& more) {
  Attributes attributes{{"Name", definitionFile}, {"SlaveId", std::to_string(slaveId)}};
  attributes.insert(attributes.end(), more.begin(), more.end());
  m_channels.back().second += Element("Dev", attributes);
  return *this;
}

void ChannelTemplate::Write() const {
  std::string channels;
  for (const auto& [number, devices] : m_channels) {
    channels += Element("Channel", {{"No", std::to_string(number)}}, devices);
  }
  WriteFile(paths::kChannelTemplate, kHead + Element("ChannelConfig", {}, channels));
}

}  // namespace test
