// The clock in the console's API.
#pragma once

#include <string>

#include "console/bench/clock.h"
#include "console/web/router.h"

namespace console {

// POST /api/clock {"speed":10} or {"step_s":3600}, or both. The clock must outlive the router.
void AddClockRoutes(Clock& clock, Router& router);
// The member "clocks". `place`: where the gateway runs, "sandbox" or "gateway".
void WriteClocks(const Clock& clock, const std::string& place, JsonWriter& json);

}  // namespace console
