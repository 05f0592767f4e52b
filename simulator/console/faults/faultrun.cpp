#include "console/faults/faultrun.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "util/text.h"

namespace console {

namespace {

constexpr double kBetweenQuestions = 1;   // real seconds
constexpr double kLongestRealHeal = 120;  // the network's waits are in real time
constexpr double kLateEvidence =
    30;  // gateway seconds after all is well; logs are written every 5 s
constexpr double kLateRealEvidence = 4;  // real seconds; brennik-status runs every few

const char* Word(FaultRun::State state) {
  switch (state) {
    case FaultRun::State::kActive:
      return "active";
    case FaultRun::State::kHealing:
      return "healing";
    case FaultRun::State::kEnded:
      return "ended";
  }
  return "";
}

void WriteTime(JsonWriter& json, const char* key, const std::optional<std::time_t>& time) {
  json.Key(key);
  time ? json.Int64(*time) : json.Null();
}

}  // namespace

FaultRun::FaultRun(int id, const Fault& fault, FaultParams params, double seconds, const Seen& seen,
                   Actions& actions)
    : m_id(id),
      m_fault(&fault),
      m_params(std::move(params)),
      m_until(seen.elapsed + seconds),
      m_begun(seen) {
  for (Expectation& expectation : fault.expectations(m_params)) {
    m_progress.push_back({.expectation = std::move(expectation)});
  }
  m_isEarly = seconds < static_cast<double>(fault.seconds);
  m_undo = fault.begin(actions, m_params);
}

void FaultRun::Look(const Seen& seen, Actions& actions) {
  if (m_state == State::kEnded) return;
  if (m_state == State::kActive) {
    KeepUp(actions);
    if (seen.elapsed >= m_until || !IsThere(seen, actions)) m_state = State::kHealing;
  }
  if (m_state == State::kHealing && !m_healed) Heal(seen, actions);
  TickOff(seen);
  if (m_healed) Judge(seen);
}

void FaultRun::Stop(const Seen& seen, Actions& actions) {
  if (m_state != State::kActive) return;
  m_isEarly = true;
  m_state = State::kHealing;
  Heal(seen, actions);
}

// The next look tries again.
void FaultRun::KeepUp(Actions& actions) {
  if (!m_fault->keepUp) return;
  try {
    m_fault->keepUp(actions);
    m_text.clear();
  } catch (const std::exception& error) {
    m_text = std::string("cannot be kept up just now: ") + error.what();
  }
}

// The program that was told to misbehave may have been started anew.
bool FaultRun::IsThere(const Seen& seen, Actions& actions) {
  if (!m_fault->isThere || seen.real < m_nextQuestion) return true;
  m_nextQuestion = seen.real + kBetweenQuestions;
  try {
    if (m_fault->isThere(actions, m_params)) return true;
  } catch (const std::exception&) {
    return true;  // it cannot be asked just now
  }
  m_isEarly = true;
  return false;
}

void FaultRun::Heal(const Seen& seen, Actions& actions) {
  try {
    m_undo(actions);
    m_healed = seen;
    m_over = seen.now;
    m_text = "put right; waiting until all is well again";
  } catch (const std::exception& error) {
    m_text = std::string("cannot be put right yet: ") + error.what();
  }
}

void FaultRun::TickOff(const Seen& seen) {
  const Judged judged{.now = seen, .begun = m_begun, .healed = m_healed ? *m_healed : seen};
  for (Progress& each : m_progress) {
    if (each.met || (each.expectation.phase == Phase::kAfter && !m_healed)) continue;
    if (each.expectation.isLast && !AllMet(Phase::kAfter)) continue;
    if (each.expectation.check(judged)) each.met = seen.now;
  }
}

// All of a phase but the last one.
bool FaultRun::AllMet(Phase phase) const {
  return std::ranges::all_of(m_progress, [phase](const Progress& each) {
    return each.met || each.expectation.phase != phase || each.expectation.isLast;
  });
}

const FaultRun::Progress* FaultRun::Missing(bool alsoDuring) const {
  const auto found = std::ranges::find_if(m_progress, [alsoDuring](const Progress& each) {
    return !each.met && (alsoDuring || each.expectation.phase == Phase::kAfter);
  });
  return found == m_progress.end() ? nullptr : &*found;
}

void FaultRun::Judge(const Seen& seen) {
  const double passed = seen.elapsed - m_healed->elapsed;
  const double real = seen.real - m_healed->real;
  const auto limit = static_cast<double>(m_fault->healSeconds);
  const Progress* const missing = Missing(!m_isEarly);
  if (missing == nullptr) {
    const Progress* const unseen = Missing(true);
    if (unseen == nullptr) return End("as expected", "everything came as expected");
    return End("as expected",
               "as far as it went: it was too short for this: " + unseen->expectation.text);
  }
  const bool isWell = Missing(false) == nullptr;
  const bool isOver = isWell ? passed >= kLateEvidence && real >= kLateRealEvidence
                             : passed >= limit && real >= kLongestRealHeal;
  if (isOver) End("not as expected", "this was not seen: " + missing->expectation.text);
}

void FaultRun::End(const std::string& verdict, const std::string& text) {
  m_state = State::kEnded;
  m_verdict = verdict;
  m_text = text;
}

void FaultRun::WriteExpectations(JsonWriter& json) const {
  json.Key("expectations");
  json.StartArray();
  for (const Progress& each : m_progress) {
    json.StartObject();
    WriteText(json, "text", each.expectation.text);
    WriteText(json, "phase", each.expectation.phase == Phase::kDuring ? "during" : "after");
    WriteTime(json, "met_unix_s", each.met);
    json.EndObject();
  }
  json.EndArray();
}

void FaultRun::Write(JsonWriter& json, const Seen& seen) const {
  std::optional<std::time_t> ends = m_over;
  if (m_state == State::kActive)
    ends = seen.now + static_cast<std::time_t>(std::max(0.0, m_until - seen.elapsed));
  json.StartObject();
  json.Key("run");
  json.Int(m_id);
  WriteText(json, "fault", m_fault->name);
  WriteText(json, "title", m_fault->title);
  json.Key("params");
  json.StartObject();
  for (const auto& [name, value] : m_params) WriteText(json, name.c_str(), value);
  json.EndObject();
  json.Key("started_unix_s");
  json.Int64(m_begun.now);
  WriteTime(json, "ends_unix_s", ends);
  WriteText(json, "state", Word(m_state));
  WriteExpectations(json);
  json.Key("verdict");
  m_verdict.empty() ? json.Null() : json.String(m_verdict.c_str());
  WriteText(json, "text", m_text);
  json.EndObject();
}

}  // namespace console
