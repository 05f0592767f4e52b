// Many runs of brennik-status beside the service.
#pragma once

#include <array>
#include <atomic>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace test {

// What runs of the tool write by request goes here: a report, metrics, temporary files.
inline constexpr char kWatchersFolder[] = "/run/watchers";

using Words = std::vector<std::string>;

// Every command that looks at the gateway, at that time of its clock.
std::vector<Words> QuickCommands(std::time_t now);
// The ones that make something, read the ledger slowly or wait.
std::vector<Words> SlowCommands(std::time_t now);

// Runs the tool with that clock and waits for its end. Its output is thrown away. `before`: words
// that start it, such as a tracer's. Returns the exit status; 128 and more after a signal.
int RunStatus(const Words& arguments, std::time_t now, const Words& before = {});

// Runs the tool in loops without a pause, several processes at a time, as long as it lives. `now`
// gives the gateway's clock; any thread may call it.
class Watchers {
 public:
  explicit Watchers(std::function<std::time_t()> now);
  ~Watchers();
  Watchers(const Watchers&) = delete;
  Watchers& operator=(const Watchers&) = delete;

  // Runs that ended with each status; the last counts the runs that crashed.
  static constexpr int kStatuses = 5;
  using Counts = std::array<std::atomic<int>, kStatuses>;
  static Counts& Ended();

 private:
  void Loop(std::size_t first, bool slow);

  std::function<std::time_t()> m_now;
  std::atomic<bool> m_stops = false;
  std::vector<std::thread> m_threads;
};

}  // namespace test
