// When live values were packed and when not, and why not.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "collect/ledger.h"
#include "collect/logs.h"

namespace status {

// A file of live values.
struct Packed {
  std::time_t stamp = 0;
  bool accepted = false;
};

// The files of live values by their stamps; at most one row a stamp. Rows of other kinds and
// without a stamp are passed over.
class PackedFiles {
 public:
  void Add(const LedgerRow& row);
  // Sorts them. To be called once, after the last Add.
  void Sort();
  const std::vector<Packed>& All() const { return m_files; }
  // The most frequent distance between neighbours, in seconds; 0: there are none.
  long MostFrequentDistance() const;

 private:
  std::vector<Packed> m_files;
};

enum class Hour {
  kNone,      // the clock skips this hour
  kBefore,    // before the oldest file that the ledger has
  kFuture,    // it has not begun
  kNothing,   // no file
  kPartly,    // some files are missing
  kPending,   // at least one file is not accepted
  kComplete,  // every file is there and accepted
};

// The 24 hours of the local day in which `when` lies. A file counts as missing when its boundary
// passed more than an interval ago.
std::vector<Hour> HoursOfDay(const std::vector<Packed>& files, long interval, std::time_t when,
                             std::time_t now);

enum class Cause {
  kLogsGone,          // the logs do not reach back
  kNotRunning,        // the service did not run: it starts at the gap's end
  kSwitchedOff,       // it ran and was switched off
  kNothingPublished,  // no live values in the segment
  kPointMissing,      // a point without a value
  kPackingFailed,     // an archive could not be made
  kNotRecorded,       // packed, and not in the ledger
  kSilent,     // no record for long, and no start: the clock was set, or the gateway stood still
  kOtherPace,  // files at another, steady distance
  kUnknown,    // the logs reach back and do not tell
};

// A stretch without files, between two that are there.
struct Gap {
  std::time_t from = 0;  // stamp of the last file before it
  std::time_t to = 0;    // stamp of the first file after it, or the time of the search
  long missing = 0;      // files, against the interval
  long distance = 0;     // of the files, when they come at a steady distance; else 0
  bool isOpen = false;   // it has not ended
  Cause cause = Cause::kUnknown;
  std::time_t newestRecord = 0;  // before the service's start at its end; 0: none is kept
  std::time_t started = 0;       // the service's start at its end; 0: none
  std::string detail;            // what the record says: the point, the error number
};

// The gaps since `since`, the oldest first. `interval` is in seconds, above 0.
std::vector<Gap> FindGaps(const std::vector<Packed>& files, long interval, std::time_t since,
                          std::time_t now);

// Finds the likely cause of each gap from the records of the logs, which must come in the order of
// their times.
class CauseFinder {
 public:
  CauseFinder(std::vector<Gap>& gaps, long interval);
  void Take(const LogRecord& record);
  // Writes the causes. To be called once, after the last record.
  void Finish();

 private:
  struct Clues {
    std::uint32_t records = 0;
    std::uint32_t counts[4] = {};  // see Clue
    bool isOff = false;
  };

  void NoteStart(const LogRecord& record);
  void NoteFile(const LogRecord& record);
  // The gap that holds this time, its ends and half an interval left out; null: none.
  Gap* At(std::time_t time);
  Clues& Of(const Gap* gap) { return m_clues[static_cast<std::size_t>(gap - m_gaps.data())]; }
  Cause CauseOf(const Gap& gap, const Clues& clues) const;

  std::vector<Gap>& m_gaps;
  std::vector<Clues> m_clues;  // one a gap
  long m_interval;
  std::time_t m_oldest = 0;  // oldest record; 0: none yet
  std::time_t m_newest = 0;  // newest record so far
  bool m_isOff = false;
};

// One sentence about the cause, without a full stop.
std::string CauseText(const Gap& gap);

// The file that a record calls judged sent; empty for any other record.
std::string JudgedSent(const LogRecord& record);

}  // namespace status
