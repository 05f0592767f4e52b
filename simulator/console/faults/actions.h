// What a fault can do to the bench. Tests record it, benchactions.h does it.
#pragma once

#include <ctime>
#include <string>

namespace console {

// Each function throws std::exception with a sentence when it cannot do its work. What it undoes
// may be undone already. One thread at a time calls.
class Actions {
 public:
  virtual ~Actions() = default;

  // One order, a JSON object, to the cloud's or the acquisition side's control socket. Gives the
  // answer, which says "ok":true; any other one throws.
  virtual std::string Cloud(const std::string& order) = 0;
  virtual std::string Acquisition(const std::string& order) = 0;

  // Processes, by the names "service", "acquisition", "cloud". Kill leaves no child of it; a killed
  // one is started again by its supervisor as long as it restarts.
  virtual void Start(const std::string& process) = 0;
  virtual void Stop(const std::string& process) = 0;
  virtual void Kill(const std::string& process) = 0;

  // The gateway's clock.
  virtual double Speed() = 0;
  virtual void SetSpeed(double factor) = 0;
  virtual void Step(long seconds) = 0;
  virtual std::time_t Now() = 0;

  // The card.
  virtual void LockLedger() = 0;  // with an exclusive lock of SQLite
  virtual void UnlockLedger() = 0;
  virtual void FillCard() = 0;   // to the last byte; again when some room has come up
  virtual void EmptyCard() = 0;  // removes what FillCard wrote
  virtual void PullCard() = 0;   // device and tree go away
  virtual void PutCard() = 0;    // both come back

  // Why a fault cannot be had here, one sentence; empty when it can.
  virtual std::string WhyNot(const std::string& fault) = 0;
};

}  // namespace console
