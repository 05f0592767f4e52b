#include <cstdio>

#include "judge/verdict.h"
#include "main/commands.h"
#include "print/print.h"

namespace status {
namespace {

std::optional<Range> RangeOf(const std::string& text) {
  if (text.empty()) return std::nullopt;
  return Range::Parse(text);
}

}  // namespace

Thresholds ThresholdsOf(const Options& options) {
  return {.warningAge = RangeOf(options.warningAge),
          .criticalAge = RangeOf(options.criticalAge),
          .warningPending = RangeOf(options.warningPending),
          .criticalPending = RangeOf(options.criticalPending),
          .graceSeconds = options.grace};
}

int ShowVerdict(const Options& options) {
  const Facts facts = CollectFacts(Place(options.root));
  const Thresholds thresholds = ThresholdsOf(options);
  const Verdict verdict = Judge(facts, thresholds);
  if (options.metrics) {
    const std::string text = MetricsText(facts, verdict);
    if (!options.metricsFile.empty()) return WriteMetrics(options.metricsFile, text);
    std::fputs(text.c_str(), stdout);
    return 0;
  }
  if (options.json) {
    std::fputs(JsonText(facts, verdict).c_str(), stdout);
    return 0;
  }
  std::fputs(options.monitor ? MonitorText(facts, verdict, thresholds).c_str()
                             : VerdictText(facts, verdict, Terminal::OfStandardOutput()).c_str(),
             stdout);
  return static_cast<int>(verdict.level);
}

}  // namespace status
