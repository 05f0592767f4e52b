#include "packfile/fields.h"

#include "util/text.h"

void WriteSerial(DocumentWriter& writer, const char* serial) {
  writer.Key("sn");
  RAPIDJSON_ASSERT(serial != nullptr);  // the writer itself would read through it
  writer.String(serial);
}

void WriteHex(DocumentWriter& writer, const char* key, std::uint32_t number) {
  char digits[kAlarmFieldBytes];
  util::PrintText(digits, sizeof(digits), "%04X", number);
  writer.Key(key);
  writer.String(digits);
}

void WritePointId(DocumentWriter& writer, std::uint32_t dataId) {
  WriteHex(writer, "pointId", dataId & 0xFFFFU);
}

void WriteValue(DocumentWriter& writer, double value, std::size_t fieldBytes) {
  char decimals[kAlarmFieldBytes];
  util::PrintText(decimals, fieldBytes, "%.3lf", value);
  writer.Key("value");
  writer.String(decimals);
}

void WriteTimedValue(DocumentWriter& writer, const std::string& timeMark, double value,
                     std::size_t fieldBytes) {
  writer.StartObject();
  writer.Key("timeMark");
  writer.String(timeMark.c_str());
  WriteValue(writer, value, fieldBytes);
  writer.EndObject();
}
