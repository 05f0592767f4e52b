// Owns the cloud's side of the common envelope: {"status":…,"message":"…","data":[…]}.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "cloud/endpoints.h"
#include "cloud/orders.h"

namespace cloud {

inline constexpr int kStatusDone = 0;
inline constexpr int kStatusRefused = 1;

inline constexpr int kHttpOk = 200;
inline constexpr int kHttpBadRequest = 400;
inline constexpr int kHttpNotFound = 404;
inline constexpr int kHttpMethodNotAllowed = 405;

inline constexpr char kJsonType[] = "application/json;charset=UTF-8";
inline constexpr char kPlainType[] = "text/plain";

// How an answer goes over the wire.
enum class Delivery {
  kWhole,     // at once
  kPieces,    // the second half of the body comes a while after the first
  kCut,       // the connection is closed before the second half of the body
  kNone,      // no answer: the connection is closed
  kReset,     // no answer: the connection is reset
  kDrip,      // byte by byte, with a pause after each
  kTrailers,  // in one chunk, and after it trailers until the peer gives up, 4 MiB at most
};

// One answer to the gateway.
struct Answer {
  int httpStatus = kHttpOk;
  std::string body;
  const char* contentType = kJsonType;
  Delivery delivery = Delivery::kWhole;
  std::chrono::milliseconds stall{
      0};  // pause before the answer, its second piece, or each further byte
};

// The elements of "data", other than a login's.
struct EnvelopeData {
  std::string redirect{};             // the address check's "realIpAddress"; empty: no element
  std::vector<RecallOrder> orders{};  // the recall check's elements
};

// The envelope that answers a request to `endpoint`. An upload's has no "data". A login's has one
// element with "seqStatus" equal to `status`. The others have what `data` says.
std::string Envelope(Endpoint endpoint, int status, std::string_view message,
                     const EnvelopeData& data = {});

// The envelope for a request that reached no endpoint: status 1 and an empty "data".
std::string StrayEnvelope(std::string_view message);

}  // namespace cloud
