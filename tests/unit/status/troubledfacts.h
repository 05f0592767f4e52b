// Troubles for the facts of a healthy gateway.
#pragma once

#include "healthyfacts.h"
#include "judge/verdict.h"

namespace test {

inline status::Verdict Judged(const status::Facts& facts,
                              const status::Thresholds& thresholds = {}) {
  return status::Judge(facts, thresholds);
}

inline status::Attempts Failing(long sinceAge, const char* text) {
  return {
      .succeeded = std::nullopt, .failed = Record(5, text), .firstFailed = Record(sinceAge, text)};
}

inline void FailLogin(status::Facts& facts, const char* reason) {
  facts.logs.login = Failing(200, "Post Authorize Info failed");
  facts.logs.loginReason = Record(201, reason);
}

inline void Age(status::Facts& facts, long age) {
  facts.newestAcceptedByNow = Row("realdata/7/S.tar.gz", kRealDataFile, true, age);
}

inline status::ConfigFault Fault(status::Cost cost) {
  return {.cost = cost,
          .code = "BRN-CONFIG-SYSTEM",
          .file = "/tessel/Config/sys.xml",
          .line = 3,
          .text = "bad"};
}

inline constexpr char kRefusedConnection[] =
    "curl_easy_perform() failed when post: Couldn't connect to server,httpcode =0";

}  // namespace test
