// The part of the console that knows what has reached the cloud, put together.
#pragma once

#include <ctime>
#include <functional>
#include <string>

#include "console/uploads/alarms.h"
#include "console/uploads/cloudindex.h"
#include "console/uploads/cloudtally.h"
#include "console/uploads/plantnames.h"
#include "console/uploads/recalls.h"
#include "console/uploads/uploadroutes.h"
#include "console/web/router.h"

namespace console {

// Every thread may call it. It must outlive the router.
class Uploads {
 public:
  // The cloud's index, its control socket, and gateway time.
  Uploads(const std::string& indexFile, const std::string& cloudControl,
          const std::function<std::time_t()>& now)
      : m_index(indexFile),
        m_tally(m_index),
        m_recalls(m_index, m_names, cloudControl, now),
        m_alarms(m_index, m_names, now) {}

  // Everything below /api/uploads, /api/recalls and /api/alarms.
  void AddRoutes(Router& router) {
    AddUploadRoutes(m_index, router);
    m_recalls.AddRoutes(router);
    m_alarms.AddRoutes(router);
  }
  // The member "cloud", see CloudTally.
  void WriteState(JsonWriter& json) { m_tally.WriteState(json); }

  const CloudIndex& Index() const { return m_index; }
  CloudTally& Tally() { return m_tally; }
  Alarms& AlarmEvents() { return m_alarms; }

 private:
  const CloudIndex m_index;
  PlantNames m_names;
  CloudTally m_tally;
  Recalls m_recalls;
  Alarms m_alarms;
};

}  // namespace console
