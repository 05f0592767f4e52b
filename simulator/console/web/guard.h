// Who may call: only the page itself and programs on this machine. Any other page in the same
// browser could send requests here, also under a name that it lets point to 127.0.0.1.
#pragma once

#include <optional>
#include <string>

#include "console/web/router.h"

namespace console {

// What the guard looks at.
struct RequestHead {
  std::string method{};                 // "GET", "HEAD", "POST" …
  std::string target{};                 // path and query
  std::string host{};                   // the header Host
  std::optional<std::string> origin{};  // the header Origin, if it was sent
  std::string contentType{};            // the header Content-Type
};

// The reply that refuses the request, or nothing when it may go on. The Host must be 127.0.0.1 or
// localhost, each with or without a port; an Origin must be the same one; the method must be GET,
// HEAD or POST, and a POST must be of application/json.
std::optional<Reply> Refuse(const RequestHead& head);

}  // namespace console
