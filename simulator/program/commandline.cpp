#include "program/commandline.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <iostream>
#include <stdexcept>

namespace program {

namespace {

constexpr int kCannotRun = 1;
constexpr int kBadCommandLine = 2;

int Fail(int status, const char* name, const std::exception& error) {
  std::cerr << name << ": " << error.what() << '\n';
  return status;
}

}  // namespace

void ReadCommandLine(int argc, char* const* argv, const std::vector<Option>& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const std::size_t equals = argument.find('=');
    const bool attached = equals != std::string::npos;
    const std::string name = argument.substr(0, equals);
    const auto option = std::ranges::find(options, name, &Option::name);
    if (option == options.end() || (option->isFlag && attached)) {
      throw std::invalid_argument("there is no option '" + argument + "'");
    }
    if (!option->isFlag && !attached && ++i == argc) {
      throw std::invalid_argument(name + " takes a value");
    }
    const std::string value = attached ? argument.substr(equals + 1) : argv[i];
    try {
      option->take(option->isFlag ? std::string() : value);
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument(name + ": " + error.what());
    }
  }
}

std::int64_t ReadNumber(const std::string& text, std::int64_t least, std::int64_t most) {
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < least || number > most) {
    throw std::invalid_argument("'" + text + "' is not a number from " + std::to_string(least) +
                                " to " + std::to_string(most));
  }
  return number;
}

sigset_t BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

int Run(const char* name, const std::function<int()>& run) {
  try {
    return run();
  } catch (const std::invalid_argument& error) {
    return Fail(kBadCommandLine, name, error);
  } catch (const std::exception& error) {
    return Fail(kCannotRun, name, error);
  }
}

}  // namespace program
