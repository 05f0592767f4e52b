// What is wrong, where on the road, and since when. The bar and the road say it in the same words.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "console/watch/account.h"
#include "console/watch/scene.h"
#include "judge/finding.h"

namespace console {

// What a diagnosis is about.
enum class Topic : std::uint8_t {
  kService,  // it does not run, or starts again and again
  kSwitch,   // it is switched off
  kClock,
  kCard,
  kValues,  // they are not published, or not all
  kPacking,
  kLedger,
  kLogin,
  kSending,
  kLink,     // of brennik-status: the cloud does not answer, to a login or an upload
  kResults,  // no cause, but what comes of one: nothing arrives, files wait
  kFiles,    // they are lost, or judged sent
  kOther,
};

// One cause.
struct Cause {
  status::Level level = status::Level::kWarning;
  Topic topic = Topic::kOther;
  std::string text;  // one sentence without a full stop
};
using MaybeCause = std::optional<Cause>;

MaybeCause ServiceCause(const Scene& scene);
// The acquisition side is down, publishes nothing, not every point, or always the same values.
MaybeCause ValuesCause(const Scene& scene);
MaybeCause PackingCause(const Scene& scene);
MaybeCause RecordingCause(const Scene& scene);
MaybeCause LoginCause(const Scene& scene);
// An upload that has no answer for long; else uploads that fail.
MaybeCause UploadCause(const Account& account, const Scene& scene);
// The newest file is ahead of the clock.
MaybeCause ClockCause(const Account& account, const Scene& scene);

// " since 2026-11-22 09:06:00"; empty without a time.
std::string SinceText(std::time_t when);

}  // namespace console
