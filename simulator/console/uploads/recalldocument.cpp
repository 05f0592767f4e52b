#include "console/uploads/recalldocument.h"

#include <cmath>
#include <cstdlib>
#include <string_view>

#include "console/uploads/jsonscan.h"
#include "console/uploads/text.h"
#include "util/timetext.h"

namespace console {
namespace {

// Depths of the document's objects.
constexpr int kPointDepth = 2;
constexpr int kValue = 3;

class RecallReader {
 public:
  void Take(std::string_view key, std::string_view value) {
    const std::string text(value);
    if (key == "id") m_found.order = Number(text);
    if (key == "groupId") m_channel = text;
    if (key == "eqpId") m_device = text;
    if (key == "pointId") m_point = text;
    if (key == "flag") m_series.flag = Number(text).value_or(0);
    if (key == "timeMark") m_time = text;
    if (key == "value") m_value = text;
  }

  void EndObject(int depth) {
    if (depth == kValue) KeepValue();
    if (depth == kPointDepth) KeepPoint();
  }

  RecallDocument Found() { return std::move(m_found); }

 private:
  static std::optional<int> Number(const std::string& text) {
    const auto number = NumberIn(text);
    return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
  }

  void KeepValue() {
    const double value = std::strtod(m_value.c_str(), nullptr);
    if (++m_values > kRecalledValues || !std::isfinite(value)) return;
    const std::time_t time = util::UnixTime(util::ReadTimeMark(m_time.c_str()));
    m_series.values.emplace_back(time, value);
  }

  void KeepPoint() {
    m_series.id = m_channel + "/" + m_device + ":" + m_point;
    m_found.series.push_back(std::move(m_series));
    m_series = {};
  }

  RecallDocument m_found;
  RecalledSeries m_series;  // of the point that is being read
  std::string m_channel;
  std::string m_device;
  std::string m_point;
  std::string m_time;
  std::string m_value;
  std::size_t m_values = 0;  // in the whole document
};

}  // namespace

RecallDocument ReadRecallDocument(const std::string& text) {
  RecallReader reader;
  ScanJson(text, {[&](auto key, auto value) { reader.Take(key, value); },
                  [&](int depth) { reader.EndObject(depth); }});
  return reader.Found();
}

}  // namespace console
