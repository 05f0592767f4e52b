#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

#include "cloud/members.h"
#include "cloud/orders.h"

namespace cloud {

const char kOrderHelp[] =
    "  ORDER is a recall of history. Every recall check gets it until its data are accepted:\n"
    "    [SERIAL#]ID:DEVICE[;DEVICE...][*N][+K]\n"
    "  DEVICE is\n"
    "    GROUP/EQP:POINT[,POINT...]@BEGIN..END\n"
    "  e.g. '7:1/3:1123,00AB@2024-03-01 10:00:00..2024-03-01 10:30:00'\n"
    "    SERIAL     serial number of the gateway (the one that asks)\n"
    "    ID         sequence number of the order\n"
    "    GROUP/EQP  channel number and device address, decimal\n"
    "    POINT      lower half of the point's DataId, up to four hexadecimal digits\n"
    "    N          give the order in N answers, even after its data are accepted\n"
    "    K          answer K checks without the order first\n";

namespace {

constexpr int kHexadecimal = 16;
constexpr int kDecimal = 10;
constexpr std::size_t kPointDigits = 4;
constexpr int kCheckLimit = 10000;

// Reads one order from left to right.
class OptionReader {
 public:
  explicit OptionReader(std::string_view text) : m_text(text) {}

  RecallOrder Read() const {
    RecallOrder order;
    std::string_view rest = m_text;
    if (const std::size_t plus = rest.rfind('+'); plus != std::string_view::npos) {
      order.checksBefore = Number(rest.substr(plus + 1), 0, kCheckLimit, "count after '+'");
      rest = rest.substr(0, plus);
    }
    if (const std::size_t star = rest.rfind('*'); star != std::string_view::npos) {
      order.repeats = Number(rest.substr(star + 1), 1, kCheckLimit, "count after '*'");
      rest = rest.substr(0, star);
    }
    std::string_view head = Until(':', &rest, "has no ':' after its number");
    if (const std::size_t hash = head.find('#'); hash != std::string_view::npos) {
      order.serialNumber = head.substr(0, hash);
      head.remove_prefix(hash + 1);
    }
    order.id = WholeNumber(head, "number");
    while (!rest.empty()) order.devices.push_back(ReadDevice(UntilOrAll(';', &rest)));
    if (order.devices.empty()) Throw("names no device");
    return order;
  }

 private:
  using Limits = std::numeric_limits<std::int32_t>;

  [[noreturn]] void Throw(const std::string& what) const {
    throw std::invalid_argument("order '" + std::string(m_text) + "' " + what);
  }

  // Takes what stands before the separator, and the separator, off the front of `rest`.
  static std::string_view UntilOrAll(char separator, std::string_view* rest) {
    const std::string_view front = rest->substr(0, rest->find(separator));
    rest->remove_prefix(std::min(front.size() + 1, rest->size()));
    return front;
  }

  std::string_view Until(char separator, std::string_view* rest, const char* complaint) const {
    if (rest->find(separator) == std::string_view::npos) Throw(complaint);
    return UntilOrAll(separator, rest);
  }

  std::int32_t Number(std::string_view text, std::int32_t least, std::int32_t most,
                      const char* what, int base = kDecimal) const {
    std::int32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end || number < least || number > most) {
      Throw("has '" + std::string(text) + "' as a " + what);
    }
    return number;
  }

  std::int32_t WholeNumber(std::string_view text, const char* what) const {
    return Number(text, Limits::min(), Limits::max(), what);
  }

  std::string ReadTime(std::string_view text) const {
    if (!IsTimeMark(text)) Throw("has '" + std::string(text) + "' as a time");
    return std::string(text);
  }

  RecallPoint ReadPoint(std::string_view text) const {
    if (text.size() > kPointDigits) Throw("has '" + std::string(text) + "' as a point");
    const std::int32_t id =
        Number(text, 0, std::numeric_limits<std::uint16_t>::max(), "point", kHexadecimal);
    return {.pointId = static_cast<std::uint16_t>(id)};
  }

  RecallDevice ReadDevice(std::string_view text) const {
    constexpr std::string_view kSpan = "..";
    RecallDevice device;
    device.groupId = WholeNumber(Until('/', &text, "has a device without '/'"), "group");
    device.eqpId = WholeNumber(Until(':', &text, "has a device without ':'"), "device");
    std::string_view points = Until('@', &text, "has a device without '@'");
    const std::size_t dots = text.find(kSpan);
    if (dots == std::string_view::npos) Throw("has a span without '..'");
    const std::string begin = ReadTime(text.substr(0, dots));
    const std::string end = ReadTime(text.substr(dots + kSpan.size()));
    do {
      device.points.push_back(ReadPoint(UntilOrAll(',', &points)));
      device.points.back().beginTime = begin;
      device.points.back().endTime = end;
    } while (!points.empty());
    return device;
  }

  std::string_view m_text;
};

}  // namespace

RecallOrder ParseOrder(std::string_view text) {
  return OptionReader(text).Read();
}

}  // namespace cloud
