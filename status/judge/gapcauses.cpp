// Why files are missing, from the records of the logs.
#include <algorithm>
#include <string_view>

#include "collect/times.h"
#include "judge/gaps.h"
#include "util/text.h"

namespace status {
namespace {

// A service that is switched on writes at least every ten minutes.
constexpr long kSilentSeconds = 1200;

enum Clue { kNoValues, kNoPoint, kNoArchive, kMade };

bool Holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// The word after `before`.
std::string WordAfter(const std::string& text, std::string_view before) {
  const std::size_t at = text.find(before);
  if (at == std::string::npos) return {};
  const std::size_t begin = at + before.size();
  return text.substr(begin, text.find(' ', begin) - begin);
}

// The stamp of the file that a record of packing names.
std::time_t StampIn(const std::string& text) {
  std::string name(util::BaseName(WordAfter(text, "CreateRealDataJsonFile ")));
  if (name.ends_with(".dat")) name.replace(name.size() - 4, 4, ".tar.gz");
  return StampOf(name).value_or(0);
}

}  // namespace

CauseFinder::CauseFinder(std::vector<Gap>& gaps, long interval)
    : m_gaps(gaps), m_clues(gaps.size()), m_interval(interval) {}

Gap* CauseFinder::At(std::time_t time) {
  const std::time_t margin = m_interval / 2;
  auto gap = std::upper_bound(m_gaps.begin(), m_gaps.end(), time,
                              [](std::time_t when, const Gap& each) { return when < each.to; });
  if (gap == m_gaps.end() && !m_gaps.empty() && m_gaps.back().isOpen) gap = m_gaps.end() - 1;
  if (gap == m_gaps.end() || time < gap->from + margin) return nullptr;
  return gap->isOpen || time <= gap->to - margin ? &*gap : nullptr;
}

// The start may come after the last missing boundary.
void CauseFinder::NoteStart(const LogRecord& record) {
  Gap* gap = At(record.time);
  if (gap == nullptr) gap = At(record.time - m_interval);
  if (gap == nullptr || gap->started != 0) return;
  gap->started = record.time;
  gap->newestRecord = m_newest;
}

void CauseFinder::NoteFile(const LogRecord& record) {
  Gap* gap = At(StampIn(record.text));
  if (gap == nullptr) return;
  Clues& clues = Of(gap);
  if (Holds(record.text, "can't find id:")) {
    ++clues.counts[kNoPoint];
    gap->detail = WordAfter(record.text, "can't find id: ");
  } else if (Holds(record.text, "failed,errno ")) {
    ++clues.counts[kNoArchive];
    gap->detail = WordAfter(record.text, "failed,errno ");
  } else if (record.text.ends_with(" Success")) {
    ++clues.counts[kMade];
  }
}

void CauseFinder::Take(const LogRecord& record) {
  if (m_oldest == 0) m_oldest = record.time;
  if (record.text == "Brennik Start running") NoteStart(record);
  if (record.text.starts_with("Brennik is Set ")) m_isOff = record.text == "Brennik is Set off";
  m_newest = record.time;
  if (Holds(record.text, "CreateRealDataJsonFile ")) NoteFile(record);
  const Gap* gap = At(record.time);
  if (gap == nullptr) return;
  Clues& clues = Of(gap);
  ++clues.records;
  clues.isOff = m_isOff;
  if (record.text == "Brennik Get RealData error") ++clues.counts[kNoValues];
}

Cause CauseFinder::CauseOf(const Gap& gap, const Clues& clues) const {
  constexpr Cause kCauses[] = {Cause::kNothingPublished, Cause::kPointMissing,
                               Cause::kPackingFailed, Cause::kNotRecorded};
  const auto* const most = std::max_element(std::begin(clues.counts), std::end(clues.counts));
  if (*most > 0) return kCauses[most - std::begin(clues.counts)];
  if (gap.started != 0) return Cause::kNotRunning;
  if (clues.isOff) return Cause::kSwitchedOff;
  if (m_oldest == 0 || gap.from < m_oldest) return Cause::kLogsGone;
  const bool isLong = gap.to - gap.from > kSilentSeconds;
  return clues.records == 0 && isLong ? Cause::kSilent : Cause::kUnknown;
}

void CauseFinder::Finish() {
  for (Gap& gap : m_gaps) {
    if (gap.cause != Cause::kOtherPace) gap.cause = CauseOf(gap, Of(&gap));
    if (gap.cause != Cause::kPointMissing && gap.cause != Cause::kPackingFailed) gap.detail.clear();
  }
}

std::string CauseText(const Gap& gap) {
  switch (gap.cause) {
    case Cause::kLogsGone:
      return "unknown, the logs of that time are gone";
    case Cause::kNotRunning:
      if (gap.newestRecord == 0) {
        return "the service did not run until " + LocalText(gap.started) +
               ", and no older record is kept: was the gateway off?";
      }
      return "the service did not run from " + LocalText(gap.newestRecord) + " to " +
             LocalText(gap.started);
    case Cause::kSwitchedOff:
      return "the service was switched off by sys.xml";
    case Cause::kNothingPublished:
      return "the acquisition side published nothing (Brennik Get RealData error)";
    case Cause::kPointMissing:
      return "point " + gap.detail + " is configured and had no value";
    case Cause::kPackingFailed:
      return "packing failed, errno " + gap.detail +
             (gap.detail == "28" ? ": the card was full" : "");
    case Cause::kNotRecorded:
      return "packed and not recorded: the ledger was locked or the service ended";
    case Cause::kSilent:
      return "nothing was logged and the service did not start: the clock was set, or it stood "
             "still";
    case Cause::kOtherPace:
      return util::Format(
          "a file every %ld s: another interval was set, or making a file takes longer",
          gap.distance);
    case Cause::kUnknown:
      break;
  }
  return "unknown, the logs do not tell";
}

std::string JudgedSent(const LogRecord& record) {
  if (!Holds(record.text, "judge it send OK")) return {};
  for (const char* before : {"Can not find File ", "file "}) {
    if (record.text.starts_with(before)) return WordAfter(record.text, before);
  }
  return {};
}

}  // namespace status
