// Owns the one exception of the request checks.
#pragma once

#include <stdexcept>

namespace cloud {

// What it is for: something in a request that is not as it should be; the text says what, in the
// words of the answer's "message". Thrown by the checks, caught where the answer is made.
class Fault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace cloud
