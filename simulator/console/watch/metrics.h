// The figures of the watch for Prometheus.
#pragma once

#include <string>

#include "console/watch/account.h"
#include "console/watch/accounttext.h"
#include "console/watch/scene.h"
#include "console/watch/verdicts.h"

namespace console {

// What the metrics are made from.
struct MetricFacts {
  const Account& account;
  const Scene& scene;
  const Witness& witness;
  const StatusSight& status;
  bool agree = true;
};

// Text format 0.0.4. What is unknown is left out.
std::string BenchMetrics(const MetricFacts& facts);

inline constexpr char kMetricsType[] = "text/plain; version=0.0.4; charset=utf-8";

}  // namespace console
