// Builders of the configuration files. Each is written to the path where the service reads it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/files.h"
#include "util/paths.h"

namespace test {

using Attributes = std::vector<std::pair<std::string, std::string>>;

// An element with attributes and finished content.
inline std::string Element(const std::string& name, const Attributes& attributes,
                           const std::string& content = "") {
  std::string text = "<" + name;
  for (const auto& [key, value] : attributes) {
    text += " " + key + "=\"";
    for (const char c : value) {
      const bool isMarkup = c == '&' || c == '<' || c == '"';
      text += isMarkup ? "&#" + std::to_string(c) + ";" : std::string(1, c);
    }
    text += '"';
  }
  return text + ">" + content + "</" + name + ">\n";
}

inline std::string Document(const std::string& root, const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + Element(root, {}, content);
}

// sys.xml: `SysXml().Cloud("cloudip", "127.0.0.1").Cloud("port", "8080").Write()`.
class SysXml {
 public:
  SysXml& Cloud(const std::string& attribute, const std::string& value) {
    m_cloud.emplace_back(attribute, value);
    return *this;
  }
  SysXml& Https(const std::string& attribute, const std::string& value) {
    m_https.emplace_back(attribute, value);
    return *this;
  }
  // Adds an element to `Info`.
  SysXml& Info(const std::string& element, const Attributes& attributes) {
    m_info += Element(element, attributes);
    return *this;
  }
  std::string Text() const {
    const std::string info = m_info.empty() ? "" : Element("Info", {}, m_info);
    const std::string https = m_https.empty() ? "" : Element("https", m_https);
    return Document("sysConfig", info + Element("cloud", m_cloud, https));
  }
  void Write() const { WriteFile(paths::kSystemFile, Text()); }

 private:
  Attributes m_cloud;
  Attributes m_https;
  std::string m_info;
};

// Writes sn.xml with a model and a serial number.
inline void WriteSnXml(const std::string& model, const std::string& serial) {
  WriteFile(paths::kIdentityFile, Document("snConfig", Element("model", {{"model", model}}) +
                                                           Element("sn", {{"sn", serial}})));
}

// A device-definition file: `DeviceFile("pump").Node("AI", 1, "Level", "m").Write()` writes
// /tessel/Config/devices/pump.xml.
class DeviceFile {
 public:
  explicit DeviceFile(std::string name) : m_name(std::move(name)) {}
  DeviceFile& Node(const std::string& type, int id, const std::string& name = "Point",
                   const std::string& unit = "") {
    const Attributes attributes{{"Id", std::to_string(id)}, {"Name", name}, {"EUUnits", unit}};
    m_nodes += Element(type, {{"Num", "1"}}, Element("Node", attributes));
    return *this;
  }
  std::string Path() const { return "/tessel/Config/devices/" + m_name + ".xml"; }
  void Write() const {
    WriteFile(Path(), Document("DevConfig", Element("NodeProperty", {}, m_nodes)));
  }

 private:
  std::string m_name;
  std::string m_nodes;
};

// The channel template: `ChannelTemplate().Channel(1).Device(3, file.Path()).Write()`.
class ChannelTemplate {
 public:
  ChannelTemplate& Channel(int number) {
    m_channels.emplace_back(number, "");
    return *this;
  }
  // Adds a device to the latest channel.
  ChannelTemplate& Device(int slaveId, const std::string& definitionFile,
                          const Attributes& more = {}) {
    Attributes attributes{{"Name", definitionFile}, {"SlaveId", std::to_string(slaveId)}};
    attributes.insert(attributes.end(), more.begin(), more.end());
    m_channels.back().second += Element("Dev", attributes);
    return *this;
  }
  void Write() const {
    std::string channels;
    for (const auto& [number, devices] : m_channels) {
      channels += Element("Channel", {{"No", std::to_string(number)}}, devices);
    }
    WriteFile(paths::kChannelTemplate, Document("ChannelConfig", channels));
  }

 private:
  std::vector<std::pair<int, std::string>> m_channels;  // number, devices
};

}  // namespace test
