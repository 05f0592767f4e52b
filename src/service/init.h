// Start-up: the configuration files and the workers' intervals.
#pragma once

#include "config/sysrecords.h"

// Reads the three configuration files and fills the intervals, each with -1 when the service is
// switched off. Returns 0; -1, with an ERROR line, for a null pointer or a file that cannot be
// parsed. Called on the main thread, before any worker starts.
int Init(Interval_Info* intervals);
