#include "console/watch/road.h"

#include <algorithm>
#include <string_view>

#include "collect/times.h"
#include "console/watch/causes.h"
#include "main/words.h"
#include "util/text.h"

namespace console {
namespace {

constexpr long kHeartSeconds = 600;  // of the address check, whatever is configured
constexpr long kLoginPauseSeconds = 60;

std::string Since(const std::string& text, const std::optional<status::Evidence>& evidence) {
  return evidence ? text + " since " + status::LocalText(evidence->time) : text;
}

std::string Down(const Scene& scene) {
  return "the service does not run" +
         (scene.service.text.empty() ? SinceText(scene.service.since) : ": " + scene.service.text);
}

std::string Points(std::size_t count) {
  return status::Count(count, "point");
}

Stage Acquisition(const Scene& scene) {
  const SegmentSight& segment = scene.segment;
  Stage stage{"acquisition", "Acquisition",
              "good",        static_cast<long>(segment.published),
              "points",      Points(segment.published) + " published"};
  if (const auto cause = ValuesCause(scene)) {
    const bool isSteady =
        segment.trouble.empty() && segment.unpublished == 0 && scene.acquisition.running;
    stage.state = isSteady ? "waiting" : "broken";
    stage.text = cause->text;
  }
  return stage;
}

// The newest file of live values.
const SeenFile* Newest(const Account& account) {
  const auto end = account.All().lower_bound({Kind::kAlarmData, 0});
  return end == account.All().begin() ? nullptr : &std::prev(end)->second;
}

Stage Packing(const Account& account, const Scene& scene) {
  Stage stage{"file", "File", "good", account.Total().produced, "files", ""};
  const SeenFile* const newest = Newest(account);
  stage.text = newest == nullptr ? "no file of live values yet"
                                 : "newest of " + status::LocalText(newest->stamp);
  if (!scene.service.running) {
    stage.state = "off";
    stage.text = Down(scene);
  } else if (const auto cause = PackingCause(scene)) {
    stage.state = "broken";
    stage.text = cause->text + ", " + stage.text;
  } else if (newest == nullptr || scene.now - newest->stamp > LongestQuietSeconds(scene)) {
    stage.state = "waiting";
  }
  return stage;
}

Stage Ledger(const Account& account, const Scene& scene) {
  const auto& files = account.All();
  const auto rows = std::count_if(files.begin(), files.end(), [](const auto& file) {
    return file.second.ledger == RowState::kPending || file.second.ledger == RowState::kAccepted;
  });
  Stage stage{"ledger", "Ledger",
              "good",   static_cast<long>(rows),
              "files",  status::Count(static_cast<std::size_t>(rows), "file") + " recorded"};
  if (!scene.ledgerTrouble.empty()) {
    stage.state = !scene.hadLedger && scene.ledgerState == status::LedgerState::kMissing ? "waiting"
                                                                                         : "broken";
    stage.text = scene.ledgerTrouble;
  } else if (const auto cause = RecordingCause(scene)) {
    stage.state = "broken";
    stage.text = cause->text;
  } else if (!scene.service.running) {
    stage.state = "off";
    stage.text += ", " + Down(scene);
  }
  return stage;
}

Stage Upload(const Account& account, const Scene& scene) {
  const long pending = account.Total().pending;
  const std::string waiting = status::Count(static_cast<std::size_t>(pending), "file") +
                              (pending == 1 ? " waits" : " wait");
  Stage stage{"upload", "Upload", pending > 0 ? "waiting" : "good", pending, "files", waiting};
  if (pending == 0) stage.text = "nothing waits";
  if (!scene.service.running) {
    stage.state = "off";
    stage.text = Down(scene) + ", " + waiting;
  } else if (const auto login = LoginCause(scene)) {
    stage.state = "broken";
    stage.text = login->text + ", " + waiting;
  } else if (const auto cause = UploadCause(account, scene)) {
    stage.state = "broken";
    stage.text = cause->text;
  } else if (const Transfer* const transfer = scene.sending.Oldest()) {
    stage.text =
        BaseNameOf(transfer->file) + " is being sent" + SinceText(transfer->since) + ", " + waiting;
  }
  return stage;
}

Stage Cloud(const Account& account, const Scene& scene) {
  const Counts& total = account.Total();
  Stage stage{"cloud", "Cloud", "good", total.accepted, "files", ""};
  std::time_t last = 0;
  for (const Kind kind : {Kind::kRealData, Kind::kAlarmData, Kind::kCallData}) {
    last = std::max(last, account.LastAccepted(kind));
  }
  const std::time_t real = account.LastAccepted(Kind::kRealData);
  stage.text = last == 0 ? "nothing accepted yet" : "last accepted at " + status::LocalText(last);
  if (!scene.cloud.running) {
    stage.state = "off";
    stage.text = "the cloud does not run, " + stage.text;
  } else if (last == 0 || scene.now - last > LongestQuietSeconds(scene)) {
    stage.state = "waiting";
  } else if (IntervalsOf(scene).realDataInv > 0 && real != 0 &&
             scene.now - real > LongestQuietSeconds(scene)) {
    stage.state = "waiting";
    stage.text += ", but real data at " + status::LocalText(real);
  }
  return stage;
}

Login LoginOf(const Scene& scene) {
  const status::Attempts& login = scene.logs.login;
  Login result;
  if (!scene.service.running) {
    result.text = "the service does not run";
  } else if (login.failed) {
    result.since = login.firstFailed->time;
    result.text = Since("the login fails", login.firstFailed);
    if (scene.logs.loginReason) {
      result.text += ": " + AnswerText(scene.logs.loginReason->text);
    }
  } else if (login.succeeded) {
    result.isDone = true;
    result.since = login.succeeded->time;
    result.text = Since("logged in", login.succeeded);
  } else {
    result.text = "no login was tried yet";
  }
  return result;
}

std::string AddressOf(const Scene& scene) {
  const ST_CLOUDSERVER_CONFIG_ATTR& cloud = scene.configuration.cloud;
  const std::string host = scene.logs.address.empty() ? cloud.cloudip : scene.logs.address;
  return host.empty() ? host : util::Format("%s:%u", host.c_str(), unsigned{cloud.port});
}

std::time_t Boundary(std::time_t now, long interval) {
  return now - now % interval + interval;
}

// The upload worker begins with logins, a minute apart while they fail.
std::optional<std::time_t> NextUpload(const Scene& scene, long interval) {
  const status::Attempts& login = scene.logs.login;
  if (login.failed) return std::max(login.failed->time + kLoginPauseSeconds, scene.now);
  if (!login.succeeded) return std::nullopt;
  return Boundary(scene.now, interval);
}

// Recall checks fall on no boundary: they follow each other.
std::optional<std::time_t> NextPoll(const Scene& scene, long interval) {
  if (scene.polled == 0 || scene.polled > scene.now) return std::nullopt;
  return scene.polled + ((scene.now - scene.polled) / interval + 1) * interval;
}

std::vector<Worker> WorkersOf(const Scene& scene) {
  const Interval_Info intervals = IntervalsOf(scene);
  std::vector<Worker> workers = {
      {"realdata", "Live values", intervals.realDataInv, std::nullopt},
      {"alarms", "Alarms", intervals.alarmDataInv, std::nullopt},
      {"upload", "Upload", intervals.checkFailInv, std::nullopt},
      {"recall-check", "Recall check", intervals.recallInv, std::nullopt},
      {"address-check", "Address check", kHeartSeconds, std::nullopt},
  };
  const bool works = scene.service.running && scene.logs.started && scene.logs.isOn != false;
  for (Worker& worker : workers) {
    if (!works || worker.intervalSeconds < 1) continue;
    const std::string_view id = worker.id;
    worker.next = id == "upload"         ? NextUpload(scene, worker.intervalSeconds)
                  : id == "recall-check" ? NextPoll(scene, worker.intervalSeconds)
                                         : Boundary(scene.now, worker.intervalSeconds);
  }
  return workers;
}

}  // namespace

RoadSight RoadOf(const Account& account, const Scene& scene) {
  RoadSight road;
  road.stages = {Acquisition(scene), Packing(account, scene), Ledger(account, scene),
                 Upload(account, scene), Cloud(account, scene)};
  road.login = LoginOf(scene);
  road.address = AddressOf(scene);
  const auto& heartbeat = scene.logs.heartbeat.succeeded;
  if (heartbeat) road.heartbeat = heartbeat->time;
  road.workers = WorkersOf(scene);
  return road;
}

}  // namespace console
