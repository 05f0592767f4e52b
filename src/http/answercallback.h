// What answer callbacks share: how they read what libcurl hands them, and what they answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// The verdict that the callbacks of logins, address checks and uploads return. Neither number is
// that of the received bytes, so libcurl ends the transfer.
inline constexpr std::size_t kVerdictAccepted = 0;
inline constexpr auto kVerdictRejected = static_cast<std::size_t>(-1);

// Copies exactly the `size` times `count` bytes at `data`, which libcurl does not terminate.
inline std::string CopyReceived(const char* data, std::size_t size, std::size_t count) {
  return {data, size * count};
}

// Sets the success flag of a frame. The frames are packed, so the flag need not be aligned.
inline void SetSuccessFlag(void* flag, std::int32_t value) {
  std::memcpy(flag, &value, sizeof(value));
}
