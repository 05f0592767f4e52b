#include "console/uploads/jsonscan.h"

#include "util/json.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

namespace console {
namespace {

constexpr int kDeepest = 16;  // a gateway's documents have up to 7 levels
constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

class Scanner : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Scanner> {
 public:
  explicit Scanner(const JsonScan& scan) : m_scan(scan) {}

  bool Key(const char* text, rapidjson::SizeType length, bool /*copy*/) {
    m_key.assign(text, length);
    return true;
  }
  bool String(const char* text, rapidjson::SizeType length, bool /*copy*/) {
    m_scan.onValue(m_key, {text, length});
    return true;
  }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool copy) {
    return String(text, length, copy);
  }
  bool StartObject() {
    ++m_objects;
    return ++m_depth <= kDeepest;
  }
  bool EndObject(rapidjson::SizeType /*members*/) {
    m_scan.onObjectEnd(m_objects--);
    --m_depth;
    return true;
  }
  bool StartArray() { return ++m_depth <= kDeepest; }
  bool EndArray(rapidjson::SizeType /*elements*/) {
    --m_depth;
    return true;
  }

 private:
  const JsonScan& m_scan;
  std::string m_key;
  int m_objects = 0;
  int m_depth = 0;
};

}  // namespace

bool ScanJson(const std::string& text, const JsonScan& scan) {
  rapidjson::MemoryStream stream(text.data(), text.size());
  rapidjson::Reader reader;
  Scanner scanner(scan);
  return !reader.Parse<kFlags>(stream, scanner).IsError();
}

}  // namespace console
