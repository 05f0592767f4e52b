// Ranges as monitoring plugins read them: "10" alarms below 0 and above 10, "10:" below 10, "~:10"
// above 10, "10:20" outside, "@10:20" inside.
#pragma once

#include <optional>
#include <string>

namespace status {

class Range {
 public:
  // [@]start:end, both included in the range. The numbers may have decimals and a sign. "~" is
  // minus infinity, a missing start is 0, a missing end is infinity. Nothing for a text that is no
  // range, also when the start is above the end.
  static std::optional<Range> Parse(const std::string& text);
  // The range of the text that is just this number: alarms above the limit, and below 0. Below 0
  // is the limit of a range that alarms above it alone.
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
