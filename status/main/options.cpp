#include "main/options.h"

#include <getopt.h>
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "judge/range.h"
#include "main/help.h"
#include "print/print.h"
#include "util/text.h"

namespace status {
namespace {

constexpr long kLongestSeconds = 31L * 24 * 3600;
constexpr long kMostDays = 366;

// What is wrong with a value, or nothing.
using Trouble = std::string;

Trouble Whole(const char* text, long most, long& value) {
  constexpr std::size_t kMostDigits = 7;
  const std::string_view digits(text);
  const bool isNumber = !digits.empty() && digits.size() <= kMostDigits &&
                        digits.find_first_not_of("0123456789") == std::string_view::npos;
  if (isNumber) value = util::Decimal(text);
  if (isNumber && value <= most) return {};
  return util::Format("\"%s\" is no number of seconds or days up to %ld", text, most);
}

Trouble Days(const char* text, long& value) {
  Trouble trouble = Whole(text, kMostDays, value);
  return trouble.empty() && value == 0 ? "must not be 0" : trouble;
}

Trouble RangeText(const char* text, std::string& value) {
  value = text;
  return Range::Parse(value) ? Trouble() : "\"" + value + "\" is no range such as 600 or 10:20";
}

Trouble Directory(const char* path, std::string& value) {
  struct stat found {};
  const bool isThere = stat(path, &found) == 0 && S_ISDIR(found.st_mode);
  if (!isThere) return std::string("no such folder: ") + path;
  value = path;
  return {};
}

Trouble Text(const char* text, std::string& value) {
  value = text;
  return value.empty() ? "must not be empty" : Trouble();
}

Trouble LevelText(const char* text, std::string& value) {
  for (const char* const level : {"INFO", "WARN", "ERROR", "FATAL"}) {
    if (strcasecmp(text, level) == 0) value = level;
  }
  return value.empty() ? std::string("no such level: ") + text : Trouble();
}

Trouble Set(bool& value) {
  value = true;
  return {};
}

// One option: its name, whether it takes a value, the command that it belongs to, and what it sets.
struct Option {
  const char* name;
  int takesValue;
  const char* command;  // null: any
  Trouble (*set)(Options& options, const char* value);
};
constexpr std::array kOptions = {
    Option{"root", required_argument, nullptr,
           [](Options& o, const char* v) { return Directory(v, o.root); }},
    Option{"grace", required_argument, nullptr,
           [](Options& o, const char* v) { return Whole(v, kLongestSeconds, o.grace); }},
    Option{"monitor", no_argument, nullptr, [](Options& o, const char*) { return Set(o.monitor); }},
    Option{"json", no_argument, nullptr, [](Options& o, const char*) { return Set(o.json); }},
    Option{"metrics", optional_argument, nullptr,
           [](Options& o, const char* v) {
             o.metrics = true;
             return v == nullptr ? Trouble() : Text(v, o.metricsFile);
           }},
    Option{"warning-age", required_argument, nullptr,
           [](Options& o, const char* v) { return RangeText(v, o.warningAge); }},
    Option{"critical-age", required_argument, nullptr,
           [](Options& o, const char* v) { return RangeText(v, o.criticalAge); }},
    Option{"warning-pending", required_argument, nullptr,
           [](Options& o, const char* v) { return RangeText(v, o.warningPending); }},
    Option{"critical-pending", required_argument, nullptr,
           [](Options& o, const char* v) { return RangeText(v, o.criticalPending); }},
    Option{"since", required_argument, "log",
           [](Options& o, const char* v) { return Text(v, o.since); }},
    Option{"level", required_argument, "log",
           [](Options& o, const char* v) { return LevelText(v, o.level); }},
    Option{"follow", no_argument, "log", [](Options& o, const char*) { return Set(o.follow); }},
    Option{"markdown", no_argument, "explain",
           [](Options& o, const char*) { return Set(o.markdown); }},
    Option{"days", required_argument, "gaps",
           [](Options& o, const char* v) { return Days(v, o.days); }},
    Option{"accepted", no_argument, "wait",
           [](Options& o, const char*) { return Set(o.accepted); }},
    Option{"timeout", required_argument, "wait",
           [](Options& o, const char* v) { return Whole(v, kLongestSeconds, o.timeout); }},
    Option{"version", no_argument, nullptr, nullptr},
    Option{"help", no_argument, nullptr, nullptr},
};
constexpr std::array kCommands = {"config", "log",  "explain", "file",
                                  "gaps",   "wait", "report",  "version"};

// A command line while it is read. Every step returns what is wrong, or nothing.
class CommandLine {
 public:
  explicit CommandLine(Options& options) : m_options(options) {}

  bool WantsHelp() const { return m_wantsHelp; }

  Trouble Read(int argc, char** argv) {
    if (Trouble trouble = ReadOptions(argc, argv); !trouble.empty()) return trouble;
    if (m_wantsHelp) return {};
    if (Trouble trouble = TakeCommand(); !trouble.empty()) return trouble;
    if (Trouble trouble = CheckOptions(); !trouble.empty()) return trouble;
    return TakeArguments();
  }

 private:
  Trouble ReadOptions(int argc, char** argv) {
    std::array<option, kOptions.size() + 1> known{};
    for (std::size_t i = 0; i < kOptions.size(); ++i) {
      known[i] = {kOptions[i].name, kOptions[i].takesValue, nullptr, 0};
    }
    optind = 0;  // from the beginning
    opterr = 0;
    int at = 0;
    for (int found = 0; (found = getopt_long(argc, argv, ":h", known.data(), &at)) != -1;) {
      if (found == 'h') m_wantsHelp = true;
      if (found == ':') return std::string(argv[optind - 1]) + " needs a value";
      if (found == '?') return std::string("unknown option ") + argv[optind - 1];
      if (found != 0) continue;
      if (Trouble trouble = Take(kOptions.at(static_cast<std::size_t>(at))); !trouble.empty())
        return trouble;
    }
    m_words.assign(argv + optind, argv + argc);
    return {};
  }

  Trouble Take(const Option& option) {
    m_given.push_back(&option);
    if (std::strcmp(option.name, "help") == 0) m_wantsHelp = true;
    if (option.set == nullptr) return {};
    const Trouble trouble = option.set(m_options, optarg);
    return trouble.empty() ? trouble : std::string("--") + option.name + ": " + trouble;
  }

  bool IsGiven(const char* name) const {
    return std::any_of(m_given.begin(), m_given.end(),
                       [&](const Option* option) { return std::strcmp(option->name, name) == 0; });
  }

  // The first word is the command, or the file of --metrics.
  Trouble TakeCommand() {
    if (IsGiven("version")) m_options.command = "version";
    if (m_words.empty()) return {};
    const std::string first = m_words.front();
    if (std::find(kCommands.begin(), kCommands.end(), first) != kCommands.end()) {
      m_options.command = first;
    } else if (m_options.metrics && m_options.metricsFile.empty() && !first.empty()) {
      m_options.metricsFile = first;
    } else {
      return m_options.metrics ? "one word too many: " + first : "no such command: " + first;
    }
    m_words.erase(m_words.begin());
    return {};
  }

  Trouble CheckOptions() {
    const std::string& command = m_options.command;
    if (m_options.metricsFile == "-") m_options.metricsFile.clear();
    if (m_options.monitor + m_options.json + m_options.metrics > 1) {
      return "--monitor, --json and --metrics exclude each other";
    }
    const bool isOutput =
        m_options.monitor || m_options.metrics || (m_options.json && command != "config");
    if (isOutput && !command.empty()) {
      return "--monitor, --json and --metrics do not go with the command " + command;
    }
    for (const Option* option : m_given) {
      if (option->command != nullptr && command != option->command) {
        return std::string("--") + option->name + " belongs to the command " + option->command;
      }
    }
    return {};
  }

  Trouble TakeArguments() {
    const std::string& command = m_options.command;
    if (command == "explain") return TakeText();
    if (command == "wait" && !m_options.accepted) return "wait needs --accepted";
    const bool needsOne = command == "file" || command == "report";
    if (needsOne && (m_words.empty() || m_words.front().empty())) {
      return command + (command == "file" ? " needs a NAME" : " needs a FILE");
    }
    if (!m_words.empty() && (needsOne || command == "config")) {
      m_options.argument = m_words.front();
      m_words.erase(m_words.begin());
    }
    if (!m_words.empty()) return "one word too many: " + m_words.front();
    if (command != "config" || m_options.argument.empty()) return {};
    return Directory(std::string(m_options.argument).c_str(), m_options.argument);
  }

  // Its words need no quotes.
  Trouble TakeText() {
    for (const std::string& word : m_words) {
      m_options.argument += (m_options.argument.empty() ? "" : " ") + word;
    }
    const bool isTooMuch = m_options.markdown && !m_options.argument.empty();
    return isTooMuch ? "--markdown takes no text" : "";
  }

  Options& m_options;
  bool m_wantsHelp = false;
  std::vector<const Option*> m_given;
  std::vector<std::string> m_words;  // without the options
};

// A monitoring system shows standard output alone.
void PrintUnknown(const Trouble& trouble) {
  const Verdict verdict{.level = Level::kUnknown, .text = trouble, .road = {}, .findings = {}};
  std::fputs(MonitorText(Facts{}, verdict, Thresholds{}).c_str(), stdout);
}

}  // namespace

Parsed ParseOptions(int argc, char** argv) {
  Parsed parsed;
  CommandLine line(parsed.options);
  const Trouble trouble = line.Read(argc, argv);
  if (!trouble.empty()) {
    std::fprintf(stderr, "brennik-status: %s\nbrennik-status --help lists the options.\n",
                 trouble.c_str());
    const bool isMonitor = std::any_of(
        argv, argv + argc, [](const char* word) { return std::strcmp(word, "--monitor") == 0; });
    if (isMonitor) PrintUnknown(trouble);
    parsed.exitStatus = kBadArguments;
  } else if (line.WantsHelp()) {
    std::fputs(kHelp, stdout);
    parsed.exitStatus = 0;
  }
  return parsed;
}

}  // namespace status
