// The ledger's database file: its statements, and what one open connection does with them.
//
// Who calls holds CHistoryData's database mutex. Any SQLite program may open the file beside us.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "historydata/historydata.h"
#include "util/sqlite.h"

inline constexpr char kPendingTable[] = "tJsonFileNames";
inline constexpr char kRecallTable[] = "recallJsonFile";

// Open the ledger, which must be there: for a look, for a long reading, and for writing in a way
// that a power cut cannot undo a commit. A connection that cannot be set so counts as not opened.
util::Database OpenLedger();
util::Database OpenLedgerForReading();
util::Database OpenLedgerForWriting(
    util::Database::Missing missing = util::Database::Missing::kFails);

// Runs a CREATE statement, in a new file where there is none. Errors are ignored.
void CreateInLedger(const std::string& statement);

// Makes a ledger where there is none. It appears whole: a power cut leaves none rather than an
// empty one, which would condemn the tree. Errors are ignored: the open that follows fails.
enum class Tables { kPending, kPendingAndRecall };
void MakeLedger(Tables tables);

// Copies every row into a new ledger, which takes the place of the old one: a damaged index is gone
// with it. After a failure the ledger is as it was; only kDamaged says that its rows cannot be
// read.
util::SqlError RewriteLedger();

// What a look for a table has found.
enum class TableState {
  kThere,
  kLacking,  // counted as 0, or the content cannot be read: no database, or a damaged one
  kUnknown,  // a lock or the like kept us from looking
};
TableState LookForTable(const char* table);

// Statements.
std::string CreatePendingStatement();
std::string CreateRecallStatement();
std::string InsertPending(const History_Data_Para& row);
std::string InsertRecall(std::int64_t now,
                         const char* filename);  // into a table that may be missing
std::string SelectPending();
std::string Accept(const std::string& filename);

// Runs inserts in one transaction. One that does not fit what is there, as a name that is recorded
// already, is passed over. After any other failure none of them is recorded.
util::SqlError Record(util::Database& database, const std::vector<std::string>& inserts);

// Which rows are too old, and where their files are.
struct Aged {
  std::string select;
  std::string remove;
  const char* directory;
};
Aged AgedFiles(const std::string& cutOffStamp);
Aged AgedRecalls(std::int64_t cutOff);

// Deletes the rows, then unlinks their files: a file whose row stays, stays too. False in `listed`
// when the rows cannot even be asked for.
util::SqlError DropAged(util::Database& database, const Aged& aged, bool& listed);
