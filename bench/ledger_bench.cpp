// The upload ledger with 10,000 rows in it, on the sandbox's card.
#include <benchmark/benchmark.h>

#include <ctime>
#include <filesystem>

#include "historydata/historydata.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr int kRows = 10000;
constexpr int kSecondsBetweenFiles = 60;

History_Data_Para Row(std::time_t when) {
  const auto local = util::LocalTime(when).value_or(std::tm{});
  History_Data_Para row{};
  row.filetype = kRealDataFile;
  util::PrintText(row.filename, sizeof(row.filename), "realdata/%d/S%s.tar.gz", local.tm_mday,
                  util::Stamp(local).c_str());
  return row;
}

// A ledger of kRows pending files, the newest of now.
class FilledLedger {
 public:
  FilledLedger() {
    std::filesystem::remove_all(paths::kCloudTree);
    std::vector<History_Data_Para> rows;
    for (int i = 0; i < kRows; ++i) rows.push_back(Row(m_now - i * kSecondsBetweenFiles));
    m_ledger.SaveHistoryData(&rows);
  }
  CHistoryData& operator*() { return m_ledger; }
  std::time_t Now() const { return m_now; }

 private:
  std::time_t m_now = std::time(nullptr);
  CHistoryData m_ledger;
};

void LedgerSave(benchmark::State& state) {
  FilledLedger ledger;
  std::time_t next = ledger.Now();
  for ([[maybe_unused]] auto _ : state) {
    const std::vector<History_Data_Para> rows{Row(++next)};
    if ((*ledger).SaveHistoryData(&rows) != 0) state.SkipWithError("not saved");
  }
}
BENCHMARK(LedgerSave)->Unit(benchmark::kMicrosecond);

void LedgerPending(benchmark::State& state) {
  FilledLedger ledger;
  for ([[maybe_unused]] auto _ : state) {
    std::vector<History_Data_Para> rows;
    if ((*ledger).GetHistoryData(&rows) != 0) state.SkipWithError("not read");
    benchmark::DoNotOptimize(rows.data());
  }
}
BENCHMARK(LedgerPending)->Unit(benchmark::kMicrosecond);

void LedgerAccept(benchmark::State& state) {
  FilledLedger ledger;
  int age = 0;
  for ([[maybe_unused]] auto _ : state) {
    const History_Data_Para row = Row(ledger.Now() - (age++ % kRows) * kSecondsBetweenFiles);
    if ((*ledger).UpdateHistoryData(row.filename) != 0) state.SkipWithError("not updated");
  }
}
BENCHMARK(LedgerAccept)->Unit(benchmark::kMicrosecond);

}  // namespace
