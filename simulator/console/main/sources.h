// What the watch and the faults get from the other parts.
#pragma once

#include "console/bench/clock.h"
#include "console/bench/processes.h"
#include "console/faults/faults.h"
#include "console/faults/seen.h"
#include "console/main/options.h"
#include "console/uploads/uploads.h"
#include "console/watch/watcher.h"

namespace console {

// All must outlive the watch.
WatchSources SourcesOf(const Clock& clock, const Processes& processes, Uploads& uploads,
                       const Faults& faults, const Options& options);

// What the watch sees, for the faults. Members that the watch does not have stay as they are.
void TakeSight(const Sight& sight, Seen* seen);
void TakeTally(CloudTally& tally, Seen* seen);

}  // namespace console
