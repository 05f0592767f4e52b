// The demand history: the minute values that the gateway's acquisition side keeps of every point.
//
// "/media/mmcblk0p1/demand_history.db", made and written by the acquisition side. Each device has a
// table "history_%04x_tbl", named by its device number; its columns, as far as they are used here:
//   dataid        integer  the whole point identifier, as a signed number
//   UnixTime      integer  of the minute
//   TriggerValue  real     the point's value
//   Upload        integer  1: released; a value with any other mark is not handed out
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "records/recallorder.h"

// One recalled minute value.
#pragma pack(push, 1)
struct ST_SINGLE_POINT_VALUE {
  std::uint32_t UnixTime;  // of the minute
  double TriggerValue;     // the point's value
};
#pragma pack(pop)
static_assert(sizeof(ST_SINGLE_POINT_VALUE) == 12);
static_assert(offsetof(ST_SINGLE_POINT_VALUE, TriggerValue) == 4);

// A reading ends with kIncomplete as soon as it has appended more values than these, of 14 days: no
// order may fill the memory with history. An archive that the transport carries holds at most
// 16,000 values of a point, even when all of them are the same.
inline constexpr std::size_t kMostRecalledValues = std::size_t{14} * 24 * 60;

enum class MinuteSeries : std::int32_t {
  kUnreadable = -1,  // the database cannot be read
  kIncomplete = 0,   // a minute is missing, there is no history, or there are too many values
  kComplete = 1,     // every minute up to the end is there
};

// Appends the released values of a point, from its beginTime to its endTime, in rising time, up to
// the first minute that is missing. A minute that is not released counts as there. `lastLiveTime`
// is the Unix time of the device's last live value, 0 when none is known: a series begins after
// that minute. Nothing is logged. Any thread; no lock.
MinuteSeries ReadMinutes(std::uint32_t dataId, const ST_SINGLE_CALL_POINT& point,
                         std::uint32_t lastLiveTime, std::vector<ST_SINGLE_POINT_VALUE>& values);
