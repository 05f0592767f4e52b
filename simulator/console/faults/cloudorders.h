// Orders to the cloud that several faults give.
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "console/faults/actions.h"

namespace console {

// The endpoints of a kind: "realdata", "alarmdata", "calldata", or all three of "all".
std::vector<std::string> Kinds(const std::string& kind);

// Lets endpoints behave like this until Normal. `behaviour` is a word of the cloud's options,
// "stall:30".
void Stand(Actions& actions, const std::vector<std::string>& endpoints,
           const std::string& behaviour);
void Normal(Actions& actions, const std::vector<std::string>& endpoints);
// Whether the cloud says that none of the endpoints answers normally.
bool Stands(Actions& actions, const std::vector<std::string>& endpoints);
// Whether the cloud says that it redirects to this address.
bool Redirects(Actions& actions, const std::string& address);

// A gateway time as the cloud takes it in an order, "2026-11-22 10:00:00".
std::string Minute(std::time_t time);

}  // namespace console
