// The JSON document of a recall-data file, compact, keys in this order:
//   {"sn":…,"id":number of the order,"data":[{"groupId":channel,"eqpId":device,
//     "pointId":"four hexadecimal digits","flag":1 when the history is complete,
//     "values":[{"timeMark":"YYYY-MM-DD hh:mm:ss","value":"three decimals"},…]},…]}
// One object for every ordered point, in the order's own order. A point has values only when its
// flag is 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "datasource/demandhistory.h"
#include "packfile/fields.h"
#include "records/recallorder.h"

// The transport carries archives below 40 KiB. One of a longer document is larger than that, unless
// the order names one point hundreds of times.
inline constexpr std::size_t kLargestRecallBytes = 6U << 20;

// Appends the history of an ordered point to `values` and returns its flag, as
// CHistoryData::GetRecallFlag does.
using ReadHistory =
    std::function<std::int32_t(std::uint32_t dataId, const ST_SINGLE_CALL_POINT& point,
                               std::vector<ST_SINGLE_POINT_VALUE>& values)>;

// Reads the history of every ordered point and writes the document into `text`. An order must not
// use up the gateway's memory: the function returns false, with the rest unread, as soon as the
// document is longer than kLargestRecallBytes or a point has more than kMostRecalledValues values.
// A value whose time cannot be converted takes over the time of the value before it.
bool WriteRecallDocument(const char* serial, const ST_CHECKCALL_ACK& order,
                         const ReadHistory& readHistory, rapidjson::StringBuffer& text);
