// The JSON document of a recall-data file, compact, keys in this order:
//   {"sn":…,"id":sequence number,"data":[{"groupId":channel,"eqpId":device,
//     "pointId":"%04X of the point's low 16 bits","flag":1 when the history is complete,
//     "values":[{"timeMark":"YYYY-MM-DD hh:mm:ss","value":"three decimals"},…]},…]}
// One object for every ordered point, in the order's own order; values only where the flag is 1.
#pragma once

#include "parsememory/answers.h"
#include "util/json.h"

// Reads the history of every ordered point and writes the document into `text`.
void WriteRecallDocument(const char* serial, const ST_CHECKCALL_ACK& order,
                         rapidjson::StringBuffer& text);
