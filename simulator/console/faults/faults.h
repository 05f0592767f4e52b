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

// Begins faults, lets each expire by itself, and judges it. Any thread may call. What begins or
// ends a fault takes as long as its action, some seconds at most; what only tells never waits for
// one.
class Faults {
 public:
  // The actions must outlive the object.
  explicit Faults(Actions& actions);

  // Adds /api/faults and what is below it.
  void AddRoutes(Router& router);
  // The member "faults", as the latest look or call left it.
  void WriteState(JsonWriter& json) const;
  // How many faults are active or heal, likewise.
  long Active() const;

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
  // Puts the clock back that was stepped or got another speed without a fault. Throws
  // std::exception with a sentence.
  void RestoreClock();
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

  // What is told of the faults, finished.
  struct Shown {
    std::string state{};   // JSON
    std::string report{};  // JSON
    std::vector<Band> bands{};
    long active = 0;
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
  long CountEnded() const;
  void WriteMembers(JsonWriter& json) const;
  std::string Catalogue() const;
  void WriteFault(JsonWriter& json, const Fault& fault) const;
  void WriteReport(JsonWriter& json) const;
  static Band BandOf(const FaultRun& run);

  Reply AnswerStart(const Call& call);
  Reply AnswerStop(const Call& call);
  Reply AnswerOff();
  Reply AnswerRandom(const Call& call);
  Reply AnswerCatalogue() const;
  Reply AnswerReport() const;

  Actions& m_actions;
  const std::string m_catalogue;  // JSON
  mutable util::Mutex m_mutex{};  // guards all below, and the use of the actions
  Seen m_seen{};
  std::list<FaultRun> m_runs{};  // the oldest first
  long m_forgotten = 0;          // runs that are no longer kept
  int m_latest = 0;              // number of the latest run
  std::optional<Random> m_random{};
  std::optional<RandomStart> m_latestRandom{};  // stays when it is over
  mutable util::Mutex m_shownMutex{};           // guards the last one; taken for a moment only
  Shown m_shown{};
};

// The member "expectation_texts".
void WriteExpectationTexts(JsonWriter& json, const std::vector<Expectation>& expectations);

}  // namespace console
