// The figures of the watch for Prometheus.
#pragma once

#include <string>

#include "console/watch/account.h"
#include "console/watch/accounttext.h"
#include "console/watch/gapfinder.h"
#include "console/watch/scene.h"
#include "console/watch/verdicts.h"

namespace console {

// What others than the watch know.
struct BenchFigures {
  double speed = 0;  // of the gateway's clock; 0: unknown, and so is all else
  long stepped = 0;  // seconds, the sum of all steps of the clock
  long faults = 0;   // that are active or heal
  long streams = 0;  // open event streams, one a page
};

// What the metrics are made from.
struct MetricFacts {
  const Account& account;
  const Scene& scene;
  const Witness& witness;
  const StatusSight& status;
  bool agree = true;
  GapCounts gaps;
  BenchFigures bench;
};

// Text format 0.0.4. What is unknown is left out.
std::string BenchMetrics(const MetricFacts& facts);

inline constexpr char kMetricsType[] = "text/plain; version=0.0.4; charset=utf-8";

}  // namespace console
