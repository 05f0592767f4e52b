// The simulated cloud as a program.
#include <unistd.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "cloud/options.h"
#include "cloud/simulator.h"

namespace {

constexpr int kExitDone = 0;
constexpr int kExitCannotStart = 1;
constexpr int kExitBadCommandLine = 2;

// The signals that end the program: blocked in every thread, taken by the main thread's sigwait.
sigset_t BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

void Run(cloud::ProgramOptions options) {
  const sigset_t signals = BlockEndSignals();
  options.settings.lines = &std::cout;
  const std::size_t exitAfter = options.exitAfter;
  options.settings.onAcceptedUpload = [exitAfter](std::size_t uploads) {
    if (uploads == exitAfter) kill(getpid(), SIGTERM);  // ends as if asked from outside
  };

  cloud::Simulator simulator(std::move(options.settings));
  int signal = 0;
  sigwait(&signals, &signal);
  simulator.Stop();
}

int Fail(int status, const std::exception& error) {
  std::cerr << "cloud-simulator: " << error.what() << '\n';
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  cloud::ProgramOptions options;
  try {
    options = cloud::ParseOptions(argc, argv);
  } catch (const std::invalid_argument& error) {
    return Fail(kExitBadCommandLine, error);
  }
  if (options.help) {
    std::cout << cloud::HelpText();
    return kExitDone;
  }
  try {
    Run(std::move(options));
  } catch (const std::exception& error) {
    return Fail(kExitCannotStart, error);
  }
  return kExitDone;
}
