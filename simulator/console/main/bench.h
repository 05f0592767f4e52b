// The bench: everything that runs in bench-console.
#pragma once

#include <csignal>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "console/bench/clock.h"
#include "console/bench/ledgercounts.h"
#include "console/bench/logfollower.h"
#include "console/bench/player.h"
#include "console/bench/processes.h"
#include "console/bench/recorder.h"
#include "console/bench/scenario.h"
#include "console/bench/terminal.h"
#include "console/main/gateway.h"
#include "console/main/options.h"
#include "console/main/parts.h"
#include "console/web/eventhub.h"
#include "console/web/router.h"
#include "console/web/server.h"
#include "console/web/staticfiles.h"
#include "util/mutex.h"

namespace console {

// Starts the gateway, shows it on terminal and page, and does what the command line asks for. One
// thread makes and runs it. The end signals are blocked in all threads.
class Bench {
 public:
  // Throws when the gateway cannot be prepared.
  Bench(const Options& options, const Scenario& scenario, const sigset_t& endSignals);
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  // Gives the exit status.
  int Run();

 private:
  void Serve();
  void StartPrograms();
  int RunUntilEnded();
  int RunCycles();
  int RunScenario();
  bool CyclesAreInLedger();
  PlayTools ToolsOfScenario();

  // The work of every moment: looks, prints, publishes; then waits. False after an end signal.
  bool Turn(std::chrono::milliseconds limit);
  void LookAtLog();
  void LookAtLedger();
  void ShowCatalogue();
  void ShowProgress(const std::string& state);
  void PublishLines();
  std::string State();
  void Say(const std::string& text) { m_terminal.Line("run", text); }

  using Line = std::pair<std::string, std::string>;  // label, text

  const Options m_options;
  const Scenario m_scenario;
  const sigset_t m_endSignals;
  util::Mutex m_mutex{};        // guards the lines
  std::vector<Line> m_lines{};  // for the page
  Terminal m_terminal;
  const std::unique_ptr<Clock> m_ownedClock;
  Clock& m_clock;
  LedgerCounts m_ledger{};
  LogFollower m_log;
  Processes m_processes;
  Recorder m_recorder;
  Parts m_parts;
  std::string m_address{};  // of the page
  std::string m_ledgerShown{};
  std::chrono::steady_clock::time_point m_nextLook{};
  bool m_hasEnded = false;  // an end signal has come
  Router m_router{};
  EventHub m_events{};
  StaticFiles m_files;
  Server m_server;
};

}  // namespace console
