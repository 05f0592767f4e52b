// config: checks a configuration before a restart.
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>

#include "collect/machine.h"
#include "http/http.h"
#include "judge/archivesize.h"
#include "judge/codes.h"
#include "judge/configcheck.h"
#include "main/commands.h"
#include "print/jsonwriter.h"
#include "print/terminal.h"
#include "util/text.h"

namespace status {
namespace {

constexpr int kSchema = 1;
constexpr int kNameColumns = 16;

Level LevelOf(const ConfigFault& fault) {
  return fault.cost == Cost::kStart ? Level::kCritical : Level::kWarning;
}

// "/tessel/Config/sys.xml:12", or without the line when that is unknown.
std::string Where(const ConfigFault& fault) {
  return fault.line == 0 ? fault.file : util::Format("%s:%ld", fault.file.c_str(), fault.line);
}

std::string Coloured(const Terminal& terminal, Level level) {
  const char* colour = level == Level::kOk ? "green" : level == Level::kWarning ? "yellow" : "red";
  return terminal.Colour(colour, LevelName(level));
}

// The faults, and after the last one of each code its remedy.
std::string FaultsText(const ConfigCheck& check, const Terminal& terminal) {
  std::string text;
  std::string remedies;
  for (const ConfigFault& fault : check.faults) {
    text += util::Format("%s: %s %s: %s\n", Visible(Where(fault)).c_str(),
                         Coloured(terminal, LevelOf(fault)).c_str(), fault.code.c_str(),
                         Visible(fault.text).c_str());
    const Code* code = FindCode(fault.code);
    const std::string start = "  " + fault.code + ": ";
    if (code == nullptr || remedies.find(start) != std::string::npos) continue;
    remedies += start + code->remedy + " (" + code->anchor + ")\n";
  }
  return remedies.empty() ? text : text + "\nWhat to do\n" + remedies;
}

std::string ValuesText(const ConfigCheck& check) {
  if (check.values.empty()) return "";
  std::string text = "\nValues in force\n";
  for (const ConfigValue& value : check.values) {
    text += "  " + Padded(value.name, kNameColumns);
    if (!value.isWritten) {
      text += Visible(value.inForce) + " (left out)";
    } else if (value.written == value.inForce) {
      text += Visible(value.inForce);
    } else {
      text += Visible(value.written) + " -> " + Visible(value.inForce);
    }
    if (!value.note.empty()) text += "  " + value.note;
    text += '\n';
  }
  return text;
}

std::string RunningText(const ConfigCheck& check) {
  if (!check.isCompared) return "\nNot compared with a running service\n";
  for (const ConfigFault& fault : check.faults) {
    if (fault.code == "BRN-CONFIG-RESTART")
      return "\nThe running service: restart needed, see above\n";
  }
  return check.started ? "\nThe running service has this configuration, since " +
                             LocalText(check.started->time) + "\n"
                       : "\nThe start of the running service is unknown; files may have changed\n";
}

std::string SnapshotText(const Snapshot& snapshot, std::size_t fitting) {
  if (snapshot.archiveBytes == 0) return "";
  return util::Format(
      "\nA snapshot\n"
      "  %zu points of %zu devices on %zu channels; packing takes about %.1f s\n"
      "  the archive has about %zu of %lld bytes (%s); about %zu points fit\n",
      snapshot.points, snapshot.devices, snapshot.channels, snapshot.packingSeconds,
      snapshot.archiveBytes, static_cast<long long>(kFileLimitBytes) - 1,
      snapshot.hasLiveValues ? "with the values published now" : "with typical values", fitting);
}

void PrintText(const ConfigCheck& check, std::size_t fitting) {
  const Terminal terminal = Terminal::OfStandardOutput();
  const std::string text = FaultsText(check, terminal) + ValuesText(check) + RunningText(check) +
                           SnapshotText(check.snapshot, fitting) + "\n" +
                           Coloured(terminal, check.level) + ": " + check.text + "\n";
  std::fputs(text.c_str(), stdout);
}

void WriteFault(JsonWriter& json, const ConfigFault& fault) {
  const Code* code = FindCode(fault.code);
  json.Object({}, [&] {
    json.Text("code", fault.code);
    json.Text("level", LevelName(LevelOf(fault)));
    json.Text("text", fault.text);
    json.Time("since", "since_unix_seconds", std::nullopt, "a fault of a file has no time");
    json.Text("remedy", code == nullptr ? "" : code->remedy, "none is known");
    json.Text("anchor", code == nullptr ? "" : code->anchor, "none is known");
    json.Text("file", fault.file);
    json.Number("line", fault.line == 0 ? std::nullopt : std::optional<std::int64_t>(fault.line),
                "no single line is meant");
  });
}

void WriteValue(JsonWriter& json, const ConfigValue& value) {
  json.Object({}, [&] {
    json.Text("name", value.name);
    if (value.isWritten) {
      json.Text("written", value.written);
    } else {
      json.Null("written", "left out");
    }
    json.Text("in_force", value.inForce);
    json.Text("note", value.note);
  });
}

void WriteSnapshot(JsonWriter& json, const Snapshot& snapshot, std::size_t fitting) {
  const auto number = [&json](const char* key, std::size_t value) {
    json.Number(key, static_cast<std::int64_t>(value));
  };
  json.Object("snapshot", [&] {
    number("channels", snapshot.channels);
    number("devices", snapshot.devices);
    number("points", snapshot.points);
    json.Number("packing_milliseconds", std::llround(snapshot.packingSeconds * 1000));
    number("archive_bytes", snapshot.archiveBytes);
    json.Number("archive_limit_bytes", kFileLimitBytes - 1);
    number("most_points", fitting);
    json.Flag("live_values", snapshot.hasLiveValues);
  });
}

void PrintJson(const ConfigCheck& check, std::size_t fitting) {
  JsonWriter json;
  json.Number("schema", kSchema);
  json.Object("verdict", [&] {
    json.Text("level", LevelName(check.level));
    json.Number("exit_status", static_cast<int>(check.level));
    json.Text("text", check.text);
  });
  json.Array("findings", [&] {
    for (const ConfigFault& fault : check.faults) WriteFault(json, fault);
  });
  json.Array("values", [&] {
    for (const ConfigValue& value : check.values) WriteValue(json, value);
  });
  json.Flag("compared_with_service", check.isCompared);
  WriteSnapshot(json, check.snapshot, fitting);
  std::fputs(json.Finish().c_str(), stdout);
}

}  // namespace

int CheckConfig(const Options& options) {
  const Place place(options.argument.empty() ? options.root : options.argument);
  const Configuration configuration = LoadConfiguration(place);
  LogFacts logs;
  Segment segment;
  bool isRunning = false;
  if (place.IsLive()) {
    const auto process = FindService(place);
    isRunning = !process || *process != 0;
    if (isRunning) logs = CollectLogFacts(place, std::time(nullptr));
    segment = LookAtSegment(place);
  }
  const ConfigCheck check = CheckConfiguration(place, configuration, isRunning ? &logs : nullptr,
                                               place.IsLive() ? &segment : nullptr);
  std::size_t fitting = 0;
  if (configuration.groups != nullptr) {
    const bool hasLiveValues = check.snapshot.hasLiveValues;
    fitting = PointsThatFit(configuration, hasLiveValues ? &*segment.values : nullptr);
  }
  options.json ? PrintJson(check, fitting) : PrintText(check, fitting);
  return static_cast<int>(check.level);
}

}  // namespace status
