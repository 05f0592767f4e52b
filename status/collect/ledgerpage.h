// One page of the ledger's rows, read by one short statement.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "collect/ledger.h"
#include "util/sqlite.h"

namespace status {

// Rows that follow each other by row number. The next page uses the memory of their names again.
struct LedgerPage {
  static constexpr std::size_t kMostRows = 1000;

  std::vector<LedgerRow> rows{kMostRows};  // without their stamps
  std::size_t size = 0;                    // so many of them are set
  std::int64_t last = 0;                   // the row number of the last one of a full page

  bool IsFull() const { return size == kMostRows; }
};

// The statement that reads pages. It is prepared once. SQLite calls back with each row, because
// stepping from row to row costs twice as much. No lock is held after Read. One thread.
class PageStatement {
 public:
  // How a reading ended.
  struct Result {
    util::Failure why = util::Failure::kNone;
    bool isRead = false;  // the statement itself could be prepared
  };

  // The database must outlive the statement.
  explicit PageStatement(util::Database* database) : m_database(database) {}
  PageStatement(const PageStatement&) = delete;
  PageStatement& operator=(const PageStatement&) = delete;

  // Replaces the page by the rows after a row number. After a failure it has the rows before it.
  Result Read(std::int64_t after, LedgerPage* page);

 private:
  bool Prepare();

  util::Database* m_database;
  util::Statement m_statement{nullptr};
  LedgerPage* m_page = nullptr;  // what is being read
};

}  // namespace status
