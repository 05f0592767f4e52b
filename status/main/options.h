// The command line of brennik-status.
#pragma once

#include <optional>
#include <string>

namespace status {

// Exit status beside those of a command: bad arguments.
inline constexpr int kBadArguments = 3;

struct Options {
  std::string root;  // --root; empty: this machine
  long grace = 300;  // --grace, seconds
  bool monitor = false;
  bool json = false;
  bool metrics = false;
  std::string metricsFile;  // empty: standard output
  std::string warningAge;   // --warning-age …, ranges as monitoring plugins read them
  std::string criticalAge;
  std::string warningPending;
  std::string criticalPending;

  std::string command;    // empty: the verdict
  std::string argument;   // DIR, CODE|TEXT, NAME, FILE
  std::string since;      // log --since
  std::string level;      // log --level
  bool follow = false;    // log --follow
  bool markdown = false;  // explain --markdown: the manual's tables
  long days = 31;         // gaps --days
  bool accepted = false;  // wait --accepted
  long timeout = 600;     // wait --timeout, seconds; 0: for ever
};

// The options, or the exit status with which to end (after --help or a bad argument).
struct Parsed {
  Options options;
  std::optional<int> exitStatus;
};
Parsed ParseOptions(int argc, char** argv);

}  // namespace status
