#include "console/bench/processes.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "util/thread.h"
#include "util/timetext.h"

namespace console {
namespace {

constexpr std::chrono::milliseconds kLookEvery{20};
constexpr std::chrono::milliseconds kFindEvery{250};

// The group is the program and what it has started, if the supervisor has made it one.
void KillOther(pid_t pid) {
  if (pid > 0) kill(getpgid(pid) == pid ? -pid : pid, SIGKILL);
}

std::string ClockOf(std::time_t when) {
  const auto time = util::LocalTime(when);
  return time ? util::ClockText(*time) : "--:--:--";
}

// A signal may hold a program at any time.
ProcessState LookedAt(ProcessState state) {
  state.stopped = state.running && IsStopped(state.pid);
  if (state.stopped) state.text = "stopped (SIGSTOP), started at " + ClockOf(state.since);
  return state;
}

}  // namespace

Processes::Processes(const Clock& clock, std::vector<Program> programs, Line line,
                     std::chrono::milliseconds stopsWithin)
    : m_clock(clock), m_line(std::move(line)), m_stopsWithin(stopsWithin) {
  for (Program& program : programs) {
    One& one = m_all.emplace_back();
    one.state.name = program.name;
    one.state.text = "not started";
    one.program = std::move(program);
  }
  const auto run = [](void* self) -> void* {
    static_cast<Processes*>(self)->Run();
    return nullptr;
  };
  int error = 0;
  util::StartThread(&m_thread, util::DetachState::kJoinable, run, this, &error);
  if (error != 0) throw std::runtime_error("cannot start the thread of the processes");
}

Processes::~Processes() {
  {
    const std::lock_guard lock(m_mutex);
    m_isEnding = true;
    m_changed.notify_all();
  }
  pthread_join(m_thread, nullptr);
}

void Processes::Start(const std::string& name) {
  std::unique_lock lock(m_mutex);
  One& one = Find(name);
  if (one.program.find) return;
  one.isWanted = true;
  one.killAt.reset();
  one.restartAt = 0;
  Await([&] { return one.child != nullptr || !one.isWanted; }, lock);
}

void Processes::Stop(const std::string& name) {
  std::unique_lock lock(m_mutex);
  One& one = Find(name);
  if (one.program.find) throw std::invalid_argument("Another supervisor keeps " + name + " up.");
  one.isWanted = false;
  if (one.child) {
    one.child->Ask();
    one.killAt = std::chrono::steady_clock::now() + m_stopsWithin;
  }
  Await([&] { return one.child == nullptr || one.isWanted; }, lock);
}

void Processes::Kill(const std::string& name) {
  std::unique_lock lock(m_mutex);
  One& one = Find(name);
  if (one.program.find) {
    const pid_t killed = one.state.pid;
    KillOther(killed);
    Await([&] { return killed == 0 || one.state.pid != killed; }, lock);
    return;
  }
  if (!one.child) return;
  const Child* const killed = one.child.get();
  one.child->Kill();
  Await([&] { return one.child.get() != killed; }, lock);
}

void Processes::SetRestart(const std::string& name, bool restart) {
  const std::lock_guard lock(m_mutex);
  One& one = Find(name);
  one.program.restart = restart;
  if (!one.child) one.isWanted = one.isWanted && restart;
}

ProcessState Processes::State(const std::string& name) const {
  const std::lock_guard lock(m_mutex);
  return LookedAt(Find(name).state);
}

std::vector<ProcessState> Processes::States() const {
  const std::lock_guard lock(m_mutex);
  std::vector<ProcessState> states;
  for (const One& one : m_all) states.push_back(LookedAt(one.state));
  return states;
}

void Processes::WriteState(JsonWriter& json) const {
  json.Key("processes");
  json.StartArray();
  for (const ProcessState& state : States()) {
    json.StartObject();
    WriteText(json, "name", state.name);
    json.Key("running"), json.Bool(state.running);
    json.Key("stopped"), json.Bool(state.stopped);
    json.Key("pid"), state.running ? json.Int(state.pid) : json.Null();
    json.Key("since_unix_s"), state.since > 0 ? json.Int64(state.since) : json.Null();
    json.Key("real_since_unix_s"), state.since > 0 ? json.Int64(state.realSince) : json.Null();
    json.Key("restarts"), json.Int(state.restarts);
    WriteText(json, "text", state.text);
    json.EndObject();
  }
  json.EndArray();
}

void Processes::Run() {
  std::unique_lock lock(m_mutex);
  while (!m_isEnding) {
    for (One& one : m_all) Look(one);
    m_changed.notify_all();
    if (!m_lines.empty()) {
      const auto lines = std::exchange(m_lines, {});
      lock.unlock();
      for (const auto& [name, text] : lines) m_line(name, text);
      lock.lock();
    } else {
      m_changed.wait_for(lock, kLookEvery);
    }
  }
  for (One& one : m_all) {
    if (one.child) one.child->Ask();
  }
  const auto deadline = std::chrono::steady_clock::now() + m_stopsWithin;
  const auto runs = [](One& one) { return one.child && !one.child->Ended(); };
  while (std::ranges::any_of(m_all, runs) && std::chrono::steady_clock::now() < deadline) {
    m_changed.wait_for(lock, kLookEvery);
  }
  for (One& one : m_all) one.child.reset();  // kills what is left
}

// An end is noted when all that the program has said is passed on.
void Processes::Look(One& one) {
  if (one.program.find) return Watch(one);
  if (one.child) {
    const auto end = one.child->Ended();
    const std::size_t said = m_lines.size();
    one.child->TakeLines(
        [&](const std::string& line) { m_lines.emplace_back(one.program.name, line); });
    if (end && m_lines.size() == said) return NoteEnd(one, *end);
    if (one.killAt && std::chrono::steady_clock::now() >= *one.killAt) one.child->Kill();
  } else if (one.isWanted && m_clock.Elapsed() >= one.restartAt) {
    Launch(one);
  }
}

// How it ended is known to its supervisor only.
void Processes::Watch(One& one) {
  if (std::chrono::steady_clock::now() < one.nextFind) return;
  one.nextFind = std::chrono::steady_clock::now() + kFindEvery;
  const pid_t pid = one.program.find();
  if (pid == one.state.pid) return;
  if (pid > 0 && one.state.realSince > 0) ++one.state.restarts;
  one.state.pid = pid;
  one.state.running = pid > 0;
  one.state.since = m_clock.Now();
  one.state.realSince = m_clock.Real();
  const std::string time = ClockOf(one.state.since);
  one.state.text =
      pid > 0 ? "running since " + time : "ended at " + time + "; its supervisor does not tell why";
}

void Processes::Launch(One& one) {
  try {
    one.child = std::make_unique<Child>(one.program.command, m_clock.Environment());
  } catch (const std::runtime_error& error) {
    m_lines.emplace_back(one.program.name, error.what());
    one.isWanted = false;
    return;
  }
  one.killAt.reset();
  if (one.restartAt > 0) ++one.state.restarts;
  one.state.running = true;
  one.state.pid = one.child->Pid();
  one.state.since = m_clock.Now();
  one.state.realSince = m_clock.Real();
  one.state.text = "running since " + ClockOf(one.state.since);
  if (one.restartAt > 0) m_lines.emplace_back("run", one.program.name + ": " + one.state.text);
}

void Processes::NoteEnd(One& one, const End& end) {
  one.child.reset();
  one.isWanted = one.isWanted && one.program.restart;
  one.restartAt = m_clock.Elapsed() + static_cast<double>(kRestartAfter.count());
  one.state.running = false;
  one.state.pid = 0;
  one.state.since = m_clock.Now();
  one.state.realSince = m_clock.Real();
  one.state.lastEnd = end;
  one.state.text = end.Text() + " at " + ClockOf(one.state.since);
  m_lines.emplace_back("run", one.program.name + ": " + one.state.text);
}

void Processes::Await(const std::function<bool()>& reached, std::unique_lock<util::Mutex>& lock) {
  m_changed.notify_all();
  while (!m_isEnding && !reached()) m_changed.wait(lock);
}

Processes::One& Processes::Find(const std::string& name) {
  const auto found =
      std::ranges::find_if(m_all, [&](const One& one) { return one.program.name == name; });
  if (found == m_all.end()) throw std::invalid_argument("There is no process " + name + ".");
  return *found;
}

const Processes::One& Processes::Find(const std::string& name) const {
  return const_cast<Processes*>(this)->Find(name);
}

}  // namespace console
