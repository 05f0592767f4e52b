// The judge: from facts to findings. Health is judged by results (is the newest accepted file young
// enough, are old files pending, will the rest be caught up), never by counts of errors.
#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>

#include "collect/facts.h"
#include "judge/finding.h"
#include "judge/range.h"

namespace status {

// When a result is bad. A missing range has the default, which follows the intervals in force.
struct Thresholds {
  std::optional<Range> warningAge;  // age of the newest accepted file, seconds
  std::optional<Range> criticalAge;
  std::optional<Range> warningPending;  // pending files
  std::optional<Range> criticalPending;
  long graceSeconds = 300;  // after a start, for "no accepted file yet" and "too old"
};

// The thresholds with the defaults filled in. There is no default for criticalPending.
Thresholds InForce(const Thresholds& wanted, const Facts& facts);

// Results by which health is judged.
struct Results {
  std::optional<long> newestAcceptedAge;  // seconds; none: no accepted file or no readable ledger
  std::optional<long> oldestPendingAge;   // seconds; 0 when nothing is pending
  std::optional<std::size_t> pending;
  std::string reason;                  // why the ones that are missing are unknown
  std::optional<long> catchUpSeconds;  // until nothing is pending; none: never or unknown
};
Results ResultsOf(const Facts& facts);

// The verdict. Facts of a copy are judged without the card, the process and the segment.
Verdict Judge(const Facts& facts, const Thresholds& thresholds);

}  // namespace status
