// One run of a fault, from its begin to its verdict.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "console/faults/fault.h"
#include "console/web/router.h"

namespace console {

// A run is active until its time is over, then it heals until what should happen afterwards has
// happened, and then it has ended. One thread at a time uses it.
class FaultRun {
 public:
  enum class State { kActive, kHealing, kEnded };

  // Begins the fault. Throws what its actions throw; nothing is left behind then.
  FaultRun(int id, const Fault& fault, FaultParams params, double seconds, const Seen& seen,
           Actions& actions);

  // Ticks off what has happened, and goes on to the next state when it is time.
  void Look(const Seen& seen, Actions& actions);
  // Ends the active state now.
  void Stop(const Seen& seen, Actions& actions);

  int Id() const { return m_id; }
  const Fault& What() const { return *m_fault; }
  const FaultParams& Params() const { return m_params; }
  State Now() const { return m_state; }
  bool IsAsExpected() const { return m_verdict == "as expected"; }
  std::time_t Begun() const { return m_begun.now; }
  std::optional<std::time_t> Over() const {
    return m_over;
  }  // when it no longer disturbed; nothing while it does

  // The whole object. `seen` is the latest look.
  void Write(JsonWriter& json, const Seen& seen) const;

 private:
  struct Progress {
    Expectation expectation{};
    std::optional<std::time_t> met{};
  };

  void KeepUp(Actions& actions);
  void Heal(const Seen& seen, Actions& actions);
  void TickOff(const Seen& seen);
  void Judge(const Seen& seen);
  void End(const std::string& verdict, const std::string& text);
  bool IsThere(const Seen& seen, Actions& actions);
  bool AllMet(Phase phase) const;
  // The first one that is not met, or null.
  const Progress* Missing(bool alsoDuring) const;
  void WriteExpectations(JsonWriter& json) const;

  int m_id;
  const Fault* m_fault;
  FaultParams m_params;
  double m_until;  // on Seen::elapsed
  Seen m_begun;
  std::optional<Seen> m_healed{};  // when the fault was put right
  std::optional<std::time_t> m_over{};
  std::vector<Progress> m_progress{};
  Undo m_undo{};
  State m_state = State::kActive;
  double m_nextQuestion = 0;  // on Seen::real
  bool m_isEarly = false;     // stopped before its time, or begun for less than the fault's own
  std::string m_verdict{};    // empty before the end
  std::string m_text{};
};

}  // namespace console
