#include "packfile/recalldocument.h"

#include <algorithm>
#include <string>

#include "datasource/demandhistory.h"
#include "util/timetext.h"

namespace {

constexpr std::int32_t kComplete = 1;
constexpr std::size_t kLastValueBytes = 1024;  // written before the bound is looked at again

// What lives for the whole document.
struct RecallWalk {
  DocumentWriter& writer;
  const rapidjson::StringBuffer& text;
  const ReadHistory& readHistory;
  std::vector<ST_SINGLE_POINT_VALUE> values;  // of the current point
  std::string timeMark;                       // of the last value whose time could be converted
};

// The identifier under which the history is kept. Ids out of range lose their upper bits.
std::uint32_t HistoryId(const ST_SINGLE_CALL_DEV& device, const ST_SINGLE_CALL_POINT& point) {
  return ((static_cast<std::uint32_t>(device.groupId) & 0xFFU) << 24) |
         ((static_cast<std::uint32_t>(device.eqpId) & 0xFFFFU) << 16) | (point.pointId & 0xFFFFU);
}

bool IsTooLarge(const RecallWalk& walk) {
  return walk.text.GetSize() > kLargestRecallBytes || walk.values.size() > kMostRecalledValues;
}

void WriteValues(RecallWalk& walk) {
  util::UpdateZone();
  for (const auto& value : walk.values) {
    if (IsTooLarge(walk)) return;
    if (const auto when = util::TimeInZone(value.UnixTime)) walk.timeMark = util::TimeMark(*when);
    WriteTimedValue(walk.writer, walk.timeMark, value.TriggerValue, kValueBytes);
  }
}

void WritePoint(RecallWalk& walk, const ST_SINGLE_CALL_DEV& device,
                const ST_SINGLE_CALL_POINT& point) {
  walk.writer.StartObject();
  walk.writer.Key("groupId");
  walk.writer.Int(device.groupId);
  walk.writer.Key("eqpId");
  walk.writer.Int(device.eqpId);
  WritePointId(walk.writer, point.pointId);

  walk.values.clear();
  const std::int32_t found = walk.readHistory(HistoryId(device, point), point, walk.values);
  const std::int32_t flag = std::max(found, 0);
  walk.writer.Key("flag");
  walk.writer.Int(flag);
  walk.writer.Key("values");
  walk.writer.StartArray();
  if (flag == kComplete) WriteValues(walk);
  walk.writer.EndArray();
  walk.writer.EndObject();
}

}  // namespace

bool WriteRecallDocument(const char* serial, const ST_CHECKCALL_ACK& order,
                         const ReadHistory& readHistory, rapidjson::StringBuffer& text) {
  // A text that outgrows its buffer is copied, and stands in memory twice.
  text.Reserve(kLargestRecallBytes + kLastValueBytes);
  DocumentWriter writer(text);
  RecallWalk walk{writer, text, readHistory, {}, {}};
  writer.StartObject();
  WriteSerial(writer, serial);
  writer.Key("id");
  writer.Int(order.id);
  writer.Key("data");
  writer.StartArray();
  for (const auto& device : order.devs) {
    for (const auto& point : device.points) {
      WritePoint(walk, device, point);
      if (IsTooLarge(walk)) return false;
    }
  }
  writer.EndArray();
  writer.EndObject();
  return true;
}
