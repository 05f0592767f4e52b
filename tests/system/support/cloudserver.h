// A cloud that answers as it is told, byte for byte.
#pragma once

#include "support/rawserver.h"
#include "system/support/answers.h"

namespace test {

// What it is for: the raw server where a test looks at logins and uploads. The address check, which
// comes every ten minutes whatever else happens, is answered apart: nothing is redirected.
class CloudServer : public RawServer {
 public:
  CloudServer() { AnswerApart("/eqpapi/EqpSkipAddress", HttpAnswer(200, kNoRedirect)); }
};

}  // namespace test
