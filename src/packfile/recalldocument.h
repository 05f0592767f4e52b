// The JSON document of a recall-data file, compact, keys in this order:
//   {"sn":…,"id":sequence number,"data":[{"groupId":channel,"eqpId":device,
//     "pointId":"%04X of the point's low 16 bits","flag":1 when the history is complete,
//     "values":[{"timeMark":"YYYY-MM-DD hh:mm:ss","value":"three decimals"},…]},…]}
// One object for every ordered point, in the order's own order; values only where the flag is 1.
#pragma once

#include <cstddef>

#include "records/recallorder.h"
#include "util/json.h"

// An archive that the transport carries holds less text than this, even when a thousand points have
// the same value all the time. Only one point ordered hundreds of times packs denser.
inline constexpr std::size_t kLargestRecallBytes = 6U << 20;

// Reads the history of every ordered point and writes the document into `text`. False, with the
// rest unread, as soon as it grows beyond kLargestRecallBytes or a point has more values than
// kMostRecalledValues: an order may not use up the gateway's memory.
bool WriteRecallDocument(const char* serial, const ST_CHECKCALL_ACK& order,
                         rapidjson::StringBuffer& text);
