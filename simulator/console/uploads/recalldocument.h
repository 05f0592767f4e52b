// Reads the document of recalled history.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace console {

// A whole document keeps so many values, all points together.
inline constexpr std::size_t kRecalledValues = 200'000;

struct RecalledSeries {
  std::string id{};       // "1/3:1123"
  std::int64_t flag = 0;  // 1: every ordered minute is there
  std::vector<std::pair<std::time_t, double>> values{};
};

struct RecallDocument {
  std::optional<int> order{};  // the order that it answers
  std::vector<RecalledSeries> series{};
};

// What could be read; a text that is no such document gives what stands before its fault.
RecallDocument ReadRecallDocument(const std::string& text);

}  // namespace console
