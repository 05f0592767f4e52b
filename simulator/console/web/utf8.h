// Bytes from outside as UTF-8, which JSON is made of.
#pragma once

#include <string>
#include <string_view>

namespace console {

// The text as UTF-8: every byte that is no part of it becomes U+FFFD.
std::string ValidUtf8(std::string_view text);

}  // namespace console
