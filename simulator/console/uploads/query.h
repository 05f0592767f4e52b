// Reads one SQLite query, with values and with bytes that may hold anything.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "util/sqlite.h"

namespace console {

using QueryValue = std::variant<std::int64_t, std::string>;

// One prepared query on a connection that outlives it. One thread.
class Query {
 public:
  // `values` go to the parameters ?1, ?2 and so on.
  Query(sqlite3* database, const std::string& sql, const std::vector<QueryValue>& values = {});

  // Moves to the next row. False at the end and on an error.
  bool Next();
  // False when the query could not be prepared, or when Next has stopped at an error.
  bool IsGood() const { return m_good; }
  // Columns of the current row, counted from 0. NULL is 0 or the empty text.
  std::int64_t Integer(int column) const;
  double Real(int column) const;
  std::string Text(int column) const;  // all bytes, also of a blob
  bool IsNull(int column) const;

 private:
  std::unique_ptr<sqlite3_stmt, util::StatementFinalizer> m_statement;
  bool m_good = true;
};

}  // namespace console
