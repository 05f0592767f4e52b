// The JSON document of a real-data file.
#include <benchmark/benchmark.h>

#include "allocations.h"
#include "packfile/realdatadocument.h"
#include "plant.h"

namespace {

void Document(benchmark::State& state) {
  const auto points = PlantPoints(static_cast<std::size_t>(state.range(0)));
  const MAP_GROUP_ATTR catalogue = PlantCatalogue(points);
  const Real_Data_Struct values = PlantValues(points);
  const RealDataHeader header{.serial = "XY4567", .timeMark = "2024-03-07 12:00:00"};

  const std::size_t before = Allocations();
  std::size_t bytes = 0;
  for ([[maybe_unused]] auto _ : state) {
    rapidjson::StringBuffer text;
    if (WriteRealDataDocument(header, catalogue, values, text)) {
      state.SkipWithError("a point has no value");
    }
    bytes = text.GetSize();
    benchmark::DoNotOptimize(text.GetString());
  }
  const auto runs = static_cast<double>(state.iterations());
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["allocations"] = static_cast<double>(Allocations() - before) / runs;
}
BENCHMARK(Document)->Arg(400)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
