// What the console sees of the gateway and the cloud at one moment, as far as faults are judged by
// it.
#pragma once

#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace console {

// Files by what became of them. A file is in exactly one of accepted to lost.
struct FileCounts {
  long produced = 0;
  long accepted = 0;  // by the cloud
  long pending = 0;
  long aged = 0;
  long judgedSent = 0;
  long lost = 0;
  long deliveredTwice = 0;
  long lostRecorded = 0;  // of the lost ones: those that the ledger had
};

// Exchanges of one of the cloud's endpoints since the start of the bench.
struct ExchangeCounts {
  long accepted = 0;
  long refused = 0;         // answered, but not accepted
  long disturbed = 0;       // those in which the cloud did something else than to answer normally
  std::string address{};    // to which the latest one went, "127.0.0.1"
  std::string accepting{};  // the name of the latest file that was accepted
};

struct Seen {
  std::time_t now = 0;  // gateway time
  double elapsed =
      0;  // gateway seconds since the start of the bench; a step of the clock does not count
  double real = 0;  // real seconds, from any fixed moment on
  FileCounts total{};
  std::map<std::string, FileCounts> kinds{};          // "realdata", "alarmdata", "calldata"
  std::map<std::string, ExchangeCounts> exchanges{};  // by endpoint, "authorize" … "calldata"
  bool serviceRuns = false;
  int serviceRestarts = 0;    // since the start of the bench
  std::string verdictCode{};  // of brennik-status, "BRN-…"; empty when all is well
  // Whether the service's logs have a record with this text of `since` (gateway time) or later. May
  // be empty.
  std::function<bool(std::string_view text, std::time_t since)> logged{};
};

}  // namespace console
