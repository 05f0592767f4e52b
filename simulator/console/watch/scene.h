// What the watch knows of the gateway at one moment, beside the account.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "collect/facts.h"
#include "console/watch/sending.h"

namespace console {

// One of the bench's programs.
struct ProcessSight {
  std::string name;  // "service", "acquisition", "cloud"
  bool running = false;
  std::time_t since = 0;  // of this state, gateway time; 0: unknown
  std::string text;       // in words: "running since …", "ended with status 1 at …"
};

struct SegmentSight {
  bool isPresent = false;
  std::string trouble;               // why there are no values; empty: there are
  std::time_t troubleSince = 0;      // first seen so, gateway time; 0: it is not so
  std::size_t published = 0;         // points with a value
  std::size_t configured = 0;        // that every file needs; 0: unknown
  std::size_t unpublished = 0;       // of these, without a value
  std::string firstUnpublished;      // its names, or empty
  std::time_t unpublishedSince = 0;  // first seen so, gateway time; 0: it is not so
  std::time_t changed = 0;           // when a value changed last, gateway time; 0: unknown
};

struct Scene {
  std::time_t now = 0;    // gateway time
  std::time_t since = 0;  // when the watch began
  status::LogFacts logs;
  std::string loggedPoint;  // names of the point that the log calls without a value, or empty
  SendingSight sending;
  status::Configuration configuration;
  SegmentSight segment;
  status::Card card;
  bool isFolderCard = false;  // the card is a folder of the machine that runs the bench
  std::string ledgerTrouble;  // why the ledger cannot be read; empty: it can
  status::LedgerState ledgerState = status::LedgerState::kMissing;
  bool hadLedger = false;  // it could be read before
  std::time_t polled = 0;  // when the cloud answered a recall check last; 0: never
  ProcessSight service;
  ProcessSight acquisition;
  ProcessSight cloud;
};

// Why the card's space is not known; empty: it is.
std::string SpaceTrouble(const Scene& scene);
// The intervals in force: those of the log, or of the configuration, or the service's defaults.
Interval_Info IntervalsOf(const Scene& scene);
// For so long, in gateway seconds, the cloud may accept nothing while everything is well.
long LongestQuietSeconds(const Scene& scene);
// The same for a file that waits among so many.
long LongestWaitSeconds(const Scene& scene, long files);

}  // namespace console
