// A recall: the minutes of each point out of the demand history, and the document of all of them.
#include <benchmark/benchmark.h>

#include <string>

#include "meter.h"
#include "packfile/recalldocument.h"
#include "plant.h"
#include "recall.h"

namespace {

constexpr std::size_t kBytesPerValue = 64;  // more than a value takes

std::string RecallSize(const benchmark::State& state) {
  return SizeText(state.range(0), "point") + " x " + SizeText(state.range(1), "day");
}

Recall RecallOf(const benchmark::State& state) {
  MakeRecallHistory();
  return {static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1))};
}

// As the worker reads it: one reading after the other.
void Read(const Recall& recall, RecallSeries& series) {
  const auto& device = recall.order.devs[0];
  const auto upperHalf = static_cast<std::uint32_t>(device.groupId << 24 | device.eqpId << 16);
  for (const auto& point : device.points) {
    ReadMinutes(upperHalf | point.pointId, point, 0, series.emplace_back());
  }
}

template <typename ReadSeries>
void MeasureReading(benchmark::State& state, const ReadSeries& readSeries) {
  const Recall recall = RecallOf(state);
  Meter meter(state, RecallSize(state), static_cast<std::int64_t>(recall.Values()));
  for ([[maybe_unused]] auto _ : state) {
    RecallSeries series;
    readSeries(recall, series);
    benchmark::DoNotOptimize(series.data());
    for (const auto& values : series) {
      if (values.size() != recall.minutes) state.SkipWithError("minutes are missing");
    }
  }
}

void RecallReading(benchmark::State& state) {
  MeasureReading(state, Read);
}
void RecallReadingFloor(benchmark::State& state) {
  MeasureReading(state, ReadRecallBare);
}
BENCHMARK(RecallReading)->Name("recall reading")->Args({1, 1})->Args({20, 3});
BENCHMARK(RecallReadingFloor)->Name("recall reading floor")->Args({1, 1})->Args({20, 3});

RecallSeries SeriesOf(const Recall& recall) {
  RecallSeries series;
  ReadRecallBare(recall, series);
  return series;
}

// The history is in memory already, so that the document alone is measured.
void Write(const Recall& recall, const RecallSeries& series, rapidjson::StringBuffer& text) {
  const auto fromMemory = [&](std::uint32_t dataId, const ST_SINGLE_CALL_POINT& /*point*/,
                              std::vector<ST_SINGLE_POINT_VALUE>& values) {
    const auto& read = series[dataId & 0xFFU];
    values.insert(values.end(), read.begin(), read.end());
    return 1;
  };
  WriteRecallDocument(kSerial, recall.order, fromMemory, text);
}

void RecallDocument(benchmark::State& state) {
  const Recall recall = RecallOf(state);
  const RecallSeries series = SeriesOf(recall);
  Meter meter(state, RecallSize(state), static_cast<std::int64_t>(recall.Values()));
  for ([[maybe_unused]] auto _ : state) {
    rapidjson::StringBuffer text;
    Write(recall, series, text);
    benchmark::DoNotOptimize(text.GetString());
  }
}

void RecallDocumentFloor(benchmark::State& state) {
  const Recall recall = RecallOf(state);
  const RecallSeries series = SeriesOf(recall);
  FloorText text((recall.Values() + recall.points + 1) * kBytesPerValue);
  rapidjson::StringBuffer wanted;
  Write(recall, series, wanted);
  WriteRecallFloor(recall, series, text);
  if (text.Text() != wanted.GetString()) state.SkipWithError("the floor writes another document");

  Meter meter(state, RecallSize(state), static_cast<std::int64_t>(recall.Values()));
  for ([[maybe_unused]] auto _ : state) {
    WriteRecallFloor(recall, series, text);
    benchmark::DoNotOptimize(text.Text().data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(RecallDocument)->Name("recall document")->Args({1, 1})->Args({20, 3});
BENCHMARK(RecallDocumentFloor)->Name("recall document floor")->Args({1, 1})->Args({20, 3});

}  // namespace
