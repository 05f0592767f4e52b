#include <filesystem>
#include <string>

#include "bare.h"
#include "plant.h"
#include "recall.h"
#include "support/historydatabase.h"

namespace {

constexpr std::uint32_t kDevice = 0x0103;
constexpr std::size_t kMostPoints = 20;
constexpr std::size_t kMostDays = 3;
constexpr std::size_t kMinutesPerDay = 1440;
constexpr std::uint32_t kMinute = 60;
constexpr std::uint32_t kEnd = 1709812800;  // 2024-03-07 12:00:00 UTC

std::uint32_t DataId(std::size_t point) {
  return (kDevice << 16) | static_cast<std::uint32_t>(point);
}

ST_SINGLE_CALL_POINT OrderedPoint(std::size_t point, std::size_t minutes) {
  const auto before = static_cast<std::uint32_t>(minutes - 1) * kMinute;
  return {
      .pointId = static_cast<std::uint32_t>(point), .beginTime = kEnd - before, .endTime = kEnd};
}

}  // namespace

Recall::Recall(std::size_t pointCount, std::size_t days)
    : points(pointCount), minutes(days * kMinutesPerDay), order{} {
  order.id = 7;
  ST_SINGLE_CALL_DEV device{.groupId = kDevice >> 8, .eqpId = kDevice & 0xFFU, .points = {}};
  for (std::size_t i = 0; i < points; ++i) device.points.push_back(OrderedPoint(i, minutes));
  order.devs.push_back(device);
}

void MakeRecallHistory() {
  static const bool made = [] {
    std::filesystem::remove(test::kHistoryDatabase);
    test::HistoryDatabase database;
    const auto all = OrderedPoint(0, kMostDays * kMinutesPerDay);
    for (std::size_t i = 0; i < kMostPoints; ++i) {
      database.Series(DataId(i), all.beginTime, all.endTime);
    }
    return true;
  }();
  static_cast<void>(made);
}

void ReadRecallBare(const Recall& recall, RecallSeries& series) {
  BareDatabase database(test::kHistoryDatabase);
  database.Run("PRAGMA cache_size=-256");
  BareStatement minutes(database,
                        "select UnixTime,TriggerValue,Upload from history_0103_tbl where dataid=? "
                        "and UnixTime<=? and UnixTime>=? order by UnixTime");
  for (std::size_t i = 0; i < recall.points; ++i) {
    const auto& point = recall.order.devs[0].points[i];
    // Texts, as in the service's statement.
    const std::string dataId = std::to_string(DataId(i));
    const std::string end = std::to_string(point.endTime);
    const std::string begin = std::to_string(point.beginTime);
    minutes.Bind(1, dataId).Bind(2, end).Bind(3, begin);
    auto& values = series.emplace_back();
    values.reserve(recall.minutes);
    while (minutes.Next()) {
      if (minutes.Integer(2) != 1) continue;
      values.push_back({.UnixTime = static_cast<std::uint32_t>(minutes.Integer(0)),
                        .TriggerValue = minutes.Real(1)});
    }
    minutes.Reset();
  }
}

void WriteRecallFloor(const Recall& recall, const RecallSeries& series, FloorText& text) {
  text.Clear();
  text.Put(R"({"sn":")");
  text.Put(kSerial);
  text.Put(R"(","id":)");
  text.PutNumber(recall.order.id);
  text.Put(R"(,"data":[)");
  for (std::size_t i = 0; i < series.size(); ++i) {
    text.Put(i == 0 ? R"({"groupId":)" : R"(,{"groupId":)");
    text.PutNumber(recall.order.devs[0].groupId);
    text.Put(R"(,"eqpId":)");
    text.PutNumber(recall.order.devs[0].eqpId);
    text.Put(R"(,"pointId":")");
    text.PutHex(recall.order.devs[0].points[i].pointId);
    text.Put(R"(","flag":1,"values":[)");
    bool first = true;
    for (const auto& value : series[i]) {
      text.Put(first ? R"({"timeMark":")" : R"(,{"timeMark":")");
      text.PutTimeMark(value.UnixTime);
      text.Put(R"(","value":")");
      text.PutDecimals(value.TriggerValue);
      text.Put(R"("})");
      first = false;
    }
    text.Put("]}");
  }
  text.Put("]}");
}
