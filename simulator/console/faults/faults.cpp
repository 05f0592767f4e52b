#include "console/faults/faults.h"

#include <algorithm>
#include <mutex>

namespace console {

namespace {

constexpr double kLeastRealSeconds = 6;  // of a fault: what comes of it is seen about every second
constexpr std::size_t kMostRuns = 500;
constexpr double kSecondsInMinute = 60;

}  // namespace

Faults::Faults(Actions& actions) : m_actions(actions) {
  Show();
}

void Faults::Look(const Seen& seen) {
  const std::unique_lock lock(m_mutex, std::try_to_lock);
  if (!lock.owns_lock()) return;
  m_seen = seen;
  for (FaultRun& run : m_runs) run.Look(seen, m_actions);
  GoOnAtRandom();
  ForgetOldRuns();
  Show();
}

int Faults::Start(const std::string& name, const FaultParams& params, double seconds) {
  const std::lock_guard lock(m_mutex);
  const Fault* const fault = FindFault(name);
  if (fault == nullptr) throw std::invalid_argument("there is no fault '" + name + "'");
  const int run = Begin(*fault, params, seconds);
  Show();
  return run;
}

int Faults::Begin(const Fault& fault, const FaultParams& params, double seconds) {
  if (const std::string reason = m_actions.WhyNot(fault.name); !reason.empty())
    throw Refused(reason);
  for (const FaultRun& run : m_runs) {
    if (!run.Over() && Collide(fault, params, run.What(), run.Params())) {
      const bool isActive = run.Now() == FaultRun::State::kActive;
      throw Refused("it disturbs the same as '" + run.What().title + "', which " +
                    (isActive ? "is active" : "is not put right yet"));
    }
  }
  const double speed = params.contains("factor") ? static_cast<double>(NumberOf(params, "factor"))
                                                 : m_actions.Speed();
  const double least = std::max(seconds, kLeastRealSeconds * speed);
  try {
    m_runs.emplace_back(m_latest + 1, fault, params, least, m_seen, m_actions);
  } catch (const std::exception& error) {
    throw Refused(std::string("it cannot begin: ") + error.what());
  }
  return ++m_latest;
}

bool Faults::Stop(int number) {
  const std::lock_guard lock(m_mutex);
  return StopOne([number](const FaultRun& run) { return run.Id() == number; });
}

bool Faults::Stop(const std::string& name, const FaultParams& params) {
  const std::lock_guard lock(m_mutex);
  return StopOne(
      [&](const FaultRun& run) { return run.What().name == name && run.Params() == params; });
}

bool Faults::StopOne(const std::function<bool(const FaultRun&)>& isMeant) {
  const auto run = std::ranges::find_if(m_runs, [&](const FaultRun& each) {
    return each.Now() == FaultRun::State::kActive && isMeant(each);
  });
  if (run == m_runs.end()) return false;
  run->Stop(m_seen, m_actions);
  Show();
  return true;
}

void Faults::AllOff() {
  const std::lock_guard lock(m_mutex);
  m_random.reset();
  // The latest first: a fault may have begun on top of another one.
  std::for_each(m_runs.rbegin(), m_runs.rend(),
                [&](FaultRun& run) { run.Stop(m_seen, m_actions); });
  Show();
}

void Faults::StartRandom(double minutes, std::uint32_t seed) {
  const std::lock_guard lock(m_mutex);
  if (m_random) throw Refused("random faults run already");
  m_random = Random{.plan = RandomPlan(seed),
                    .seed = seed,
                    .until = m_seen.elapsed + minutes * kSecondsInMinute,
                    .next = m_seen.elapsed};
  m_latestRandom = RandomStart{.seed = seed, .minutes = minutes, .started = m_seen.now};
  Show();
}

// What others need is undisturbed also while a fault heals.
bool Faults::FitsNow(const Fault& fault, const FaultParams& params) const {
  return std::ranges::all_of(m_runs, [&](const FaultRun& run) {
    return run.Now() == FaultRun::State::kEnded ||
           FitTogether(fault, params, run.What(), run.Params());
  });
}

// Begins the fault that was drawn as soon as it fits together with the others. One that would not
// be over in time, or that cannot be had, is left out.
void Faults::GoOnAtRandom() {
  if (!m_random) return;
  if (m_seen.elapsed >= m_random->until) return m_random.reset();
  const RandomPlan::Draw& draw = m_random->plan.Next();
  const auto seconds = static_cast<double>(draw.fault->seconds);
  const bool isPossible =
      m_seen.elapsed + seconds <= m_random->until && m_actions.WhyNot(draw.fault->name).empty();
  if (!isPossible) return m_random->plan.Take();
  if (m_seen.elapsed < m_random->next + draw.pause || !FitsNow(*draw.fault, draw.params)) return;
  try {
    Begin(*draw.fault, draw.params, seconds);
  } catch (const std::exception&) {
    return;  // a program may be about to start: the next look tries again
  }
  m_random->next = m_seen.elapsed;
  m_random->plan.Take();
}

void Faults::ForgetOldRuns() {
  while (m_runs.size() > kMostRuns && m_runs.front().Now() == FaultRun::State::kEnded)
    m_runs.pop_front();
}

std::vector<Faults::Band> Faults::Bands(std::time_t from, std::time_t to) const {
  const std::lock_guard lock(m_mutex);
  std::vector<Band> bands;
  for (const FaultRun& run : m_runs) {
    const std::optional<std::time_t> over = run.Over();
    if (run.Begun() <= to && over.value_or(from) >= from) {
      bands.push_back({.title = run.What().title, .from = run.Begun(), .to = over});
    }
  }
  return bands;
}

}  // namespace console
