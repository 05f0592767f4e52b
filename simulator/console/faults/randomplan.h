// Which faults come in a random run.
#pragma once

#include <cstdint>
#include <optional>
#include <random>

#include "console/faults/fault.h"

namespace console {

// Draws faults with their parameters. The same seed gives the same sequence, on every machine.
class RandomPlan {
 public:
  struct Draw {
    const Fault* fault = nullptr;
    FaultParams params{};
    double pause = 0;  // gateway seconds before it begins
  };

  explicit RandomPlan(std::uint32_t seed);
  // The next one; the last one stays the next until it is taken.
  const Draw& Next() const { return m_next; }
  void Take() { m_next = Make(); }

 private:
  Draw Make();
  std::size_t Below(std::size_t count);  // a number from 0 on

  std::mt19937 m_numbers;
  std::vector<const Fault*> m_faults{};
  Draw m_next{};
};

}  // namespace console
