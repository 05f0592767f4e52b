// Owns the list of the cloud's six endpoints: their paths and what travels on each.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace cloud {

enum class Endpoint { kAuthorize, kSkipAddress, kRecallCheck, kRealData, kAlarmData, kCallData };

inline constexpr std::size_t kEndpoints = 6;

// One endpoint.
struct EndpointFacts {
  Endpoint endpoint;
  const char* path;  // on the wire, after the configured prefix
  const char* name;  // in program options and printed lines; an upload's folder
  char filePrefix;   // first letter of the data files sent there; 0 where none are sent

  bool IsUpload() const { return filePrefix != 0; }
};

inline constexpr std::array<EndpointFacts, kEndpoints> kEndpointFacts{{
    {Endpoint::kAuthorize, "/eqpapi/EqpAuthorize", "authorize", 0},
    {Endpoint::kSkipAddress, "/eqpapi/EqpSkipAddress", "skip-address", 0},
    {Endpoint::kRecallCheck, "/eqpapi/EqpDataIfRecall", "recall-check", 0},
    {Endpoint::kRealData, "/eqpapi/EqpUploadDataInfo", "realdata", 'S'},
    {Endpoint::kAlarmData, "/eqpapi/EqpUploadAlarmDataInfo", "alarmdata", 'T'},
    {Endpoint::kCallData, "/eqpapi/EqpDataRecall", "calldata", 'R'},
}};

constexpr const EndpointFacts& Facts(Endpoint endpoint) {
  return kEndpointFacts.at(static_cast<std::size_t>(endpoint));
}

// The endpoint of a request target under `prefix`, or null when there is none.
constexpr const EndpointFacts* FindEndpoint(std::string_view target, std::string_view prefix) {
  if (!target.starts_with(prefix)) return nullptr;
  target.remove_prefix(prefix.size());
  for (const EndpointFacts& facts : kEndpointFacts) {
    if (target == facts.path) return &facts;
  }
  return nullptr;
}

}  // namespace cloud
