// Owns what the simulated acquisition side publishes: the segment as a healthy writer keeps it, and
// as writers that fail in one way or another leave it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "acquisition/plant.h"
#include "acquisition/segment.h"
#include "acquisition/tornwriter.h"

enum class PublishMode {
  kAll,         // every point of the plant, in ascending order of DataId
  kSubset,      // every point but the first: it has no value
  kUnknown,     // every point, and three that the plant does not have: before, among and after
  kDuplicates,  // every point, then all of them again with values kDuplicateOffset higher
  kEmpty,       // a table without records
  kOvercount,   // every point, under a count word that promises kOverpromise more
  kTiny,        // a segment too small for its own count word
  kAbsent,      // no segment at all
  kTorn,        // every point, rewritten without pause
};

inline constexpr double kDuplicateOffset = 1000;
inline constexpr std::uint32_t kOverpromise = 1'000'000;
inline constexpr std::size_t kTinyBytes = 2;

struct PublishModeText {
  PublishMode mode;
  std::string_view name;     // as the command line takes it
  std::string_view meaning;  // one line for the help
};

// Every mode, in the order of the enumeration.
const std::vector<PublishModeText>& PublishModes();

// The mode of that name, or nothing.
std::optional<PublishMode> PublishModeNamed(std::string_view name);

// The records that the mode writes for a Unix time, in segment order, with the values of signals.h.
std::vector<SegmentPoint> PublishedPoints(const Plant& plant, PublishMode mode,
                                          std::int64_t unixSeconds);

// What it is for: keeping the segment as the mode says, as long as the object is.
// Threads: one. Owns: the plant and the segment; in mode kTorn also a thread that writes.
class Publisher {
 public:
  // Publishes for the first time. Throws std::runtime_error with a readable reason when that is not
  // possible, as Segment does; in mode kAbsent when there is a segment.
  Publisher(Plant plant, PublishMode mode, StaleSegment stale = StaleSegment::kTakeOver);
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  // Brings every value to the given Unix time, in place. Mode kTorn does so by itself.
  void Refresh(std::int64_t unixSeconds);

 private:
  Plant m_plant;
  PublishMode m_mode;
  std::optional<Segment> m_segment;
  std::optional<TornWriter> m_tornWriter;  // last: it stops before its segment goes
};
