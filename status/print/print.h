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

// Schema 1, documented in docs/interfaces.md. Only additions within a schema. Valid UTF-8 whatever
// the facts hold.
std::string JsonText(const Facts& facts, const Verdict& verdict);

// Prometheus text format 0.0.4, documented in docs/interfaces.md. What is unknown is left out.
std::string MetricsText(const Facts& facts, const Verdict& verdict);
// Writes the text to the file with mode 0644, so that a reader sees the old text or the whole new
// one: to a temporary file beside it, whose name does not end in ".prom", which then takes its
// name. Returns the exit status: 0, or 1 with a message on standard error; the file is then as it
// was. Only a regular file is replaced.
int WriteMetrics(const std::string& file, const std::string& text);

}  // namespace status
