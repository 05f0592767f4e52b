// The account: what has become of every file that was ever seen.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "console/watch/arrivals.h"
#include "console/watch/filekey.h"

namespace console {

// So many files are kept. 32 days have about 92,000 with a file of values and one of alarms every
// minute.
inline constexpr std::size_t kMostFiles = 150'000;
// A file that neither the card nor the ledger has any more is kept for so long, then only counted.
inline constexpr std::time_t kKeptSeconds = 32L * 86'400;

struct Counts {
  long produced = 0;  // always the sum of the next five
  long accepted = 0;
  long pending = 0;
  long aged = 0;
  long judgedSent = 0;
  long lost = 0;
  long deliveredTwice = 0;  // of the accepted ones
  long lostRecorded = 0;    // of the lost ones: those whose row was seen
};

enum class FileState : std::uint8_t {
  kAccepted,    // by the cloud, whatever the ledger says
  kPending,     // its row waits, or its archive is not recorded yet
  kAged,        // it went with its row after its age
  kJudgedSent,  // its row says accepted, but the cloud never accepted it
  kLost,        // anything else
};

enum class RowState : std::uint8_t { kNone, kPending, kAccepted, kGone };

struct SeenFile {
  std::time_t stamp = 0;         // Unix time of its stamp
  std::time_t firstSeen = 0;     // gateway time
  std::time_t recordedSeen = 0;  // when its row was seen first; 0: never
  std::time_t triedFirst = 0;    // when it came to the cloud first; 0: never
  std::time_t acceptedAt = 0;    // when the cloud accepted it first; 0: never
  long uploadId = 0;             // of the first accepted arrival, or of the last one; 0: none
  std::uint32_t row = 0;         // place of its row in the ledger, from 1 on
  std::uint32_t reading = 0;     // the last reading of the ledger that had its row
  std::uint16_t attempts = 0;    // arrivals
  std::uint16_t deliveries = 0;  // accepted arrivals
  std::uint8_t doubts = 0;       // looks in a row that found it lost or judged sent
  RowState ledger = RowState::kNone;
  FileState state = FileState::kPending;
  bool hasArchive = false;  // on the card
  bool isListed = false;    // in the listing of archives that is being taken
  bool isAnswered = false;  // a recall whose order was answered by a later file
  bool saysJudged = false;  // the log says that it was judged sent
};

// One row of the ledger, either table.
struct SeenRow {
  FileKey key;
  std::time_t stamp = 0;
  bool accepted = false;
};

// One folder of archives.
struct SeenFolder {
  Kind kind = Kind::kRealData;
  int day = 0;  // of the month; 0: recalls, which have one folder
  std::vector<FileKey> files;
};

// Every file is in exactly one state, so the counts sum. An old file that is settled and gone is
// forgotten, but stays in the counts. One thread at a time.
class Account {
 public:
  using Files = std::map<FileKey, SeenFile>;

  // Takes all rows of the ledger, in its order. `isWhole` is false when there were more.
  void TakeLedger(const std::vector<SeenRow>& rows, bool isWhole, std::time_t now);
  // Takes a folder's whole listing.
  void TakeFolder(const SeenFolder& folder, std::time_t now);
  void TakeArrival(const Arrival& arrival);
  // The log says that the service counts the file as sent without sending it.
  void TakeJudgedSent(const FileKey& key);
  // A recall whose order was answered by a later file.
  void TakeAnswered(const FileKey& key);

  // Judges every file. A file is called lost or judged sent only when several looks in a row find
  // it so, because ledger and cloud are not read at the same moment; until then it is pending.
  // While the ledger cannot be read, no further file is called so.
  void Judge(std::time_t now, bool isLedgerRead);

  const Counts& Total() const { return m_total; }
  const Counts& Of(Kind kind) const { return m_counts[static_cast<std::size_t>(kind)]; }
  const Files& All() const { return m_files; }
  const SeenFile* Find(const FileKey& key) const;
  // Whether there were more files than are kept.
  bool IsCut() const { return m_isCut; }
  // When the cloud accepted a file of the kind last; 0: never.
  std::time_t LastAccepted(Kind kind) const {
    return m_lastAccepted[static_cast<std::size_t>(kind)];
  }
  // The pending file with the oldest stamp, recalls left out.
  std::optional<FileKey> OldestPending() const { return m_oldestPending; }
  // Some names of files in this state, the newest first.
  std::vector<std::string> Some(FileState state, std::size_t most) const;
  // Rises whenever something was taken.
  std::uint64_t Version() const { return m_version; }

 private:
  SeenFile* Place(const FileKey& key, std::time_t stamp, std::time_t now);
  FileState StateOf(const FileKey& key, const SeenFile& file) const;
  FileState RecallStateOf(const SeenFile& file) const;
  bool IsAged(Kind kind, const SeenFile& file) const;
  bool IsSettled(const SeenFile& file) const;
  static void Count(const SeenFile& file, Counts* total, Counts* ofKind);
  void TakeOldest(const FileKey& key, const SeenFile& file);

  Files m_files;
  std::array<Counts, kKinds> m_counts;
  Counts m_total;
  std::array<Counts, kKinds> m_forgotten;  // part of the counts
  Counts m_forgottenTotal;
  std::array<std::time_t, kKinds> m_lastAccepted{};
  std::optional<FileKey> m_oldestPending;
  std::time_t m_newRowSeen = 0;  // when a row was last seen for the first time
  std::time_t m_latest = 0;      // the latest gateway time so far: the clock may be set back
  std::uint32_t m_reading = 0;
  std::uint64_t m_version = 0;
  bool m_isCut = false;
};

}  // namespace console
