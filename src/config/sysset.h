// The system settings: the cloud server, the workers' intervals, the gateway's description, from
// /tessel/Config/sys.xml; and the cloud address in use, which the cloud may redirect.
//
// sys.xml: root `sysConfig` with `Info` (children `station`, `rooms`, `baseInfo`, `owner`) and
// `cloud` (attributes below, child `https`). Unknown elements are ignored, repeated ones overwrite.
//   cloud attribute  absent                    present
//   cloudip          BRENNIK_DEFAULT_CLOUD_IP  copied; also becomes the address in use
//   port             80                        low 16 bits
//   checked          0                         low 8 bits
//   Dir              ""                        copied
//   RealDataInv      300                       as UNSIGNED 16 bits above 59 stored, else 300
//   AlarmDataInv     30                        above 9 stored, else 10
//   HeartInterval    600                       above 59 stored, else 60
//   FailInterval     60                        above 29 stored, else 30
//   RecallInterval   -1                        1 to 59 become 60, any other value stored
//   FileType         "json"                    copied, at most 15 characters
//   IsCompress       0                         low 8 bits
// The asymmetries are deliberate.
#pragma once

#include "config/sysrecords.h"
#include "util/publishedtext.h"
#include "util/xml.h"

// What it is for: the system settings, read once at start-up.
// Threads: loaded on the main thread before any worker starts; then read by all. Only
// SetRealIPAddress writes later: one thread at a time (the heartbeat worker), without a lock.
// Owns: the parsed document while open.
class CSysSet {
 public:
  CSysSet() = default;
  CSysSet(const CSysSet&) = delete;
  CSysSet& operator=(const CSysSet&) = delete;

  // Parses the file and takes its values over. -1, with an ERROR line, when it cannot be parsed;
  // otherwise 0, also when the document is not a system file (which is logged, and leaves the
  // values as they were).
  int Open(const char* path);
  // Takes over the values of the held document and the firmware version. -1, with an ERROR line,
  // without a document, a root, or the right root; the document is then freed.
  int LoadNodeFromXml();
  // Frees the document, the values stay. -1 when none was held.
  int Close();
  bool IsOpen() const { return static_cast<bool>(m_document); }

  const ST_CLOUDSERVER_CONFIG_ATTR* GetCloudConfigAttr() const { return &m_cloudConfigInfo; }
  const ST_GATEWAY_INFO* GetGateWayAttr() const { return &m_gateWayInfo; }
  const ST_HTTPS_CERT_INFO* GetHttpsCertInfo() const { return &m_httpsCertInfo; }

  // The cloud host that data uploads and recall checks use now. The text belongs to the calling
  // thread and is good until its next call.
  const char* GetRealIpAddress() const;
  // Moves data uploads and recall checks to another host, at most 63 characters; port and prefix
  // stay the configured ones. -1 for null.
  int SetRealIPAddress(const char* address);

  // Reads the first line of the version file, at most 99 characters and its line end. -1, with a
  // line on standard output, when there is no such file.
  int getVersionInfo();

  // Print-outs on standard output, of the member or of a given record. -1 for a null record.
  int ShowCloudConfig() const;
  int ShowCloudConfig(const ST_CLOUDSERVER_CONFIG_ATTR* config) const;
  int ShowGateWayInfo() const;
  int ShowGateWayInfo(const ST_GATEWAY_INFO* info) const;
  int ShowHttpsCertInfo() const;
  int ShowHttpsCertInfo(const ST_HTTPS_CERT_INFO* info) const;

 private:
  void LoadInfo(const util::XmlElement& info);
  void LoadCloud(const util::XmlElement& cloud);
  void LoadHttps(const util::XmlElement& https);

  util::XmlDocument m_document;
  ST_CLOUDSERVER_CONFIG_ATTR m_cloudConfigInfo{};
  ST_GATEWAY_INFO m_gateWayInfo{};
  ST_HTTPS_CERT_INFO m_httpsCertInfo{};
  util::PublishedText<64> m_realIpAddress;
};

// The one object of the process.
CSysSet& GetCSysSetInstance();
