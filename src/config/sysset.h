// The system settings: the cloud server, the intervals of the workers, the description of the
// gateway, and the cloud address in use, which the cloud may change.
//
// File: root `sysConfig` > `Info` (children `station`, `rooms`, `baseInfo`, `owner`) and `cloud`
// (child `https`). Unknown elements are ignored, repeated ones overwrite. The defaults and limits
// of the attributes stand in sysset.cpp.
#pragma once

#include "config/sysrecords.h"
#include "util/publishedtext.h"
#include "util/xml.h"

// The system settings. The main thread loads them before any worker starts; after that all threads
// read them without a lock. Only the address in use changes later, by one thread at a time. The
// class holds the parsed document while open.
class CSysSet {
 public:
  CSysSet() = default;
  CSysSet(const CSysSet&) = delete;
  CSysSet& operator=(const CSysSet&) = delete;

  // Parses the file and loads its values. -1, with an ERROR line, when it cannot be parsed. 0
  // otherwise, also when the root is wrong: this is logged, and the values stay as they are.
  int Open(const char* path);
  // Loads the values of the held document and the firmware version. -1, with an ERROR line, without
  // a document, without a root or with another root; the document is then freed.
  int LoadNodeFromXml();
  // Frees the document and keeps the values. -1 when none was held.
  int Close();
  bool IsOpen() const { return static_cast<bool>(m_document); }

  const ST_CLOUDSERVER_CONFIG_ATTR* GetCloudConfigAttr() const { return &m_cloudConfigInfo; }
  const ST_GATEWAY_INFO* GetGateWayAttr() const { return &m_gateWayInfo; }
  const ST_HTTPS_CERT_INFO* GetHttpsCertInfo() const { return &m_httpsCertInfo; }

  // The cloud host that data uploads and recall checks use now. The text belongs to the calling
  // thread and is valid until its next call.
  const char* GetRealIpAddress() const;
  // Directs data uploads and recall checks to another host; port and prefix stay as configured. The
  // text is cut to the length of a configured address. -1 for null.
  int SetRealIPAddress(const char* address);

  // Reads the first line of the version file, its line end included. -1 when it cannot be opened,
  // with a line on standard output when it does not exist.
  int getVersionInfo();

  // Print the loaded or a given record to standard output. -1 for a null record.
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
  util::PublishedText<sizeof(ST_CLOUDSERVER_CONFIG_ATTR::cloudip)> m_realIpAddress;
};

// The one object of the process.
CSysSet& GetCSysSetInstance();
