#include "config/sysset.h"

#include <unistd.h>

#include <cstdio>
#include <optional>
#include <string>

#include "log/log.h"
#include "util/directory.h"
#include "util/file.h"
#include "util/paths.h"
#include "util/text.h"

namespace {

constexpr int kVersionLineBytes = 100;

// Overwrites the field only when the element has the attribute.
template <std::size_t N>
void CopyAttribute(char (&field)[N], const util::XmlElement& element, const char* name) {
  if (const auto value = element.Attribute(name)) util::CopyText(field, *value);
}

template <std::size_t N>
void CopyAttributeOr(char (&field)[N], const util::XmlElement& element, const char* name,
                     const char* absent) {
  util::CopyText(field, element.Attribute(name).value_or(absent));
}

// The attribute's decimal number cut to the low bits of T, or `absent`.
template <typename T>
T NumberOr(const util::XmlElement& element, const char* name, T absent) {
  const auto value = element.Attribute(name);
  return value ? static_cast<T>(util::Decimal(value->c_str())) : absent;
}

struct IntervalRule {
  const char* attribute;
  std::int16_t absent;
  std::int16_t least;
  std::int16_t tooSmall;
};
constexpr IntervalRule kAlarmRule{"AlarmDataInv", 30, 10, 10};
constexpr IntervalRule kHeartRule{"HeartInterval", 600, 60, 60};
constexpr IntervalRule kFailRule{"FailInterval", 60, 30, 30};

std::int16_t ReadInterval(const util::XmlElement& cloud, const IntervalRule& rule) {
  const auto seconds = NumberOr<std::int16_t>(cloud, rule.attribute, rule.absent);
  return seconds < rule.least ? rule.tooSmall : seconds;
}

// Deliberately tested without a sign: "-1" passes as 65535 and reads back as -1, worker off.
std::int16_t ReadRealDataInterval(const util::XmlElement& cloud) {
  constexpr std::uint16_t kDefault = 300;
  constexpr std::uint16_t kLeast = 60;
  const auto seconds = NumberOr<std::uint16_t>(cloud, "RealDataInv", kDefault);
  return static_cast<std::int16_t>(seconds < kLeast ? kDefault : seconds);
}

// Lifts only small positive values; 0 and negative ones pass and switch the recall worker off.
std::int16_t ReadRecallInterval(const util::XmlElement& cloud) {
  constexpr std::int16_t kOff = -1;
  constexpr std::int16_t kLeast = 60;
  const auto seconds = NumberOr<std::int16_t>(cloud, "RecallInterval", kOff);
  return seconds > 0 && seconds < kLeast ? kLeast : seconds;
}

}  // namespace

int CSysSet::Open(const char* path) {
  m_document = util::XmlDocument::Read(path);
  if (!m_document) {
    log_Text(ERROR, "parsed %s failed", path);
    return -1;
  }
  LoadNodeFromXml();
  return 0;
}

int CSysSet::LoadNodeFromXml() {
  if (!m_document) {
    log_Text(ERROR, "SysConfigXml document is null");
    return -1;
  }
  const auto root = m_document.Root();
  if (!root) {
    log_Text(ERROR, "SysConfigXml document,Empty document.");
    m_document.Free();
    return -1;
  }
  if (!root->Is("sysConfig")) {
    log_Text(ERROR, "SysConfigXml document,root is not sysConfig.");
    m_document.SayOtherRoot("sysConfig");
    m_document.Free();
    return -1;
  }
  for (const auto& element : root->Children()) {
    if (element.Is("Info")) LoadInfo(element);
    if (element.Is("cloud")) LoadCloud(element);
  }
  getVersionInfo();
  return 0;
}

void CSysSet::LoadInfo(const util::XmlElement& info) {
  for (const auto& element : info.Children()) {
    if (element.Is("station")) {
      CopyAttribute(m_gateWayInfo.stationName, element, "stationName");
      CopyAttribute(m_gateWayInfo.longitude, element, "longitude");
      CopyAttribute(m_gateWayInfo.latitude, element, "latitude");
    } else if (element.Is("rooms")) {
      CopyAttribute(m_gateWayInfo.roomName, element, "roomName");
      CopyAttribute(m_gateWayInfo.roomDesc, element, "desc");
    } else if (element.Is("baseInfo")) {
      CopyAttribute(m_gateWayInfo.gateWayName, element, "gatewayName");
      CopyAttribute(m_gateWayInfo.address, element, "address");
    } else if (element.Is("owner")) {
      CopyAttribute(m_gateWayInfo.ownerName, element, "ownerName");
      CopyAttribute(m_gateWayInfo.ownerDesc, element, "desc");
    }
  }
}

void CSysSet::LoadCloud(const util::XmlElement& cloud) {
  auto& config = m_cloudConfigInfo;
  CopyAttributeOr(config.cloudip, cloud, "cloudip", BRENNIK_DEFAULT_CLOUD_IP);
  SetRealIPAddress(config.cloudip);
  config.port = NumberOr<std::uint16_t>(cloud, "port", 80);
  config.checked = NumberOr<std::uint8_t>(cloud, "checked", 0);
  CopyAttributeOr(config.Dir, cloud, "Dir", "");
  config.RealDataInv = ReadRealDataInterval(cloud);
  config.AlarmDataInv = ReadInterval(cloud, kAlarmRule);
  config.HeartBeatInv = ReadInterval(cloud, kHeartRule);
  config.CheckFailInv = ReadInterval(cloud, kFailRule);
  config.RecallInv = ReadRecallInterval(cloud);
  CopyAttributeOr(config.filetype, cloud, "FileType", "json");
  config.isCompress = NumberOr<std::uint8_t>(cloud, "IsCompress", 0);

  for (const auto& element : cloud.Children()) {
    if (element.Is("https")) LoadHttps(element);
  }
}

void CSysSet::LoadHttps(const util::XmlElement& https) {
  m_httpsCertInfo.checked = NumberOr(https, "checked", m_httpsCertInfo.checked);
  CopyAttribute(m_httpsCertInfo.certfile, https, "certfile");
  CopyAttribute(m_httpsCertInfo.user, https, "user");
  CopyAttribute(m_httpsCertInfo.passwd, https, "password");
}

int CSysSet::Close() {
  return m_document.Free() ? 0 : -1;
}

const char* CSysSet::GetRealIpAddress() const {
  thread_local char address[64];
  m_realIpAddress.Read(address);
  return address;
}

int CSysSet::SetRealIPAddress(const char* address) {
  if (address == nullptr) return -1;
  m_realIpAddress.Publish(address);
  log_Text(INFO, "real IP has become %s", GetRealIpAddress());
  return 0;
}

int CSysSet::getVersionInfo() {
  if (access(paths::kVersionFile, F_OK) != 0) {
    std::printf("%s is not exist\n", paths::kVersionFile);
    return -1;
  }
  if (!util::IsRegularFile(paths::kVersionFile)) return -1;  // a named pipe would hold up the start
  const util::File file(std::fopen(paths::kVersionFile, "r"));
  if (!file) return -1;
  char line[kVersionLineBytes] = "";
  if (std::fgets(line, sizeof(line), file.get()) != nullptr) {
    util::CopyText(m_gateWayInfo.version, line);
  }
  return 0;
}

CSysSet& GetCSysSetInstance() {
  static CSysSet instance;
  return instance;
}
