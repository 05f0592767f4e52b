// Printing a verdict. Each returns the whole text.
#pragma once

#include <string>

#include "collect/facts.h"
#include "judge/finding.h"
#include "judge/verdict.h"
#include "print/terminal.h"

namespace status {

// The verdict in one line, the road as a list, the findings.
std::string VerdictText(const Facts& facts, const Verdict& verdict, const Terminal& terminal);

// For monitoring systems: one line, under 80 characters up to the "|", with performance data.
std::string MonitorText(const Facts& facts, const Verdict& verdict, const Thresholds& thresholds);

// Schema 1, documented in the manual. Only additions within a schema.
std::string JsonText(const Facts& facts, const Verdict& verdict);

// Prometheus text format 0.0.4.
std::string MetricsText(const Facts& facts, const Verdict& verdict);

// Writes the metrics beside the file and renames it, mode 0644. The temporary name does not end in
// ".prom". Returns the exit status; an error goes to standard error.
int WriteMetrics(const std::string& file, const std::string& text);

}  // namespace status
