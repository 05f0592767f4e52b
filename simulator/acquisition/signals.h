// Owns the signals of the simulated plant: which value each point has at each second. Nothing is
// random and nothing is kept, so whoever knows a point and a time knows what must arrive.
#pragma once

#include <cstdint>

// What it is for: where an analogue input or output stays for ever.
struct SignalRange {
  double low = 0;
  double high = 0;
};

// The range of an analogue signal: an AI or AO point, or an identifier that carries no known type.
SignalRange AnalogRange(std::uint32_t dataId);

// The value of a point at a Unix time, on a grid of 0.001, by the type that the identifier carries:
//   AI    a sine or a sawtooth ramp within its range, with a period of 2 to 60 minutes
//   DI    0 or 1, flipping every 20 to 300 seconds
//   ACC   a counter that starts between 0 and 99 999 at the start of 2024 and never falls
//   DO    a command, 0 or 1, changed every quarter of an hour to an hour
//   AO    a setpoint, moved by steps within its range every quarter of an hour to an hour
// An identifier that carries no known type behaves like an AI.
double SignalValue(std::uint32_t dataId, std::int64_t unixSeconds);
