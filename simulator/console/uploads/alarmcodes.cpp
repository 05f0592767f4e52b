#include "console/uploads/alarmcodes.h"

namespace console {
namespace {

constexpr std::uint32_t kDigitalInput = 1;

constexpr AlarmMeaning kAbove{"10000", "above the upper limit", true};
constexpr AlarmMeaning kAboveEnded{"10001", "no longer above the upper limit", false};
constexpr AlarmMeaning kBelow{"10100", "below the lower limit", true};
constexpr AlarmMeaning kBelowEnded{"10101", "no longer below the lower limit", false};
constexpr AlarmMeaning kOn{"10201", "the input is on", true};
constexpr AlarmMeaning kOff{"10200", "the input is off", false};
constexpr AlarmMeaning kZeroOn{"10301", "input 0 of the device is on", true};
constexpr AlarmMeaning kZeroOff{"10300", "input 0 of the device is off", false};
constexpr AlarmMeaning kNone{"", "an event without a code", false};

AlarmMeaning OfDigitalInput(std::uint32_t dataId, std::int64_t eventType, bool upFlag) {
  if ((dataId & 0xFFU) != 0) return upFlag ? kOn : kOff;
  if (eventType == 0) return upFlag ? kZeroOn : kZeroOff;
  if (eventType == 1) return upFlag ? kZeroOff : kZeroOn;
  return kNone;
}

}  // namespace

AlarmMeaning MeaningOf(std::uint32_t dataId, std::int64_t eventType, bool upFlag) {
  if (((dataId >> 8) & 0x0FU) == kDigitalInput) return OfDigitalInput(dataId, eventType, upFlag);
  if (eventType == 0) return upFlag ? kAbove : kAboveEnded;
  if (eventType == 1) return upFlag ? kBelow : kBelowEnded;
  return kNone;
}

}  // namespace console
