#include "console/main/options.h"

#include <stdexcept>

#include "program/commandline.h"

namespace console {
namespace {

constexpr int kHighestPort = 65535;
constexpr int kMostCycles = 999999;
constexpr int kMostSpeed = 60;

program::Option Text(const char* name, std::string* text) {
  return {name, [=](const std::string& value) { *text = value; }};
}

int Number(const std::string& text, int least, int most) {
  return static_cast<int>(program::ReadNumber(text, least, most));
}

}  // namespace

Options ParseOptions(int argc, char* const* argv) {
  Options options;
  program::ReadCommandLine(
      argc, argv,
      {{"--help", [&](const std::string&) { options.help = true; }, true},
       Text("--socket", &options.socket),
       {"--port", [&](const std::string& text) { options.port = Number(text, 0, kHighestPort); }},
       Text("--listen", &options.listen),
       Text("--address", &options.address),
       Text("--page", &options.page),
       {"--no-page", [&](const std::string&) { options.hasPage = false; }, true},
       Text("--charts", &options.charts),
       {"--cycles",
        [&](const std::string& text) { options.cycles = Number(text, 1, kMostCycles); }},
       Text("--scenario", &options.scenario),
       {"--speed", [&](const std::string& text) { options.speed = Number(text, 1, kMostSpeed); }},
       {"--on-gateway", [&](const std::string&) { options.onGateway = true; }, true},
       {"--label-progress", [&](const std::string&) { options.labelsProgress = true; }, true},
       Text("--folder", &options.folder),
       Text("--build", &options.build),
       Text("--plant", &options.plant)});
  if (options.cycles > 0 && !options.scenario.empty()) {
    throw std::invalid_argument("--cycles and --scenario do not go together");
  }
  if (options.onGateway) options.speed = 1;
  return options;
}

std::string HelpText() {
  return "bench-console: a whole gateway on a desk, with a page that shows it.\n"
         "\n"
         "It runs the service, the simulated acquisition side and the simulated cloud on the\n"
         "gateway's own paths, so it belongs into scripts/sandbox; scripts/run starts it there.\n"
         "It ends on Ctrl-C and SIGTERM.\n"
         "\n"
         "  --socket PATH    serve the page on this Unix socket (a port)\n"
         "  --port N         serve the page on this port of 127.0.0.1 (0: any free one)\n"
         "  --listen IP      serve the page on this address of the machine's own (127.0.0.1)\n"
         "  --address URL    where people find the page (what it listens on)\n"
         "  --page DIR       the page's files (simulator/console/page)\n"
         "  --no-page        serve no page\n"
         "  --charts FILE    the page's chart library (Debian's)\n"
         "  --cycles N       end after N accepted uploads\n"
         "  --scenario FILE  play this file and end\n"
         "  --speed X        run the gateway's clock X times faster, 1 to 60 (10)\n"
         "  --on-gateway     the console runs on the booted gateway: in real time, with a card "
         "that\n"
         "                   can be pulled; the gateway's supervisor keeps the service up\n"
         "  --label-progress print the progress as lines, for a program that shows them\n"
         "  --folder DIR     keep the cloud's index and the control sockets here (/tmp/bench)\n"
         "  --build DIR      the build with the programs (build/release)\n"
         "  --plant DIR      the gateway's configuration (packaging/example/Config)\n"
         "  --help           this text\n"
         "\n"
         "Exit status: 0 done, 1 what was wanted did not come or nothing could start, 2 bad\n"
         "command line, 130 ended by a signal.\n";
}

}  // namespace console
