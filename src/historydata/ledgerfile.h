// The ledger's database file: its statements, and what is done with one open connection.
//
// The caller holds CHistoryData's mutex. Other programs may open the file at the same time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "historydata/historydata.h"
#include "util/sqlite.h"

inline constexpr char kPendingTable[] = "tJsonFileNames";
inline constexpr char kRecallTable[] = "recallJsonFile";

// Opens the ledger; statements wait a short while for another program's lock. Who writes
// calls MakeCommitsDurable first, except RewriteLedger, which syncs the whole file at its end.
util::Database OpenLedger(util::Database::Missing missing = util::Database::Missing::kFails);
// The same with a small cache, for a long reading.
util::Database OpenLedgerForReading();

// Runs a CREATE statement, in a new file if there is none. Errors are ignored.
void CreateInLedger(const std::string& statement);

// Makes a ledger with the pending table, and its directory, if there is none. The file appears
// whole: after a power cut there is none rather than an empty one, which would condemn the tree.
// Errors are ignored: the next open fails.
void MakeMissingLedger();

// Copies every row into a new ledger, which replaces the old one. This mends a damaged index. After
// a failure the ledger is as it was; kDamaged says that its rows cannot be read.
util::SqlError RewriteLedger();

// What a look for a table has found.
enum class TableState {
  kThere,
  kLacking,  // counted as 0, or the content cannot be read: no database, or a damaged one
  kUnknown,  // a lock or the like kept us from looking
};
TableState LookForTable(util::Database& database, const char* table);

// Statements.
std::string CreatePendingStatement();
std::string CreateRecallStatement();
std::string InsertPending(const History_Data_Para& row);
// Makes the recall table too if it is missing.
std::string InsertRecall(std::int64_t now, const std::string& filename);
std::string SelectPending();
std::string Accept(const std::string& filename);

// Runs statements in one transaction. One that does not fit the content, such as an insert of a
// name that is already there, is skipped. After any other failure nothing is changed.
util::SqlError Record(util::Database& database, const std::vector<std::string>& statements);

// The rows of a table that are too old.
struct Aged {
  const char* table;
  std::string condition;  // of the rows
  const char* directory;  // of their files
  bool condemns;          // whether a ledger without the table condemns the tree
};
Aged AgedFiles(const std::string& cutOffStamp);
Aged AgedRecalls(std::int64_t cutOff);

struct AgeingResult {
  bool listed = true;  // false when the rows could not even be asked for
  util::SqlError error;
};
// Deletes the rows, then unlinks their files. When the rows cannot be deleted, the files stay too.
AgeingResult DropAged(util::Database& database, const Aged& aged);

struct SaveResult {
  util::SqlError recording;
  AgeingResult ageing;
};
// Record and DropAged, in one transaction: the card is written to less. When that fails, each does
// what it can alone: on a card that is too full for a row, ageing makes room.
SaveResult RecordAndDropAged(util::Database& database, const std::vector<std::string>& statements,
                             const Aged& aged);
