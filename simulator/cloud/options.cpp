#include "cloud/options.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "cloud/listener.h"

namespace cloud {

namespace {

constexpr int kDefaultPort = 8080;
constexpr int kHighestPort = 65535;
constexpr int kHighestCount = 1000000;
constexpr std::size_t kExchangesRemembered = 16;  // a program runs for days

// What getopt_long returns for each option; endpoints follow from kFirstEndpoint on.
enum OptionCode {
  kHelp = 1000,
  kAddress,
  kPort,
  kPrefix,
  kSerial,
  kUploads,
  kRedirect,
  kOrder,
  kExitAfter,
  kFirstEndpoint
};

constexpr std::size_t kPlainOptions = kFirstEndpoint - kHelp;

using OptionList = std::array<option, kPlainOptions + kEndpoints + 1>;

OptionList ListOptions() {
  OptionList list{{{"help", no_argument, nullptr, kHelp},
                   {"address", required_argument, nullptr, kAddress},
                   {"port", required_argument, nullptr, kPort},
                   {"prefix", required_argument, nullptr, kPrefix},
                   {"sn", required_argument, nullptr, kSerial},
                   {"uploads", required_argument, nullptr, kUploads},
                   {"redirect", required_argument, nullptr, kRedirect},
                   {"order", required_argument, nullptr, kOrder},
                   {"exit-after", required_argument, nullptr, kExitAfter}}};
  for (std::size_t i = 0; i < kEndpoints; ++i) {
    list.at(kPlainOptions + i) = {kEndpointFacts.at(i).name, required_argument, nullptr,
                                  kFirstEndpoint + static_cast<int>(i)};
  }
  return list;  // the last entry is all zero and ends the list
}

int Number(const char* option, const char* text, int least, int most) {
  int number = 0;
  const char* const end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, number);
  if (error != std::errc() || stop != end || number < least || number > most) {
    throw std::invalid_argument(std::string("--") + option + " '" + text +
                                "' is not a number from " + std::to_string(least) + " to " +
                                std::to_string(most));
  }
  return number;
}

std::string Address(const char* option, const std::string& text) {
  if (IsLoopback(text)) return text;
  throw std::invalid_argument(std::string("--") + option + " '" + text +
                              "' is not a loopback address (127.0.0.0/8)");
}

// The part before the port; gateways ignore the port.
std::string HostOf(const std::string& text) {
  return text.substr(0, text.find(':'));
}

std::string Prefix(const std::string& text) {
  if (text.empty() || (text.starts_with('/') && !text.ends_with('/'))) return text;
  throw std::invalid_argument("--prefix '" + text +
                              "' does not begin with '/', or ends with it (e.g. /cloud)");
}

void ReadEndpointOption(std::size_t index, const char* text, ProgramOptions* options) {
  const EndpointFacts& facts = kEndpointFacts.at(index);
  try {
    options->settings.scripts.emplace_back(facts.endpoint, ParseBehaviours(text));
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(std::string("--") + facts.name + ": " + error.what());
  }
}

RecallOrder ReadOrder(const char* text) {
  try {
    return ParseOrder(text);
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(std::string("--order: ") + error.what());
  }
}

void ReadOption(int code, const char* text, ProgramOptions* options) {
  switch (code) {
    case kHelp:
      options->help = true;
      return;
    case kAddress:
      options->settings.address = Address("address", text);
      return;
    case kPort:
      options->settings.port = Number("port", text, 0, kHighestPort);
      return;
    case kPrefix:
      options->settings.prefix = Prefix(text);
      return;
    case kSerial:
      options->settings.serialNumber = text;
      return;
    case kUploads:
      options->settings.uploadFolder = text;
      return;
    case kRedirect:
      options->settings.redirect = text;
      options->settings.secondAddress = Address("redirect", HostOf(text));
      return;
    case kOrder:
      options->settings.orders.push_back(ReadOrder(text));
      return;
    case kExitAfter:
      options->exitAfter = static_cast<std::size_t>(Number("exit-after", text, 1, kHighestCount));
      return;
    default:
      return ReadEndpointOption(static_cast<std::size_t>(code - kFirstEndpoint), text, options);
  }
}

}  // namespace

ProgramOptions ParseOptions(int argumentCount, char* const* arguments) {
  ProgramOptions options;
  options.settings.port = kDefaultPort;
  options.settings.exchangesRemembered = kExchangesRemembered;
  const OptionList list = ListOptions();
  // The colon makes getopt_long silent and lets it tell a missing value from an unknown option.
  for (;;) {
    const int position = optind;
    const int code = getopt_long(argumentCount, arguments, "+:", list.data(), nullptr);
    if (code == -1) break;
    if (code == ':' || code == '?') {
      throw std::invalid_argument(
          std::string(code == ':' ? "option without its value: " : "unknown option: ") +
          arguments[position]);
    }
    ReadOption(code, optarg, &options);
  }
  if (optind < argumentCount) {
    throw std::invalid_argument(std::string("unexpected argument: ") + arguments[optind]);
  }
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
      "  --exit-after N        end with status 0 after N accepted uploads\n"
      "  --help                this text\n"
      "\n"
      "What an endpoint does instead of answering normally:\n";
  for (const EndpointFacts& facts : kEndpointFacts) {
    text += std::string("  --") + facts.name + " BEHAVIOURS";
    text += std::string(std::string("skip-address").size() - std::strlen(facts.name) + 1, ' ');
    text += std::string(facts.path) + "\n";
  }
  return text + "\n" + kBehaviourHelp + "\n" + kOrderHelp +
         "\nExit status: 0 ended as asked, 1 could not start, 2 bad command line.\n";
}

}  // namespace cloud
