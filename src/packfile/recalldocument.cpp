#include "packfile/recalldocument.h"

#include <algorithm>
#include <vector>

#include "datasource/demandhistory.h"
#include "historydata/historydata.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr std::int32_t kComplete = 1;
constexpr std::size_t kTimeMarkBytes = 23;
constexpr std::size_t kPointIdBytes = 15;
constexpr std::size_t kValueBytes = 15;
constexpr std::size_t kLastValueBytes = 1024;  // what is behind the bound when it is seen

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// What lives for the whole document.
struct Walk {
  Writer& writer;
  const rapidjson::StringBuffer& text;
  std::vector<ST_SINGLE_POINT_VALUE> values;  // of the point at hand
  char timeMark[kTimeMarkBytes];              // stays where a time cannot be converted
};

// The identifier under which the history is kept; ids out of range lose their upper bits.
std::uint32_t HistoryId(const ST_SINGLE_CALL_DEV& device, const ST_SINGLE_CALL_POINT& point) {
  return ((static_cast<std::uint32_t>(device.groupId) & 0xFFU) << 24) |
         ((static_cast<std::uint32_t>(device.eqpId) & 0xFFFFU) << 16) | (point.pointId & 0xFFFFU);
}

bool IsTooLarge(const Walk& walk) {
  return walk.text.GetSize() > kLargestRecallBytes || walk.values.size() > kMostRecalledValues;
}

void WriteValue(Walk& walk, const ST_SINGLE_POINT_VALUE& value) {
  if (const auto when = util::LocalTime(value.UnixTime)) {
    util::CopyText(walk.timeMark, util::TimeMark(*when));
  }
  char decimals[kValueBytes];
  util::PrintText(decimals, sizeof(decimals), "%.3lf", value.TriggerValue);
  walk.writer.StartObject();
  walk.writer.Key("timeMark");
  walk.writer.String(walk.timeMark);
  walk.writer.Key("value");
  walk.writer.String(decimals);
  walk.writer.EndObject();
}

void WritePoint(Walk& walk, const ST_SINGLE_CALL_DEV& device, const ST_SINGLE_CALL_POINT& point) {
  char pointId[kPointIdBytes];
  util::PrintText(pointId, sizeof(pointId), "%04X", point.pointId & 0xFFFFU);
  walk.writer.StartObject();
  walk.writer.Key("groupId");
  walk.writer.Int(device.groupId);
  walk.writer.Key("eqpId");
  walk.writer.Int(device.eqpId);
  walk.writer.Key("pointId");
  walk.writer.String(pointId);

  walk.values.clear();
  const std::int32_t found =
      GetCHistoryDataInstance().GetRecallFlag(HistoryId(device, point), &point, &walk.values);
  const std::int32_t flag = std::max(found, 0);
  walk.writer.Key("flag");
  walk.writer.Int(flag);
  walk.writer.Key("values");
  walk.writer.StartArray();
  if (flag == kComplete) {
    for (const auto& value : walk.values) {
      if (IsTooLarge(walk)) break;
      WriteValue(walk, value);
    }
  }
  walk.writer.EndArray();
  walk.writer.EndObject();
}

}  // namespace

bool WriteRecallDocument(const char* serial, const ST_CHECKCALL_ACK& order,
                         rapidjson::StringBuffer& text) {
  text.Reserve(kLargestRecallBytes +
               kLastValueBytes);  // a text that grows is copied, and in memory twice
  Writer writer(text);
  Walk walk{.writer = writer, .text = text, .values = {}, .timeMark = ""};
  writer.StartObject();
  writer.Key("sn");
  RAPIDJSON_ASSERT(serial != nullptr);  // the writer itself would read through it
  writer.String(serial);
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
