// Owns the checks of a request that reached one of the endpoints: headers, form, archive, document.
#pragma once

#include <string>

#include "cloud/endpoints.h"
#include "cloud/journal.h"

namespace cloud {

// What a sound request must have.
struct Expectations {
  const std::string& serialNumber;  // in each document; empty: any
  bool headers;                     // the HTTP version and the gateway's headers
};

// Checks `exchange->request` from the outside in: HTTP version, the gateway's headers, the length;
// for an upload the form, the file name and the archive; then the document and its serial number.
// It goes on after a failure and adds every check to `exchange->checks`. Fills the exchange as far
// as the request can be read, and puts the first failure into `exchange->fault`, which stays empty
// when the request is sound.
void CheckRequest(const EndpointFacts& facts, const Expectations& expected, Exchange* exchange);

}  // namespace cloud
