// The answers of the cloud, from their text to their records. The floor reads the text once, event
// by event.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstring>
#include <string>

#include "meter.h"
#include "parsememory/parsememory.h"
#include "plant.h"
#include "util/json.h"
#include "util/text.h"

namespace {

using namespace std::string_view_literals;

constexpr char kUploadAnswer[] = R"({"status":0,"message":"success","data":[]})";
constexpr char kLoginAnswer[] =
    R"({"data":[{"seqStatus":0,"seqId":"8f0c2d"}],"status":0,"message":"success"})";

// An order of one hour of each point, ten points a device.
std::string OrderText(std::size_t points) {
  constexpr std::size_t kPointsPerOrderedDevice = 10;
  std::string text = util::Format(
      R"({"status":0,"message":"success","data":[{"sn":"%s","id":7,"devs":[)", kSerial);
  for (std::size_t i = 0; i < points; ++i) {
    if (i % kPointsPerOrderedDevice == 0) {
      text += util::Format(R"(%s{"groupId":"1","eqpId":"%zu","ids":[)", i == 0 ? "" : "]},",
                           1 + i / kPointsPerOrderedDevice);
    } else {
      text += ",";
    }
    text += util::Format(R"({"pointId":"%04zX","beginTime":"2024-03-07 11:00:00",)"
                         R"("endTime":"2024-03-07 11:59:00"})",
                         i);
  }
  return text + "]}]}]}";
}

// "YYYY-MM-DD hh:mm:ss"
std::uint32_t MinuteOf(std::string_view mark) {
  const auto number = [&](std::size_t from, std::size_t length) {
    int value = 0;
    std::from_chars(mark.data() + from, mark.data() + from + length, value);
    return value;
  };
  std::tm time{};
  time.tm_year = number(0, 4) - 1900;
  time.tm_mon = number(5, 2) - 1;
  time.tm_mday = number(8, 2);
  time.tm_hour = number(11, 2);
  time.tm_min = number(14, 2);
  time.tm_sec = number(17, 2);
  time.tm_isdst = -1;
  return static_cast<std::uint32_t>((std::mktime(&time) + 59) / 60 * 60);
}

// Takes what the records hold out of any answer.
struct Taker : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Taker> {
  bool Key(const char* name, rapidjson::SizeType length, bool /*copy*/) {
    key = {name, length};
    return true;
  }
  bool Int(int number) {
    if (key == "status"sv) upload.status = number;
    if (key == "seqStatus"sv) login.seqStatus = number;
    if (key == "id"sv) order.id = number;
    return true;
  }
  bool Uint(unsigned number) { return Int(static_cast<int>(number)); }
  bool String(const char* text, rapidjson::SizeType length, bool /*copy*/) {
    const std::string_view value(text, length);
    if (key == "message"sv) util::CopyText(upload.message, value);
    if (key == "sn"sv) util::CopyText(order.sn, value);
    if (key == "groupId"sv) order.devs.emplace_back().groupId = NumberOf(value, 10);
    if (key == "eqpId"sv) order.devs.back().eqpId = NumberOf(value, 10);
    if (key == "pointId"sv) {
      order.devs.back().points.emplace_back().pointId =
          static_cast<std::uint32_t>(NumberOf(value, 16));
    }
    if (key == "beginTime"sv) order.devs.back().points.back().beginTime = MinuteOf(value);
    if (key == "endTime"sv) order.devs.back().points.back().endTime = MinuteOf(value);
    return true;
  }
  static int NumberOf(std::string_view text, int base) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number, base);
    return number;
  }

  std::string_view key;
  ST_UPLOAD_FILE_ACK upload{};
  ST_AUTH_ACK login{};
  ST_CHECKCALL_ACK order{};
};

template <typename Parse>
void Measure(benchmark::State& state, const std::string& text, std::size_t points,
             const Parse& parse) {
  const std::size_t size = points > 0 ? points : text.size();
  Meter meter(state, SizeText(static_cast<std::int64_t>(size), points > 0 ? "point" : "byte"),
              static_cast<std::int64_t>(size));
  for ([[maybe_unused]] auto _ : state) {
    if (!parse(text)) state.SkipWithError("not parsed");
    benchmark::ClobberMemory();
  }
}

void MeasureFloor(benchmark::State& state, const std::string& text, std::size_t points) {
  std::string copy(text.size() + 1, '\0');
  Measure(state, text, points, [&](const std::string& answer) {
    std::memcpy(copy.data(), answer.c_str(), answer.size() + 1);
    rapidjson::InsituStringStream stream(copy.data());
    rapidjson::Reader reader;
    Taker taken;
    reader.Parse<rapidjson::kParseInsituFlag>(stream, taken);
    std::size_t found = 0;
    for (const auto& device : taken.order.devs) found += device.points.size();
    benchmark::DoNotOptimize(taken);
    return !reader.HasParseError() && found == points;
  });
}

void UploadAnswer(benchmark::State& state) {
  CParseMemory parser;
  Measure(state, kUploadAnswer, 0, [&](const std::string& text) {
    ST_UPLOAD_FILE_ACK ack{};
    return parser.ParseUploadFileFromMemory(text.c_str(), 0, &ack) == 0;
  });
}
void UploadAnswerFloor(benchmark::State& state) {
  MeasureFloor(state, kUploadAnswer, 0);
}
BENCHMARK(UploadAnswer)->Name("answer to an upload");
BENCHMARK(UploadAnswerFloor)->Name("answer to an upload floor");

void LoginAnswer(benchmark::State& state) {
  CParseMemory parser;
  Measure(state, kLoginAnswer, 0, [&](const std::string& text) {
    ST_AUTH_ACK ack{};
    return parser.ParseAuthorizeInfoFromMemory(text.c_str(), 0, &ack) == 0;
  });
}
void LoginAnswerFloor(benchmark::State& state) {
  MeasureFloor(state, kLoginAnswer, 0);
}
BENCHMARK(LoginAnswer)->Name("answer to a login");
BENCHMARK(LoginAnswerFloor)->Name("answer to a login floor");

void RecallAnswer(benchmark::State& state) {
  CParseMemory parser;
  const auto points = static_cast<std::size_t>(state.range(0));
  Measure(state, OrderText(points), points, [&](const std::string& text) {
    ST_CHECKCALL_ACK ack{};
    return parser.ParseRecallFromMemory(kSerial, &text, &ack) == 0 && !ack.devs.empty();
  });
}
void RecallAnswerFloor(benchmark::State& state) {
  const auto points = static_cast<std::size_t>(state.range(0));
  MeasureFloor(state, OrderText(points), points);
}
BENCHMARK(RecallAnswer)->Name("answer with an order")->Arg(1)->Arg(20);
BENCHMARK(RecallAnswerFloor)->Name("answer with an order floor")->Arg(1)->Arg(20);

}  // namespace
