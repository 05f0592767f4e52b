// What some hours of a busy gateway have shown, and what two runs of the same hours must share.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/ledger.h"

namespace test {

// When the cloud accepted what, by the gateway's clock.
using Arrivals = std::map<std::string, std::time_t>;

// One run. The texts are sorted.
struct Lived {
  Arrivals uploads;  // of live values by name, of events by their time, both together
  int files = 0;     // of live values
  std::vector<std::string> events;       // times
  std::map<std::string, int> exchanges;  // by endpoint
  std::vector<LedgerRow> ledger;
  std::vector<std::string> rows;   // of the ledger, with their marks
  std::vector<std::string> log;    // records of both logs, without numbers
  std::vector<std::string> paths;  // of all files and folders
  std::uint64_t waits = 0;
  std::uint64_t waitedMicroseconds = 0;
};

// Gathers what cloud, card and logs show; `accepted` has the time of each accepted upload, oldest
// first. Fails the test if something has arrived twice or a log tells of trouble with the ledger.
// Leaves the waits at 0.
Lived Collect(const cloud::Simulator& cloud, const std::map<std::size_t, std::time_t>& accepted);

// How many arrivals differ with the tool.
struct Delays {
  std::size_t missing = 0;
  std::size_t inAnotherRound = 0;
  std::size_t laterInTheirRound = 0;
};

// Fails the test unless both runs have the same arrivals in the same rounds of uploads, and no
// round takes longer with the tool. A round begins at a full minute. Within it the order may
// differ.
Delays ExpectSameRounds(const Arrivals& alone, const Arrivals& watched);
// Fails the test unless rows, records, paths and the number of exchanges are the same.
void ExpectSameTraces(const Lived& alone, const Lived& watched);

}  // namespace test
