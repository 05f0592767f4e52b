#include <algorithm>
#include <array>

#include "print/print.h"
#include "util/text.h"

namespace status {
namespace {

constexpr std::size_t kLabelColumns = 10;

const char* ColourOf(Level level) {
  static constexpr std::array kColours = {"green", "yellow", "red", "yellow"};
  return kColours.at(static_cast<std::size_t>(level));
}

struct Mark {
  const char* text;
  const char* colour;
};
Mark MarkOf(LinkState state) {
  static constexpr std::array kMarks = {Mark{"ok", "green"}, Mark{"!", "yellow"},
                                        Mark{"BROKEN", "red"}, Mark{"-", "dim"}};
  return kMarks.at(static_cast<std::size_t>(state));
}

std::string RoadText(const Verdict& verdict, const Terminal& terminal) {
  int names = 0;
  for (const Link& link : verdict.road) names = std::max(names, Columns(link.name));
  std::string text;
  for (const Link& link : verdict.road) {
    const Mark mark = MarkOf(link.state);
    const std::string head = "  " + Padded(mark.text, 6) + "  " + Padded(link.name, names) + "  ";
    const int indent = Columns(head);
    const std::string line = Wrapped(head + Visible(link.text), terminal.width, indent);
    text += "  " + terminal.Colour(mark.colour, Padded(mark.text, 6)) + line.substr(8) + "\n";
  }
  return text;
}

std::string Line(const char* label, const std::string& value, const Terminal& terminal) {
  if (value.empty()) return {};
  const std::string head = "    " + Padded(label, static_cast<int>(kLabelColumns));
  return Wrapped(head + Visible(value), terminal.width, Columns(head)) + "\n";
}

std::string FindingText(const Finding& finding, const Terminal& terminal) {
  std::string text = "\n  " + terminal.Colour(ColourOf(finding.level), LevelName(finding.level)) +
                     " " + terminal.Colour("bold", finding.code) + "\n";
  text += Line("what", finding.text, terminal);
  text +=
      Line("since",
           finding.since ? LocalText(*finding.since) : "unknown, because " + finding.sinceReason,
           terminal);
  text += Line("evidence", finding.evidence, terminal);
  // A remedy is copied: it is not broken into lines.
  text += "    " + Padded("remedy", static_cast<int>(kLabelColumns)) + finding.remedy + "\n";
  text += Line("manual", finding.anchor, terminal);
  return text;
}

}  // namespace

std::string VerdictText(const Facts& facts, const Verdict& verdict, const Terminal& terminal) {
  const bool hasCause = !verdict.findings.empty() && verdict.level != Level::kOk;
  std::string text = terminal.Colour(ColourOf(verdict.level), LevelName(verdict.level)) + ": " +
                     Visible(verdict.text) +
                     (hasCause ? " (" + verdict.findings.front().code + ")" : "") + "\n\n";
  text += RoadText(verdict, terminal);
  for (const Finding& finding : verdict.findings) text += FindingText(finding, terminal);
  if (!facts.place.IsLive()) text += "\n  This is a copy: " + Visible(facts.place.Root()) + "\n";
  return text;
}

}  // namespace status
