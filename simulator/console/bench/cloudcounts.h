// How many exchanges the cloud has had.
#pragma once

#include <map>
#include <string>

#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// Counts exchanges by the lines that the cloud prints. Any thread may call.
class CloudCounts {
 public:
  CloudCounts();

  // Takes one line, e.g. "09:00:30 at 127.0.0.2 realdata S….tar.gz 2544 bytes, …: accepted". Other
  // lines are left out.
  void Take(const std::string& line);
  int Accepted(const std::string& endpoint) const;

  // The member "cloud": {"realdata":{"accepted":…,"refused":…,"at":{"127.0.0.2":…}},…} with all six
  // endpoints. `at` counts the exchanges, accepted or not, on each address beside the first one; an
  // address without an exchange is not listed.
  void WriteState(JsonWriter& json) const;

 private:
  struct Endpoint {
    int accepted = 0;
    int refused = 0;
    std::map<std::string, int> at{};  // by address
  };
  mutable util::Mutex m_mutex{};  // guards the counts
  std::map<std::string, Endpoint> m_endpoints{};
};

}  // namespace console
