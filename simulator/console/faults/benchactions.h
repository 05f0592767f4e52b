// Disturbs the bench for real: its programs, its clock and its card.
#pragma once

#include <string>

#include "console/bench/clock.h"
#include "console/bench/processes.h"
#include "console/faults/actions.h"
#include "console/faults/cardactions.h"
#include "program/control.h"

namespace console {

class BenchActions : public Actions {
 public:
  // Paths of the control sockets. Processes and clock must outlive the object.
  BenchActions(Processes& processes, Clock& clock, const std::string& cloudSocket,
               const std::string& acquisitionSocket);

  std::string Cloud(const std::string& order) override;
  std::string Acquisition(const std::string& order) override;
  void Start(const std::string& process) override;
  void Stop(const std::string& process) override;
  void Kill(const std::string& process) override;
  double Speed() override;
  void SetSpeed(double factor) override;
  void Step(long seconds) override;
  std::time_t Now() override;
  void LockLedger() override { m_card.Lock(); }
  void UnlockLedger() override { m_card.Unlock(); }
  void FillCard() override { m_card.Fill(); }
  void EmptyCard() override { m_card.Empty(); }
  void PullCard() override { m_card.Pull(); }
  void PutCard() override { m_card.Put(); }
  // A card that is not a small one of the sandbox's own is this machine's disk, which no fault may
  // fill.
  std::string WhyNot(const std::string& fault) override;

 private:
  std::string Order(const program::ControlClient& client, const std::string& process,
                    const std::string& who, const std::string& order) const;

  Processes& m_processes;
  Clock& m_clock;
  program::ControlClient m_cloud;
  program::ControlClient m_acquisition;
  CardActions m_card;
};

}  // namespace console
