// The upload ledger with all its rows pending, as after a long outage, on the sandbox's card. Like
// the service, a floor opens the ledger for each operation; a second one keeps it open.
#include <benchmark/benchmark.h>

#include <optional>

#include "historydata/ledgerfile.h"
#include "ledger.h"
#include "meter.h"
#include "plant.h"
#include "util/timetext.h"

namespace {

constexpr std::time_t kDay = 86400;
constexpr std::time_t kAge = 31 * kDay;

std::size_t RowsOf(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

std::string SizeOf(const benchmark::State& state) {
  return SizeText(state.range(0), "row");
}

std::string CutOff() {
  return util::Stamp(util::LocalTime(std::time(nullptr) - kAge).value_or(std::tm{}));
}

// Adds the row of a new file. It is taken out again between two runs. The first time does not
// count.
template <typename Add>
void MeasureAdding(benchmark::State& state, const Add& add) {
  FilledLedger ledger(RowsOf(state));
  const std::time_t next = ledger.Newest() + 1;
  const History_Data_Para row = PendingRow(next);
  add(row);
  ledger.Remove(next);
  Meter meter(state, SizeOf(state), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    add(row);
    meter.Between([&] { ledger.Remove(next); });
  }
}

// The same, and before each run one file has become too old.
template <typename Add>
void MeasureAgeing(benchmark::State& state, const Add& add) {
  FilledLedger ledger(RowsOf(state));
  const std::time_t next = ledger.Newest() + 1;
  const std::time_t old = ledger.Newest() - kAge - kDay;
  const History_Data_Para row = PendingRow(next);
  add(row);
  ledger.Remove(next);
  ledger.Insert(old);
  Meter meter(state, SizeOf(state), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    add(row);
    meter.Between([&] {
      ledger.Remove(next);
      ledger.Insert(old);  // fails when the run has left it there
    });
  }
}

void Insert(const History_Data_Para& row) {
  util::Database database = OpenLedger();
  database.MakeCommitsDurable();
  Record(database, {InsertPending(row)});
}

void LedgerInsert(benchmark::State& state) {
  MeasureAdding(state, Insert);
}
void LedgerInsertFloor(benchmark::State& state) {
  MeasureAdding(state, InsertBare);
}
void LedgerInsertKeptFloor(benchmark::State& state) {
  std::optional<KeptLedger> kept;
  MeasureAdding(state, [&](const History_Data_Para& row) {
    if (!kept) kept.emplace();
    kept->Insert(row);
  });
}
void LedgerSave(benchmark::State& state) {
  CHistoryData ledger;
  MeasureAdding(state, [&](const History_Data_Para& row) {
    const std::vector<History_Data_Para> rows{row};
    if (ledger.SaveHistoryData(&rows) != 0) state.SkipWithError("not saved");
  });
}
void LedgerSaveFloor(benchmark::State& state) {
  MeasureAdding(state, [](const History_Data_Para& row) { SaveBare(row, CutOff()); });
}
void LedgerSaveAgeing(benchmark::State& state) {
  CHistoryData ledger;
  MeasureAgeing(state, [&](const History_Data_Para& row) {
    const std::vector<History_Data_Para> rows{row};
    if (ledger.SaveHistoryData(&rows) != 0) state.SkipWithError("not saved");
  });
}
void LedgerSaveAgeingFloor(benchmark::State& state) {
  MeasureAgeing(state, [](const History_Data_Para& row) { SaveBare(row, CutOff()); });
}

template <typename Pick>
void MeasurePicking(benchmark::State& state, const Pick& pick) {
  constexpr std::size_t kPicked = 20;
  const FilledLedger ledger(RowsOf(state));
  Meter meter(state, SizeOf(state), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    std::vector<History_Data_Para> rows;
    pick(rows);
    benchmark::DoNotOptimize(rows.data());
    if (rows.size() != kPicked) state.SkipWithError("rows are missing");
  }
}

void LedgerPick(benchmark::State& state) {
  CHistoryData ledger;
  MeasurePicking(state,
                 [&](std::vector<History_Data_Para>& rows) { ledger.GetHistoryData(&rows); });
}
void LedgerPickFloor(benchmark::State& state) {
  MeasurePicking(state, PickBare);
}

// Marks every row in turn. Between two runs it becomes pending again. The first time does not
// count.
template <typename Mark>
void MeasureMarking(benchmark::State& state, const Mark& mark) {
  FilledLedger ledger(RowsOf(state));
  std::size_t place = 0;
  std::string name = DataFileName(ledger.At(place));
  mark(name);
  ledger.MarkPending(ledger.At(place));
  Meter meter(state, SizeOf(state), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    mark(name);
    meter.Between([&] {
      ledger.MarkPending(ledger.At(place));
      name = DataFileName(ledger.At(++place));
    });
  }
}

void LedgerMark(benchmark::State& state) {
  CHistoryData ledger;
  MeasureMarking(state, [&](const std::string& name) { ledger.UpdateHistoryData(name.c_str()); });
}
void LedgerMarkFloor(benchmark::State& state) {
  MeasureMarking(state, MarkBare);
}

void LedgerMarkKeptFloor(benchmark::State& state) {
  std::optional<KeptLedger> kept;
  MeasureMarking(state, [&](const std::string& name) {
    if (!kept) kept.emplace();
    kept->Mark(name);
  });
}

void RowCounts(benchmark::internal::Benchmark* bench) {
  bench->Arg(100)->Arg(10000)->Arg(100000);
}
BENCHMARK(LedgerInsert)->Name("ledger insert")->Apply(RowCounts);
BENCHMARK(LedgerInsertFloor)->Name("ledger insert floor")->Apply(RowCounts);
BENCHMARK(LedgerInsertKeptFloor)->Name("ledger insert floor, kept open")->Apply(RowCounts);
BENCHMARK(LedgerSave)->Name("ledger save")->Apply(RowCounts);
BENCHMARK(LedgerSaveFloor)->Name("ledger save floor")->Apply(RowCounts);
BENCHMARK(LedgerSaveAgeing)->Name("ledger save, one too old")->Apply(RowCounts);
BENCHMARK(LedgerSaveAgeingFloor)->Name("ledger save, one too old floor")->Apply(RowCounts);
BENCHMARK(LedgerPick)->Name("ledger pick")->Apply(RowCounts);
BENCHMARK(LedgerPickFloor)->Name("ledger pick floor")->Apply(RowCounts);
BENCHMARK(LedgerMark)->Name("ledger mark")->Apply(RowCounts);
BENCHMARK(LedgerMarkFloor)->Name("ledger mark floor")->Apply(RowCounts);
BENCHMARK(LedgerMarkKeptFloor)->Name("ledger mark floor, kept open")->Apply(RowCounts);

}  // namespace
