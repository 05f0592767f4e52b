#include "console/uploads/alarmdocument.h"

#include <string_view>

#include "console/uploads/jsonscan.h"
#include "console/uploads/plantnames.h"
#include "util/text.h"

namespace console {
namespace {

constexpr int kEvent = 2;  // depth of an event in the document
constexpr std::size_t kEventsInDocument = 20;

std::string Joined(const std::string& point, const std::string& time, const std::string& flag,
                   const std::string& value) {
  return point + "|" + time + "|" + flag + "|" + value;
}

class AlarmReader {
 public:
  void Take(std::string_view key, std::string_view value) {
    if (key == "groupId") m_channel = value;
    if (key == "eqpId") m_device = value;
    if (key == "alarmTime") m_time = value;
    if (key == "flag") m_flag = value;
    if (key == "pointId") m_point = value;
    if (key == "value") m_value = value;
  }

  void EndObject(int depth) {
    if (depth != kEvent || m_keys.size() == kEventsInDocument) return;
    m_keys.push_back(Joined(m_channel + "/" + m_device + ":" + m_point, m_time, m_flag, m_value));
  }

  std::vector<std::string> Keys() { return std::move(m_keys); }

 private:
  std::vector<std::string> m_keys;
  std::string m_channel;
  std::string m_device;
  std::string m_time;
  std::string m_flag;
  std::string m_point;
  std::string m_value;
};

}  // namespace

std::string AlarmKey(std::uint32_t dataId, const std::string& timeMark, std::int64_t upFlag,
                     double value) {
  return Joined(PointIdText(dataId), timeMark, std::to_string(upFlag), util::Format("%.3f", value));
}

std::vector<std::string> AlarmKeysIn(const std::string& document) {
  AlarmReader reader;
  ScanJson(document, {[&](auto key, auto value) { reader.Take(key, value); },
                      [&](int depth) { reader.EndObject(depth); }});
  return reader.Keys();
}

}  // namespace console
