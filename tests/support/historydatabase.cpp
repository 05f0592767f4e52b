#include "support/historydatabase.h"

#include "util/text.h"

namespace test {
namespace {

constexpr std::time_t kMinuteSeconds = 60;

constexpr char kCreate[] =
    "CREATE TABLE IF NOT EXISTS history_%04x_tbl("
    "Pid INTEGER PRIMARY KEY, dataid INTEGER NOT NULL, UnixTime INTEGER NOT NULL, "
    "TriggerValue REAL, Upload INTEGER DEFAULT 1)";
constexpr char kInsert[] =
    "INSERT INTO history_%04x_tbl(dataid,UnixTime,TriggerValue,Upload) VALUES(%s)";

// %.17g keeps every bit of a double.
std::string ValuesOf(const Minute& minute) {
  return util::Format("%d,%lld,%.17g,%d", static_cast<std::int32_t>(minute.dataId),
                      static_cast<long long>(minute.time), minute.value, minute.upload);
}

}  // namespace

HistoryDatabase::HistoryDatabase() : DatabaseFile(kHistoryDatabase) {}

HistoryDatabase& HistoryDatabase::Table(std::uint32_t dataId) {
  Run(util::Format(kCreate, dataId >> 16));
  return *this;
}

HistoryDatabase& HistoryDatabase::Add(const Minute& minute) {
  return Table(minute.dataId).AddValues(minute.dataId >> 16, ValuesOf(minute));
}

HistoryDatabase& HistoryDatabase::Series(std::uint32_t dataId, std::time_t first,
                                         std::time_t last) {
  Table(dataId).Run("BEGIN");
  for (std::time_t time = first; time <= last; time += kMinuteSeconds) {
    const auto value = static_cast<double>((time - first) / kMinuteSeconds);
    AddValues(dataId >> 16, ValuesOf({.dataId = dataId, .time = time, .value = value}));
  }
  Run("COMMIT");
  return *this;
}

HistoryDatabase& HistoryDatabase::AddValues(std::uint32_t device, const std::string& values) {
  Run(util::Format(kInsert, device, values.c_str()));
  return *this;
}

}  // namespace test
