// Writes JSON by the rules of the schema: a value that is unknown is null, and the key with
// "_reason" beside it says why.
#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "collect/fact.h"

namespace status {

// One document, an object, printed with two blanks of indentation. Every text becomes valid UTF-8.
class JsonWriter {
 public:
  JsonWriter();
  ~JsonWriter();

  // An object or an array, as a member or as an element (without a key). `fill` writes what is in
  // it.
  template <typename Fill>
  void Object(std::string_view key, const Fill& fill) {
    OpenObject(key);
    fill();
    CloseObject();
  }
  template <typename Fill>
  void Array(std::string_view key, const Fill& fill) {
    OpenArray(key);
    fill();
    CloseArray();
  }

  void Text(std::string_view key, std::string_view text);
  void Number(std::string_view key, std::int64_t number);
  void Flag(std::string_view key, bool flag);
  void Null(std::string_view key, std::string_view reason);
  // An element of an array.
  void Element(std::string_view text);

  // The same for what may be unknown.
  void Text(std::string_view key, const std::string& text, std::string_view reasonWhenEmpty);
  void Number(std::string_view key, std::optional<std::int64_t> number, std::string_view reason);
  void Flag(std::string_view key, std::optional<bool> flag, std::string_view reason);
  void Flag(std::string_view key, const Fact<bool>& flag) { Flag(key, flag.value, flag.reason); }
  // A time as two members: RFC 3339 with offset, and Unix seconds.
  void Time(std::string_view textKey, std::string_view secondsKey, std::optional<std::time_t> when,
            std::string_view reason);
  // The same with the keys `name`_time and `name`_unix_seconds.
  void Time(const std::string& name, std::optional<std::time_t> when, std::string_view reason);

  // The whole document, with a line end.
  std::string Finish();

 private:
  void Key(std::string_view key);
  void OpenObject(std::string_view key);
  void CloseObject();
  void OpenArray(std::string_view key);
  void CloseArray();

  struct Output;
  std::unique_ptr<Output> m_output;
};

}  // namespace status
