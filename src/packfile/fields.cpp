#include "packfile/fields.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <string_view>

namespace {

// The longest text of a number with three decimals: a sign, 309 digits, the point, the decimals.
constexpr std::size_t kDecimalsBytes = 314;
constexpr std::size_t kNamesBytes = 64;  // more than the names and the identifier of a value take

// Each of these writes a text at `at` and returns its end.

char* Put(char* at, std::string_view text) {
  return std::copy(text.begin(), text.end(), at);
}

// At least four upper-case digits.
char* PutHex(char* at, std::uint32_t number) {
  constexpr int kFewestBits = 16;
  for (int bits = std::max(kFewestBits, static_cast<int>(std::bit_width(number))); bits > 0;) {
    bits = (bits - 1) / 4 * 4;
    *at++ = "0123456789ABCDEF"[(number >> bits) & 0xFU];
  }
  return at;
}

// The text that printf's "%.3lf" gives, cut to fit into a field.
char* PutDecimals(char* at, double value, std::size_t fieldBytes) {
  char* const end = std::to_chars(at, at + kDecimalsBytes, value, std::chars_format::fixed, 3).ptr;
  return std::min(end, at + fieldBytes - 1);
}

}  // namespace

void WriteSerial(DocumentWriter& writer, const char* serial) {
  writer.Key("sn");
  RAPIDJSON_ASSERT(serial != nullptr);  // the writer itself would read through it
  writer.String(serial);
}

void WriteHex(DocumentWriter& writer, const char* key, std::uint32_t number) {
  char digits[2 * sizeof(number)];
  const char* const end = PutHex(digits, number);
  writer.Key(key);
  writer.String(digits, static_cast<rapidjson::SizeType>(end - digits));
}

void WritePointId(DocumentWriter& writer, std::uint32_t dataId) {
  WriteHex(writer, "pointId", dataId & 0xFFFFU);
}

void WritePointValue(DocumentWriter& writer, std::uint32_t dataId, double value) {
  writer.FinishedObject(kNamesBytes + kDecimalsBytes, [&](char* at) {
    at = Put(at, R"({"pointId":")");
    at = PutHex(at, dataId & 0xFFFFU);
    at = Put(at, R"(","value":")");
    at = PutDecimals(at, value, kValueBytes);
    return Put(at, R"("})");
  });
}

void WriteTimedValue(DocumentWriter& writer, const std::string& timeMark, double value,
                     std::size_t fieldBytes) {
  writer.FinishedObject(kNamesBytes + timeMark.size() + kDecimalsBytes, [&](char* at) {
    at = Put(at, R"({"timeMark":")");
    at = Put(at, timeMark);
    at = Put(at, R"(","value":")");
    at = PutDecimals(at, value, fieldBytes);
    return Put(at, R"("})");
  });
}
