#include "cloud/behaviours.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <utility>

#include "util/text.h"

namespace cloud {

const char kBehaviourHelp[] =
    "  BEHAVIOURS is a list. Each exchange uses one item. After the last one the endpoint answers\n"
    "  normally again:\n"
    "    ITEM[*COUNT][,ITEM[*COUNT]...]      e.g. refuse*2   ok*2,refuse   http:500:'busy'\n"
    "  Items:\n"
    "    ok                  answer normally\n"
    "    refuse              answer with status 1 (a login: seqStatus 1)\n"
    "    http:CODE[:'TEXT']  answer with this HTTP status (200 to 599) and body\n"
    "    nonsense[:'TEXT']   answer HTTP 200 with this text as the body\n"
    "    stall:SECONDS       wait (up to 600 s, e.g. 0.5), then answer normally\n"
    "    pieces[:SECONDS]    answer normally, but send the second half of the body later (0.2 s)\n"
    "    cut                 close the connection after half of the answer's body\n"
    "    close               close the connection without an answer\n"
    "    reset               reset the connection without an answer\n"
    "    drip[:SECONDS]      answer normally, but byte by byte, with a pause between two (1 s)\n"
    "    trailers            answer normally, but chunked, and send trailers without end after it\n"
    "  TEXT stands between single or double quotes. Inside, write the same quote twice.\n";

namespace {

constexpr char kDefaultNonsense[] = "<html>this is not the answer that you expect</html>";
constexpr std::chrono::milliseconds kDefaultPause{200};
constexpr std::chrono::milliseconds kDefaultDrip{1000};
constexpr int kLowestHttpStatus = 200;  // after a 1xx a client waits for another answer
constexpr int kHighestHttpStatus = 599;
constexpr std::size_t kCountLimit = 10000;

// Reads one list from left to right.
class ListReader {
 public:
  explicit ListReader(std::string_view list) : m_list(list), m_rest(list) {}

  std::vector<Behaviour> ReadAll() {
    std::vector<Behaviour> behaviours;
    do {
      const Behaviour behaviour = ReadItem();
      const std::size_t count = Take('*') ? ReadCount() : 1;
      behaviours.insert(behaviours.end(), count, behaviour);
      if (behaviours.size() > kCountLimit) Throw("asks for more than 10000 exchanges");
    } while (Take(','));
    if (!m_rest.empty()) Throw("goes on with '" + std::string(m_rest) + "' where ',' belongs");
    return behaviours;
  }

 private:
  [[noreturn]] void Throw(const std::string& what) const {
    throw std::invalid_argument("behaviour '" + std::string(m_list) + "' " + what);
  }

  bool Take(char c) {
    if (!m_rest.starts_with(c)) return false;
    m_rest.remove_prefix(1);
    return true;
  }

  std::string_view TakeWord() {
    const std::string_view word = m_rest.substr(0, m_rest.find_first_of(":*,"));
    m_rest.remove_prefix(word.size());
    return word;
  }

  template <typename T>
  std::optional<T> Number(std::string_view word) const {
    T number{};
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    if (word.empty() || error != std::errc() || stop != end) return std::nullopt;
    return number;
  }

  std::size_t ReadCount() {
    const std::optional<std::size_t> count = Number<std::size_t>(TakeWord());
    if (!count || *count < 1 || *count > kCountLimit)
      Throw("has no count from 1 to 10000 after '*'");
    return *count;
  }

  std::string ReadText() {
    const char quote = m_rest.empty() ? '\0' : m_rest.front();
    if (quote != '\'' && quote != '"') Throw("has a text without quotes");
    m_rest.remove_prefix(1);
    std::string text;
    for (;;) {
      const std::size_t end = m_rest.find(quote);
      if (end == std::string_view::npos) Throw("has a text without a closing quote");
      text += m_rest.substr(0, end);
      m_rest.remove_prefix(end + 1);
      if (!Take(quote)) return text;
      text += quote;
    }
  }

  Behaviour ReadStatus() {
    const std::optional<int> code = Take(':') ? Number<int>(TakeWord()) : std::nullopt;
    if (!code || *code < kLowestHttpStatus || *code > kHighestHttpStatus) {
      Throw("has no HTTP status from 200 to 599 after 'http:'");
    }
    return Behaviour::Status(*code, Take(':') ? ReadText() : std::string());
  }

  std::chrono::milliseconds ReadSeconds(const char* behind) {
    const std::optional<double> seconds = Take(':') ? Number<double>(TakeWord()) : std::nullopt;
    const auto limit = static_cast<double>(kStallLimit.count());
    // Written so that it also refuses "nan".
    if (!seconds || !(*seconds >= 0 && *seconds <= limit)) {
      Throw(std::string("has no seconds from 0 to 600 after '") + behind + ":'");
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<double>(*seconds));
  }

  Behaviour ReadItem() {
    const std::string word(TakeWord());
    if (word == "ok") return Behaviour::Normal();
    if (word == "refuse") return Behaviour::Refuse();
    if (word == "close") return Behaviour::Close();
    if (word == "reset") return Behaviour::Reset();
    if (word == "trailers") return Behaviour::Trailers();
    if (word == "drip") {
      return Behaviour::Drip(m_rest.starts_with(':') ? ReadSeconds("drip") : kDefaultDrip);
    }
    if (word == "http") return ReadStatus();
    if (word == "cut") return Behaviour::Cut();
    if (word == "stall") return Behaviour::Stall(ReadSeconds("stall"));
    if (word == "pieces") {
      return Behaviour::Pieces(m_rest.starts_with(':') ? ReadSeconds("pieces") : kDefaultPause);
    }
    if (word == "nonsense") return Behaviour::Nonsense(Take(':') ? ReadText() : kDefaultNonsense);
    Throw("has the unknown item '" + word + "'");
  }

  std::string_view m_list;
  std::string_view m_rest;
};

std::string InSingleQuotes(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "''" : std::string(1, c);
  return quoted + "'";
}

std::string Seconds(std::chrono::milliseconds time) {
  return util::Format("%g", std::chrono::duration<double>(time).count());
}

}  // namespace

Behaviour Behaviour::Status(int httpStatus, std::string body) {
  return {.action = Action::kStatus, .httpStatus = httpStatus, .text = std::move(body)};
}

Behaviour Behaviour::Nonsense(std::string text) {
  return {.action = Action::kNonsense, .text = std::move(text)};
}

Behaviour Behaviour::Stall(std::chrono::milliseconds stall) {
  return {.action = Action::kStall,
          .stall = std::min<std::chrono::milliseconds>(stall, kStallLimit)};
}

Behaviour Behaviour::Pieces(std::chrono::milliseconds pause) {
  return {.action = Action::kPieces,
          .stall = std::min<std::chrono::milliseconds>(pause, kStallLimit)};
}

Behaviour Behaviour::Drip(std::chrono::milliseconds pause) {
  return {.action = Action::kDrip,
          .stall = std::min<std::chrono::milliseconds>(pause, kStallLimit)};
}

std::vector<Behaviour> ParseBehaviours(std::string_view list) {
  return ListReader(list).ReadAll();
}

std::string ToText(const Behaviour& behaviour) {
  switch (behaviour.action) {
    case Action::kNormal:
      return "ok";
    case Action::kRefuse:
      return "refuse";
    case Action::kStatus:
      return "http:" + std::to_string(behaviour.httpStatus) + ":" + InSingleQuotes(behaviour.text);
    case Action::kNonsense:
      return "nonsense:" + InSingleQuotes(behaviour.text);
    case Action::kStall:
      return "stall:" + Seconds(behaviour.stall);
    case Action::kPieces:
      return "pieces:" + Seconds(behaviour.stall);
    case Action::kCut:
      return "cut";
    case Action::kClose:
      return "close";
    case Action::kReset:
      return "reset";
    case Action::kDrip:
      return "drip:" + Seconds(behaviour.stall);
    case Action::kTrailers:
      return "trailers";
  }
  return "ok";
}

}  // namespace cloud
