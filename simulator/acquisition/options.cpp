#include "acquisition/options.h"

#include "program/commandline.h"

namespace {

constexpr std::int64_t kLongestPeriod = 3'600'000;      // milliseconds
constexpr std::int64_t kLongestEventInterval = 86'400;  // seconds
constexpr std::int64_t kLargestBurst = 1000;            // events
constexpr std::int64_t kLongestHistory = 10'080;        // minutes before the start, a week

program::Option NumberOption(const char* name, std::int64_t least, std::int64_t most,
                             std::int64_t* number) {
  return {name, [=](const std::string& text) { *number = program::ReadNumber(text, least, most); }};
}

}  // namespace

Options ParseOptions(int argc, char* const* argv) {
  Options options;
  RecordingPlan& recording = options.recording;
  std::int64_t period = options.period.count();
  program::ReadCommandLine(
      argc, argv,
      {{"--help", [&](const std::string&) { options.help = true; }, true},
       {"--no-history", [&](const std::string&) { recording.history = false; }, true},
       {"--control", [&](const std::string& text) { options.controlSocket = text; }},
       NumberOption("--period", 1, kLongestPeriod, &period),
       NumberOption("--event-interval", 0, kLongestEventInterval, &recording.eventInterval),
       NumberOption("--burst", 0, kLargestBurst, &recording.burst),
       NumberOption("--history-minutes", 0, kLongestHistory, &recording.historyMinutes)});
  options.period = std::chrono::milliseconds(period);
  return options;
}

std::string HelpText() {
  return "Usage: acquisition-simulator [OPTION]...\n"
         "Plays the gateway's acquisition side until it gets SIGINT or SIGTERM. It reads the "
         "plant\n"
         "from /tessel/Config/Channel-template.xml, publishes a live value for every point in\n"
         "shared memory, and records alarm events and history on the SD card. It replaces a\n"
         "segment that an earlier run has left behind.\n\n"
         "  --period MS          refresh the values every MS milliseconds, 1 to 3600000 (1000)\n"
         "  --event-interval S   every S seconds record the latest alarm, if there was a new one,\n"
         "                       1 to 86400; 0 for none (60)\n"
         "  --burst N            at the start record the latest N alarms of the past day at once,\n"
         "                       0 to 1000 (0)\n"
         "  --history-minutes M  fill in the history of the M minutes before the start,\n"
         "                       0 to 10080 (0)\n"
         "  --no-history         record no history\n"
         "  --control SOCKET     take orders on this Unix socket, see below (none)\n"
         "  --help               show this text\n\n"
         "Events go to /media/mmcblk0p1/YYYYMM_event.db, history to\n"
         "/media/mmcblk0p1/demand_history.db.\n\n"
         "The control SOCKET takes a line of JSON and answers with one:\n"
         "  {\"do\":\"pause\"}                    the values stop changing, nothing is recorded\n"
         "  {\"do\":\"empty\"}                    the segment holds no records\n"
         "  {\"do\":\"leave-out\",\"data_id\":N}  one point has no record; the first without N\n"
         "  {\"do\":\"burst\",\"events\":N}       record the latest N alarms of the past day\n"
         "  {\"do\":\"normal\"}                   end the first three\n"
         "  {\"do\":\"state\"}                    tell what stands\n\n"
         "Exit status: 0 stopped by a signal, 1 cannot read the template or make the segment,\n"
         "2 bad command line.\n";
}
