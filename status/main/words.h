// What the commands share: short questions and the words for their answers.
#pragma once

#include <string>

#include "collect/ledger.h"
#include "collect/place.h"

namespace status {

// Whether the service runs on this machine. False for a copy, and when that cannot be found out.
bool ServiceRuns(const Place& place);

// Why the ledger cannot be read: one sentence without a full stop; empty for kGood.
std::string WhyNotRead(LedgerState state, const std::string& detail);

// "1 file", "2 files".
std::string Count(std::size_t number, const char* what);

}  // namespace status
