// Owns the signals of the simulated plant: the value of each point at each second. Nothing is
// random and nothing is kept: a point and a time tell which value must arrive.
#pragma once

#include <cstdint>

// The range that an analogue input or output never leaves.
struct SignalRange {
  double low = 0;
  double high = 0;
};

// The range of an AI or AO point, or of an identifier without a known type.
SignalRange AnalogRange(std::uint32_t dataId);

// The value of a point at a Unix time, in steps of 0.001. It depends on the type of the identifier:
//   AI    a sine or a sawtooth ramp within its range, with a period of 2 to 60 minutes
//   DI    0 or 1, flipping every 20 to 300 seconds
//   ACC   a counter that starts between 0 and 99 999 at the start of 2024 and never falls
//   DO    a command, 0 or 1, changed every quarter of an hour to an hour
//   AO    a setpoint, moved by steps within its range every quarter of an hour to an hour
// An identifier without a known type behaves like an AI.
double SignalValue(std::uint32_t dataId, std::int64_t unixSeconds);
