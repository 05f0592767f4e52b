#include "acquisition/options.h"

#include <array>
#include <charconv>
#include <utility>

#include "util/text.h"

namespace {

std::string Quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}

std::string ReadPeriod(std::string_view value, Options& options) {
  int milliseconds = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, milliseconds);
  if (error != std::errc() || stop != end || milliseconds < 1 ||
      milliseconds > kLongestPeriod.count()) {
    return util::Format("--period takes 1 to %lld milliseconds, not %s",
                        static_cast<long long>(kLongestPeriod.count()), Quoted(value).c_str());
  }
  options.period = std::chrono::milliseconds(milliseconds);
  return {};
}

std::string ReadMode(std::string_view value, Options& options) {
  const auto mode = PublishModeNamed(value);
  if (!mode) return "there is no mode " + Quoted(value);
  options.mode = *mode;
  return {};
}

std::string ReadTemplate(std::string_view value, Options& options) {
  if (value.empty()) return "--template takes a path";
  options.channelTemplate = value;
  return {};
}

// What it is for: an option that takes a value, and the reader that returns what is wrong with it.
struct ValuedOption {
  std::string_view name;
  std::string (*read)(std::string_view value, Options& options);
};

constexpr std::array<ValuedOption, 3> kValuedOptions = {{
    {"--template", ReadTemplate},
    {"--period", ReadPeriod},
    {"--mode", ReadMode},
}};

const ValuedOption* FindValued(std::string_view name) {
  for (const ValuedOption& option : kValuedOptions) {
    if (option.name == name) return &option;
  }
  return nullptr;
}

bool TakeFlag(std::string_view argument, Options& options) {
  if (argument == "--help") options.help = true;
  if (argument == "--replace") options.stale = StaleSegment::kReplace;
  return argument == "--help" || argument == "--replace";
}

}  // namespace

std::string HelpText() {
  std::string text =
      "Usage: acquisition-simulator [OPTION]...\n"
      "Publishes a live value for every point of a plant in shared memory, as the gateway's\n"
      "acquisition side does, until it is interrupted or terminated.\n\n"
      "  --template PATH  channel template of the plant\n"
      "                   (default /tessel/Config/Channel-template.xml)\n"
      "  --period MS      milliseconds between two refreshes, 1 to 3600000 (default 1000)\n"
      "  --mode NAME      what to publish, see below (default all)\n"
      "  --replace        remove a segment that an earlier run has left behind\n"
      "  --help           show this text\n\n"
      "Modes:\n";
  for (const PublishModeText& mode : PublishModes()) {
    text += util::Format("  %-15s  %s\n", std::string(mode.name).c_str(),
                         std::string(mode.meaning).c_str());
  }
  return text +
         "\nExit status: 0 when stopped by SIGINT or SIGTERM, 1 when the template cannot be read "
         "or\n"
         "the segment cannot be made, 2 for a command line that makes no sense.\n";
}

std::optional<Options> ParseOptions(const std::vector<std::string_view>& arguments,
                                    std::string* error) {
  Options options;
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    if (TakeFlag(*argument, options)) continue;
    const std::size_t equals = argument->find('=');
    const std::string_view name = argument->substr(0, equals);
    const ValuedOption* option = FindValued(name);
    if (option == nullptr) {
      *error = "there is no option " + Quoted(*argument);
      return std::nullopt;
    }
    const bool attached = equals != std::string_view::npos;
    if (!attached && ++argument == arguments.end()) {
      *error = std::string(name) + " takes a value";
      return std::nullopt;
    }
    *error = option->read(attached ? argument->substr(equals + 1) : *argument, options);
    if (!error->empty()) return std::nullopt;
  }
  return options;
}
