// Start-up: the configuration files and the workers' intervals.
#pragma once

#include "config/sysrecords.h"

// Reads the three configuration files and fills the intervals: -1 each when the service is switched
// off. Returns 0; -1, with an ERROR line, for a null pointer or a file that cannot be parsed. On
// the main thread, before any worker starts.
int Init(Interval_Info* intervals);
