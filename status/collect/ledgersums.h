// Sums up the ledger's rows, a page at a time.
#pragma once

#include <ctime>
#include <span>

#include "collect/ledger.h"

namespace status {

// Adds the rows of a page. Of two files with one stamp the first one given is kept. `latest` bounds
// the stamps of the newest files by the clock.
void AddPage(std::span<const LedgerRow> rows, std::time_t latest, LedgerSums* sums);

}  // namespace status
