// The upload ledger: which data files were packed, which of them the cloud has accepted, and when
// they are old enough to go. It owns /media/mmcblk0p1/Cloud: the ledger DB/CloudDB.db and the data
// files below JsonFiles (realdata/<day>, alarmdata/<day>, calldata).
//
// Tables: tJsonFileNames (FileName, FileType, Result) for real data and alarms, recallJsonFile
// (Createtime, FileName) for recalls. Every data-file name ends in a 14-digit local-time stamp and
// ".tar.gz"; the ledger finds, sorts and ages by that stamp as text.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "datasource/demandhistory.h"
#include "records/recallorder.h"
#include "util/mutex.h"

inline constexpr std::int32_t kAlarmDataFile = 1;  // ledger file type; also the schema's default
inline constexpr std::int32_t kRealDataFile = 2;

// One ledger row.
struct History_Data_Para {
  std::int32_t filetype;  // kRealDataFile, kAlarmDataFile, or whatever was recorded
  std::int32_t result;    // 0: not yet accepted by the cloud, 1: accepted
  char filename[128];     // path below JsonFiles, e.g. "realdata/7/S20240307120000.tar.gz"
};
static_assert(sizeof(History_Data_Para) == 136);
static_assert(offsetof(History_Data_Para, result) == 4);
static_assert(offsetof(History_Data_Para, filename) == 8);

namespace util {
class Database;
struct SqlError;
}  // namespace util

struct Aged;  // these: see ledgerfile.h
enum class Tables;
enum class TableState;

// The ledger's rows, the data files' ageing, the tree and its repair; and, beside all this, the
// gateway's demand history. Any thread may call it. A mutex is held for the whole of each visit to
// the database, from open to close; another one makes a save, which is several visits, one thing.
// No database handle is kept open.
//
// Operations return 0, or -1 on failure. What the ledger cannot take for a while (another process
// holds a lock, the card is full) is kept in memory and written first at the next occasion; a
// restart forgets it. The text log tells when that begins and when it is over.
class CHistoryData {
 public:
  CHistoryData() = default;
  CHistoryData(const CHistoryData&) = delete;
  CHistoryData& operator=(const CHistoryData&) = delete;

  // 0 when the table exists, and for a null name; -1 when it does not, or the ledger cannot be
  // read.
  std::int32_t IsTableExists(const char* table);
  // Create the pending table and the recall table where they are missing. Errors are ignored.
  void CreateTable();
  void CreateRecallTable();
  // Creates every missing directory along `path`, mode 0755. -1 for null.
  std::int32_t Mkdirs(const char* path);

  // Records new files in one transaction, those of earlier saves that could not be recorded first;
  // then drops rows and files with stamps of 31 days ago or older, accepted or not. A name that is
  // already recorded keeps its row. -1 when the ledger cannot be opened or its old rows cannot be
  // listed; 0 also when a lock kept the rows out.
  //
  // A ledger file whose content is damaged or lacks the pending table condemns the whole tree: it
  // is moved to Cloud.lost and removed by a thread, an empty one is made, and -1 is returned
  // without recording the rows. A lock, a full card and the like condemn nothing.
  std::int32_t SaveHistoryData(const std::vector<History_Data_Para>* rows);
  // Appends the pending rows, newest stamp first, 20 at most. -1 also when there is no ledger file,
  // and while a row that was accepted cannot be marked: it would be sent again.
  std::int32_t GetHistoryData(std::vector<History_Data_Para>* rows);
  // Marks a pending row accepted, now or, where the ledger does not take it, before the next rows
  // are read. 0 also when there is no such row and when there is no ledger file; -1 when the ledger
  // cannot be opened.
  std::int32_t UpdateHistoryData(const char* filename);
  // Records a recall file under the name as given, then drops rows of three days ago or older, and
  // the files of that name below calldata. The recall worker records full paths, which name no file
  // there: its archives stay on the card, deliberately. Makes both tables where there is no ledger.
  std::int32_t SaveRecallData(const char* filename);

  // The stored minute values of a point, from the point's beginTime to its endTime, appended to
  // `values` in rising time. 1 when every minute up to endTime is there: those that the acquisition
  // side has not released (`Upload` other than 1) count as there, but give no value. 0 when a
  // minute is missing, there is no history, or there are more than kMostRecalledValues values, with
  // the values up to there appended; -1 when the history cannot be read. Nothing is logged. Recall
  // worker; no lock.
  //
  // "/media/mmcblk0p1/demand_history.db", written by the acquisition side: a table
  // "history_%04x_tbl" for each device number, with dataid (the whole point identifier, as a signed
  // number), UnixTime (of the minute), TriggerValue (real) and Upload (1: released).
  std::int32_t GetRecallFlag(std::uint32_t dataId, const ST_SINGLE_CALL_POINT* point,
                             std::vector<ST_SINGLE_POINT_VALUE>* values);

 private:
  enum class Visit { kDone, kFailed, kDamaged };

  // Gives up the oldest of too many rows.
  void BoundUnrecorded();
  // One visit each: a look for a table, and the making of a ledger where there is none.
  TableState LookFor(const char* table);
  void MakeNewLedger(Tables tables);
  // The second half: its inserts stand in m_unrecorded, the ledger has its table.
  // A ledger with a damaged index is made anew.
  Visit RecordAndAge(const Aged& aged);
  Visit TryToRecordAndAge(const Aged& aged);
  // Marks what is due, in one transaction. False while the ledger does not take it.
  bool MarkUnmarked(util::Database& database);
  // Moves the damaged tree aside, starts its removal, makes an empty one.
  void ReplaceDamagedTree();
  // Tells the text log when a step of a save begins to fail, and gives the save's outcome: damage,
  // or else `outcome`.
  Visit NoteFailure(const char* step, const util::SqlError& error, Visit outcome);

  util::Mutex m_databaseMutex;          // guards every visit to the ledger's database
  pthread_t m_removalThread = 0;        // joinable, never joined; guarded by m_databaseMutex
  std::vector<std::string> m_unmarked;  // marks not yet committed; guarded by m_databaseMutex
  bool m_isDamaged = false;  // the pending rows cannot be read; guarded by m_databaseMutex

  util::Mutex m_savingMutex;  // from the look for the ledger to its rows; before the other one
  std::vector<std::string> m_unrecorded;  // inserts not yet committed; guarded by m_savingMutex
  const char* m_failedStep = nullptr;     // null while saves succeed; guarded by m_savingMutex
};

// Removes a file or a whole directory tree. The first file that cannot be unlinked ends it, with
// the rest left in place. Returns 0, always. Any thread; no lock.
int RemoveDir(const char* path);

// The one object of the process.
CHistoryData& GetCHistoryDataInstance();
