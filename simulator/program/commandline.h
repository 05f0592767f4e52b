// Owns what both simulator programs share: the reading of a command line, and the signals that end
// a program.
#pragma once

#include <csignal>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace program {

// One option: `--name VALUE` or `--name=VALUE`, or `--name` alone when `take` is a flag's.
struct Option {
  std::string name;  // "--port"
  // Called with the value, or with an empty text. Throws std::invalid_argument when the value makes
  // no sense; the text says why.
  std::function<void(const std::string& value)> take;
  bool isFlag = false;
};

// Hands each option of the command line to its `take`. Throws std::invalid_argument with a line
// that names the option when the command line makes no sense.
void ReadCommandLine(int argc, char* const* argv, const std::vector<Option>& options);

// A whole number from `least` to `most`. Throws std::invalid_argument when the text is no such one.
std::int64_t ReadNumber(const std::string& text, std::int64_t least, std::int64_t most);

// Blocks SIGINT and SIGTERM in this thread and in those that it starts from now on. Returns them,
// for sigwait and its relatives.
sigset_t BlockEndSignals();

// Runs a program. Prints errors to standard error and gives the exit status: what `run` returns, 1
// after an exception, 2 after std::invalid_argument, which means a bad command line.
int Run(const char* name, const std::function<int()>& run);

}  // namespace program
