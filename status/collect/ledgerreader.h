// Pages of the ledger, read without costing the service anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "collect/ledger.h"
#include "collect/ledgerstamp.h"
#include "util/sqlite.h"

namespace status {

// Takes a row; false ends the reading.
using TakeRow = std::function<bool(const LedgerRow&)>;

// One connection to the ledger. Each page is one short statement; rows are handed out when it is
// over, so that no lock is held meanwhile. All statements together may take 5 seconds, the waits
// for locks about one. One thread.
class LedgerReader {
 public:
  enum class File {
    kGatewaysOwn,  // nothing is written, made or removed
    kCopy,         // an unfinished write is undone
  };
  LedgerReader(const std::string& path, File file);

  // Gives the rows of all files. kGood also when the row bound or `take` ended the reading.
  LedgerState ReadFiles(const TakeRow& take);
  // The same rows, page by page. A page without pending files is read without names, which costs
  // half, and only its sums are given to `count`. The rows of other pages are given to `take`.
  struct Sums {
    std::size_t all = 0;
    std::size_t realData = 0;
    std::size_t alarmData = 0;
  };
  using TakeSums = std::function<void(const Sums& accepted)>;
  LedgerState SumUpFiles(const TakeSums& count, const TakeRow& take);
  // Gives the last accepted row, by name, of each day's folder of a kind, through the index of
  // names. It steps over pending rows, so there should be few. `type`
  // is kRealDataFile or kAlarmDataFile. kNoTable when there is no such index.
  LedgerState ReadLastAccepted(int type, const TakeRow& take);
  // Counts the recall files. A missing table counts as empty.
  LedgerState CountRecalls(std::size_t* count);

  // What is to be said about the latest state, or empty.
  const std::string& Detail() const { return m_detail; }
  bool HasGivenRows() const { return m_givenRows > 0; }

 private:
  struct Page {
    std::vector<LedgerRow> rows;
    std::size_t size;   // so many of them are set
    std::int64_t last;  // the greatest row number
  };
  using TakeResult = std::function<void(util::Statement&)>;

  LedgerState LookForTable(const char* table);
  LedgerState ReadPage(std::int64_t after, Page* page);
  LedgerState SumUpPage(std::int64_t after, Page* page, Sums* sums);
  LedgerState GivePages(const TakeSums& count, const TakeRow& take);
  LedgerState Run(const std::string& sql, const TakeResult& take);
  LedgerState RunOnce(const std::string& sql, const TakeResult& take);
  LedgerState Failed(util::Failure why, bool rowsAreRead);

  util::Database m_database;
  StampReader m_stamps;
  std::string m_detail;
  int m_triesLeft;
  int m_millisecondsLeft;
  std::size_t m_givenRows = 0;
};

}  // namespace status
