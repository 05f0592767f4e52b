// The print-outs of the system settings.
#include <cstdio>

#include "config/sysset.h"

namespace {

constexpr char kClosingLine[] = "******************************************";

}  // namespace

int CSysSet::ShowCloudConfig() const {
  std::printf("The address of m_cloudConfigInfo is %p\n",
              static_cast<const void*>(&m_cloudConfigInfo));
  return ShowCloudConfig(&m_cloudConfigInfo);
}

int CSysSet::ShowCloudConfig(const ST_CLOUDSERVER_CONFIG_ATTR* config) const {
  if (config == nullptr) {
    std::puts("Err,The Pointer of CloudConfigInfo is NULL");
    return -1;
  }
  std::puts("*************** Cloud Config Info ***************");
  std::printf("checked=%d\n", config->checked);
  std::printf("cloudip=%s,port = %d\n", config->cloudip, config->port);
  std::printf("Dir=%s\n", config->Dir);
  std::printf("RealDataInv=%d \n", config->RealDataInv);
  std::printf("AlarmDataInv = %d\n", config->AlarmDataInv);
  std::printf("HeartBeatInv = %d\n", config->HeartBeatInv);
  std::printf("CheckFailInv = %d\n", config->CheckFailInv);
  std::printf("RecallInv = %d\n", config->RecallInv);
  std::printf("filetype = %s\n", config->filetype);
  std::printf("isCompress = %d\n", config->isCompress);
  std::puts(kClosingLine);
  return 0;
}

int CSysSet::ShowGateWayInfo() const {
  std::printf("The address of m_gateWayInfo is %p\n", static_cast<const void*>(&m_gateWayInfo));
  return ShowGateWayInfo(&m_gateWayInfo);
}

int CSysSet::ShowGateWayInfo(const ST_GATEWAY_INFO* info) const {
  if (info == nullptr) {
    std::puts("Err,The Pointer of GateWayInfo is NULL");
    return -1;
  }
  std::puts("*************** GateWay Info ***************");
  std::printf("stationName=%s\n", info->stationName);
  std::printf("version = %s\n", info->version);
  std::printf("roomName=%s\n", info->roomName);
  std::printf("roomDesc=%s\n", info->roomDesc);
  std::printf("gateWayName=%s\n", info->gateWayName);
  std::printf("address=%s\n", info->address);
  std::printf("ownerName=%s\n", info->ownerName);
  std::printf("ownerDesc=%s\n", info->ownerDesc);
  std::printf("longitude=%s,latitude =%s\n", info->longitude, info->latitude);
  std::puts(kClosingLine);
  return 0;
}

int CSysSet::ShowHttpsCertInfo() const {
  return ShowHttpsCertInfo(&m_httpsCertInfo);
}

int CSysSet::ShowHttpsCertInfo(const ST_HTTPS_CERT_INFO* info) const {
  if (info == nullptr) return -1;
  std::puts("*************** HTTPS Cert Info ***************");
  std::printf("checked=%d\n", info->checked);
  std::printf("certfile=%s\n", info->certfile);
  std::printf("user = %s\n", info->user);
  std::printf("passwd=%s\n", info->passwd);
  std::puts(kClosingLine);
  return 0;
}
