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

struct Aged;  // see ledgerfile.h

// Keeps the ledger's rows, drops old rows and files, repairs the tree, and is the door to the
// demand history. Any thread may call it. A mutex is held for the whole of each operation on the
// ledger; the database is opened and closed within it.
//
// Operations return 0, or -1 on failure. Rows and marks that the ledger cannot take for a while
// (another process holds a lock, the card is full) are kept in memory and written first at the next
// occasion; a restart loses them. The text log says when this begins and when it is over.
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

  // Records new files, after those that wait in memory, and drops rows and files with stamps of 31
  // days ago or older, accepted or not: in one transaction, or one after the other where the ledger
  // does not take both at once. A name that is already recorded keeps its row. -1 when the ledger
  // cannot be opened or its old rows cannot be listed; 0 also when a lock kept the rows out.
  //
  // A ledger file whose content is damaged or lacks the pending table condemns the whole tree: it
  // is moved to Cloud.lost and removed by a thread, an empty one is made, and -1 is returned
  // without recording the rows. A lock, a full card and the like condemn nothing.
  std::int32_t SaveHistoryData(const std::vector<History_Data_Para>* rows);
  // Appends up to 20 pending rows, newest stamp first. -1 also when there is no ledger file, and
  // while a row that was accepted cannot be marked: it would be sent again.
  std::int32_t GetHistoryData(std::vector<History_Data_Para>* rows);
  // Marks a pending row accepted. If the ledger does not take the mark now, it is written before
  // the next rows are read. 0 also when there is no such row and when there is no ledger file; -1
  // when the ledger cannot be opened.
  std::int32_t UpdateHistoryData(const char* filename);
  // Records a recall file under the name as given, then drops rows of three days ago or older, and
  // the files of that name below calldata. The recall worker records full paths, which name no file
  // there: its archives stay on the card, deliberately. The table is made with the row
  // if it is missing.
  std::int32_t SaveRecallData(const char* filename);

  // ReadMinutes (datasource/demandhistory.h) with the time of the device's last live value: 1 when
  // the series is complete, 0 when it is not, -1 when the history cannot be read. No lock.
  std::int32_t GetRecallFlag(std::uint32_t dataId, const ST_SINGLE_CALL_POINT* point,
                             std::vector<ST_SINGLE_POINT_VALUE>* values);

 private:
  // kDamaged: the content cannot be used. kCondemned: it lacks the pending table or is no database;
  // a rewrite does not help.
  enum class Visit { kDone, kFailed, kDamaged, kCondemned };

  // The caller of these holds the mutex.

  // Gives up the oldest rows in memory when there are too many.
  void BoundUnrecorded();
  // Records what waits in memory and drops what is too old. Rewrites a ledger with a damaged index
  // and tries again.
  Visit RecordAndAge(const Aged& aged);
  Visit TryToRecordAndAge(const Aged& aged);
  // Writes all waiting marks in one transaction. False while the ledger does not take them.
  bool MarkUnmarked(util::Database& database);
  // Moves the damaged tree aside, starts its removal, makes an empty one.
  void ReplaceDamagedTree();
  // Tells the text log when a step of a save begins to fail. Returns kDamaged for damage, otherwise
  // `outcome`.
  Visit NoteFailure(const char* step, const util::SqlError& error, Visit outcome);

  util::Mutex m_mutex;                    // guards the ledger's database and every member below
  pthread_t m_removalThread = 0;          // joinable, never joined
  std::vector<std::string> m_unrecorded;  // inserts that wait in memory
  std::vector<std::string> m_unmarked;    // marks that wait in memory
  bool m_isDamaged = false;               // the pending rows could not be read
  const char* m_failedStep = nullptr;     // null while saves succeed
};

// Removes a file or a whole directory tree. Ends at the first file that cannot be unlinked and
// leaves the rest in place. Always returns 0. Any thread; no lock.
int RemoveDir(const char* path);

// The one object of the process.
CHistoryData& GetCHistoryDataInstance();
