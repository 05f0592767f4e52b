#include "print/jsonwriter.h"

#include "print/terminal.h"
#include "util/json.h"

// After util/json.h, which sets RapidJSON's assertion.
#include <rapidjson/prettywriter.h>

namespace status {

struct JsonWriter::Output {
  rapidjson::StringBuffer text;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer{text};

  void String(std::string_view string) {
    const std::string valid = ValidUtf8(string);
    writer.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
  }
};

JsonWriter::JsonWriter() : m_output(std::make_unique<Output>()) {
  m_output->writer.SetIndent(' ', 2);
  m_output->writer.StartObject();
}

JsonWriter::~JsonWriter() = default;

std::string JsonWriter::Finish() {
  m_output->writer.EndObject();
  return std::string(m_output->text.GetString(), m_output->text.GetSize()) + "\n";
}

void JsonWriter::Key(std::string_view key) {
  if (!key.empty()) m_output->writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}

void JsonWriter::OpenObject(std::string_view key) {
  Key(key);
  m_output->writer.StartObject();
}

void JsonWriter::CloseObject() {
  m_output->writer.EndObject();
}

void JsonWriter::OpenArray(std::string_view key) {
  Key(key);
  m_output->writer.StartArray();
}

void JsonWriter::CloseArray() {
  m_output->writer.EndArray();
}

void JsonWriter::Text(std::string_view key, std::string_view text) {
  Key(key);
  m_output->String(text);
}

void JsonWriter::Number(std::string_view key, std::int64_t number) {
  Key(key);
  m_output->writer.Int64(number);
}

void JsonWriter::Flag(std::string_view key, bool flag) {
  Key(key);
  m_output->writer.Bool(flag);
}

void JsonWriter::Null(std::string_view key, std::string_view reason) {
  Key(key);
  m_output->writer.Null();
  Text(std::string(key) + "_reason", reason.empty() ? "unknown" : reason);
}

void JsonWriter::Element(std::string_view text) {
  m_output->String(text);
}

void JsonWriter::Text(std::string_view key, const std::string& text,
                      std::string_view reasonWhenEmpty) {
  text.empty() ? Null(key, reasonWhenEmpty) : Text(key, text);
}

void JsonWriter::Number(std::string_view key, std::optional<std::int64_t> number,
                        std::string_view reason) {
  number ? Number(key, *number) : Null(key, reason);
}

void JsonWriter::Flag(std::string_view key, std::optional<bool> flag, std::string_view reason) {
  flag ? Flag(key, *flag) : Null(key, reason);
}

void JsonWriter::Time(std::string_view textKey, std::string_view secondsKey,
                      std::optional<std::time_t> when, std::string_view reason) {
  Text(textKey, when ? Rfc3339(*when) : "", when ? "no date can be written for it" : reason);
  Number(secondsKey, when, reason);
}

void JsonWriter::Time(const std::string& name, std::optional<std::time_t> when,
                      std::string_view reason) {
  Time(name.empty() ? "time" : name + "_time",
       name.empty() ? "unix_seconds" : name + "_unix_seconds", when, reason);
}

}  // namespace status
