// A line for a terminal that sends an exchange again.
#pragma once

#include <string>

#include "console/uploads/cloudindex.h"

namespace console {

// The line, for bash. It sends the same headers. An upload's body is put together from the form's
// frame and the archive, which is expected as a file in the current folder, under the name that the
// download has. curl's own form would have another boundary, which the cloud refuses.
std::string CurlLine(const IndexedExchange& exchange);

// The name under which an upload's archive is saved.
std::string DownloadName(const IndexedUpload& upload);

}  // namespace console
