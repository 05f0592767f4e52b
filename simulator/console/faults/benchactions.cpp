#include "console/faults/benchactions.h"

#include <stdexcept>

#include "util/paths.h"

namespace console {

namespace {

constexpr unsigned long long kLargestSandboxCard = 256ULL << 20;

constexpr char kCloud[] = "cloud";
constexpr char kAcquisition[] = "acquisition";

}  // namespace

BenchActions::BenchActions(Processes& processes, Clock& clock, const std::string& cloudSocket,
                           const std::string& acquisitionSocket)
    : m_processes(processes),
      m_clock(clock),
      m_cloud(cloudSocket),
      m_acquisition(acquisitionSocket),
      m_card({.mount = paths::kCardMount, .device = paths::kCardDevice, .ledger = paths::kLedger}) {
}

std::string BenchActions::Cloud(const std::string& order) {
  return Order(m_cloud, kCloud, "the cloud", order);
}

std::string BenchActions::Acquisition(const std::string& order) {
  return Order(m_acquisition, kAcquisition, "the acquisition side", order);
}

std::string BenchActions::Order(const program::ControlClient& client, const std::string& process,
                                const std::string& who, const std::string& order) const {
  if (!m_processes.State(process).running) throw std::runtime_error(who + " does not run");
  const program::ControlAnswer answer = client.Call(order);
  if (!answer.ok) throw std::runtime_error(who + ": " + answer.error);
  return answer.line;
}

void BenchActions::Start(const std::string& process) {
  m_processes.Start(process);
}

void BenchActions::Stop(const std::string& process) {
  m_processes.Stop(process);
}

void BenchActions::Kill(const std::string& process) {
  m_processes.Kill(process);
}

double BenchActions::Speed() {
  return m_clock.Speed();
}

void BenchActions::SetSpeed(double factor) {
  m_clock.SetSpeed(factor);
}

void BenchActions::Step(long seconds) {
  m_clock.Step(seconds);
}

std::time_t BenchActions::Now() {
  return m_clock.Now();
}

std::string BenchActions::WhyNot(const std::string& fault) {
  if (fault == "fill-card" && m_card.TotalBytes() > kLargestSandboxCard) {
    return "the card is kept on this machine's disk, which must not be filled";
  }
  return {};
}

}  // namespace console
