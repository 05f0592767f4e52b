#include "main/options.h"

#include <CLI/CLI.hpp>
#include <map>

#include "judge/range.h"

namespace status {
namespace {

std::string CheckRange(const std::string& text) {
  return Range::Parse(text) ? "" : "is no range: " + text;
}

void AddGlobals(CLI::App& app, Options& options) {
  app.add_option("--root", options.root, "Look at the copy of a gateway or of its card below DIR")
      ->type_name("DIR")
      ->check(CLI::ExistingDirectory);
  app.add_option("--grace", options.grace,
                 "Seconds after a start in which no accepted file is expected (300)")
      ->type_name("S")
      ->check(CLI::NonNegativeNumber);
  auto* monitor = app.add_flag("--monitor", options.monitor,
                               "One line for monitoring systems; exit status 0 to 3");
  auto* json = app.add_flag("--json", options.json, "Everything as JSON");
  auto* metrics = app.add_option("--metrics", options.metricsFile,
                                 "Prometheus text format, to FILE or to standard output")
                      ->type_name("[FILE]")
                      ->expected(0, 1);
  monitor->excludes(json)->excludes(metrics);
  json->excludes(metrics);
  const auto range = [&app](const char* name, std::string& value, const char* help) {
    app.add_option(name, value, help)->type_name("RANGE")->check(CheckRange);
  };
  range("--warning-age", options.warningAge, "Age of the newest accepted file, in seconds");
  range("--critical-age", options.criticalAge, "The same, critical");
  range("--warning-pending", options.warningPending, "Number of pending files");
  range("--critical-pending", options.criticalPending, "The same, critical");
}

void AddCommands(CLI::App& app, Options& options) {
  auto* config = app.add_subcommand("config", "Check the configuration before a restart");
  config->add_option("DIR", options.argument, "A copy of the gateway's tree or of /tessel/Config")
      ->check(CLI::ExistingDirectory);

  auto* log = app.add_subcommand("log", "Both logs as one stream");
  log->add_option("--since", options.since, "RFC 3339, or YYYY-MM-DD hh:mm[:ss] in local time")
      ->type_name("T");
  log->add_option("--level", options.level, "The lowest level to show")
      ->type_name("L")
      ->transform(CLI::IsMember({"INFO", "WARN", "ERROR", "FATAL"}, CLI::ignore_case));
  log->add_flag("--follow", options.follow, "Go on with new records");

  auto* explain = app.add_subcommand("explain", "What a code or a message means and what to do");
  auto* text = explain->add_option("TEXT", options.argument, "BRN-… or a message of the log");
  auto* markdown = explain->add_flag("--markdown", options.markdown, "The tables of the manual");
  text->excludes(markdown);

  app.add_subcommand("file", "One file's life from packing to acceptance")
      ->add_option("NAME", options.argument, "S20261122040000.tar.gz, or with its folders")
      ->required();

  app.add_subcommand("gaps", "The month as text, an hour a cell")
      ->add_option("--days", options.days, "How many days (31)")
      ->type_name("N")
      ->check(CLI::Range(1, 366));

  auto* wait = app.add_subcommand("wait", "Wait until a file made after now is accepted");
  wait->add_flag("--accepted", options.accepted, "Wait for an accepted file")->required();
  wait->add_option("--timeout", options.timeout, "Seconds, 0 for ever (600)")
      ->type_name("S")
      ->check(CLI::NonNegativeNumber);

  app.add_subcommand("report", "Everything in one archive, for help from afar")
      ->add_option("FILE", options.argument, "The archive to make, FILE.tar.gz")
      ->required();

  app.add_subcommand("version", "Version, commit, build, libraries");
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
  AddCommands(app, options);
  app.footer(
      "Exit status: 0 all normal, 1 warning, 2 critical, 3 unknown or bad arguments.\n"
      "See brennik-status(8).");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    parsed.exitStatus = app.exit(error) == 0 ? 0 : kBadArguments;
    return parsed;
  }
  options.metrics = app.count("--metrics") > 0;
  for (const CLI::App* command : app.get_subcommands()) options.command = command->get_name();
  return parsed;
}

}  // namespace status
