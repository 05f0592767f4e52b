// How many rows the ledger has.
#pragma once

#include <string>

#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// Counts the rows of the service's ledger by kind. Recalls are left out: their table has no result.
// Any thread may call.
class LedgerCounts {
 public:
  struct Kind {
    int accepted = 0;
    int pending = 0;
  };

  // Reads the ledger. The old counts stay when it cannot be read.
  void Look();
  // "real data and alarms: 2 accepted, 0 pending".
  std::string Text() const;
  int Accepted() const;
  // The member "ledger": {"realdata":{"accepted":…,"pending":…},"alarmdata":{…}}.
  void WriteState(JsonWriter& json) const;

 private:
  mutable util::Mutex m_mutex{};  // guards both
  Kind m_real{};
  Kind m_alarm{};
};

}  // namespace console
