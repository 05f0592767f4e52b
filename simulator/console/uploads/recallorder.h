// Orders of history as the page asks for them and as the cloud gives them.
#pragma once

#include <string>
#include <vector>

#include "console/web/router.h"

namespace console {

inline constexpr std::size_t kRecallPoints = 20;  // in one order of the page

struct RecallOrderText {
  int id = 0;
  std::vector<std::string> points{};  // "1/3:1123"
  std::string from{};                 // "2026-11-22 10:00:00"
  std::string to{};
};

// Reads {"points":["1/3:1123"],"from":"2026-11-22 10:00","to":"2026-11-22 10:30"}. Throws
// std::invalid_argument with a sentence for people.
RecallOrderText ReadWish(const rapidjson::Value& body);

// The order for the cloud's option and control socket: "7:1/3:1123@…..…".
std::string OrderLine(const RecallOrderText& order);

// The orders in an answer to a recall check.
std::vector<RecallOrderText> OrdersIn(const std::string& answer);

}  // namespace console
