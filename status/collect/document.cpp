// The document of an archive, formatted.
#include "collect/archive.h"
#include "util/json.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>

namespace status {
namespace {

constexpr int kDeepest = 16;  // the service's documents have up to 7 levels
constexpr unsigned kIndent = 2;

constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

// Lets everything pass that is not nested too deeply.
class DepthCheck : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, DepthCheck> {
 public:
  bool StartObject() { return ++m_depth <= kDeepest; }
  bool EndObject(rapidjson::SizeType) { return Close(); }
  bool StartArray() { return ++m_depth <= kDeepest; }
  bool EndArray(rapidjson::SizeType) { return Close(); }

 private:
  bool Close() {
    --m_depth;
    return true;
  }

  int m_depth = 0;
};

// RapidJSON's output, passed on line by line. Line ends inside texts are escaped.
class Lines {
 public:
  using Ch = char;
  explicit Lines(const EachLine& eachLine) : m_eachLine(eachLine) {}

  void Put(char c) {
    if (c == '\n') {
      Flush();
    } else {
      m_line += c;
    }
  }
  void Flush() {
    if (!m_line.empty()) m_eachLine(m_line);
    m_line.clear();
  }

 private:
  const EachLine& m_eachLine;
  std::string m_line;
};

class Printer : public rapidjson::PrettyWriter<Lines> {
 public:
  explicit Printer(Lines& lines) : PrettyWriter(lines) { SetIndent(' ', kIndent); }
  // The library would write the number as a text.
  bool RawNumber(const char* number, rapidjson::SizeType length, bool /*copy*/) {
    return RawValue(number, length, rapidjson::kNumberType);
  }
};

// The reader ends at a zero byte; a text with one is no document.
bool IsDocument(const std::string& document) {
  if (document.find('\0') != std::string::npos) return false;
  rapidjson::StringStream stream(document.c_str());
  rapidjson::Reader reader;
  DepthCheck check;
  return !reader.Parse<kFlags>(stream, check).IsError();
}

}  // namespace

bool FormatDocument(const std::string& document, const EachLine& eachLine) {
  if (!IsDocument(document)) return false;
  rapidjson::StringStream stream(document.c_str());
  rapidjson::Reader reader;
  Lines lines(eachLine);
  Printer printer(lines);
  reader.Parse<kFlags>(stream, printer);
  lines.Flush();
  return true;
}

}  // namespace status
