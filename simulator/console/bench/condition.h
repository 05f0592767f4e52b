// What a scenario asks of the state.
#pragma once

#include <string>

#include "util/json.h"

namespace console {

// "account.total.pending >= 1": a path into a JSON text, a relation and a value. A step of the path
// is a member's name, which may contain dots, or the index of an element, from 0.
class Condition {
 public:
  // Throws std::invalid_argument with a sentence when the text is no condition.
  explicit Condition(const std::string& text);

  struct Finding {
    bool holds = false;
    bool isThere = false;  // the path leads to a value
    std::string actual{};  // that value as JSON; "null" when there is none
  };
  // A value that is not there is like null. Numbers compare with numbers only; texts, true, false
  // and null are equal or not.
  Finding Check(const rapidjson::Value& state) const;
  const std::string& Text() const { return m_text; }
  const std::string& Path() const { return m_path; }

 private:
  bool Holds(const rapidjson::Value& actual) const;

  std::string m_text;
  std::string m_path{};
  std::string m_relation{};
  std::string m_value{};  // as JSON
};

}  // namespace console
