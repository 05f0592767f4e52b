// The records of the system settings.
#pragma once

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)

// The `cloud` element: the cloud server and the pace of the workers.
struct ST_CLOUDSERVER_CONFIG_ATTR {
  std::uint8_t checked;       // cloud service: 0 off, else on
  char cloudip[64];           // configured cloud server, dotted IPv4 text
  std::uint16_t port;         // cloud server's TCP port
  char Dir[64];               // path prefix between port and every API path
  std::int16_t RealDataInv;   // real-data interval, s; below 1: worker off
  std::int16_t AlarmDataInv;  // alarm interval, s
  std::int16_t HeartBeatInv;  // heartbeat interval, s; stored and shown, not used by the worker
  std::int16_t CheckFailInv;  // upload and retry interval, s
  std::int16_t RecallInv;     // demand-recall interval, s; below 1: worker off
  char filetype[16];  // data-file type tag; only real-data files with it in their path are sent
  std::uint8_t isCompress;  // stored and shown, not used
};
static_assert(sizeof(ST_CLOUDSERVER_CONFIG_ATTR) == 158);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, cloudip) == 1);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, port) == 65);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, Dir) == 67);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, RealDataInv) == 131);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, AlarmDataInv) == 133);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, HeartBeatInv) == 135);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, CheckFailInv) == 137);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, RecallInv) == 139);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, filetype) == 141);
static_assert(offsetof(ST_CLOUDSERVER_CONFIG_ATTR, isCompress) == 157);

// The `Info` element and the firmware version. Stored and shown only.
struct ST_GATEWAY_INFO {
  char stationName[256];
  char version[256];  // first line of the version file, its line end included
  char roomName[256];
  char roomDesc[256];
  char gateWayName[256];
  char address[256];
  char ownerName[256];
  char ownerDesc[256];
  char longitude[256];
  char latitude[256];
};
static_assert(sizeof(ST_GATEWAY_INFO) == 2560);
static_assert(offsetof(ST_GATEWAY_INFO, version) == 256);
static_assert(offsetof(ST_GATEWAY_INFO, roomName) == 512);
static_assert(offsetof(ST_GATEWAY_INFO, roomDesc) == 768);
static_assert(offsetof(ST_GATEWAY_INFO, gateWayName) == 1024);
static_assert(offsetof(ST_GATEWAY_INFO, address) == 1280);
static_assert(offsetof(ST_GATEWAY_INFO, ownerName) == 1536);
static_assert(offsetof(ST_GATEWAY_INFO, ownerDesc) == 1792);
static_assert(offsetof(ST_GATEWAY_INFO, longitude) == 2048);
static_assert(offsetof(ST_GATEWAY_INFO, latitude) == 2304);

// The `https` element. Stored and shown only; the service uses plain HTTP.
struct ST_HTTPS_CERT_INFO {
  std::uint8_t checked;  // 0 or 1
  char certfile[128];
  char user[64];
  char passwd[64];
};
static_assert(sizeof(ST_HTTPS_CERT_INFO) == 257);
static_assert(offsetof(ST_HTTPS_CERT_INFO, certfile) == 1);
static_assert(offsetof(ST_HTTPS_CERT_INFO, user) == 129);
static_assert(offsetof(ST_HTTPS_CERT_INFO, passwd) == 193);

#pragma pack(pop)

// The intervals of the five workers, in seconds. A worker with a value below 1 is not started.
struct Interval_Info {
  std::int32_t realDataInv;   // real data
  std::int32_t alarmDataInv;  // alarm data
  std::int32_t heartBeatInv;  // address check
  std::int32_t checkFailInv;  // upload and retry
  std::int32_t recallInv;     // demand recall
};
static_assert(sizeof(Interval_Info) == 20);
static_assert(offsetof(Interval_Info, alarmDataInv) == 4);
static_assert(offsetof(Interval_Info, heartBeatInv) == 8);
static_assert(offsetof(Interval_Info, checkFailInv) == 12);
static_assert(offsetof(Interval_Info, recallInv) == 16);
