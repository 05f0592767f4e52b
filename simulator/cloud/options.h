// Owns the command line of the cloud-simulator program.
#pragma once

#include <cstddef>
#include <string>

#include "cloud/simulator.h"

namespace cloud {

// What the command line asks for.
struct ProgramOptions {
  Settings settings;
  std::size_t exitAfter = 0;    // accepted uploads after which the program ends; 0: never
  std::string controlSocket{};  // takes orders there; empty: takes none
  bool help = false;
};

// Reads the command line. Throws std::invalid_argument with a line that says what is wrong.
ProgramOptions ParseOptions(int argc, char* const* argv);

// The text of --help.
std::string HelpText();

}  // namespace cloud
