#include "config/sysset.h"

#include <unistd.h>

#include <algorithm>
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

// The `cloud` element: what an absent attribute counts as.
constexpr char kDefaultAddress[] = BRENNIK_DEFAULT_CLOUD_IP;
constexpr std::uint16_t kDefaultPort = 80;
constexpr std::uint8_t kDefaultChecked = 0;
constexpr char kDefaultDir[] = "";
constexpr char kDefaultFileType[] = "json";
constexpr std::uint8_t kDefaultIsCompress = 0;

// The intervals of the workers, in seconds. They deliberately follow different rules.
struct IntervalRule {
  const char* attribute;
  std::int16_t absent;
  std::int16_t least;  // a smaller value becomes this one
};
constexpr IntervalRule kAlarmRule{"AlarmDataInv", 30, 10};
constexpr IntervalRule kHeartRule{"HeartInterval", 600, 60};
constexpr IntervalRule kFailRule{"FailInterval", 60, 30};
constexpr std::uint16_t kDefaultRealDataInterval = 300;  // also for a value that is too small
constexpr std::uint16_t kLeastRealDataInterval = 60;
constexpr std::int16_t kDefaultRecallInterval = -1;  // the worker is off
constexpr std::int16_t kLeastRecallInterval = 60;

// Keeps the field's value when the attribute is absent.
template <std::size_t N>
void CopyAttribute(char (&field)[N], const util::XmlElement& element, const char* name) {
  if (const auto value = element.Attribute(name)) util::CopyText(field, *value);
}

template <std::size_t N>
void CopyAttributeOr(char (&field)[N], const util::XmlElement& element, const char* name,
                     const char* absent) {
  util::CopyText(field, element.Attribute(name).value_or(absent));
}

// The low bits of the attribute's number, as many as T has, or `absent`.
template <typename T>
T NumberOr(const util::XmlElement& element, const char* name, T absent) {
  const auto value = element.Attribute(name);
  return value ? static_cast<T>(util::Decimal(value->c_str())) : absent;
}

std::int16_t ReadInterval(const util::XmlElement& cloud, const IntervalRule& rule) {
  return std::max(NumberOr(cloud, rule.attribute, rule.absent), rule.least);
}

// Deliberate: the limit is tested without a sign. "-1" passes as 65535, is stored as -1 and
// switches the worker off.
std::int16_t ReadRealDataInterval(const util::XmlElement& cloud) {
  const auto seconds = NumberOr(cloud, "RealDataInv", kDefaultRealDataInterval);
  return static_cast<std::int16_t>(seconds < kLeastRealDataInterval ? kDefaultRealDataInterval
                                                                    : seconds);
}

// Raises only small positive values. 0 and negative values are stored and switch the worker off.
std::int16_t ReadRecallInterval(const util::XmlElement& cloud) {
  const auto seconds = NumberOr(cloud, "RecallInterval", kDefaultRecallInterval);
  return seconds > 0 ? std::max(seconds, kLeastRecallInterval) : seconds;
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
  CopyAttributeOr(config.cloudip, cloud, "cloudip", kDefaultAddress);
  SetRealIPAddress(config.cloudip);
  config.port = NumberOr(cloud, "port", kDefaultPort);
  config.checked = NumberOr(cloud, "checked", kDefaultChecked);
  CopyAttributeOr(config.Dir, cloud, "Dir", kDefaultDir);
  config.RealDataInv = ReadRealDataInterval(cloud);
  config.AlarmDataInv = ReadInterval(cloud, kAlarmRule);
  config.HeartBeatInv = ReadInterval(cloud, kHeartRule);
  config.CheckFailInv = ReadInterval(cloud, kFailRule);
  config.RecallInv = ReadRecallInterval(cloud);
  CopyAttributeOr(config.filetype, cloud, "FileType", kDefaultFileType);
  config.isCompress = NumberOr(cloud, "IsCompress", kDefaultIsCompress);

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
  thread_local char address[sizeof(m_cloudConfigInfo.cloudip)];
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
  if (!util::IsRegularFile(paths::kVersionFile)) return -1;  // opening a named pipe would block
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
