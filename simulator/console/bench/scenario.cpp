#include "console/bench/scenario.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <iomanip>
#include <map>
#include <sstream>
#include <stdexcept>

namespace console {
namespace {

constexpr double kLongestWait = 1e7;  // seconds

// The first word, which leaves the text; the rest follows without spaces before it.
std::string TakeWord(std::string* text) {
  const auto end = std::min(text->find_first_of(" \t"), text->size());
  std::string word = text->substr(0, end);
  const auto next = text->find_first_not_of(" \t", end);
  *text = next == std::string::npos ? std::string() : text->substr(next);
  return word;
}

std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// Words as a shell divides them; double quotes hold a word with spaces together.
std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> std::quoted(word);) words.push_back(word);
  return words;
}

double Number(const std::string& text) {
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  if (!text.empty() && *end == '\0' && number >= 0 && number <= kLongestWait) return number;
  throw std::invalid_argument("'" + text + "' is no number");
}

std::string RequireObject(const std::string& json) {
  rapidjson::Document body;
  if (body.Parse(json.c_str()).HasParseError() || !body.IsObject()) {
    throw std::invalid_argument("'" + json + "' is no JSON object");
  }
  return json;
}

std::string RequireKind(const std::string& kind) {
  if (kind == "realdata" || kind == "alarmdata" || kind == "calldata") return kind;
  throw std::invalid_argument("'" + kind + "' is not realdata, alarmdata or calldata");
}

void ReadPost(std::string rest, Step* step) {
  step->path = TakeWord(&rest);
  if (!step->path.starts_with("/api/")) {
    throw std::invalid_argument("'" + step->path + "' does not begin with /api/");
  }
  step->text = RequireObject(rest);
}

void ReadWait(std::string rest, Step* step) {
  step->number = Number(TakeWord(&rest));
  step->condition.emplace(rest);
}

struct Verb {
  Step::Kind kind;
  std::function<void(const std::string& rest, Step* step)> read;
};

const std::map<std::string, Verb>& Verbs() {
  const auto number = [](const std::string& rest, Step* step) { step->number = Number(rest); };
  static const std::map<std::string, Verb> kVerbs{
      {"speed", {Step::Kind::kSpeed, number}},
      {"post", {Step::Kind::kPost, ReadPost}},
      {"wait", {Step::Kind::kWait, ReadWait}},
      {"expect",
       {Step::Kind::kExpect,
        [](const std::string& rest, Step* step) { step->condition.emplace(rest); }}},
      {"pause", {Step::Kind::kPause, number}},
      {"show",
       {Step::Kind::kShow,
        [](const std::string& rest, Step* step) { step->text = RequireKind(rest); }}},
      {"say", {Step::Kind::kSay, [](const std::string& rest, Step* step) { step->text = rest; }}}};
  return kVerbs;
}

void ReadLine(std::string rest, int line, Scenario* scenario) {
  const std::string verb = TakeWord(&rest);
  if (verb == "start" || verb == "cloud") {
    if (!scenario->steps.empty()) throw std::invalid_argument(verb + " comes after other steps");
    (verb == "start" ? scenario->acquisition : scenario->cloud) = Words(rest);
    return;
  }
  const auto found = Verbs().find(verb);
  if (found == Verbs().end()) throw std::invalid_argument("there is no step '" + verb + "'");
  Step step{.line = line, .kind = found->second.kind};
  found->second.read(rest, &step);
  scenario->steps.push_back(std::move(step));
}

}  // namespace

Scenario ParseScenario(const std::string& text) {
  Scenario scenario;
  std::istringstream lines(text);
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    const std::string content = Trimmed(line);
    if (content.empty() || content.front() == '#') continue;
    try {
      ReadLine(content, number, &scenario);
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument("line " + std::to_string(number) + ": " + error.what());
    }
  }
  if (scenario.steps.empty()) throw std::invalid_argument("it has no steps");
  return scenario;
}

}  // namespace console
