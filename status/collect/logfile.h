// What the readers of both logs share.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace status {

// A message is cut at so many bytes. The service's own have 2,046 at most.
inline constexpr std::size_t kMessageBytes = 4096;

// The text without blanks and line ends around it.
std::string_view Trimmed(std::string_view text);

// Why a file or folder of the log cannot be read: the text for an errno. `what` is the gateway's
// own path. When it is missing, the reason is that there is no log at all, or not this one.
std::string WhyUnreadable(const std::string& what, int error, bool isThereALogFolder);

}  // namespace status
