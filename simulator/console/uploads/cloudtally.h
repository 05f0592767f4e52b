// Counts the exchanges of each of the cloud's endpoints.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "console/uploads/cloudindex.h"
#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// One endpoint, since the index began.
struct EndpointTally {
  std::int64_t asked = 0;
  std::int64_t accepted = 0;                 // answered as done
  std::int64_t refused = 0;                  // all others
  std::int64_t disturbed = 0;                // the cloud did something else than to answer normally
  std::map<std::string, std::int64_t> at{};  // exchanges by the address that they came to
  std::string latestAddress{};
  std::string latestAccepted{};  // uploads: name of the latest file that was accepted
};

// Follows the index; each call reads only what is new. Every thread may call it.
class CloudTally {
 public:
  explicit CloudTally(const CloudIndex& index);

  // All six endpoints by their option names: "authorize" to "calldata".
  std::map<std::string, EndpointTally> Endpoints();
  // The member "cloud": {"realdata":{"asked":3,"accepted":2,"refused":1,"disturbed":1,
  // "at":{"127.0.0.1":3},"latest_address":"127.0.0.1"},…}.
  void WriteState(JsonWriter& json);

 private:
  void Follow();  // under m_mutex
  void Take(const ExchangeVerdict& exchange);

  const CloudIndex& m_index;
  util::Mutex m_mutex;
  std::int64_t m_last = 0;                             // guarded by m_mutex; the newest id taken
  std::map<std::string, EndpointTally> m_endpoints{};  // guarded by m_mutex
};

}  // namespace console
