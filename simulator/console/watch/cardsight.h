// Looks at the card as an outsider: the ledger's rows and the archives.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <ctime>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "collect/ledger.h"
#include "collect/place.h"
#include "console/watch/account.h"
#include "console/watch/pace.h"

namespace console {

// A reading of the ledger.
struct LedgerSight {
  status::LedgerState state = status::LedgerState::kMissing;
  std::string trouble;  // why it cannot be read, one sentence; empty: it could
  std::vector<SeenRow> rows;
  bool isWhole = true;      // false: there are more rows than are kept
  std::size_t unnamed = 0;  // rows whose name is none of a data file
};

// Reads ledger and folders when they have changed. The ledger is read with short statements, as
// brennik-status reads it; no plain descriptor is opened on it, nothing is written. One thread.
class CardSight {
 public:
  CardSight(status::Place place, const SteadyNow& steadyNow)
      : m_place(std::move(place)),
        m_ledgerPace(steadyNow, std::chrono::milliseconds(400), 20),
        m_folderPace(steadyNow, std::chrono::milliseconds(400), 20) {}

  // Reads the ledger. False when it is not due: it has not changed, or reading it takes a large
  // share of the time.
  bool ReadLedger(LedgerSight* sight);
  // The folders that have changed since the last call, at most a few at a time.
  std::vector<SeenFolder> ReadFolders();

 private:
  struct FileMark {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec changed{};
    bool operator==(const FileMark& other) const;
  };
  static FileMark MarkOf(const std::string& path);
  void ReadRecalls(LedgerSight* sight);
  bool HasChanged(const std::string& folder);
  void ReadFolder(const std::string& path, SeenFolder folder, std::vector<SeenFolder>* read);

  status::Place m_place;
  Pace m_ledgerPace;
  Pace m_folderPace;
  FileMark m_ledger;
  Pace::Clock::time_point m_readAt{};
  std::map<std::string, FileMark> m_folders;
};

}  // namespace console
