// A worker on the test's own thread, with a plant, a segment, a ledger and a cloud around it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "support/clock.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "support/rawserver.h"

namespace test {

// The plant's two points, on channel 1 at address 3; the same in every test of this executable.
inline constexpr std::uint32_t kLevel = 0x0103004D;
inline constexpr std::uint32_t kFlow = 0x0103004E;

// The cloud's answers.
std::string Granted();
std::string Refused();
std::string Accepted();
std::string Rejected();

// Runs a worker until its n-th pause.
using Worker = void* (*)(void*);
void RunToPause(Worker worker, std::int32_t& interval, int n);
// Runs a worker until the hook ends it.
void RunToItsEnd(Worker worker, std::int32_t& interval);

// The pauses so far, in seconds: "110 0.1 0.5 1 299".
std::string PausesText();

// The ledger's rows: name -> "type result".
using Ledger = std::map<std::string, std::string>;
Ledger ReadLedger();

// What it is for: every test of a worker. The tree stands on the card, the plant is configured, the
// cloud listens, nobody has published a value, and no pause is recorded.
class WorkerTest : public GatewayTest {
 protected:
  void SetUp() override;

  // Records a data file in the ledger, pending, and writes its content.
  static void AddFile(const std::string& name, std::int32_t type = 2);
  // The names of the files that reached an endpoint, in order.
  std::vector<std::string> Uploaded(const std::string& endpoint) const;
  // The paths of all requests, in order.
  std::vector<std::string> Requested() const;

  RawServer m_cloud;
};

}  // namespace test
