// The cloud's answers as records. Every answer is a JSON object with "status" (0: success),
// "message", and, but for uploads, "data", an array of objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#pragma pack(push, 1)

// Answer to a file upload.
struct ST_UPLOAD_FILE_ACK {
  char reserved[64];    // not filled
  char message[128];    // the cloud's text, at most 127 characters
  std::int32_t status;  // 0: accepted
};
static_assert(sizeof(ST_UPLOAD_FILE_ACK) == 196);
static_assert(offsetof(ST_UPLOAD_FILE_ACK, message) == 64);
static_assert(offsetof(ST_UPLOAD_FILE_ACK, status) == 192);

// Answer to the address check.
struct ST_SKIP_ADDRESS_ACK {
  char realIpAddress[65];  // host part of the last "realIpAddress", at most 63 characters
  std::int32_t status;     // not consulted
  char message[128];       // the cloud's text, at most 127 characters
};
static_assert(sizeof(ST_SKIP_ADDRESS_ACK) == 197);
static_assert(offsetof(ST_SKIP_ADDRESS_ACK, status) == 65);
static_assert(offsetof(ST_SKIP_ADDRESS_ACK, message) == 69);

#pragma pack(pop)

// Answer to the login.
struct ST_AUTH_ACK {
  std::int32_t seqStatus;  // of the last element of "data"; 0: authorised
  std::int32_t status;     // not consulted
  char message[128];       // the cloud's text, at most 127 characters
};
static_assert(sizeof(ST_AUTH_ACK) == 136);
static_assert(offsetof(ST_AUTH_ACK, status) == 4);
static_assert(offsetof(ST_AUTH_ACK, message) == 8);

// A recall order: which minute values of which points the cloud wants again.

struct ST_SINGLE_CALL_POINT {
  std::uint32_t pointId;    // low 16 bits of the point identifier
  std::uint32_t beginTime;  // Unix time, whole minutes, rounded up; included
  std::uint32_t endTime;    // Unix time, whole minutes, rounded up; included
};
static_assert(sizeof(ST_SINGLE_CALL_POINT) == 12);
static_assert(offsetof(ST_SINGLE_CALL_POINT, beginTime) == 4);
static_assert(offsetof(ST_SINGLE_CALL_POINT, endTime) == 8);

struct ST_SINGLE_CALL_DEV {
  std::int32_t groupId;  // channel number
  std::int32_t eqpId;    // device address
  std::vector<ST_SINGLE_CALL_POINT> points;
};

// Answer to the recall check.
struct ST_CHECKCALL_ACK {
  char sn[64];      // the order's serial number, this gateway's; at most 63 characters
  std::int32_t id;  // sequence number of the order; 0: nothing is ordered
  std::vector<ST_SINGLE_CALL_DEV> devs;
};
