// The statuses of replies.
#pragma once

namespace console {

inline constexpr int kOk = 200;
inline constexpr int kMultipleChoices = 300;  // the first one that is no success
inline constexpr int kBadRequest = 400;
inline constexpr int kForbidden = 403;
inline constexpr int kNotFound = 404;
inline constexpr int kWrongMethod = 405;
inline constexpr int kNoBodyInTime = 408;
inline constexpr int kNotNow = 409;
inline constexpr int kNoLength = 411;
inline constexpr int kTooLarge = 413;
inline constexpr int kTooLong = 414;
inline constexpr int kWrongType = 415;
inline constexpr int kNoRanges = 416;
inline constexpr int kFailed = 500;
inline constexpr int kUnavailable = 503;

// Whether what was asked for was done.
constexpr bool IsGood(int status) {
  return status >= kOk && status < kMultipleChoices;
}

}  // namespace console
