#include "console/main/gatewayactions.h"

#include <chrono>
#include <stdexcept>
#include <vector>

#include "console/bench/child.h"
#include "console/main/gateway.h"

namespace console {
namespace {

constexpr char kCardScript[] = "/usr/lib/gateway/card";  // of simulator/gateway/root
constexpr std::chrono::seconds kCardWithin{30};

void MoveCard(const std::string& way) {
  Child script(std::vector<std::string>{kCardScript, way}, {});
  const auto end = script.Await(kCardWithin);
  if (end && end->IsGood()) return;
  std::string said;
  script.TakeLines([&](const std::string& line) { said += ": " + line; });
  throw std::runtime_error("the card cannot be " + way + said);
}

}  // namespace

void GatewayActions::PullCard() {
  MoveCard("pulled");
}

void GatewayActions::PutCard() {
  MoveCard("inserted");
}

std::string GatewayActions::WhyNot(const std::string& fault) {
  if (fault == "speed") return "the booted gateway runs in real time";
  if (fault == "power-cut") {
    return "the console runs on this gateway and would end with it; scripts/gateway-vm --check "
           "reboot starts a gateway anew with its card";
  }
  return BenchActions::WhyNot(fault);
}

std::unique_ptr<Actions> MakeActions(Processes& processes, Clock& clock, const Options& options) {
  const BenchPaths paths(options.folder);
  if (options.onGateway) {
    return std::make_unique<GatewayActions>(processes, clock, paths.cloudControl,
                                            paths.acquisitionControl);
  }
  return std::make_unique<BenchActions>(processes, clock, paths.cloudControl,
                                        paths.acquisitionControl);
}

}  // namespace console
