#include "acquisition/options.h"

#include <array>
#include <charconv>
#include <utility>

#include "util/text.h"

namespace {

std::string Quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}

// What it is for: an option's number, in its unit, with its limits.
struct NumberOption {
  const char* name;
  std::int64_t low;
  std::int64_t high;
  const char* unit;
};

// What is wrong with the value; empty when `number` has it.
std::string ReadNumber(const NumberOption& option, std::string_view value, std::int64_t& number) {
  std::int64_t read = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, read);
  if (error != std::errc() || stop != end || read < option.low || read > option.high) {
    return util::Format("%s takes %lld to %lld %s, not %s", option.name,
                        static_cast<long long>(option.low), static_cast<long long>(option.high),
                        option.unit, Quoted(value).c_str());
  }
  number = read;
  return {};
}

std::string ReadPeriod(std::string_view value, Options& options) {
  std::int64_t milliseconds = options.period.count();
  const NumberOption option{"--period", 1, kLongestPeriod.count(), "milliseconds"};
  std::string error = ReadNumber(option, value, milliseconds);
  options.period = std::chrono::milliseconds(milliseconds);
  return error;
}

std::string ReadEventInterval(std::string_view value, Options& options) {
  return ReadNumber({"--event-interval", 0, kLongestEventInterval, "seconds"}, value,
                    options.recording.eventInterval);
}

std::string ReadBurst(std::string_view value, Options& options) {
  return ReadNumber({"--burst", 0, kLargestBurst, "events"}, value, options.recording.burst);
}

std::string ReadHistoryMinutes(std::string_view value, Options& options) {
  return ReadNumber({"--history-minutes", 0, kLongestHistory, "minutes"}, value,
                    options.recording.historyMinutes);
}

std::string ReadHistoryGap(std::string_view value, Options& options) {
  return ReadNumber({"--history-gap", 0, kLargestDistance, "minutes"}, value,
                    options.recording.historyFaults.gap);
}

std::string ReadHistoryOffMinute(std::string_view value, Options& options) {
  return ReadNumber({"--history-off-minute", 0, kLargestDistance, "minutes"}, value,
                    options.recording.historyFaults.offMinute);
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

constexpr std::array<ValuedOption, 8> kValuedOptions = {{
    {"--template", ReadTemplate},
    {"--period", ReadPeriod},
    {"--mode", ReadMode},
    {"--event-interval", ReadEventInterval},
    {"--burst", ReadBurst},
    {"--history-minutes", ReadHistoryMinutes},
    {"--history-gap", ReadHistoryGap},
    {"--history-off-minute", ReadHistoryOffMinute},
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
  if (argument == "--no-history") options.recording.history = false;
  return argument == "--help" || argument == "--replace" || argument == "--no-history";
}

}  // namespace

std::string HelpText() {
  std::string text =
      "Usage: acquisition-simulator [OPTION]...\n"
      "Publishes a live value for every point of a plant in shared memory, and records alarm "
      "events\n"
      "and the history of every point on the SD card, as the gateway's acquisition side does, "
      "until\n"
      "it is interrupted or terminated.\n\n"
      "  --template PATH  channel template of the plant\n"
      "                   (default /tessel/Config/Channel-template.xml)\n"
      "  --period MS      milliseconds between two refreshes, 1 to 3600000 (default 1000)\n"
      "  --mode NAME      what to publish, see below (default all)\n"
      "  --replace        remove a segment that an earlier run has left behind\n"
      "  --help           show this text\n\n"
      "Alarm events, in /media/mmcblk0p1/YYYYMM_event.db:\n"
      "  --event-interval S  at most one event every S seconds, 0 to 86400 (default 60): the\n"
      "                      latest alarm that the plant has raised or cleared; 0 for none\n"
      "  --burst N           the latest N alarms of the past day at once at the start,\n"
      "                      0 to 1000 (default 0)\n\n"
      "Minute history, in /media/mmcblk0p1/demand_history.db:\n"
      "  --history-minutes M     fill in M minutes up to the start, 0 to 10080 (default 0)\n"
      "  --history-gap N         leave out every minute whose number N divides, 0 to 1440\n"
      "                          (default 0: none)\n"
      "  --history-off-minute N  add a row half a minute before each such minute, 0 to 1440\n"
      "                          (default 0: none)\n"
      "  --no-history            write no history\n\n"
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
