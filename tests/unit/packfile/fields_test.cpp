// The members that the documents share.
#include "packfile/fields.h"

#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace {

// The object that holds what `write` writes.
template <typename Write>
std::string ObjectOf(Write write) {
  rapidjson::StringBuffer text;
  DocumentWriter writer(text);
  writer.StartObject();
  write(writer);
  writer.EndObject();
  return text.GetString();
}

TEST(Fields, ThrowWithoutASerialNumber) {
  EXPECT_THROW([] { ObjectOf([](auto& writer) { WriteSerial(writer, nullptr); }); }(),
               std::logic_error);
}

TEST(Fields, PrintThreeDecimalsUpToTheirSize) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
  struct Row {
    double value;
    std::string text;      // cut at 14 characters
    std::string longText;  // cut at 254
  };
  for (const auto& [value, text, longText] :
       {Row{12.5, "12.500", "12.500"}, Row{-0.0004, "-0.000", "-0.000"},
        Row{1.2346, "1.235", "1.235"}, Row{1234567890.125, "1234567890.125", "1234567890.125"},
        Row{-1234567890.125, "-1234567890.12", "-1234567890.125"},
        Row{1e299, "10000000000000", std::to_string(1e299).substr(0, 254)},
        Row{-kInfinity, "-inf", "-inf"}, Row{kNotANumber, "nan", "nan"}}) {
    const auto written = [number = value](std::size_t fieldBytes) {
      return ObjectOf([=](auto& writer) { WriteValue(writer, number, fieldBytes); });
    };

    EXPECT_EQ(written(kValueBytes), R"({"value":")" + text + R"("})");
    EXPECT_EQ(written(kAlarmFieldBytes), R"({"value":")" + longText + R"("})");
  }
}

}  // namespace
