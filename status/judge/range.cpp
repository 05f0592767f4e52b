#include "judge/range.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "util/text.h"

namespace status {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::string_view kDecimals = "0123456789";

// A decimal number and nothing else: "10", "-2.5", ".5".
std::optional<double> Number(std::string_view text) {
  std::string_view rest = text;
  if (rest.starts_with('-') || rest.starts_with('+')) rest.remove_prefix(1);
  const std::size_t point = rest.find('.');
  std::string digits(rest);
  if (point != std::string_view::npos) digits.erase(point, 1);
  if (digits.empty() || digits.find_first_not_of(kDecimals) != std::string::npos) return {};
  const double number = std::strtod(std::string(text).c_str(), nullptr);
  return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<double> Start(std::string_view text) {
  if (text.empty()) return 0;
  return text == "~" ? -kInfinity : Number(text);
}

std::optional<double> End(std::string_view text) {
  return text.empty() ? kInfinity : Number(text);
}

}  // namespace

std::optional<Range> Range::Parse(const std::string& text) {
  Range range;
  range.m_text = text;
  std::string_view rest = text;
  range.m_inside = rest.starts_with('@');
  if (range.m_inside) rest.remove_prefix(1);
  if (rest.empty()) return {};
  const std::size_t colon = rest.find(':');
  const bool hasColon = colon != std::string_view::npos;
  const auto low = Start(hasColon ? rest.substr(0, colon) : "");
  const auto high = End(hasColon ? rest.substr(colon + 1) : rest);
  if (!low || !high || *low > *high) return {};
  range.m_low = *low;
  range.m_high = *high;
  return range;
}

Range Range::Above(double limit) {
  constexpr double kExact = 1e15;
  const bool isWhole = std::fabs(limit) < kExact && std::floor(limit) == limit;
  Range range;
  range.m_low = limit < 0 ? -kInfinity : 0;
  range.m_high = limit;
  range.m_text = (limit < 0 ? "~:" : "") + util::Format(isWhole ? "%.0f" : "%.3f", limit);
  return range;
}

bool Range::Alarms(double value) const {
  const bool isInside = value >= m_low && value <= m_high;
  return isInside == m_inside;
}

}  // namespace status
