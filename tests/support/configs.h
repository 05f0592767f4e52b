// Builders of the configuration files, each written to the place where the service looks for it.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace test {

using Attributes = std::vector<std::pair<std::string, std::string>>;

// Text as it must stand in an XML attribute or element.
std::string Escape(const std::string& text);
// One element with attributes and finished content.
std::string Element(const std::string& name, const Attributes& attributes,
                    const std::string& content = "");

// sys.xml: `SysXml().Cloud("cloudip", "127.0.0.1").Cloud("port", "8080").Write()`.
class SysXml {
 public:
  SysXml& Cloud(const std::string& attribute, const std::string& value);
  SysXml& Https(const std::string& attribute, const std::string& value);
  // An element inside `Info`.
  SysXml& Info(const std::string& element, const Attributes& attributes);
  // Without the `cloud` element.
  SysXml& WithoutCloud();
  std::string Text() const;
  void Write() const;

 private:
  Attributes m_cloud;
  Attributes m_https;
  std::string m_info;
  bool m_hasCloud = true;
};

// sn.xml with a model and a serial number.
void WriteSnXml(const std::string& model, const std::string& serial);

// One device-definition file: `DeviceFile("pump").Node("AI", 1, "Level", "m").Write()` stands at
// /tessel/Config/devices/pump.xml.
class DeviceFile {
 public:
  explicit DeviceFile(std::string name) : m_name(std::move(name)) {}
  DeviceFile& Node(const std::string& type, int id, const std::string& name = "Point",
                   const std::string& unit = "");
  std::string Path() const;
  void Write() const;

 private:
  std::string m_name;
  std::vector<std::pair<std::string, std::string>> m_nodes;  // type, element
};

// The channel template: `ChannelTemplate().Channel(1).Device(3, file.Path()).Write()`.
class ChannelTemplate {
 public:
  ChannelTemplate& Channel(int number);
  // A device on the latest channel.
  ChannelTemplate& Device(int slaveId, const std::string& definitionFile,
                          const Attributes& more = {});
  void Write() const;

 private:
  std::vector<std::pair<int, std::string>> m_channels;  // number, devices
};

}  // namespace test
