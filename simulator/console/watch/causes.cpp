#include "console/watch/causes.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "collect/times.h"
#include "main/words.h"
#include "util/text.h"

namespace console {
namespace {

using status::Level;

constexpr long kAnswerSeconds = 60;  // an upload without an answer for longer hangs
constexpr long kAheadSeconds = 60;

std::string Count(long count, const char* what) {
  return status::Count(static_cast<std::size_t>(count), what);
}

std::time_t BeginOf(const status::Attempts& attempts) {
  return attempts.firstFailed ? attempts.firstFailed->time : 0;
}

const char* WordsOf(Kind kind) {
  constexpr std::array kWords = {"real data", "alarms", "recalls"};
  return kWords[static_cast<std::size_t>(kind)];
}

// A plant whose values all stay the same for longer looks as if nobody measured.
long SteadySeconds(const Scene& scene) {
  return std::max(2L * IntervalsOf(scene).realDataInv, 120L);
}

MaybeCause AcquisitionDown(const Scene& scene) {
  const ProcessSight& side = scene.acquisition;
  if (side.name.empty() || side.running) return std::nullopt;
  const std::string why = side.text.empty() ? SinceText(side.since) : ": " + side.text;
  const SegmentSight& segment = scene.segment;
  const std::string values =
      !segment.trouble.empty()
          ? segment.trouble
          : "its last values are still published, unchanged" + SinceText(segment.changed);
  return Cause{Level::kWarning, Topic::kValues,
               "the acquisition side does not run" + why + "; " + values};
}

MaybeCause Hanging(const Scene& scene) {
  const Transfer* const transfer = scene.sending.Oldest();
  if (transfer == nullptr || scene.now - transfer->since < kAnswerSeconds) return std::nullopt;
  // Uploads that failed before it had no answer either.
  std::time_t since = transfer->since;
  for (const auto& failing : scene.sending.failing) {
    if (failing && failing->reason.starts_with("the cloud does not answer")) {
      since = std::min(since, failing->since);
    }
  }
  return Cause{Level::kWarning, Topic::kSending,
               "the cloud does not answer" + SinceText(since) + ": " + BaseNameOf(transfer->file) +
                   " is being sent for " +
                   status::Duration(static_cast<long>(scene.now - transfer->since))};
}

// Whether it still waits, as far as is known.
bool IsOpen(const Account& account, const FileKey& key) {
  const SeenFile* const file = account.Find(key);
  return file == nullptr || file->state == FileState::kPending;
}

// The kinds whose uploads fail while files of it wait, and when the others were accepted last.
MaybeCause Failing(const Account& account, const Scene& scene) {
  std::string text;
  std::string accepted;
  for (const Kind kind : {Kind::kRealData, Kind::kAlarmData, Kind::kCallData}) {
    const auto& failing = scene.sending.failing[static_cast<std::size_t>(kind)];
    const long pending = account.Of(kind).pending;
    if (failing && IsOpen(account, failing->file)) {
      text += std::string(text.empty() ? "uploads of " : "; uploads of ") + WordsOf(kind) +
              " fail" + SinceText(failing->since) +
              (failing->reason.empty() ? "" : ": " + failing->reason) + " (" +
              Count(pending, "file") + (pending == 1 ? " waits)" : " wait)");
    } else if (const std::time_t last = account.LastAccepted(kind); last > 0) {
      accepted += std::string(accepted.empty() ? "; last accepted: " : ", ") + WordsOf(kind) +
                  " at " + status::LocalText(last);
    }
  }
  if (text.empty()) return std::nullopt;
  return Cause{Level::kWarning, Topic::kSending, text + accepted};
}

}  // namespace

std::string SinceText(std::time_t when) {
  return when == 0 ? "" : " since " + status::LocalText(when);
}

MaybeCause ServiceCause(const Scene& scene) {
  if (!scene.service.running) {
    const std::string& text = scene.service.text;
    return Cause{
        Level::kCritical, Topic::kService,
        "the service does not run" + (text.empty() ? SinceText(scene.service.since) : ": " + text)};
  }
  if (scene.logs.isOn != false) return std::nullopt;
  return Cause{Level::kWarning, Topic::kSwitch, "the service is switched off by its configuration"};
}

MaybeCause ValuesCause(const Scene& scene) {
  if (auto down = AcquisitionDown(scene)) return down;
  const SegmentSight& segment = scene.segment;
  Cause cause{Level::kWarning, Topic::kValues, {}};
  if (!segment.trouble.empty()) {
    cause.text =
        "no live values are published" + SinceText(segment.troubleSince) + ": " + segment.trouble;
  } else if (segment.unpublished > 0) {
    const bool isOne = segment.unpublished == 1;
    cause.text = (isOne ? "point " + segment.firstUnpublished + " is configured and has no value"
                        : Count(static_cast<long>(segment.unpublished), "configured point") +
                              " have no value, the first is " + segment.firstUnpublished + ",") +
                 SinceText(segment.unpublishedSince) + ", so no file of live values can be made";
  } else if (segment.changed != 0 && scene.now - segment.changed > SteadySeconds(scene)) {
    cause.text = "the acquisition side publishes the same values" + SinceText(segment.changed);
  } else {
    return std::nullopt;
  }
  return cause;
}

MaybeCause PackingCause(const Scene& scene) {
  const status::LogFacts& logs = scene.logs;
  Cause cause{Level::kWarning, Topic::kPacking, {}};
  if (logs.packing.failed) {
    cause.text = "packing fails" + SinceText(BeginOf(logs.packing));
  } else if (logs.points.failed) {
    cause.topic = Topic::kValues;
    cause.text = "no file of live values can be made" + SinceText(BeginOf(logs.points)) +
                 ": point " + scene.loggedPoint + " has no value";
  } else if (logs.segment.failed) {
    cause.topic = Topic::kValues;
    cause.text = "no file of live values can be made" + SinceText(BeginOf(logs.segment)) +
                 ": the acquisition side publishes none";
  } else {
    return std::nullopt;
  }
  return cause;
}

MaybeCause RecordingCause(const Scene& scene) {
  const status::Attempts& recording = scene.logs.recording;
  if (!recording.failed) return std::nullopt;
  return Cause{Level::kWarning, Topic::kLedger,
               "recording in the ledger fails" + SinceText(BeginOf(recording)) + ": " +
                   AnswerText(recording.failed->text)};
}

MaybeCause LoginCause(const Scene& scene) {
  const status::LogFacts& logs = scene.logs;
  if (!logs.login.failed) return std::nullopt;
  return Cause{Level::kWarning, Topic::kLogin,
               "the login fails" + SinceText(BeginOf(logs.login)) +
                   (logs.loginReason ? ": " + AnswerText(logs.loginReason->text) : "") +
                   "; nothing is sent until it succeeds"};
}

MaybeCause UploadCause(const Account& account, const Scene& scene) {
  auto hanging = Hanging(scene);
  return hanging ? hanging : Failing(account, scene);
}

MaybeCause ClockCause(const Account& account, const Scene& scene) {
  const auto& files = account.All();
  const auto end = files.lower_bound({Kind::kAlarmData, 0});
  if (end == files.begin()) return std::nullopt;
  const auto& [key, newest] = *std::prev(end);
  const long ahead = static_cast<long>(newest.stamp - scene.now);
  if (ahead <= kAheadSeconds) return std::nullopt;
  return Cause{Level::kWarning, Topic::kClock,
               "the gateway's clock was set back: " + BaseNameOf(key) + " is " +
                   status::Duration(ahead) + " ahead of it"};
}

}  // namespace console
