// The results by which health is judged, and when they are bad.
#include <algorithm>

#include "judge/links.h"
#include "judge/verdict.h"

namespace status {
namespace {

// A round of uploads sends so many files, 3 s apart, and begins at a multiple of FailInterval.
constexpr long kFilesARound = 20;
constexpr long kRoundSeconds = 60;

constexpr double kLeastWarningAge = 600;
constexpr double kLeastCriticalAge = 3600;
constexpr double kWarningPending = 100;
constexpr long kDefaultRealDataInterval = 300;
constexpr long kDefaultFailInterval = 60;

// How long the uploads take until nothing is pending, while new files come.
std::optional<long> CatchUp(std::size_t pending, const Intervals& intervals) {
  if (pending == 0) return 0;
  if (intervals.fail < 1) return std::nullopt;
  const long period = intervals.fail * (kRoundSeconds / intervals.fail + 1);
  const double sent = static_cast<double>(kFilesARound) / static_cast<double>(period);
  const double made = intervals.realData < 1 ? 0 : 1.0 / static_cast<double>(intervals.realData);
  if (sent <= made) return std::nullopt;
  return static_cast<long>(static_cast<double>(pending) / (sent - made)) + period;
}

const char* WhyUnreadable(const Ledger& ledger) {
  switch (ledger.state) {
    case LedgerState::kGood:
      return "no file was ever accepted";
    case LedgerState::kMissing:
      return "there is no ledger";
    case LedgerState::kForeign:
    case LedgerState::kNoTable:
    case LedgerState::kDamaged:
      return "the ledger cannot be used";
    case LedgerState::kBusy:
      return "another program holds the ledger's lock";
    case LedgerState::kUnfinished:
      return "an unfinished write waits for the service";
    case LedgerState::kUnreadable:
      break;
  }
  return "the ledger cannot be read";
}

}  // namespace

Intervals IntervalsOf(const Facts& facts) {
  if (facts.logs.intervals) {
    return {facts.logs.intervals->realDataInv, facts.logs.intervals->checkFailInv};
  }
  if (facts.configuration.starts) {
    return {facts.configuration.cloud.RealDataInv, facts.configuration.cloud.CheckFailInv};
  }
  return {kDefaultRealDataInterval, kDefaultFailInterval};
}

Thresholds InForce(const Thresholds& wanted, const Facts& facts) {
  const Intervals intervals = IntervalsOf(facts);
  const double cycle = static_cast<double>(std::max(intervals.realData, 0L) + 3 * intervals.fail);
  const double warning = std::max(kLeastWarningAge, cycle);
  Thresholds all = wanted;
  if (!all.warningAge) all.warningAge = Range::Above(warning);
  if (!all.criticalAge) all.criticalAge = Range::Above(std::max(kLeastCriticalAge, 3 * warning));
  if (!all.warningPending) all.warningPending = Range::Above(kWarningPending);
  return all;
}

Results ResultsOf(const Facts& facts) {
  Results results;
  results.reason = WhyUnreadable(facts.ledger);
  if (facts.ledger.state != LedgerState::kGood) return results;
  const auto age = [&](const LedgerRow& row) {
    return std::max<long>(0, static_cast<long>(facts.now - *row.stamp));
  };
  if (facts.newestAcceptedByNow) results.newestAcceptedAge = age(*facts.newestAcceptedByNow);
  results.pending = facts.ledger.all.pending;
  results.oldestPendingAge = 0;
  if (facts.ledger.all.oldestPending)
    results.oldestPendingAge = age(*facts.ledger.all.oldestPending);
  results.catchUpSeconds = CatchUp(facts.ledger.all.pending, IntervalsOf(facts));
  return results;
}

}  // namespace status
