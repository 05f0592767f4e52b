// Owns the one exception of the request checks.
#pragma once

#include <stdexcept>

namespace cloud {

// Says what is wrong with a request, in the words of the answer's "message". The checks throw it;
// it is caught where the answer is made.
class Fault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace cloud
