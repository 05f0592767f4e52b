// The simulated cloud as a program.
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <optional>
#include <utility>

#include "cloud/control.h"
#include "cloud/options.h"
#include "cloud/simulator.h"
#include "program/commandline.h"

namespace {

int Run(cloud::ProgramOptions options) {
  const sigset_t signals = program::BlockEndSignals();
  options.settings.lines = &std::cout;
  const std::size_t exitAfter = options.exitAfter;
  options.settings.onAcceptedUpload = [exitAfter](std::size_t uploads) {
    if (uploads == exitAfter) kill(getpid(), SIGTERM);  // ends as if asked from outside
  };

  cloud::Simulator simulator(std::move(options.settings));
  std::optional<program::ControlServer> control;
  if (!options.controlSocket.empty()) {
    control.emplace(options.controlSocket, [&](const auto& order, auto& answer) {
      cloud::CarryOut(simulator, order, answer);
    });
  }
  int signal = 0;
  sigwait(&signals, &signal);
  control.reset();
  simulator.Stop();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  return program::Run("cloud-simulator", [=] {
    cloud::ProgramOptions options = cloud::ParseOptions(argc, argv);
    if (!options.help) return Run(std::move(options));
    std::cout << cloud::HelpText();
    return 0;
  });
}
