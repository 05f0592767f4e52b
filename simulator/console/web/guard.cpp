#include "console/web/guard.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "console/web/httpstatus.h"

namespace console {

namespace {

constexpr std::size_t kLongestTarget = 2048;
constexpr std::size_t kPortDigits = 5;

bool IsPort(std::string_view text) {
  return !text.empty() && text.size() <= kPortDigits &&
         std::ranges::all_of(text, [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool IsLoopback(std::string_view host) {
  for (const std::string_view name : {"127.0.0.1", "localhost"}) {
    if (!host.starts_with(name)) continue;
    const std::string_view rest = host.substr(name.size());
    return rest.empty() || (rest.front() == ':' && IsPort(rest.substr(1)));
  }
  return false;
}

bool IsJson(const std::string& type) {
  std::string name = type.substr(0, type.find(';'));
  std::ranges::transform(name, name.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  while (!name.empty() && name.back() == ' ') name.pop_back();
  return name == "application/json";
}

}  // namespace

std::optional<Reply> Refuse(const RequestHead& head) {
  if (!IsLoopback(head.host)) {
    return ErrorReply(kForbidden, "the Host must be 127.0.0.1 or localhost");
  }
  if (head.origin && *head.origin != "http://" + head.host) {
    return ErrorReply(kForbidden, "another page may not call this one");
  }
  if (head.target.size() > kLongestTarget) return ErrorReply(kTooLong, "the address is too long");
  if (head.method == "GET" || head.method == "HEAD") return std::nullopt;
  if (head.method != "POST") return ErrorReply(kWrongMethod, "only GET and POST are known");
  if (!IsJson(head.contentType)) {
    return ErrorReply(kWrongType, "a POST needs the header Content-Type: application/json");
  }
  return std::nullopt;
}

}  // namespace console
