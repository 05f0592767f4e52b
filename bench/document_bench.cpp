// The JSON document of a real-data file. The floor walks plain arrays.
#include <benchmark/benchmark.h>

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

void WriteFloor(const Plant& plant, FloorText& text) {
  text.Clear();
  text.Put(R"({"sn":")");
  text.Put(kSerial);
  text.Put(R"(","data":[)");
  std::uint32_t device = 0;
  for (std::size_t i = 0; i < plant.points.size(); ++i) {
    const std::uint32_t dataId = plant.points[i];
    if (dataId >> 16 != device) {
      if (device != 0) text.Put("]},");
      device = dataId >> 16;
      BeginDevice(text, dataId);
    } else {
      text.Put(",");
    }
    text.Put(R"({"pointId":")");
    text.PutHex(dataId);
    text.Put(R"(","value":")");
    text.PutDecimals(plant.inARow[i]);
    text.Put(R"("})");
  }
  text.Put("]}]}");
}

void Document(benchmark::State& state) {
  const Plant plant(static_cast<std::size_t>(state.range(0)));
  Meter meter(state, SizeText(state.range(0), "point"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    rapidjson::StringBuffer text;
    Write(plant, text);
    benchmark::DoNotOptimize(text.GetString());
  }
}

void DocumentFloor(benchmark::State& state) {
  const Plant plant(static_cast<std::size_t>(state.range(0)));
  FloorText text(plant.points.size() * kBytesPerPoint);
  rapidjson::StringBuffer wanted;
  Write(plant, wanted);
  WriteFloor(plant, text);
  if (text.Text() != wanted.GetString()) state.SkipWithError("the floor writes another document");

  Meter meter(state, SizeText(state.range(0), "point"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    WriteFloor(plant, text);
    benchmark::DoNotOptimize(text.Text().data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(Document)->Name("document")->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(DocumentFloor)->Name("document floor")->Arg(100)->Arg(1000)->Arg(10000);

}  // namespace
