#include "main/options.h"

#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "judge/range.h"
#include "util/text.h"

namespace status {
namespace {

constexpr long kLongestSeconds = 31L * 24 * 3600;

// Checks of values. Each returns what is wrong, or nothing.
std::string CheckRange(const std::string& text) {
  return Range::Parse(text) ? "" : "\"" + text + "\" is no range such as 600 or 10:20";
}

std::string CheckSeconds(const std::string& text) {
  constexpr std::size_t kMostDigits = 7;
  const bool isNumber = !text.empty() && text.size() <= kMostDigits &&
                        text.find_first_not_of("0123456789") == std::string::npos;
  if (isNumber && util::Decimal(text.c_str()) <= kLongestSeconds) return "";
  return "\"" + text + "\" is no number of seconds from 0 to " + std::to_string(kLongestSeconds);
}

std::string CheckDirectory(const std::string& path) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode) ? "" : "no such folder: " + path;
}

std::string CheckText(const std::string& text) {
  return text.empty() ? "must not be empty" : "";
}

void AddSeconds(CLI::App& app, const char* name, long& seconds, const char* help) {
  app.add_option_function<std::string>(
         name, [&seconds](const std::string& text) { seconds = util::Decimal(text.c_str()); }, help)
      ->option_text("S")
      ->check(CheckSeconds);
}

void AddGlobals(CLI::App& app, Options& options) {
  app.add_option("--root", options.root, "Look at the copy of a gateway or of its card in DIR")
      ->option_text("DIR")
      ->check(CheckDirectory);
  AddSeconds(app, "--grace", options.grace,
             "For so long after a start no accepted file is expected (300)");
  auto* monitor = app.add_flag("--monitor", options.monitor, "One line for monitoring systems")
                      ->option_text(" ");
  auto* json = app.add_flag("--json", options.json, "Everything as JSON")
                   ->option_text(" ")
                   ->excludes(monitor);
  app.add_option("--metrics", options.metricsFile,
                 "Metrics for Prometheus, to FILE or to standard output")
      ->option_text("[FILE]")
      ->expected(0, 1)
      ->check(CheckText)
      ->excludes(monitor)
      ->excludes(json);
  const auto range = [&app](const char* name, std::string& value, const char* help) {
    app.add_option(name, value, help)->option_text("RANGE")->check(CheckRange);
  };
  range("--warning-age", options.warningAge, "Seconds since the newest accepted file: warning");
  range("--critical-age", options.criticalAge, "The same: critical");
  range("--warning-pending", options.warningPending, "Number of files that wait: warning");
  range("--critical-pending", options.criticalPending, "The same: critical");
}

void AddLog(CLI::App& app, Options& options) {
  auto* log = app.add_subcommand("log", "Both logs as one stream");
  log->add_option("--since", options.since,
                  "From this time on: RFC 3339, or YYYY-MM-DD hh:mm[:ss] in local time")
      ->option_text("T")
      ->check(CheckText);
  log->add_option("--level", options.level, "At least INFO, WARN, ERROR or FATAL")
      ->option_text("L")
      ->transform(CLI::IsMember({"INFO", "WARN", "ERROR", "FATAL"}, CLI::ignore_case));
  log->add_flag("--follow", options.follow, "Go on with new records until it is stopped");
}

void AddExplain(CLI::App& app, Options& options) {
  auto* explain = app.add_subcommand("explain", "What a code or a message means and what to do");
  const auto join = [&options](const std::vector<std::string>& words) {
    options.argument.clear();
    for (const std::string& word : words)
      options.argument += (&word == &words[0] ? "" : " ") + word;
  };
  auto* text = explain
                   ->add_option_function<std::vector<std::string>>(
                       "TEXT", join, "BRN-… or a message of the log, also without quotes")
                   ->option_text("CODE|TEXT")
                   ->check(CheckText);
  auto* markdown = explain->add_flag("--markdown", options.markdown, "The tables of the manual")
                       ->option_text(" ");
  text->excludes(markdown);
}

void AddWait(CLI::App& app, Options& options) {
  auto* wait = app.add_subcommand("wait", "Wait until a file made after now is accepted");
  wait->add_flag("--accepted", options.accepted, "Wait for an accepted file; always needed")
      ->option_text(" ")
      ->required();
  AddSeconds(*wait, "--timeout", options.timeout, "For so long, 0 for ever (600)");
}

void AddCommands(CLI::App& app, Options& options) {
  app.add_subcommand("config", "Check the configuration before a restart")
      ->add_option("DIR", options.argument, "A copy of the gateway's tree or of /tessel/Config")
      ->option_text(" ")
      ->check(CheckDirectory);
  AddLog(app, options);
  AddExplain(app, options);
  app.add_subcommand("file", "One file's life from packing to acceptance")
      ->add_option("NAME", options.argument, "S20261122040000.tar.gz, or with its folders")
      ->option_text(" ")
      ->required()
      ->check(CheckText);
  app.add_subcommand("gaps", "When files are missing: an hour a cell")
      ->add_option("--days", options.days, "How many days (31)")
      ->option_text("N")
      ->check(CLI::Range(1, 366));
  AddWait(app, options);
  app.add_subcommand("report", "Everything in one archive, for help from afar")
      ->add_option("FILE", options.argument, "The archive to make: FILE.tar.gz")
      ->option_text(" ")
      ->required()
      ->check(CheckText);
  app.add_subcommand("version", "Version, commit, build, libraries");
}

// What the library cannot check: an output of the verdict beside a command, or a missing word.
void CheckWhole(const Options& options) {
  const bool isOutput = options.monitor || options.json || options.metrics;
  if (isOutput && !options.command.empty())
    throw CLI::ExcludesError("--monitor, --json or --metrics", "the command " + options.command);
  if (options.command == "explain" && !options.markdown && options.argument.empty())
    throw CLI::RequiredError("CODE or TEXT");
}

}  // namespace

Parsed ParseOptions(int argc, char** argv) {
  Parsed parsed;
  Options& options = parsed.options;
  CLI::App app("Tells whether a gateway's data reach the cloud, and if not, why. Reads only.",
               "brennik-status");
  app.fallthrough();  // global options stand before or after the command
  app.require_subcommand(0, 1);
  AddGlobals(app, options);
  bool wantsVersion = false;
  app.add_flag("--version", wantsVersion, "The same as the command version");
  AddCommands(app, options);
  app.get_formatter()->column_width(28);
  app.footer(
      "The verdict is printed when no command is given.\n"
      "Exit status: 0 all normal, 1 warning, 2 critical, 3 unknown or bad arguments.\n"
      "See brennik-status(8).");
  try {
    app.parse(argc, argv);
    options.metrics = app.count("--metrics") > 0;
    if (options.metricsFile == "-") options.metricsFile.clear();
    for (const CLI::App* command : app.get_subcommands()) options.command = command->get_name();
    CheckWhole(options);
    if (wantsVersion) options.command = "version";
  } catch (const CLI::ParseError& error) {
    parsed.exitStatus = app.exit(error) == 0 ? 0 : kBadArguments;
  }
  return parsed;
}

}  // namespace status
