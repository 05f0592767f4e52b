// What has arrived at the cloud.
#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace console {

// One upload as the cloud received it, accepted or not.
struct Arrival {
  long id;           // in the cloud's index, rising
  std::string kind;  // "realdata", "alarmdata", "calldata"
  std::string name;  // base name of the file: "S20261122040000.tar.gz"
  bool accepted;
  std::time_t time;       // gateway time
  int points;             // in the document
  std::string verdict{};  // in the cloud's words: "refused", "faulty: …"; empty: unknown
};

// Gives the arrivals whose id is greater, the oldest first. It may give only some of them: the
// watch asks again.
using ArrivalsAfter = std::function<std::vector<Arrival>(long afterId)>;

// The document that arrived with an upload, as JSON text. Empty when there is none.
using DocumentOf = std::function<std::string(long uploadId)>;

}  // namespace console
