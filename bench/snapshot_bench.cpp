// The live values from shared memory into the map.
#include <benchmark/benchmark.h>
#include <sys/shm.h>

#include <cstring>

#include "datasource/realdata.h"
#include "plant.h"

namespace {

// A filled segment under the gateway's key, removed with the object.
class LiveSegment {
 public:
  explicit LiveSegment(const std::vector<std::uint32_t>& points)
      : m_id(shmget(kLiveValueKey, 4 + points.size() * sizeof(ST_LIVE_RECORD), IPC_CREAT | 0600)) {
    void* memory = shmat(m_id, nullptr, 0);
    const auto count = static_cast<std::uint32_t>(points.size());
    std::memcpy(memory, &count, sizeof(count));
    char* at = static_cast<char*>(memory) + sizeof(count);
    for (std::size_t i = 0; i < points.size(); ++i, at += sizeof(ST_LIVE_RECORD)) {
      const ST_LIVE_RECORD record{points[i], 0, PlantValue(i), 0};
      std::memcpy(at, &record, sizeof(record));
    }
    shmdt(memory);
  }
  ~LiveSegment() { shmctl(m_id, IPC_RMID, nullptr); }
  LiveSegment(const LiveSegment&) = delete;
  LiveSegment& operator=(const LiveSegment&) = delete;

 private:
  int m_id;
};

void Snapshot(benchmark::State& state) {
  const LiveSegment segment(PlantPoints(static_cast<std::size_t>(state.range(0))));
  CRealData reader;
  for ([[maybe_unused]] auto _ : state) {
    std::map<std::uint32_t, double> values;
    if (reader.GetRealData(&values) != 0) state.SkipWithError("no live values");
    benchmark::DoNotOptimize(values.size());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Snapshot)->Arg(400)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
