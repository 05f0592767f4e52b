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

TEST(Fields, EscapeTheSerialNumber) {
  EXPECT_EQ(ObjectOf([](auto& writer) { WriteSerial(writer, "A\"B\\C"); }), R"({"sn":"A\"B\\C"})");
}

TEST(Fields, ThrowWithoutASerialNumber) {
  EXPECT_THAT([] { ObjectOf([](auto& writer) { WriteSerial(writer, nullptr); }); },
              ::testing::ThrowsMessage<std::logic_error>("rapidjson exception"));
}

TEST(Fields, PrintFourHexadecimalDigitsOrMore) {
  struct Row {
    std::uint32_t number;
    const char* digits;
  };
  for (const auto& [number, digits] : {Row{0, "0000"}, Row{10, "000A"}, Row{0xBEEF, "BEEF"},
                                       Row{0x12345, "12345"}, Row{0xFFFFFFFF, "FFFFFFFF"}}) {
    EXPECT_EQ(ObjectOf([hex = number](auto& writer) { WriteHex(writer, "key", hex); }),
              std::string(R"({"key":")") + digits + R"("})");
  }
}

TEST(Fields, PrintTheLowHalfOfAnIdentifier) {
  EXPECT_EQ(ObjectOf([](auto& writer) { WritePointId(writer, 0x010300AB); }),
            R"({"pointId":"00AB"})");
  EXPECT_EQ(ObjectOf([](auto& writer) { WritePointId(writer, 0xFFFEFDFC); }),
            R"({"pointId":"FDFC"})");
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
       {Row{12.5, "12.500", "12.500"}, Row{0, "0.000", "0.000"}, Row{-0.0004, "-0.000", "-0.000"},
        Row{1.2344, "1.234", "1.234"}, Row{1.2346, "1.235", "1.235"},
        Row{-7.125, "-7.125", "-7.125"}, Row{1234567890.125, "1234567890.125", "1234567890.125"},
        Row{-1234567890.125, "-1234567890.12", "-1234567890.125"},
        Row{1234567890123.5, "1234567890123.", "1234567890123.500"},
        Row{123456789012345.0, "12345678901234", "123456789012345.000"},
        Row{1e-300, "0.000", "0.000"}, Row{-kInfinity, "-inf", "-inf"},
        Row{kNotANumber, "nan", "nan"}, Row{-kNotANumber, "-nan", "-nan"}}) {
    const auto written = [number = value](std::size_t fieldBytes) {
      return ObjectOf([=](auto& writer) { WriteValue(writer, number, fieldBytes); });
    };

    EXPECT_EQ(written(kValueBytes), R"({"value":")" + text + R"("})");
    EXPECT_EQ(written(kAlarmFieldBytes), R"({"value":")" + longText + R"("})");
  }
}

TEST(Fields, CutAnAlarmValueAt254Characters) {
  const std::string written =
      ObjectOf([](auto& writer) { WriteValue(writer, 1e299, kAlarmFieldBytes); });

  EXPECT_EQ(written.size(), std::string(R"({"value":""})").size() + 254);
}

TEST(Fields, PutTheTimeMarkBeforeTheValue) {
  rapidjson::StringBuffer text;
  DocumentWriter writer(text);

  WriteTimedValue(writer, "2024-03-07 12:00:00", 1234567890123.5, kValueBytes);

  EXPECT_STREQ(text.GetString(), R"({"timeMark":"2024-03-07 12:00:00","value":"1234567890123."})");
}

}  // namespace
