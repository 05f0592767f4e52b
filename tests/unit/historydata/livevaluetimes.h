// The times of the devices' last live values as the history reader asks for them: the service
// itself records none, so the tests answer in its place.
#pragma once

#include <cstdint>

namespace test {

// From now on the device's last live value is of that Unix time.
void SetLiveValueTime(std::uint16_t device, std::uint32_t time);
// No device has had a live value.
void ForgetLiveValueTimes();

}  // namespace test
