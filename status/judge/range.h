// Ranges as monitoring plugins read them: "10" alarms below 0 and above 10, "10:" below 10, "~:10"
// above 10, "10:20" outside, "@10:20" inside.
#pragma once

#include <optional>
#include <string>

namespace status {

class Range {
 public:
  // Nothing for a text that is no range.
  static std::optional<Range> Parse(const std::string& text);
  static Range Above(double limit);

  // Whether the value is one to alarm on.
  bool Alarms(double value) const;
  // The text as it was given, for performance data.
  const std::string& Text() const { return m_text; }

 private:
  double m_low = 0;
  double m_high = 0;
  bool m_inside = false;
  std::string m_text;
};

}  // namespace status
