// A worker on the test's own thread, with a plant, a segment, a ledger and a cloud around it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/clock.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "support/rawserver.h"

namespace test {

// The plant's two points, on channel 1 at address 3.
inline constexpr std::uint32_t kLevel = 0x0103004D;
inline constexpr std::uint32_t kFlow = 0x0103004E;

// Answers of the cloud: to the login, and to an upload.
std::string Granted();
std::string Refused();
std::string Accepted();
std::string Rejected();

using Worker = void* (*)(void*);
using Actions = std::vector<std::function<void()>>;

// A rest is a sleep of at least ten seconds: a worker's wait for its next cycle. Runs the worker
// and does one action after each of its rests; the worker ends after the last.
void RunThroughRests(Worker worker, std::int32_t& interval, Actions actions);
// Runs the worker until the end of its n-th rest.
void RunToRest(Worker worker, std::int32_t& interval, int n);
// Does the action after the worker's n-th pause, however short, and ends it there.
void RunToPause(Worker worker, std::int32_t& interval, int n, std::function<void()> action);

// The pauses so far, in seconds: "110 0.1 0.5 1 299".
std::string PausesText();

// The ledger's rows: name -> "type result".
using Ledger = std::map<std::string, std::string>;
Ledger ReadLedger();

// Every test of a worker: the tree is on the card, the plant is configured, the cloud listens.
// There are no live values, no ledger and no log records. The time is 12:00:10.
class WorkerTest : public GatewayTest {
 protected:
  void SetUp() override;

  // Writes a data file and records it in the ledger as pending.
  static void AddFile(const std::string& name, std::int32_t type = 2);
  // The base names of the files that reached the cloud, in order.
  std::vector<std::string> Uploaded() const;
  // The last parts of the URLs of all requests, in order: "EqpAuthorize".
  std::vector<std::string> Requested() const;

  RawServer m_cloud;
};

}  // namespace test
