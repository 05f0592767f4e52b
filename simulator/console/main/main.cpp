// The bench console as a program.
#include <csignal>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "console/main/bench.h"
#include "console/main/gateway.h"
#include "console/main/options.h"
#include "program/commandline.h"

namespace {

console::Scenario ReadScenario(const std::string& path) {
  if (path.empty()) return {};
  const std::ifstream file(path);
  if (!file) throw std::invalid_argument("cannot read " + path);
  std::ostringstream text;
  text << file.rdbuf();
  try {
    return console::ParseScenario(text.str());
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(path + ": " + error.what());
  }
}

// A recorded scenario begins with the speed of its bench. It is the speed from the start, to which
// "all faults off" goes back.
double SpeedFrom(const console::Options& options, const console::Scenario& scenario) {
  const bool beginsSo = !options.onGateway && !scenario.steps.empty() &&
                        scenario.steps.front().kind == console::Step::Kind::kSpeed;
  return beginsSo ? scenario.steps.front().number : options.speed;
}

int Run(console::Options options) {
  const console::Scenario scenario = ReadScenario(options.scenario);
  options.speed = SpeedFrom(options, scenario);
  // Whoever starts us in the background may ignore them for us.
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, SIG_DFL);
  std::signal(SIGPIPE, SIG_IGN);
  const sigset_t signals = program::BlockEndSignals();
  console::PrepareGateway(options);
  return console::Bench(options, scenario, signals).Run();
}

}  // namespace

int main(int argc, char** argv) {
  return program::Run("bench-console", [=] {
    const console::Options options = console::ParseOptions(argc, argv);
    if (!options.help) return Run(options);
    std::cout << console::HelpText();
    return 0;
  });
}
