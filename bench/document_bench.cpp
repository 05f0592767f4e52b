// The JSON document of a real-data file. The floor walks plain arrays; a second one walks the same
// maps as the service; a third one keeps its memory from one document to the next.
#include <benchmark/benchmark.h>

#include <map>

#include "floortext.h"
#include "meter.h"
#include "packfile/realdatadocument.h"
#include "plant.h"

namespace {

constexpr char kTimeMark[] = "2024-03-07 12:00:00";
constexpr std::size_t kBytesPerPoint = 100;  // more than a point and its part of a device take

struct Plant {
  explicit Plant(std::size_t count)
      : points(PlantPoints(count)), catalogue(PlantCatalogue(points)), values(PlantValues(points)) {
    for (const auto& [dataId, value] : values) inARow.push_back(value);
  }

  std::vector<std::uint32_t> points;
  MAP_GROUP_ATTR catalogue;
  Real_Data_Struct values;
  std::vector<double> inARow;
};

// The same memory for all benchmarks of a size: where the nodes of the maps lie counts as much as
// the writing.
const Plant& PlantOf(const benchmark::State& state) {
  static std::map<std::int64_t, Plant> plants;
  return plants.try_emplace(state.range(0), static_cast<std::size_t>(state.range(0))).first->second;
}

void Write(const Plant& plant, rapidjson::StringBuffer& text) {
  const RealDataHeader header{.serial = kSerial, .timeMark = kTimeMark};
  WriteRealDataDocument(header, plant.catalogue, plant.values, text);
}

void BeginDevice(FloorText& text, std::uint32_t dataId) {
  text.Put(R"({"groupId":)");
  text.PutNumber(static_cast<std::int32_t>(dataId >> 24));
  text.Put(R"(,"eqpId":)");
  text.PutNumber(static_cast<std::int32_t>((dataId >> 16) & 0xFFU));
  text.Put(R"(,"timeMark":")");
  text.Put(kTimeMark);
  text.Put(R"(","values":[)");
}

void InArrays(const Plant& plant, const auto& visit) {
  for (std::size_t i = 0; i < plant.points.size(); ++i) visit(plant.points[i], plant.inARow[i]);
}

void InMaps(const Plant& plant, const auto& visit) {
  auto value = plant.values.begin();
  for (const auto& [channel, devices] : plant.catalogue) {
    for (const auto& [device, points] : devices) {
      for (const auto& [dataId, point] : points) visit(dataId, (value++)->second);
    }
  }
}

void BeginPoint(std::uint32_t dataId, std::uint32_t& device, FloorText& text) {
  if (dataId >> 16 == device) return text.Put(",");
  if (device != 0) text.Put("]},");
  device = dataId >> 16;
  BeginDevice(text, dataId);
}

void WriteFloor(const Plant& plant, const auto& walk, FloorText& text) {
  text.Clear();
  text.Put(R"({"sn":")");
  text.Put(kSerial);
  text.Put(R"(","data":[)");
  std::uint32_t device = 0;
  walk(plant, [&](std::uint32_t dataId, double value) {
    BeginPoint(dataId, device, text);
    text.Put(R"({"pointId":")");
    text.PutHex(dataId);
    text.Put(R"(","value":")");
    text.PutDecimals(value);
    text.Put(R"("})");
  });
  text.Put("]}]}");
}

void Document(benchmark::State& state) {
  const Plant& plant = PlantOf(state);
  Meter meter(state, SizeText(state.range(0), "point"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    rapidjson::StringBuffer text;
    Write(plant, text);
    benchmark::DoNotOptimize(text.GetString());
  }
}

FloorText TextOf(const Plant& plant) {
  return FloorText(plant.points.size() * kBytesPerPoint);
}

void CheckFloor(benchmark::State& state, const auto& walk) {
  const Plant& plant = PlantOf(state);
  FloorText text = TextOf(plant);
  rapidjson::StringBuffer wanted;
  Write(plant, wanted);
  WriteFloor(plant, walk, text);
  if (text.Text() != wanted.GetString()) state.SkipWithError("the floor writes another document");
}

// The service gives a document's memory back before tar runs. So the floor takes it each time, too.
void MeasureFloor(benchmark::State& state, const auto& walk) {
  CheckFloor(state, walk);
  const Plant& plant = PlantOf(state);
  Meter meter(state, SizeText(state.range(0), "point"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    FloorText text = TextOf(plant);
    WriteFloor(plant, walk, text);
    benchmark::DoNotOptimize(text.Text().data());
    benchmark::ClobberMemory();
  }
}

constexpr auto kInArrays = [](const Plant& plant, const auto& visit) { InArrays(plant, visit); };
constexpr auto kInMaps = [](const Plant& plant, const auto& visit) { InMaps(plant, visit); };

void DocumentFloor(benchmark::State& state) {
  MeasureFloor(state, kInArrays);
}
void DocumentMapsFloor(benchmark::State& state) {
  MeasureFloor(state, kInMaps);
}

void DocumentKeptFloor(benchmark::State& state) {
  const Plant& plant = PlantOf(state);
  FloorText text = TextOf(plant);
  WriteFloor(plant, kInArrays, text);  // its pages are there now
  Meter meter(state, SizeText(state.range(0), "point"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    WriteFloor(plant, kInArrays, text);
    benchmark::DoNotOptimize(text.Text().data());
    benchmark::ClobberMemory();
  }
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(100)->Arg(1000)->Arg(10000);
}
BENCHMARK(Document)->Name("document")->Apply(Sizes);
BENCHMARK(DocumentFloor)->Name("document floor")->Apply(Sizes);
BENCHMARK(DocumentMapsFloor)->Name("document floor, same maps")->Apply(Sizes);
BENCHMARK(DocumentKeptFloor)->Name("document floor, memory kept")->Apply(Sizes);

}  // namespace
