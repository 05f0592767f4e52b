// The members that the documents of the data files share, each with its format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "util/json.h"

// Writes the documents. Points and values come in great numbers, so they are written as finished
// text.
class DocumentWriter : public rapidjson::Writer<rapidjson::StringBuffer> {
 public:
  using Writer::Writer;

  // Writes the next value of an array: one JSON object of at most `mostBytes` bytes. `write` gets
  // the place for its finished text and returns the end of the text.
  template <typename Write>
  void FinishedObject(std::size_t mostBytes, Write write) {
    Prefix(rapidjson::kObjectType);
    char* const begin = os_->Push(mostBytes);
    os_->Pop(mostBytes - static_cast<std::size_t>(write(begin) - begin));
  }
};

// Each text is written into a field of this size, terminator included; what is longer is cut.
inline constexpr std::size_t kTimeMarkBytes = 23;
inline constexpr std::size_t kValueBytes = 15;        // a value of real data or of a recall
inline constexpr std::size_t kAlarmFieldBytes = 255;  // every number and text of an alarm

// "sn", the first member of every document: the gateway's serial number. A null one throws
// std::logic_error "rapidjson exception".
void WriteSerial(DocumentWriter& writer, const char* serial);

// A number as a text of four or more upper-case hexadecimal digits.
void WriteHex(DocumentWriter& writer, const char* key, std::uint32_t number);

// "pointId": the low 16 bits of a DataId as four hexadecimal digits.
void WritePointId(DocumentWriter& writer, std::uint32_t dataId);

// {"pointId":…,"value":…}, the value as a text with three decimals.
void WritePointValue(DocumentWriter& writer, std::uint32_t dataId, double value);

// {"timeMark":…,"value":…}. The time mark is one of util::TimeMark's, or empty.
void WriteTimedValue(DocumentWriter& writer, const std::string& timeMark, double value,
                     std::size_t fieldBytes);
