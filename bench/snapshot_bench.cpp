// The live values from shared memory into the map. The floor fills the same map straight from the
// segment.
#include <benchmark/benchmark.h>
#include <sys/shm.h>

#include <cstring>

#include "datasource/realdata.h"
#include "meter.h"
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

using Values = std::map<std::uint32_t, double>;

void FillStraight(Values& values) {
  const void* segment = shmat(shmget(kLiveValueKey, 0, 0), nullptr, SHM_RDONLY);
  std::uint32_t count = 0;
  std::memcpy(&count, segment, sizeof(count));
  const char* at = static_cast<const char*>(segment) + sizeof(count);
  for (const char* end = at + count * sizeof(ST_LIVE_RECORD); at != end;
       at += sizeof(ST_LIVE_RECORD)) {
    ST_LIVE_RECORD record;
    std::memcpy(&record, at, sizeof(record));
    const std::uint32_t dataId = record.dataId;
    values.try_emplace(values.end(), dataId, record.value);
  }
  shmdt(segment);
}

template <typename Fill>
void Measure(benchmark::State& state, const Fill& fill) {
  const auto points = PlantPoints(static_cast<std::size_t>(state.range(0)));
  const LiveSegment segment(points);
  Meter meter(state, SizeText(state.range(0), "point"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    Values values;
    fill(values);
    benchmark::DoNotOptimize(values);
    if (values.size() != points.size()) state.SkipWithError("values are missing");
  }
}

void Snapshot(benchmark::State& state) {
  CRealData reader;
  Measure(state, [&](Values& values) { reader.GetRealData(&values); });
}
void SnapshotFloor(benchmark::State& state) {
  Measure(state, FillStraight);
}
BENCHMARK(Snapshot)->Name("snapshot")->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(SnapshotFloor)->Name("snapshot floor")->Arg(100)->Arg(1000)->Arg(10000);

}  // namespace
