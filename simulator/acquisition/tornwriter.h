// Owns a writer that never pauses, so that readers of the segment get torn values.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

#include "acquisition/segment.h"

// The points that are to stand in the segment at a Unix time, always the same ones in one order.
using PointsAt = std::function<std::vector<SegmentPoint>(std::int64_t unixSeconds)>;

// Rewrites every record of a segment as fast as it can, in turn with the values of the current
// second and of the next one. A reader finds records of both, and values whose two halves come from
// different ones. While it lives, nobody else may write the segment. It holds its writing thread
// and an attachment of its own.
class TornWriter {
 public:
  // Starts writing. The writing thread calls `pointsAt` whenever a second begins.
  TornWriter(const Segment& segment, PointsAt pointsAt);
  ~TornWriter() = default;
  TornWriter(const TornWriter&) = delete;
  TornWriter& operator=(const TornWriter&) = delete;

  // How often the whole table has been rewritten so far.
  std::uint64_t Rounds() const { return m_rounds; }

 private:
  void Run(const std::stop_token& stop);

  PointsAt m_pointsAt;
  std::size_t m_bytes;
  SegmentWords m_words;
  std::atomic<std::uint64_t> m_rounds = 0;
  std::jthread m_thread;  // last: it uses the others, and is stopped and joined before they go
};
