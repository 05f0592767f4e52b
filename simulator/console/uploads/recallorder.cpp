#include "console/uploads/recallorder.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>

#include "cloud/members.h"
#include "console/uploads/jsonscan.h"
#include "console/uploads/plantnames.h"
#include "console/uploads/text.h"
#include "util/text.h"

namespace console {
namespace {

constexpr int kOrder = 2;         // depth of an order in an answer
constexpr int kOrderedPoint = 4;  // depth of a point

// Whole minutes may be given without seconds.
std::string TimeIn(const rapidjson::Value& body, const char* name) {
  const auto member = body.FindMember(name);
  std::string text;
  if (member != body.MemberEnd() && member->value.IsString()) text = member->value.GetString();
  constexpr std::size_t kMinuteCharacters = 16;
  if (text.size() == kMinuteCharacters) text += ":00";
  if (cloud::IsTimeMark(text)) return text;
  throw std::invalid_argument(std::string("\"") + name + "\" is not a time like 2026-11-22 10:00.");
}

std::string PointIn(const rapidjson::Value& value) {
  const std::string text = value.IsString() ? value.GetString() : "";
  const auto dataId = PointIdIn(text);
  if (dataId) return PointIdText(*dataId);
  throw std::invalid_argument("\"" + ValidUtf8(text) + "\" is not a point like 1/3:1123.");
}

std::vector<std::string> PointsIn(const rapidjson::Value& body) {
  const auto member = body.FindMember("points");
  if (member == body.MemberEnd() || !member->value.IsArray() || member->value.Empty() ||
      member->value.Size() > kRecallPoints) {
    throw std::invalid_argument("An order has 1 to 20 points.");
  }
  std::vector<std::string> points;
  for (const rapidjson::Value& value : member->value.GetArray()) {
    const std::string point = PointIn(value);
    if (std::ranges::find(points, point) == points.end()) points.push_back(point);
  }
  return points;
}

// Collects the orders of one answer.
class OrderReader {
 public:
  void Take(std::string_view key, std::string_view value) {
    const std::string text(value);
    if (key == "id") m_order.id = static_cast<int>(NumberIn(text).value_or(0));
    if (key == "groupId") m_channel = text;
    if (key == "eqpId") m_device = text;
    if (key == "pointId") m_point = text;
    if (key == "beginTime") m_order.from = text;
    if (key == "endTime") m_order.to = text;
  }

  void EndObject(int depth) {
    if (depth == kOrderedPoint)
      m_order.points.push_back(m_channel + "/" + m_device + ":" + m_point);
    if (depth != kOrder) return;
    m_orders.push_back(std::move(m_order));
    m_order = {};
  }

  std::vector<RecallOrderText> Orders() { return std::move(m_orders); }

 private:
  std::vector<RecallOrderText> m_orders;
  RecallOrderText m_order;  // that is being read
  std::string m_channel;
  std::string m_device;
  std::string m_point;
};

}  // namespace

RecallOrderText ReadWish(const rapidjson::Value& body) {
  RecallOrderText order;
  order.points = PointsIn(body);
  order.from = TimeIn(body, "from");
  order.to = TimeIn(body, "to");
  if (order.to < order.from) throw std::invalid_argument("The span ends before it begins.");
  return order;
}

std::string OrderLine(const RecallOrderText& order) {
  // A device stands once, with all of its points.
  std::vector<std::pair<std::string, std::string>> devices;
  for (const std::string& id : order.points) {
    const std::size_t colon = id.find(':');
    const std::string device = id.substr(0, colon);
    const auto found =
        std::ranges::find(devices, device, &std::pair<std::string, std::string>::first);
    if (found == devices.end()) {
      devices.emplace_back(device, id.substr(colon + 1));
    } else {
      found->second += "," + id.substr(colon + 1);
    }
  }
  std::string line = std::to_string(order.id) + ":";
  for (const auto& [device, points] : devices) {
    if (!line.ends_with(':')) line += ";";
    line.append(device).append(":").append(points).append("@");
    line.append(order.from).append("..").append(order.to);
  }
  return line;
}

std::vector<RecallOrderText> OrdersIn(const std::string& answer) {
  OrderReader reader;
  ScanJson(answer, {[&](auto key, auto value) { reader.Take(key, value); },
                    [&](int depth) { reader.EndObject(depth); }});
  return reader.Orders();
}

}  // namespace console
