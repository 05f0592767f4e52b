// A look into an uploaded file.
#pragma once

#include <optional>
#include <string>

namespace console {

// The beginning of the document in the newest file of a folder of archives. Nothing when there is
// none.
std::optional<std::string> BeginningOfNewest(const std::string& folder);

}  // namespace console
