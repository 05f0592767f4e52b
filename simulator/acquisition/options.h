// Owns the command line of the acquisition-simulator program.
#pragma once

#include <chrono>
#include <string>

#include "acquisition/recorder.h"

// What the command line asks for.
struct Options {
  std::chrono::milliseconds period{1000};  // between two refreshes
  RecordingPlan recording;
  std::string controlSocket{};  // takes orders there; empty: takes none
  bool help = false;
};

// Reads the command line. Throws std::invalid_argument with a line that says what is wrong.
Options ParseOptions(int argc, char* const* argv);

// The text of --help.
std::string HelpText();
