// The console's parts that stand above the bench, put together.
#pragma once

#include <memory>
#include <string>

#include "console/bench/clock.h"
#include "console/bench/processes.h"
#include "console/faults/actions.h"
#include "console/faults/faults.h"
#include "console/main/options.h"
#include "console/uploads/uploads.h"
#include "console/watch/watcher.h"
#include "console/web/router.h"

namespace console {

// A new part is a member here, and a line in each function.
class Parts {
 public:
  // Clock and processes must outlive the object. Made before any program of the gateway prints.
  Parts(Clock& clock, Processes& processes, const Options& options);
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  void AddRoutes(Router& router);
  void WriteState(JsonWriter& json);  // any thread
  void Look();                        // one thread, about twice a second
  // What to record of an accepted call, so that it can be played again. Any thread.
  std::string Lasting(const std::string& path, const std::string& json) const;
  // Puts all faults right. To be called before the programs of the gateway end.
  void EndFaults();
  // How many exchanges of an endpoint the cloud has accepted.
  long Accepted(const std::string& endpoint);

 private:
  Seen SeenByFaults();

  const Clock& m_clock;
  const Processes& m_processes;
  Uploads m_uploads;
  const std::unique_ptr<Actions> m_actions;
  Faults m_faults;
  Watcher m_watcher;  // last: it looks at the others
};

}  // namespace console
