// What somebody may call a data file, and what belongs to it.
#pragma once

#include <string>

#include "collect/place.h"

namespace status {

struct DataFileName {
  std::string stem;  // "S20261122040000"
  std::string base;  // "S20261122040000.tar.gz"
  std::string path;  // as it was given, when that is a file; else empty

  // How records of the logs name the file; empty: they cannot.
  std::string InRecords() const;
  // The kind in plain words, by the first letter.
  const char* Kind() const;
  bool IsRecall() const { return stem.starts_with('R'); }
  // The gateway's own path of the archive. `ledgerName` is the name of its row, or empty: the stamp
  // then tells the folder.
  std::string Archive(const std::string& ledgerName) const;
};

// Takes a base name with or without ".tar.gz", a name of the ledger, or a path.
DataFileName ReadDataFileName(const std::string& name);

}  // namespace status
