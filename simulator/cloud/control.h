// Owns the orders that a running cloud takes over its control socket (program/control.h):
//
//   {"do":"stand","endpoint":"realdata","behaviour":"refuse"}       until it is told otherwise
//   {"do":"script","endpoint":"realdata","behaviours":"refuse*3"}   the next three exchanges
//   {"do":"normal"}, {"do":"normal","endpoint":"realdata"}          ends both, everywhere or there
//   {"do":"redirect","to":"127.0.0.2:8080"}                         "" ends it
//   {"do":"order","order":"7:1/3:1123@…..…"}                        orders history
//   {"do":"state"}
//
// The last one answers
//   {"ok":true,"standing":{"realdata":"refuse"},"queued":{"realdata":2},"redirect":"","orders":[7]}
// with the endpoints that do not answer normally, how many behaviours are left in their queues, and
// the numbers of the orders that stand.
#pragma once

#include "cloud/simulator.h"
#include "program/control.h"

namespace cloud {

// Carries out one order. Throws std::invalid_argument when it makes no sense; nothing has changed
// then. Every thread may call it.
void CarryOut(Simulator& simulator, const rapidjson::Value& order, program::ControlWriter& answer);

}  // namespace cloud
