#include "packfile/fields.h"

#include <charconv>
#include <cstring>

namespace {

constexpr std::size_t kHexDigits = 8;
// The longest text of a number with three decimals: a sign, 309 digits, the point, the decimals.
constexpr std::size_t kDecimalsBytes = 314;

// At least four upper-case digits.
std::string_view Hex(char (&digits)[kHexDigits], std::uint32_t number) {
  constexpr std::size_t kFewestDigits = 4;
  std::size_t first = kHexDigits;
  do {
    digits[--first] = "0123456789ABCDEF"[number & 0xFU];
    number >>= 4U;
  } while (number != 0 || first > kHexDigits - kFewestDigits);
  return {digits + first, kHexDigits - first};
}

// The text that printf's "%.3lf" gives, cut to fit into a field.
std::string_view Decimals(char (&text)[kDecimalsBytes], double value, std::size_t fieldBytes) {
  const char* const end =
      std::to_chars(text, text + kDecimalsBytes, value, std::chars_format::fixed, 3).ptr;
  return std::string_view(text, static_cast<std::size_t>(end - text)).substr(0, fieldBytes - 1);
}

}  // namespace

void DocumentWriter::FinishedObject(std::initializer_list<std::string_view> pieces) {
  Prefix(rapidjson::kObjectType);
  std::size_t bytes = 0;
  for (const std::string_view piece : pieces) bytes += piece.size();
  char* at = os_->Push(bytes);
  for (const std::string_view piece : pieces) {
    std::memcpy(at, piece.data(), piece.size());
    at += piece.size();
  }
}

void WriteSerial(DocumentWriter& writer, const char* serial) {
  writer.Key("sn");
  RAPIDJSON_ASSERT(serial != nullptr);  // the writer itself would read through it
  writer.String(serial);
}

void WriteHex(DocumentWriter& writer, const char* key, std::uint32_t number) {
  char digits[kHexDigits];
  const std::string_view hex = Hex(digits, number);
  writer.Key(key);
  writer.String(hex.data(), static_cast<rapidjson::SizeType>(hex.size()));
}

void WritePointId(DocumentWriter& writer, std::uint32_t dataId) {
  WriteHex(writer, "pointId", dataId & 0xFFFFU);
}

void WritePointValue(DocumentWriter& writer, std::uint32_t dataId, double value) {
  char digits[kHexDigits];
  char decimals[kDecimalsBytes];
  writer.FinishedObject({R"({"pointId":")", Hex(digits, dataId & 0xFFFFU), R"(","value":")",
                         Decimals(decimals, value, kValueBytes), R"("})"});
}

void WriteTimedValue(DocumentWriter& writer, const std::string& timeMark, double value,
                     std::size_t fieldBytes) {
  char decimals[kDecimalsBytes];
  writer.FinishedObject({R"({"timeMark":")", timeMark, R"(","value":")",
                         Decimals(decimals, value, fieldBytes), R"("})"});
}
