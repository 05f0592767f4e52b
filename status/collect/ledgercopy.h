// A copy of a ledger and its journal in a temporary folder.
#pragma once

#include <string>

#include "collect/ledger.h"

namespace status {

// Makes the copy below $TMPDIR or /tmp, and removes it with the object. No connection may be open
// on the ledger in this process: closing a plain descriptor drops SQLite's locks.
class LedgerCopy {
 public:
  explicit LedgerCopy(const std::string& ledger);
  ~LedgerCopy();
  LedgerCopy(const LedgerCopy&) = delete;
  LedgerCopy& operator=(const LedgerCopy&) = delete;

  // kGood: Path() can be read. Otherwise Detail() says why there is no copy.
  LedgerState State() const { return m_state; }
  const std::string& Detail() const { return m_detail; }
  std::string Path() const { return m_folder + "/ledger"; }

 private:
  void Make(const std::string& ledger);
  bool HasRoomFor(off_t bytes);
  bool CopyFile(const std::string& from, const std::string& to, off_t bytes);
  void Refuse(LedgerState state, std::string detail);

  std::string m_folder;
  LedgerState m_state = LedgerState::kGood;
  std::string m_detail;
};

}  // namespace status
