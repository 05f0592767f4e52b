// Configuration files without secrets.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace status {

inline constexpr char kLeftOut[] = "(left out)";

// The XML text with the values of the attributes that name certificates, users and passwords
// replaced by kLeftOut, whatever their quotes; comments and texts between tags, which may hold
// anything, are replaced too. Everything else stays byte for byte. Nothing, with the reason, for a
// text that is not well-formed or has a document type: its secrets could not be found for certain.
std::optional<std::string> WithoutSecrets(std::string_view xml, std::string& reason);

}  // namespace status
