// Owns what the acquisition side can be told to do wrong while it runs, and the orders that tell it
// over its control socket (program/control.h):
//
//   {"do":"pause"}                      the values stop changing; nothing is recorded
//   {"do":"empty"}                      the segment's count word is 0
//   {"do":"leave-out","data_id":N}      this point has no record; without "data_id" the first one
//   {"do":"burst","events":N}           records the latest N alarms of the past day at once
//   {"do":"normal"}                     ends the first three
//   {"do":"state"}                      {"ok":true,"paused":false,"empty":false,"left_out":null,
//                                        "points":429}
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "acquisition/segment.h"
#include "program/control.h"
#include "util/mutex.h"

// How the segment differs from a healthy one.
struct Trouble {
  bool paused = false;                     // nothing is written
  bool empty = false;                      // no record counts
  std::optional<std::uint32_t> leftOut{};  // the identifier of a point without a record

  bool operator==(const Trouble&) const = default;
};

// What stands in the segment of a plant with these points.
std::vector<SegmentPoint> Published(std::vector<SegmentPoint> points, const Trouble& trouble);

// Takes orders on one thread and gives them to the thread that publishes. Every thread may call it.
class Conduct {
 public:
  // `dataIds` are those of all points, in the segment's order.
  explicit Conduct(std::vector<std::uint32_t> dataIds) : m_dataIds(std::move(dataIds)) {}

  // Carries out one order. Throws std::invalid_argument when it makes no sense; nothing has changed
  // then.
  void CarryOut(const rapidjson::Value& order, program::ControlWriter& answer);

  Trouble Current() const;
  // How many events are to be recorded at once; 0 afterwards.
  std::size_t TakeBurst();

 private:
  void LeaveOut(const rapidjson::Value& order);
  void WriteState(program::ControlWriter& answer) const;

  const std::vector<std::uint32_t> m_dataIds;
  mutable util::Mutex m_mutex;
  Trouble m_trouble;        // guarded by m_mutex
  std::size_t m_burst = 0;  // guarded by m_mutex
};
