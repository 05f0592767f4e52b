// The newest records of both logs, repeats collapsed.
#pragma once

#include <cstddef>
#include <ctime>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "collect/logs.h"
#include "util/mutex.h"

namespace console {

struct KeptRecord {
  long id = 0;        // rises with every record
  long replaces = 0;  // id that this record had before it was repeated; 0: none
  std::time_t first = 0;
  std::time_t last = 0;  // of the last repeat
  std::string level;
  std::string text;
  std::string file;
  long line = 0;  // of the last repeat
  long count = 1;
};

struct LogQuery {
  std::string level;  // at least this one: "INFO", "WARN", "ERROR", "FATAL"; empty: all
  std::string text;   // a part of the message, in either case; empty: all
  long after = 0;     // greater ids
  long before = 0;    // lesser ids; 0: all
  std::size_t limit = 100;
};

// What the level of a query leaves out, though the text fits.
struct HiddenRecords {
  long count = 0;
  long errors = 0;  // of these, that report an error
};

// A bounded ring: at most 5,000 records and 6 MiB of text. A record that is equal to one of the
// eight before it is a repeat: it takes that one's place at the end, with a new id and a higher
// count. Any thread.
class LogRing {
 public:
  void Take(const status::LogRecord& record);
  // The newest records that fit, the oldest of them first.
  std::vector<KeptRecord> Find(const LogQuery& query) const;
  // Of all records, however many the query asks for.
  HiddenRecords Hidden(const LogQuery& query) const;
  // The records that name a file, the oldest first.
  std::vector<KeptRecord> Naming(std::string_view part) const;
  // Whether a record with this text has come since then. Gateway time.
  bool Logged(std::string_view text, std::time_t since) const;
  // When such a record came last; 0: never.
  std::time_t LastOf(std::string_view start) const;
  long Newest() const;

 private:
  mutable util::Mutex m_mutex;  // guards everything below
  std::deque<KeptRecord> m_records;
  std::size_t m_bytes = 0;
  long m_newest = 0;
};

// 0 for INFO and everything that is not worse, 1 WARN, 2 ERROR, 3 FATAL.
int RankOfLevel(std::string_view level);
// Whether its text reports an error, but its level does not. The service logs some errors as INFO.
bool ReportsError(const KeptRecord& record);

}  // namespace console
