#include "console/bench/condition.h"

#include <charconv>
#include <regex>
#include <stdexcept>
#include <string_view>

namespace console {
namespace {

std::string ToText(const rapidjson::Value& value) {
  rapidjson::StringBuffer text;
  rapidjson::Writer<rapidjson::StringBuffer> writer(text);
  value.Accept(writer);
  return text.GetString();
}

bool LeadsTo(std::string_view path, std::string_view name) {
  return path.starts_with(name) && (path.size() == name.size() || path[name.size()] == '.');
}

std::string_view After(std::string_view path, std::size_t length) {
  return path.substr(std::min(path.size(), length + 1));
}

const rapidjson::Value* Find(const rapidjson::Value& value, std::string_view path);

// The longest name that fits: names may contain dots.
const rapidjson::Value* FindMember(const rapidjson::Value& object, std::string_view path) {
  const rapidjson::Value* found = nullptr;
  std::size_t longest = 0;
  for (const auto& member : object.GetObject()) {
    const std::string_view name(member.name.GetString(), member.name.GetStringLength());
    if (name.size() < longest || !LeadsTo(path, name)) continue;
    longest = name.size();
    found = &member.value;
  }
  return found == nullptr ? nullptr : Find(*found, After(path, longest));
}

const rapidjson::Value* FindElement(const rapidjson::Value& array, std::string_view path) {
  rapidjson::SizeType index = 0;
  const std::size_t length = std::min(path.find('.'), path.size());
  const auto [stop, error] = std::from_chars(path.data(), path.data() + length, index);
  if (error != std::errc() || stop != path.data() + length || index >= array.Size()) return nullptr;
  return Find(array[index], After(path, length));
}

const rapidjson::Value* Find(const rapidjson::Value& value, std::string_view path) {
  if (path.empty()) return &value;
  if (value.IsObject()) return FindMember(value, path);
  if (value.IsArray()) return FindElement(value, path);
  return nullptr;
}

bool Compare(double actual, const std::string& relation, double value) {
  if (relation == ">=") return actual >= value;
  if (relation == "<=") return actual <= value;
  if (relation == ">") return actual > value;
  if (relation == "<") return actual < value;
  return (relation == "==") == (actual >= value && actual <= value);
}

}  // namespace

Condition::Condition(const std::string& text) : m_text(text) {
  static const std::regex kForm(R"(([^\s=<>!]+)\s*(==|!=|>=|<=|>|<)\s*(\S.*))");
  std::smatch parts;
  if (!std::regex_match(text, parts, kForm)) {
    throw std::invalid_argument("'" + text + "' is no condition like account.total.lost == 0");
  }
  m_path = parts[1];
  m_relation = parts[2];
  m_value = parts[3];
  rapidjson::Document value;
  if (value.Parse(m_value.c_str()).HasParseError()) {
    value.SetString(m_value.c_str(), value.GetAllocator());  // a word without quotes
    m_value = ToText(value);
  }
  if (m_relation != "==" && m_relation != "!=" && !value.IsNumber()) {
    throw std::invalid_argument("'" + text + "' compares with " + m_value + ", which is no number");
  }
}

Condition::Finding Condition::Check(const rapidjson::Value& state) const {
  const rapidjson::Value nothing;
  const rapidjson::Value* const found = Find(state, m_path);
  const rapidjson::Value& actual = found == nullptr ? nothing : *found;
  return {.holds = Holds(actual), .isThere = found != nullptr, .actual = ToText(actual)};
}

bool Condition::Holds(const rapidjson::Value& actual) const {
  rapidjson::Document value;
  value.Parse(m_value.c_str());
  if (actual.IsNumber() && value.IsNumber()) {
    return Compare(actual.GetDouble(), m_relation, value.GetDouble());
  }
  if (m_relation == "==") return actual == value;
  return m_relation == "!=" && actual != value;
}

}  // namespace console
