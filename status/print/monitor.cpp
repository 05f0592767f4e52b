#include <cstdint>

#include "print/print.h"
#include "util/text.h"

namespace status {
namespace {

// In bytes, so that a line stays under 80 characters however they are counted.
constexpr std::size_t kLineBytes = 79;

// One line without "|", which begins the performance data.
std::string OneLine(std::string text) {
  for (char& byte : text) {
    if (byte == '\n' || byte == '\r' || byte == '\t') byte = ' ';
    if (byte == '|') byte = '/';
  }
  return Visible(text);
}

// A value of the performance data: 'label'=valueUNIT;warning;critical;0.
std::string Datum(const char* label, std::optional<std::int64_t> value, const char* unit,
                  const std::string& limits) {
  if (!value) return util::Format(" '%s'=U", label);
  return util::Format(" '%s'=%lld%s;%s;0", label, static_cast<long long>(*value), unit,
                      limits.c_str());
}

std::string Limits(const std::optional<Range>& warning, const std::optional<Range>& critical) {
  return (warning ? warning->Text() : "") + ";" + (critical ? critical->Text() : "");
}

std::string CardData(const Facts& facts) {
  if (!facts.card.space) return {};
  const Space& space = *facts.card.space;
  std::string data =
      Datum("card_free_bytes", static_cast<std::int64_t>(space.freeBytes), "B", ";") +
      util::Format(";%llu", static_cast<unsigned long long>(space.totalBytes));
  if (space.totalInodes == 0) return data;
  return data + Datum("card_free_inodes", static_cast<std::int64_t>(space.freeInodes), "", ";") +
         util::Format(";%llu", static_cast<unsigned long long>(space.totalInodes));
}

std::string PerformanceData(const Facts& facts, const Thresholds& thresholds) {
  const Thresholds inForce = InForce(thresholds, facts);
  const Results results = ResultsOf(facts);
  std::string data = Datum("newest_accepted_age", results.newestAcceptedAge, "s",
                           Limits(inForce.warningAge, inForce.criticalAge)) +
                     Datum("oldest_pending_age", results.oldestPendingAge, "s", ";") +
                     Datum("pending", results.pending, "",
                           Limits(inForce.warningPending, inForce.criticalPending));
  if (results.catchUpSeconds) data += Datum("catch_up", results.catchUpSeconds, "s", ";");
  return data + CardData(facts);
}

}  // namespace

std::string MonitorText(const Facts& facts, const Verdict& verdict, const Thresholds& thresholds) {
  std::string line =
      std::string("BRENNIK ") + LevelName(verdict.level) + " - " + OneLine(verdict.text);
  constexpr std::size_t kWithoutBlank = kLineBytes - 1;
  constexpr char kMore[] = "...";
  if (line.size() > kWithoutBlank)
    line = std::string(CutBytes(line, kWithoutBlank - sizeof kMore + 1)) + kMore;
  return line + " |" + PerformanceData(facts, thresholds) + "\n";
}

}  // namespace status
