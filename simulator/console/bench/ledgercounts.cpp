#include "console/bench/ledgercounts.h"

#include <mutex>

#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"

namespace console {
namespace {

constexpr char kCount[] = "select FileType, Result, count(*) from tJsonFileNames group by 1, 2";
constexpr int kAlarmType = 1;
constexpr int kLockWait = 200;  // milliseconds

void Write(JsonWriter& json, const char* name, const LedgerCounts::Kind& kind) {
  json.Key(name);
  json.StartObject();
  json.Key("accepted"), json.Int(kind.accepted);
  json.Key("pending"), json.Int(kind.pending);
  json.EndObject();
}

}  // namespace

void LedgerCounts::Look() {
  auto database = util::Database::OpenForReading(paths::kLedger);
  if (!database) return;
  database.WaitForLocks(kLockWait);
  Kind real;
  Kind alarm;
  util::Statement rows = database.Prepare(kCount);
  if (!rows) return;
  while (rows.NextRow()) {
    Kind& kind = rows.Integer(0) == kAlarmType ? alarm : real;
    (rows.Integer(1) == 0 ? kind.pending : kind.accepted) += rows.Integer(2);
  }
  if (rows.Failed()) return;
  const std::lock_guard lock(m_mutex);
  m_real = real;
  m_alarm = alarm;
}

std::string LedgerCounts::Text() const {
  const std::lock_guard lock(m_mutex);
  return util::Format("real data and alarms: %d accepted, %d pending",
                      m_real.accepted + m_alarm.accepted, m_real.pending + m_alarm.pending);
}

int LedgerCounts::Accepted() const {
  const std::lock_guard lock(m_mutex);
  return m_real.accepted + m_alarm.accepted;
}

void LedgerCounts::WriteState(JsonWriter& json) const {
  const std::lock_guard lock(m_mutex);
  json.Key("ledger");
  json.StartObject();
  Write(json, "realdata", m_real);
  Write(json, "alarmdata", m_alarm);
  json.EndObject();
}

}  // namespace console
