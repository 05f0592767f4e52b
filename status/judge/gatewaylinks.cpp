#include "collect/times.h"
#include "judge/links.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {
namespace {

using util::Format;

constexpr std::uint64_t kLeastFreeBytes = 65536;  // room for a text, its archive and the journal
constexpr std::uint64_t kNearlyFullPercent = 5;
constexpr long kManyStarts = 4;  // within an hour

// A fault's sentence with the name of its file: the first line is read without the evidence.
std::string Named(const ConfigFault& fault) {
  const std::string name(util::BaseName(fault.file));
  if (fault.text.starts_with("cannot be ")) return name + " " + fault.text;
  const std::string line = fault.line > 0 ? Format("line %ld: ", fault.line) : "";
  const bool isUnusable = fault.code == "BRN-CONFIG-SYSTEM" ||
                          fault.code == "BRN-CONFIG-IDENTITY" ||
                          fault.code == "BRN-CONFIG-CHANNELS" || fault.code == "BRN-CONFIG-DEVICE";
  return name + (isUnusable ? " cannot be used: " : ": ") + line + fault.text;
}

// A service that still runs with what it read before the change only stops at its next start.
void JudgeBrokenConfiguration(Judging& judging, const std::string& link, const ConfigFault& fault) {
  const LogFacts& logs = judging.facts.logs;
  const bool stillWorks = judging.IsRunning() && !logs.endedEarly && logs.isOn.value_or(true);
  const Said said{
      .text = Named(fault) + (stillWorks ? "; the service runs with what it has read before" : ""),
      .since = TimeOf(logs.endedEarly),
      .evidence = fault.line > 0 ? Format("%s:%ld", fault.file.c_str(), fault.line) : fault.file,
      .level = stillWorks ? std::optional(Level::kWarning) : Level::kCritical};
  if (stillWorks) {
    judging.road.Noted(link, fault.code.c_str(), said);
  } else {
    judging.road.Broken(link, fault.code.c_str(), said);
  }
}

// Whether a file made since the service's start was accepted. The ledger can say so before the log.
bool HasSent(const Facts& facts) {
  const auto& newest = facts.newestAcceptedByNow;
  return facts.logs.uploads.succeeded ||
         (newest && facts.logs.started && *newest->stamp >= facts.logs.started->time);
}

}  // namespace

void JudgeCard(Judging& judging, const std::string& link) {
  const Fact<bool>& device = judging.facts.card.device;
  if (!device) return judging.road.Skipped(link, device.reason);
  if (*device) return judging.road.Good(link, Format("%s is there", paths::kCardDevice));
  judging.road.Broken(link, "BRN-CARD-MISSING",
                      {.text = Format("there is no card: %s is missing", paths::kCardDevice),
                       .since = TimeOf(judging.facts.logs.endedEarly),
                       .evidence = Format("ls -l %s", paths::kCardDevice)});
}

void JudgeMount(Judging& judging, const std::string& link) {
  const Card& card = judging.facts.card;
  if (!card.mounted) return judging.road.Skipped(link, card.mounted.reason);
  if (!*card.mounted) {
    return judging.road.Broken(link, "BRN-CARD-NOT-MOUNTED",
                               {.text = Format("nothing is mounted at %s", paths::kCardMount),
                                .evidence = "/proc/self/mountinfo"});
  }
  if (card.readOnly && *card.readOnly) {
    return judging.road.Broken(
        link, "BRN-CARD-READ-ONLY",
        {.text = "the card is read-only", .evidence = "/proc/self/mountinfo"});
  }
  judging.road.Good(link, Format("mounted at %s", paths::kCardMount));
}

void JudgeSpace(Judging& judging, const std::string& link) {
  const Fact<Space>& space = judging.facts.card.space;
  if (!space) return judging.road.Skipped(link, space.reason);
  const bool countsInodes = space->totalInodes != 0;
  const std::string free = Format(
      "%llu MiB%s free", static_cast<unsigned long long>(space->freeBytes >> 20),
      countsInodes
          ? Format(" and %llu inodes", static_cast<unsigned long long>(space->freeInodes)).c_str()
          : "");
  const std::string evidence = Format("df %s; df -i %s", paths::kCardMount, paths::kCardMount);
  const bool lacksBytes = space->freeBytes < kLeastFreeBytes;
  if (lacksBytes || (countsInodes && space->freeInodes == 0)) {
    return judging.road.Broken(
        link, "BRN-CARD-FULL",
        {.text = lacksBytes ? "the card is full" : "the card is full: it has no inode left",
         .since = TimeOf(judging.facts.logs.packing.firstFailed),
         .evidence = evidence});
  }
  const auto isLow = [](std::uint64_t left, std::uint64_t total) {
    return left * 100 < total * kNearlyFullPercent;
  };
  if (isLow(space->freeBytes, space->totalBytes) ||
      (countsInodes && isLow(space->freeInodes, space->totalInodes))) {
    return judging.road.Noted(link, "BRN-CARD-NEARLY-FULL",
                              {.text = "the card is nearly full: " + free, .evidence = evidence});
  }
  judging.road.Good(link, free);
}

void JudgeConfiguration(Judging& judging, const std::string& link) {
  const Configuration& configuration = judging.facts.configuration;
  if (judging.facts.LacksConfiguration()) return judging.road.Skipped(link, kNoConfigurationCopied);
  for (const ConfigFault& fault : configuration.faults) {
    if (fault.cost == Cost::kStart) return JudgeBrokenConfiguration(judging, link, fault);
  }
  if (!configuration.faults.empty()) {
    const ConfigFault& fault = configuration.faults.front();
    const std::size_t more = configuration.faults.size() - 1;
    return judging.road.Noted(
        link, fault.code.c_str(),
        {.text = Named(fault) + (more == 0 ? "" : Format(" (and %zu more)", more)),
         .evidence = fault.line > 0 ? Format("%s:%ld", fault.file.c_str(), fault.line) : fault.file,
         .level = Level::kWarning});
  }
  if (judging.IsRunning() && judging.facts.logs.started &&
      configuration.newestChange > judging.facts.logs.started->time &&
      configuration.newestChange <= judging.facts.now) {
    return judging.road.Noted(link, "BRN-CONFIG-RESTART",
                              {.text = "the configuration was changed after the service's start",
                               .since = configuration.newestChange,
                               .evidence = "brennik-status config",
                               .level = Level::kWarning});
  }
  judging.road.Good(link, configuration.points == nullptr
                              ? "can be used"
                              : Format("%zu points, serial number %s", configuration.points->size(),
                                       configuration.serial.c_str()));
}

void JudgeProcess(Judging& judging, const std::string& link) {
  const Facts& facts = judging.facts;
  if (!facts.process) return judging.road.Skipped(link, facts.process.reason);
  if (!judging.IsRunning()) {
    return judging.road.Broken(link, "BRN-PROCESS-DOWN",
                               {.text = "the service does not run",
                                .since = facts.logs.newestRecord,
                                .evidence = "pidof brennik"});
  }
  const bool isHealed = HasSent(facts) || !judging.IsWithinGrace();
  if (facts.logs.startsInLastHour >= kManyStarts && !isHealed) {
    return judging.road.Noted(link, "BRN-PROCESS-RESTARTS",
                              {.text = Format("the service has started %ld times in the last hour",
                                              facts.logs.startsInLastHour),
                               .since = TimeOf(facts.logs.started),
                               .evidence = WhereOf(facts.logs.started)});
  }
  const std::string process = Format("process %ld", static_cast<long>(*facts.process));
  judging.road.Good(link, facts.logs.started
                              ? process + ", started " + LocalText(facts.logs.started->time)
                              : process);
}

void JudgeSwitch(Judging& judging, const std::string& link) {
  const Facts& facts = judging.facts;
  if (!facts.logs.isOn && !facts.configuration.starts) {
    return judging.road.Skipped(link, "neither the log nor a configuration says so");
  }
  if (facts.logs.isOn.value_or(facts.configuration.isOn)) {
    return judging.road.Good(link, "the service is switched on");
  }
  judging.road.Broken(link, "BRN-SWITCHED-OFF",
                      {.text = "the service is switched off",
                       .since = TimeOf(facts.logs.setOnOff),
                       .evidence = facts.logs.setOnOff ? facts.logs.setOnOff->where
                                                       : std::string(paths::kSystemFile)});
}

void JudgeSegment(Judging& judging, const std::string& link) {
  const Facts& facts = judging.facts;
  if (!facts.segment.present) return judging.road.Skipped(link, facts.segment.present.reason);
  if (!*facts.segment.present || !facts.segment.values) {
    return judging.road.Broken(
        link, "BRN-SEGMENT-MISSING",
        {.text = *facts.segment.present
                     ? "the segment of live values cannot be used: " + facts.segment.values.reason
                     : "there is no segment of live values",
         .since = TimeOf(facts.logs.segment.firstFailed),
         .evidence = facts.logs.segment.failed ? facts.logs.segment.failed->where
                                               : "grep -w 67843 /proc/sysvipc/shm"});
  }
  if (facts.unpublished && !facts.unpublished->empty()) {
    const std::uint32_t first = facts.unpublished->front();
    const std::size_t count = facts.unpublished->size();
    return judging.road.Broken(
        link, "BRN-SEGMENT-UNPUBLISHED",
        {.text = Format("%zu configured point%s not published, the first is %08x", count,
                        count == 1 ? " is" : "s are", first),
         .since = TimeOf(facts.logs.points.firstFailed),
         .evidence =
             facts.logs.points.failed ? facts.logs.points.failed->where : "brennik-status config"});
  }
  judging.road.Good(link, Format("%zu values are published", facts.segment.values->size()));
}

}  // namespace status
