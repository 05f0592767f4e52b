// A copy of the ledger for somebody who helps from afar.
#pragma once

#include <string>

#include "collect/place.h"

namespace status {

// Copies the ledger to the file `to`, which must not exist. While the service runs, SQLite copies
// some pages at a time and holds no lock in between; otherwise the file is copied as it is, with
// its journal beside it. Returns why there is no copy, or the empty text. After a failure `to` may
// have remains.
std::string BackUpLedger(const Place& place, bool serviceRuns, const std::string& to);

}  // namespace status
