// A recall order: which minute values of which points the cloud wants again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

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
