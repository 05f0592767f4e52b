// The command line of bench-console.
#pragma once

#include <string>

namespace console {

struct Options {
  bool help = false;
  std::string socket{};  // of the page; empty: a port
  int port = 0;          // of the page on `listen`; 0 takes a free one
  std::string listen = "127.0.0.1";
  std::string address{};  // where people find the page; empty: what it listens on
  bool hasPage = true;
  std::string page = "simulator/console/page";
  std::string charts = "/usr/share/javascript/chart.js/chart.min.js";
  int cycles = 0;          // end after so many accepted uploads; 0: do not
  std::string scenario{};  // a file to play; empty: none
  double speed = 10;
  // The console runs on the gateway itself: real time, a card that can be pulled, and the service
  // in the care of the gateway's own supervisor.
  bool onGateway = false;
  bool labelsProgress = false;          // the progress comes as labelled lines
  std::string folder = "/tmp/bench";    // for the cloud's index and the control sockets
  std::string build = "build/release";  // where the programs are
  std::string plant = "packaging/example/Config";
};

// Throws std::invalid_argument when the command line makes no sense.
Options ParseOptions(int argc, char* const* argv);
std::string HelpText();

}  // namespace console
