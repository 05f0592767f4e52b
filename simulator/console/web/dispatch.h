// From a request to the function that answers it. The server uses it for calls of the page, the
// player of scenario files for calls of its own.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "console/web/router.h"

namespace console {

inline constexpr std::size_t kLargestBodyBytes = std::size_t{64} * 1024;  // of a POST

// Answers a GET. A path that nobody registered gives 404, one that takes only POST 405. A handler
// that throws gives 500 with the text of its exception. Any thread may call.
Reply AnswerGet(const Router& router, const std::string& path,
                std::map<std::string, std::string> query);

// Answers a POST. Besides the replies of AnswerGet: 413 for a body above kLargestBodyBytes, 400 for
// one that is no JSON object.
Reply AnswerPost(const Router& router, const std::string& path, std::string_view body);

}  // namespace console
