#include "console/main/bench.h"

#include <unistd.h>

#include <ctime>
#include <iostream>
#include <mutex>

#include "console/bench/clockroutes.h"
#include "console/main/showfile.h"
#include "console/web/dispatch.h"
#include "console/web/httpstatus.h"
#include "util/paths.h"
#include "util/text.h"

namespace console {
namespace {

constexpr int kDone = 0;
constexpr int kMissed = 1;
constexpr int kInterrupted = 130;
constexpr std::chrono::milliseconds kTurn{200};
constexpr std::chrono::milliseconds kLookEvery{500};
constexpr std::chrono::seconds kLastLines{1};
constexpr std::chrono::seconds kMarkWithin{10};  // the service marks a row after the answer

// An upload takes a minute. The limit is twice that, three minutes and half a real minute more for
// the start.
std::chrono::seconds LimitOf(int cycles, double speed) {
  constexpr double kRealSeconds = 30;
  constexpr double kMinute = 60;
  return std::chrono::seconds(static_cast<long>(kRealSeconds + (cycles * 2 + 3) * kMinute / speed));
}

Terminal::Style StyleOf(const Options& options) {
  if (options.labelsProgress) return Terminal::Style::kLabelled;
  return isatty(STDOUT_FILENO) == 1 ? Terminal::Style::kTakenBack : Terminal::Style::kNoProgress;
}

}  // namespace

Bench::Bench(const Options& options, const Scenario& scenario, const sigset_t& endSignals)
    : m_options(options),
      m_scenario(scenario),
      m_endSignals(endSignals),
      m_terminal(std::cout, StyleOf(options),
                 [this](const std::string& label, const std::string& text) {
                   const std::lock_guard lock(m_mutex);
                   m_lines.emplace_back(label, text);
                 }),
      m_ownedClock(MakeClock(options)),
      m_clock(*m_ownedClock),
      m_log(paths::kLogDirectory),
      m_processes(m_clock, ProgramsOf(options, scenario, m_clock.Now()),
                  [this](const std::string& name, const std::string& text) {
                    m_terminal.Line(name, text);
                  }),
      m_recorder(
          m_clock, [this] { return m_address; },
          [this](const std::string& path, const std::string& json) {
            return m_parts.Lasting(path, json);
          },
          StartLines(options, scenario)),
      m_parts(m_clock, m_processes, m_events, options),
      m_files(options.page, options.charts),
      m_server(m_router, m_events, m_files) {
  AddClockRoutes(m_clock, m_router);
  m_recorder.AddRoutes(m_router);
  m_parts.AddRoutes(m_router);
  m_router.Get("/api/state", [this](const Call&) { return Reply{.body = State()}; });
}

int Bench::Run() {
  Say(m_options.onGateway ? "the example plant, in real time; the card can be pulled"
                          : util::Format("the example plant, %g times faster; everything private "
                                         "to this run",
                                         m_options.speed));
  if (m_options.hasPage) Serve();
  StartPrograms();
  int status = kDone;
  if (m_options.cycles > 0) {
    status = RunCycles();
  } else if (!m_options.scenario.empty()) {
    status = RunScenario();
  } else {
    status = RunUntilEnded();
  }
  if (m_hasEnded) {
    Say("interrupted");
    status = kInterrupted;
  }
  m_server.Stop();
  m_parts.EndFaults();
  return status;
}

void Bench::Serve() {
  m_server.OnAccepted(
      [this](const std::string& path, const std::string& body) { m_recorder.Note(path, body); });
  if (!m_options.socket.empty()) {
    m_address = m_options.address;
    m_server.ListenOnSocket(m_options.socket);
  } else {
    const int port = m_server.ListenOnPort(m_options.port, m_options.listen);
    m_address = m_options.address.empty()
                    ? util::Format("http://%s:%d", m_options.listen.c_str(), port)
                    : m_options.address;
  }
  Say("page " + m_address + "/");
}

void Bench::StartPrograms() {
  for (const char* name : {"acquisition", "cloud", "service"}) m_processes.Start(name);
}

int Bench::RunUntilEnded() {
  while (Turn(kTurn)) {
  }
  return kDone;
}

int Bench::RunCycles() {
  const auto deadline =
      std::chrono::steady_clock::now() + LimitOf(m_options.cycles, m_options.speed);
  while (Turn(kTurn)) {
    const ProcessState service = m_processes.State("service");
    if (!service.running || service.restarts > 0) {
      Say("the service has ended by itself");
      return kMissed;
    }
    if (const ProcessState cloud = m_processes.State("cloud"); !cloud.running) {
      if (cloud.lastEnd && cloud.lastEnd->IsGood()) return CyclesAreInLedger() ? kDone : kMissed;
      Say("the cloud has ended by itself");
      return kMissed;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      Say(util::Format("%d uploads did not come in time", m_options.cycles));
      return kMissed;
    }
  }
  return kInterrupted;
}

// The ledger's counts have no recalls.
bool Bench::CyclesAreInLedger() {
  const long rows = m_options.cycles - m_parts.Accepted("calldata");
  const auto deadline = std::chrono::steady_clock::now() + kMarkWithin;
  while (m_ledger.Accepted() < rows && std::chrono::steady_clock::now() < deadline) {
    if (!Turn(kTurn)) return false;
  }
  if (m_ledger.Accepted() < rows) {
    Say(util::Format("the cloud accepted %d uploads, but the ledger does not say so",
                     m_options.cycles));
    return false;
  }
  Say(util::Format("%d uploads accepted and marked in the ledger", m_options.cycles));
  return true;
}

int Bench::RunScenario() {
  const bool isGood = Play(m_scenario, ToolsOfScenario());
  Turn(kLastLines);
  LookAtLog();
  if (!m_hasEnded) Say(isGood ? "the scenario came as expected" : "the scenario has failed");
  return isGood ? kDone : kMissed;
}

PlayTools Bench::ToolsOfScenario() {
  PlayTools tools;
  tools.post = [this](const std::string& path, const std::string& json) {
    Reply reply = AnswerPost(m_router, path, json);
    if (IsGood(reply.status)) m_recorder.Note(path, json);
    return reply;
  };
  tools.state = [this] { return State(); };
  tools.now = [this] { return m_clock.Now(); };
  tools.elapsed = [this] { return m_clock.Elapsed(); };
  tools.say = [this](const std::string& text) { Say(text); };
  tools.show = [this](const std::string& kind) {
    const auto text = BeginningOfNewest(std::string(kUploads) + "/" + kind);
    m_terminal.Line("document", text.value_or("there is none of " + kind));
  };
  tools.pause = [this](std::chrono::milliseconds limit) { return Turn(limit); };
  return tools;
}

bool Bench::Turn(std::chrono::milliseconds limit) {
  LookAtLog();
  if (const auto now = std::chrono::steady_clock::now(); now >= m_nextLook) {
    m_nextLook = now + kLookEvery;
    m_parts.Look();
    LookAtLedger();
    const std::string state = State();
    m_events.Publish("state", state);
    ShowProgress(state);
  }
  PublishLines();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
  timespec wait{};
  wait.tv_sec = seconds.count();
  wait.tv_nsec = static_cast<long>(std::chrono::nanoseconds(limit - seconds).count());
  if (sigtimedwait(&m_endSignals, nullptr, &wait) > 0) m_hasEnded = true;
  return !m_hasEnded;
}

}  // namespace console
