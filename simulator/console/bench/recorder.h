// Records what a person does on the page as a scenario file.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "console/bench/clock.h"
#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// Keeps the last accepted call as a curl line, and while it records, all of them as the lines of a
// scenario. Any thread may call.
class Recorder {
 public:
  // What to record instead of an accepted call's JSON, so that the scenario can be played again.
  using Lasting = std::function<std::string(const std::string& path, const std::string& json)>;

  // The clock must outlive the object. `address` gives the page's address, "http://127.0.0.1:4711".
  // `start` holds the scenario lines that start the programs as they were started.
  Recorder(const Clock& clock, std::function<std::string()> address, Lasting lasting = {},
           std::string start = {});

  // An accepted POST with its JSON. Calls of /api/scenario/ are left out.
  void Note(const std::string& path, const std::string& json);

  // POST /api/scenario/record {"on":true}, GET /api/scenario/file.
  void AddRoutes(Router& router);
  // The member "scenario".
  void WriteState(JsonWriter& json) const;

 private:
  Reply Record(const Call& call);
  std::string File() const;

  const Clock& m_clock;
  const std::function<std::string()> m_address;
  const Lasting m_lasting;
  const std::string m_start;
  mutable util::Mutex m_mutex{};  // guards all below
  bool m_isRecording = false;
  double m_speed = 1;   // of the clock when the recording began
  double m_latest = 0;  // when the latest line was written, on Clock::Elapsed
  std::vector<std::string> m_lines{};
  std::string m_lastCurl{};
};

}  // namespace console
