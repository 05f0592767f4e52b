// The programs of the gateway on the desk: service, acquisition side, cloud.
#pragma once

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/bench/child.h"
#include "console/bench/clock.h"
#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// What a program is and how it looks now.
struct ProcessState {
  std::string name{};  // "service"
  bool running = false;
  bool stopped = false;          // it runs, but a signal such as SIGSTOP holds it
  pid_t pid = 0;                 // 0 while it does not run
  std::time_t since = 0;         // gateway time of its start, or of its end
  std::time_t realSince = 0;     // the same in real time
  int restarts = 0;              // how often it was started again after an end of its own
  std::optional<End> lastEnd{};  // how it ended at last
  std::string text{};            // "running since 15:00:05", "killed by signal 9 at 15:00:07"
};

// Starts, watches and ends the programs. All of them are children of one thread of its own, which
// also hands their output on. Any thread may call, except from within the line function. At the end
// of the object every program is stopped; if the console itself is killed, the kernel kills them.
class Processes {
 public:
  static constexpr std::chrono::seconds kRestartAfter{2};  // gateway seconds
  static constexpr std::chrono::seconds kStopsWithin{5};   // real seconds; then it is killed

  struct Program {
    std::string name{};
    std::vector<std::string> command{};
    bool restart = false;  // start it again kRestartAfter after its end
    // Set: another supervisor starts the program and keeps it running, and this finds its process
    // id, or 0. It is only watched then, and can be killed.
    std::function<pid_t()> find{};
  };
  // Called with each line of output on the thread of the object, and under the name "run" with a
  // line for each end and each restart.
  using Line = std::function<void(const std::string& name, const std::string& text)>;

  // The clock must outlive the object.
  Processes(const Clock& clock, std::vector<Program> programs, Line line,
            std::chrono::milliseconds stopsWithin = kStopsWithin);
  ~Processes();
  Processes(const Processes&) = delete;
  Processes& operator=(const Processes&) = delete;

  // An unknown name throws std::invalid_argument. A start waits until the program runs, and does
  // nothing when it does already. A stop (SIGTERM, after kStopsWithin SIGKILL) and a kill (SIGKILL
  // for it and all that it has started) wait until it has ended. A stopped program stays so; a
  // killed one is restarted like one that has ended by itself. One of another supervisor is not
  // started here; a stop of it throws std::invalid_argument.
  void Start(const std::string& name);
  void Stop(const std::string& name);
  void Kill(const std::string& name);
  void SetRestart(const std::string& name, bool restart);
  ProcessState State(const std::string& name) const;
  std::vector<ProcessState> States() const;

  // The member "processes".
  void WriteState(JsonWriter& json) const;

 private:
  using Deadline = std::chrono::steady_clock::time_point;
  struct One {
    Program program{};
    ProcessState state{};
    std::unique_ptr<Child> child{};
    bool isWanted = false;
    std::optional<Deadline> killAt{};  // of a stop
    double restartAt = 0;              // on Clock::Elapsed; counts when wanted and not running
    Deadline nextFind{};               // of one of another supervisor
  };

  void Run();
  void Look(One& one);
  void Watch(One& one);
  void Launch(One& one);
  void NoteEnd(One& one, const End& end);
  void PassLines();
  void Await(const std::function<bool()>& reached, std::unique_lock<util::Mutex>& lock);
  One& Find(const std::string& name);
  const One& Find(const std::string& name) const;

  const Clock& m_clock;
  const Line m_line;
  const std::chrono::milliseconds m_stopsWithin;
  mutable util::Mutex m_mutex{};  // guards all below
  std::condition_variable_any m_changed{};
  std::list<One> m_all{};
  std::vector<std::pair<std::string, std::string>> m_lines{};  // to be passed on
  bool m_isEnding = false;
  pthread_t m_thread{};
};

}  // namespace console
