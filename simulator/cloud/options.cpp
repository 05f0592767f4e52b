#include "cloud/options.h"

#include <cstring>
#include <stdexcept>

#include "cloud/listener.h"
#include "program/commandline.h"

namespace cloud {

namespace {

constexpr int kDefaultPort = 8080;
constexpr int kHighestPort = 65535;
constexpr int kHighestCount = 1000000;
constexpr std::size_t kExchangesRemembered = 16;  // a program runs for days

std::string Address(const std::string& text) {
  if (IsLoopback(text)) return text;
  throw std::invalid_argument("'" + text + "' is not a loopback address (127.0.0.0/8)");
}

constexpr char kControlHelp[] =
    "  The control SOCKET takes a line of JSON and answers with one:\n"
    "    {\"do\":\"stand\",\"endpoint\":\"realdata\",\"behaviour\":\"refuse\"}\n"
    "        every exchange until told otherwise; a list from below or from above goes first\n"
    "    {\"do\":\"script\",\"endpoint\":\"realdata\",\"behaviours\":\"refuse*3\"}\n"
    "    {\"do\":\"normal\"}   ends both, or only at one \"endpoint\"\n"
    "    {\"do\":\"redirect\",\"to\":\"127.0.0.2:8080\"}   listens there, too; \"\" ends the "
    "redirect\n"
    "    {\"do\":\"order\",\"order\":\"ORDER\"}\n"
    "    {\"do\":\"state\"}    tells what stands\n";

// The part before the port; gateways ignore the port.
std::string HostOf(const std::string& text) {
  return text.substr(0, text.find(':'));
}

std::string Prefix(const std::string& text) {
  if (text.empty() || (text.starts_with('/') && !text.ends_with('/'))) return text;
  throw std::invalid_argument("'" + text + "' does not begin with '/', or ends with it");
}

std::vector<program::Option> OptionsFor(ProgramOptions* options) {
  Settings& settings = options->settings;
  std::vector<program::Option> list = {
      {"--help", [=](const std::string&) { options->help = true; }, true},
      {"--address", [&](const std::string& text) { settings.address = Address(text); }},
      {"--port",
       [&](const std::string& text) {
         settings.port = static_cast<int>(program::ReadNumber(text, 0, kHighestPort));
       }},
      {"--prefix", [&](const std::string& text) { settings.prefix = Prefix(text); }},
      {"--sn", [&](const std::string& text) { settings.serialNumber = text; }},
      {"--uploads", [&](const std::string& text) { settings.uploadFolder = text; }},
      {"--redirect",
       [&](const std::string& text) {
         settings.redirect = text;
         settings.secondAddress = Address(HostOf(text));
       }},
      {"--order", [&](const std::string& text) { settings.orders.push_back(ParseOrder(text)); }},
      {"--index", [&](const std::string& text) { settings.indexFile = text; }},
      {"--control", [=](const std::string& text) { options->controlSocket = text; }},
      {"--exit-after", [=](const std::string& text) {
         options->exitAfter = static_cast<std::size_t>(program::ReadNumber(text, 1, kHighestCount));
       }}};
  for (const EndpointFacts& facts : kEndpointFacts) {
    list.push_back({std::string("--") + facts.name, [&](const std::string& text) {
                      settings.scripts.emplace_back(facts.endpoint, ParseBehaviours(text));
                    }});
  }
  return list;
}

}  // namespace

ProgramOptions ParseOptions(int argc, char* const* argv) {
  ProgramOptions options;
  options.settings.port = kDefaultPort;
  options.settings.exchangesRemembered = kExchangesRemembered;
  program::ReadCommandLine(argc, argv, OptionsFor(&options));
  if (options.settings.secondAddress == options.settings.address) {
    options.settings.secondAddress.clear();  // one listener does
  }
  return options;
}

std::string HelpText() {
  std::string text =
      "cloud-simulator: a cloud for one gateway, on this machine's loopback.\n"
      "\n"
      "It checks every request, answers it, keeps what is uploaded, and prints a line for each\n"
      "exchange. It ends on Ctrl-C, on SIGTERM, or after --exit-after uploads.\n"
      "\n"
      "  --address ADDRESS     listen on this loopback address (127.0.0.1)\n"
      "  --port PORT           listen on this port; 0 takes any free one (8080)\n"
      "  --prefix PATH         path before every endpoint, the gateway's \"Dir\" (empty)\n"
      "  --sn SERIAL           the only serial number that is served (any)\n"
      "  --uploads FOLDER      keep accepted uploads in FOLDER/realdata, alarmdata and calldata,\n"
      "                        others in FOLDER/refused/... (nothing is kept)\n"
      "  --redirect ADDRESS    redirect the gateway to this loopback address, with or without "
      ":PORT,\n"
      "                        and listen there too (no redirect)\n"
      "  --order ORDER         order history at the recall checks, see below; may be repeated\n"
      "  --index FILE          record every exchange in this SQLite database (none)\n"
      "  --control SOCKET      take orders on this Unix socket, see below (none)\n"
      "  --exit-after N        end with status 0 after N accepted uploads\n"
      "  --help                this text\n"
      "\n"
      "What an endpoint does instead of answering normally:\n";
  for (const EndpointFacts& facts : kEndpointFacts) {
    text += std::string("  --") + facts.name + " BEHAVIOURS";
    text += std::string(std::string("skip-address").size() - std::strlen(facts.name) + 1, ' ');
    text += std::string(facts.path) + "\n";
  }
  return text + "\n" + kBehaviourHelp + "\n" + kOrderHelp + "\n" + kControlHelp +
         "\nExit status: 0 ended as asked, 1 could not start, 2 bad command line.\n";
}

}  // namespace cloud
