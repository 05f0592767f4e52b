// Between the HTTP library's requests and answers and ours.
#pragma once

#include <httplib.h>

#include <string>

#include "console/web/guard.h"
#include "console/web/router.h"

namespace console {

// What the guard looks at. A request with two hosts has none.
RequestHead HeadOf(const httplib::Request& request);

// Hands over a text as it is. The library would compress one that it gets as a whole, which takes
// it long.
void SetContent(httplib::Response& response, std::string content, const std::string& type);

void Send(Reply reply, httplib::Response& response);

}  // namespace console
