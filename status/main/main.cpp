// brennik-status: reads what the service leaves on card, log and configuration, and says whether
// data reach the cloud. It never writes and never sends.
#include <map>
#include <string>

#include "main/commands.h"

int main(int argc, char** argv) {
  const status::Parsed parsed = status::ParseOptions(argc, argv);
  if (parsed.exitStatus) return *parsed.exitStatus;
  static const std::map<std::string, int (*)(const status::Options&)> kCommands = {
      {"", status::ShowVerdict},       {"config", status::CheckConfig},
      {"log", status::ShowLog},        {"explain", status::Explain},
      {"file", status::ShowFile},      {"gaps", status::ShowGaps},
      {"wait", status::WaitAccepted},  {"report", status::MakeReport},
      {"version", status::ShowVersion}};
  return status::EndOfOutput(kCommands.at(parsed.options.command)(parsed.options));
}
