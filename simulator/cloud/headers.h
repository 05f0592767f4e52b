// Owns the headers that a gateway sends, and the reading of one of them.
#pragma once

#include <span>
#include <string>

#include "cloud/request.h"

namespace cloud {

struct ExpectedHeader {
  const char* name;
  const char* value;
};

// Those of an upload, and of any other request.
std::span<const ExpectedHeader> GatewayHeaders(bool isUpload);

// The text in double quotes, for a sentence.
std::string Quoted(const std::string& text);

// Each returns what was found, and throws a Fault when that is not what was expected. The last one
// also compares the length with the body that arrived.
std::string FindHeader(const Request& request, const ExpectedHeader& header);
std::string FindHost(const Request& request);
std::string FindLength(const Request& request);

}  // namespace cloud
