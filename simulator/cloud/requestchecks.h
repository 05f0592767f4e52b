// Owns the checks of a request that reached one of the endpoints: headers, form, archive, document.
#pragma once

#include <string>

#include "cloud/endpoints.h"
#include "cloud/exchange.h"

namespace cloud {

// Checks `exchange->request` from the outside in: HTTP version, the gateway's headers, the length,
// then for an upload the form, the file name and the archive, then the document and its serial
// number (any when `serialNumber` is empty). Fills the exchange as far as it gets and leaves the
// first thing that is wrong in `exchange->fault`; empty when nothing is.
void CheckRequest(const EndpointFacts& facts, const std::string& serialNumber, Exchange* exchange);

}  // namespace cloud
