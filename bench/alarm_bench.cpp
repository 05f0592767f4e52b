// Alarm events: out of the month's database, and into the document of one file.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "bare.h"
#include "floortext.h"
#include "meter.h"
#include "packfile/alarmdocument.h"
#include "plant.h"
#include "support/eventdatabase.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr std::time_t kThreeDays = 3L * 86400;
constexpr std::uint32_t kAlarmGrade = 2;

std::tm Today() {
  return util::LocalTime(std::time(nullptr)).value_or(std::tm{});
}

// The events of today in this month's database, as the acquisition side writes them.
std::string MakeEventDatabase(std::size_t events) {
  const std::tm today = Today();
  const int year = today.tm_year + 1900;
  std::filesystem::remove(test::EventDatabasePathOf(year, today.tm_mon + 1));
  test::EventDatabase database(year, today.tm_mon + 1);
  std::vector<test::Event> rows;
  for (std::size_t i = 0; i < events; ++i) {
    rows.push_back({.date = util::DateText(today),
                    .clock = util::Format("10:%02zu:%02zu", i / 60 % 60, i % 60),
                    .dataId = 0x01010000 + static_cast<std::uint32_t>(i)});
  }
  database.AddAll(rows);
  return database.Path();
}

// The conversion of a row's text takes no more than this.
std::time_t TimeOf(std::string_view date, std::string_view clock) {
  const auto number = [](std::string_view text) {
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
  };
  std::tm when{};
  when.tm_year = number(date.substr(0, 4)) - 1900;
  when.tm_mon = number(date.substr(5, 2)) - 1;
  when.tm_mday = number(date.substr(8, 2));
  when.tm_hour = number(clock.substr(0, 2));
  when.tm_min = number(clock.substr(3, 2));
  when.tm_sec = number(clock.substr(6, 2));
  when.tm_isdst = -1;
  return std::mktime(&when);
}

using Events = std::vector<Alarm_Data_Para>;

void TakeBare(const std::string& path, std::size_t expected, Events& events) {
  const std::string to = util::DateText(Today());
  const std::string from =
      util::DateText(util::LocalTime(std::time(nullptr) - kThreeDays).value_or(std::tm{}));
  events.reserve(expected);
  BareDatabase database(path.c_str());
  BareStatement rows(database,
                     "select RecordDate,RecordTime,DataId,threshold, triggervalue, eventtype,grade,"
                     " upflag from event_tbl where upload=0 and recorddate>=? and recorddate<=?");
  rows.Bind(1, from).Bind(2, to);
  while (rows.Next()) {
    events.push_back({.time = static_cast<std::int32_t>(TimeOf(rows.Text(0), rows.Text(1))),
                      .DataId = rows.Integer(2),
                      .threshold = rows.Real(3),
                      .triggervalue = rows.Real(4),
                      .eventtype = rows.Integer(5),
                      .grade = rows.Integer(6),
                      .upflag = rows.Integer(7)});
  }
  rows.Reset();
  BareStatement mark(
      database, "update event_tbl set upload=1 where upload=0 and recorddate>=? and recorddate<=?");
  mark.Bind(1, from).Bind(2, to).Run();
}

template <typename Take>
void MeasureTaking(benchmark::State& state, const Take& take) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::string path = MakeEventDatabase(count);
  BareDatabase database(path.c_str());
  Meter meter(state, SizeText(state.range(0), "event"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    Events events;
    take(path, count, events);
    benchmark::DoNotOptimize(events.data());
    if (events.size() != count) state.SkipWithError("events are missing");
    meter.Between([&] { database.Run("update event_tbl set upload=0"); });
  }
}

void AlarmReading(benchmark::State& state) {
  CAlarmData reader;
  MeasureTaking(state, [&](const std::string& /*path*/, std::size_t /*expected*/, Events& events) {
    reader.GetAlarmData(&events);
  });
}
void AlarmReadingFloor(benchmark::State& state) {
  MeasureTaking(state, TakeBare);
}
BENCHMARK(AlarmReading)->Name("alarm reading")->Arg(1)->Arg(20)->Arg(200);
BENCHMARK(AlarmReadingFloor)->Name("alarm reading floor")->Arg(1)->Arg(20)->Arg(200);

Events PlantEvents(std::size_t count) {
  Events events;
  const auto now = static_cast<std::int32_t>(std::time(nullptr));
  for (std::size_t i = 0; i < count; ++i) {
    events.push_back({.time = now - static_cast<std::int32_t>(i),
                      .DataId = static_cast<std::int32_t>(0x01010000 + i),
                      .threshold = 80,
                      .triggervalue = PlantValue(i),
                      .eventtype = 0,
                      .grade = kAlarmGrade,
                      .upflag = 1});
  }
  return events;
}

void PutEvent(FloorText& text, const Alarm_Data_Para& event) {
  const auto dataId = static_cast<std::uint32_t>(event.DataId);
  text.Put(R"({"groupId":)");
  text.PutNumber(static_cast<std::int32_t>(dataId >> 24));
  text.Put(R"(,"eqpId":)");
  text.PutNumber(static_cast<std::int32_t>((dataId >> 16) & 0xFFU));
  text.Put(R"(,"alarmTime":")");
  const std::size_t mark = text.Text().size();
  text.PutTimeMark(event.time);
  const std::string_view timeMark = text.Text().substr(mark);
  text.Put(R"(","alarmType":")");
  text.Put(AlarmCode(dataId, event.eventtype, event.upflag != 0));
  text.Put(R"(","alarmGrade":")");
  text.PutHex(static_cast<std::uint32_t>(event.grade));
  text.Put(R"(","flag":)");
  text.PutNumber(event.upflag);
  text.Put(R"(,"alarmDes":"Point(阀值:)");
  text.PutDecimals(event.threshold);
  text.Put(R"json()","alarmValues":[{"pointId":")json");
  text.PutHex(dataId & 0xFFFFU);
  text.Put(R"(","values":[{"timeMark":")");
  text.Put(timeMark);
  text.Put(R"(","value":")");
  text.PutDecimals(event.triggervalue);
  text.Put(R"("}]}]})");
}

void WriteFloor(const Events& events, FloorText& text) {
  text.Clear();
  text.Put(R"({"sn":")");
  text.Put(kSerial);
  text.Put(R"(","alarmDataType":0,"data":[)");
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (i > 0) text.Put(",");
    PutEvent(text, events[i]);
  }
  text.Put("]}");
}

void Write(const Events& events, rapidjson::StringBuffer& text) {
  AlarmDocumentWriter writer(kSerial, [](std::uint32_t /*dataId*/) { return "Point"; });
  writer.Write(events, text);
}

void AlarmDocument(benchmark::State& state) {
  const Events events = PlantEvents(static_cast<std::size_t>(state.range(0)));
  Meter meter(state, SizeText(state.range(0), "event"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    rapidjson::StringBuffer text;
    Write(events, text);
    benchmark::DoNotOptimize(text.GetString());
  }
}

void AlarmDocumentFloor(benchmark::State& state) {
  constexpr std::size_t kBytesPerEvent = 1000;
  const Events events = PlantEvents(static_cast<std::size_t>(state.range(0)));
  FloorText text(events.size() * kBytesPerEvent);
  rapidjson::StringBuffer wanted;
  Write(events, wanted);
  WriteFloor(events, text);
  if (text.Text() != wanted.GetString()) state.SkipWithError("the floor writes another document");

  Meter meter(state, SizeText(state.range(0), "event"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    WriteFloor(events, text);
    benchmark::DoNotOptimize(text.Text().data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(AlarmDocument)->Name("alarm document")->Arg(1)->Arg(20);
BENCHMARK(AlarmDocumentFloor)->Name("alarm document floor")->Arg(1)->Arg(20);

}  // namespace
