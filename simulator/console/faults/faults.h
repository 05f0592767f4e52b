// The faults of the bench: what can be tried, what is active, and how it ended.
#pragma once

#include <functional>
#include <list>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "console/faults/actions.h"
#include "console/faults/faultrun.h"
#include "console/faults/randomplan.h"
#include "console/faults/seen.h"
#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// Begins faults, lets each expire by itself, and judges it. Any thread may call; a call may take as
// long as the action of a fault, some seconds at most.
class Faults {
 public:
  // The actions must outlive the object.
  explicit Faults(Actions& actions);

  // Adds /api/faults and what is below it.
  void AddRoutes(Router& router);
  // The member "faults", as the latest look or call left it. Never waits for an action.
  void WriteState(JsonWriter& json) const;

  // What to record of an accepted call with this body: a run's number becomes the fault that it
  // is, because the next time it may have another number.
  std::string Lasting(const std::string& path, const std::string& body) const;

  // Takes the latest look and lets the runs go on; does nothing while a call is under way. Called
  // about twice a second by one thread.
  void Look(const Seen& seen);

  // Begins a fault for so many gateway seconds, and gives its number. Throws std::invalid_argument
  // with a sentence when there is no such fault or a parameter does not fit; Refused when it cannot
  // be had here or now.
  struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
  };
  int Start(const std::string& name, const FaultParams& params, double seconds);
  // False when no such run is active. A fault with the same parameters is active only once.
  bool Stop(int number);
  bool Stop(const std::string& name, const FaultParams& params);
  // Ends all runs, and the random faults. What cannot be put right now is tried again at every
  // look.
  void AllOff();
  void StartRandom(double minutes, std::uint32_t seed);

  // When a fault disturbed, for the trace of a file. No end: it still does.
  struct Band {
    std::string title{};
    std::time_t from = 0;
    std::optional<std::time_t> to{};
  };
  std::vector<Band> Bands(std::time_t from, std::time_t to) const;

 private:
  struct Random {
    RandomPlan plan;
    std::uint32_t seed = 0;
    double until = 0;  // on Seen::elapsed
    double next = 0;   // not before, on Seen::elapsed
  };
  // What it takes to repeat a random run.
  struct RandomStart {
    std::uint32_t seed = 0;
    double minutes = 0;
    std::time_t started = 0;
  };

  // All called with the mutex held.
  bool StopOne(const std::function<bool(const FaultRun&)>& isMeant);
  int Begin(const Fault& fault, const FaultParams& params, double seconds);
  void GoOnAtRandom();
  void Show();
  bool FitsNow(const Fault& fault, const FaultParams& params) const;
  void ForgetOldRuns();
  void WriteRun(JsonWriter& json, int number) const;
  void WriteRuns(JsonWriter& json, const char* key, bool ended) const;
  void WriteRandom(JsonWriter& json) const;
  void WriteLatestRandom(JsonWriter& json) const;
  void WriteMembers(JsonWriter& json) const;
  void WriteFault(JsonWriter& json, const Fault& fault) const;
  void WriteReport(JsonWriter& json) const;

  Reply AnswerStart(const Call& call);
  Reply AnswerStop(const Call& call);
  Reply AnswerRandom(const Call& call);
  Reply AnswerCatalogue() const;
  Reply AnswerReport() const;

  Actions& m_actions;
  mutable util::Mutex m_mutex{};  // guards all below, and the use of the actions
  Seen m_seen{};
  std::list<FaultRun> m_runs{};  // the oldest first
  int m_latest = 0;              // number of the latest run
  std::optional<Random> m_random{};
  std::optional<RandomStart> m_latestRandom{};  // stays when it is over
  mutable util::Mutex m_shownMutex{};           // guards the text; taken for a moment only
  std::string m_shown{};                        // the finished JSON of WriteState
};

}  // namespace console
