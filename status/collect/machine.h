// The card, the process and the live-value segment of the machine.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>

#include "collect/fact.h"
#include "collect/place.h"

namespace status {

struct Space {
  std::uint64_t freeBytes;
  std::uint64_t totalBytes;
  std::uint64_t freeInodes;
  std::uint64_t totalInodes;  // 0: the file system does not count them
};

struct Card {
  Fact<bool> device;    // the card's device exists, of whatever kind
  Fact<bool> mounted;   // anything is mounted at the card's path
  Fact<bool> readOnly;  // the mount refuses writes
  Fact<Space> space;
};
Card LookAtCard(const Place& place);

// The service's process id, 0 when it does not run.
Fact<pid_t> FindService(const Place& place);

// The live values that the acquisition side publishes now: DataId -> value. Unknown, with the
// reason, when there is no usable segment or it cannot be looked at.
struct Segment {
  Fact<bool> present;  // there is a segment
  Fact<std::map<std::uint32_t, double>> values;
};
Segment LookAtSegment(const Place& place);

}  // namespace status
