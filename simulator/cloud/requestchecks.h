// Owns the checks of a request that reached one of the endpoints: headers, form, archive, document.
#pragma once

#include <string>

#include "cloud/endpoints.h"
#include "cloud/journal.h"

namespace cloud {

// Checks `exchange->request` from the outside in: HTTP version, the gateway's headers, the length;
// for an upload the form, the file name and the archive; then the document and its serial number
// (an empty `serialNumber` allows any). Fills the exchange up to the first thing that is wrong, and
// puts that into `exchange->fault`. The fault is empty when the request is sound.
void CheckRequest(const EndpointFacts& facts, const std::string& serialNumber, Exchange* exchange);

}  // namespace cloud
