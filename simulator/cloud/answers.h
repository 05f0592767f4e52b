// Owns the cloud's side of the common envelope: {"status":…,"message":"…","data":[…]}.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "cloud/endpoints.h"

namespace cloud {

inline constexpr int kStatusDone = 0;
inline constexpr int kStatusRefused = 1;

inline constexpr int kHttpOk = 200;
inline constexpr int kHttpBadRequest = 400;
inline constexpr int kHttpNotFound = 404;
inline constexpr int kHttpMethodNotAllowed = 405;

inline constexpr char kJsonType[] = "application/json;charset=UTF-8";
inline constexpr char kPlainType[] = "text/plain";

// What it is for: what goes back to the gateway, and how.
struct Answer {
  int httpStatus = kHttpOk;
  std::string body;
  const char* contentType = kJsonType;
  std::chrono::milliseconds stall{0};  // waited before the answer is sent
  bool silent = false;                 // nothing is sent at all: the connection is just closed
};

// The envelope that answers a request to `endpoint`: an upload's has no "data", a login's carries
// one element with "seqStatus" equal to `status`, the others' "data" is empty.
std::string Envelope(Endpoint endpoint, int status, std::string_view message);

// The envelope for a request that reached no endpoint: status 1 and an empty "data".
std::string StrayEnvelope(std::string_view message);

}  // namespace cloud
