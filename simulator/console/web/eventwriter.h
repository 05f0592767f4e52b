// One open page's stream of events.
#pragma once

#include <httplib.h>

#include <chrono>
#include <string>

#include "console/web/eventhub.h"

namespace console {

// Writes the events of a hub, and a heartbeat in a fixed interval, the first one at once. One
// thread uses it.
class EventWriter {
 public:
  EventWriter(EventHub& events, std::chrono::milliseconds heartbeat)
      : m_stream(events), m_heartbeat(heartbeat) {}

  // Writes what there is, after a short wait when there is nothing. False when the client has gone.
  bool Write(httplib::DataSink& sink);

 private:
  EventHub::Stream m_stream;
  const std::chrono::milliseconds m_heartbeat;
  std::chrono::steady_clock::time_point m_nextHeartbeat = std::chrono::steady_clock::now();
};

}  // namespace console
