// Calls of the log API from one thread and from five at once. The floor formats each message into
// its place in a ring of records. The log is written between the runs.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <mutex>

#include "log/log.h"
#include "log/logdatabase.h"
#include "log/logtxt.h"
#include "meter.h"
#include "pauses.h"
#include "plant.h"
#include "util/mutex.h"

namespace {

constexpr int kCallsPerThread = 2000;
constexpr char kFormat[] = "CreateRealDataJsonFile %s Success, %d";
constexpr char kArchive[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz";

// The place of the records of one store. The last records stay.
template <typename Record, auto kMessage>
class Ring {
 public:
  __attribute__((format(printf, 3, 4))) void Add(const char* level, const char* format, ...) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    const std::lock_guard lock(m_mutex);
    Record& record = m_records[m_next++ % m_records.size()];
    std::strftime(record.date, sizeof(record.date), "%Y-%m-%d", &local);
    std::strftime(record.time, sizeof(record.time), "%H:%M:%S", &local);
    util::CopyText(record.logType, level);
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(record.*kMessage, sizeof(record.*kMessage), format, arguments);
    va_end(arguments);
  }

 private:
  util::Mutex m_mutex;  // guards the rest
  std::size_t m_next = 0;
  std::array<Record, 256> m_records{};
};

template <typename Call>
void Measure(benchmark::State& state, const Call& call) {
  Meter meter(state, SizeText(state.threads(), "thread"), state.threads());
  int number = 0;
  for ([[maybe_unused]] auto _ : state) call(++number);
}

void LogText(benchmark::State& state) {
  Measure(state, [](int number) { log_Text(INFO, kFormat, kArchive, number); });
}
void LogTextFloor(benchmark::State& state) {
  static Ring<ST_TXT_LOG_NODE, &ST_TXT_LOG_NODE::message> ring;
  Measure(state, [](int number) { ring.Add("INFO", kFormat, kArchive, number); });
}
void LogDatabase(benchmark::State& state) {
  Measure(state, [](int number) { log_DB(INFO, kFormat, kArchive, number); });
}
void LogDatabaseFloor(benchmark::State& state) {
  static Ring<ST_LOG_NODE, &ST_LOG_NODE::desc> ring;
  Measure(state, [](int number) { ring.Add("INFO", kFormat, kArchive, number); });
}

void Threads(benchmark::internal::Benchmark* bench) {
  bench->Iterations(kCallsPerThread)->Threads(1)->Threads(5);
  bench->Teardown([](const benchmark::State& /*state*/) { LetLogsBeWritten(); });
}
BENCHMARK(LogText)->Name("text log")->Apply(Threads);
BENCHMARK(LogTextFloor)->Name("text log floor")->Apply(Threads);
BENCHMARK(LogDatabase)->Name("database log")->Apply(Threads);
BENCHMARK(LogDatabaseFloor)->Name("database log floor")->Apply(Threads);

}  // namespace
