// Builders of the configuration files. Each is written to the path where the service reads it.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace test {

using Attributes = std::vector<std::pair<std::string, std::string>>;

// sys.xml: `SysXml().Cloud("cloudip", "127.0.0.1").Cloud("port", "8080").Write()`.
class SysXml {
 public:
  SysXml& Cloud(const std::string& attribute, const std::string& value);
  SysXml& Https(const std::string& attribute, const std::string& value);
  // Adds an element to `Info`.
  SysXml& Info(const std::string& element, const Attributes& attributes);
  // Leaves out the `cloud` element.
  SysXml& WithoutCloud();
  std::string Text() const;
  void Write() const;

 private:
  Attributes m_cloud;
  Attributes m_https;
  std::string m_info;
  bool m_hasCloud = true;
};

// Writes sn.xml with a model and a serial number.
void WriteSnXml(const std::string& model, const std::string& serial);

// A device-definition file: `DeviceFile("pump").Node("AI", 1, "Level", "m").Write()` writes
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
  // Adds a device to the latest channel.
  ChannelTemplate& Device(int slaveId, const std::string& definitionFile,
                          const Attributes& more = {});
  void Write() const;

 private:
  std::vector<std::pair<int, std::string>> m_channels;  // number, devices
};

}  // namespace test
