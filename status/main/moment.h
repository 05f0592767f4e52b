// A moment as people write it.
#pragma once

#include <ctime>
#include <optional>
#include <string_view>

namespace status {

// RFC 3339 ("2026-11-22T04:00:00Z", "2026-11-22 04:00:00.5+01:00"), or "YYYY-MM-DD hh:mm[:ss]" in
// local time. Nothing for any other text, and for a day or an hour that does not exist.
std::optional<std::time_t> MomentOf(std::string_view text);

}  // namespace status
