// Pages of the ledger, read without costing the service anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "collect/ledger.h"
#include "collect/ledgerpage.h"
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
  // The same rows, a page at a time.
  using TakePage = std::function<bool(std::span<const LedgerRow>)>;
  LedgerState ReadPages(const TakePage& take);
  // Counts the recall files. A missing table counts as empty.
  LedgerState CountRecalls(std::size_t* count);

  // What is to be said about the latest state, or empty.
  const std::string& Detail() const { return m_detail; }
  bool HasGivenRows() const { return m_givenRows > 0; }

 private:
  using Attempt = std::function<LedgerState()>;

  LedgerState LookForTable(const char* table);
  LedgerState ReadPage(std::int64_t after);
  // One statement and what it gives, without a parameter.
  LedgerState Run(const std::string& sql, const std::function<void(util::Statement&)>& take);
  LedgerState Try(const Attempt& attempt);
  LedgerState TryOnce(const Attempt& attempt);
  LedgerState Failed(util::Failure why, bool rowsAreRead);

  util::Database m_database;
  PageStatement m_statement{&m_database};
  LedgerPage m_page;
  StampReader m_stamps;
  std::string m_detail;
  int m_triesLeft;
  int m_millisecondsLeft;
  std::size_t m_givenRows = 0;
};

}  // namespace status
