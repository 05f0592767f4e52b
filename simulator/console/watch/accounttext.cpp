#include "console/watch/accounttext.h"

#include <algorithm>

#include "collect/times.h"
#include "main/words.h"
#include "util/text.h"

namespace console {
namespace {

using status::Level;

constexpr std::size_t kShownNames = 3;
constexpr long kSlackSeconds = 45;                 // packing, and the time between two looks
constexpr std::uint64_t kLeastFreeBytes = 65'536;  // room for a text, its archive and the journal
constexpr int kMuchLater = 3;
constexpr long kUploadPauseSeconds = 3;
constexpr long kFilesARound = 20;
constexpr long kFewFiles = 5;

std::string Files(long count) {
  return status::Count(static_cast<std::size_t>(count), "file");
}

std::string Names(const Account& account, FileState state, long count) {
  std::string text;
  for (const std::string& name : account.Some(state, kShownNames)) {
    text += (text.empty() ? ": " : ", ") + name;
  }
  return count > static_cast<long>(kShownNames) ? text + ", …" : text;
}

class Judging {
 public:
  Judging(const Account& account, const Scene& scene)
      : m_account(account), m_scene(scene), m_longest(LongestQuietSeconds(scene)) {}

  // What comes of a cause comes after it, however bad it is.
  std::vector<Reason> Take() {
    JudgeCauses();
    JudgeCard();
    JudgeLedger();
    JudgeFiles();
    JudgeAcceptance();
    JudgeWaiting();
    std::stable_sort(m_reasons.begin(), m_reasons.end(), [](const Reason& a, const Reason& b) {
      const bool isResultA = a.topic == Topic::kResults;
      const bool isResultB = b.topic == Topic::kResults;
      return isResultA != isResultB ? isResultB : a.level > b.level;
    });
    return std::move(m_reasons);
  }

 private:
  void Add(Level level, Topic topic, std::string text) {
    m_reasons.push_back({level, std::move(text), topic});
  }
  void Add(const MaybeCause& cause) {
    if (cause) Add(cause->level, cause->topic, cause->text);
  }

  // Without values, or without a service, the files that fail come of that.
  void JudgeCauses() {
    const MaybeCause service = ServiceCause(m_scene);
    const MaybeCause values = ValuesCause(m_scene);
    const MaybeCause packing = PackingCause(m_scene);
    Add(service);
    const ProcessSight& cloud = m_scene.cloud;
    if (!cloud.name.empty() && !cloud.running) {
      Add(Level::kWarning, Topic::kSending,
          "the cloud does not run" +
              (cloud.text.empty() ? SinceText(cloud.since) : ": " + cloud.text));
    }
    Add(values);
    Add(ClockCause(m_account, m_scene));
    if (service) return;
    if (packing && !(values && packing->topic == Topic::kValues)) Add(packing);
    Add(RecordingCause(m_scene));
    const MaybeCause login = LoginCause(m_scene);
    Add(login ? login : UploadCause(m_account, m_scene));
  }

  void JudgeFiles() {
    const Counts& total = m_account.Total();
    if (total.lost > 0) {
      Add(Level::kCritical, Topic::kFiles,
          Files(total.lost) + (total.lost == 1 ? " is lost" : " are lost") +
              Names(m_account, FileState::kLost, total.lost));
    }
    if (total.judgedSent > 0) {
      Add(Level::kCritical, Topic::kFiles,
          Files(total.judgedSent) + " counted as sent, but the cloud never accepted " +
              (total.judgedSent == 1 ? "it" : "them") +
              Names(m_account, FileState::kJudgedSent, total.judgedSent));
    }
    if (m_account.IsCut()) {
      Add(Level::kWarning, Topic::kOther,
          util::Format("there are more than %zu files; the account has only some", kMostFiles));
    }
  }

  void JudgeCard() {
    const status::Card& card = m_scene.card;
    if (card.device && !*card.device) {
      Add(Level::kCritical, Topic::kCard, "the SD card is missing");
    } else if (card.readOnly && *card.readOnly) {
      Add(Level::kCritical, Topic::kCard, "the SD card takes no writes");
    } else if (card.space && card.space->freeBytes < kLeastFreeBytes) {
      Add(Level::kCritical, Topic::kCard, "the SD card is full");
    }
  }

  // A service that has just started may have made no ledger yet.
  void JudgeLedger() {
    if (m_scene.ledgerTrouble.empty()) return;
    const bool isNew = m_scene.ledgerState == status::LedgerState::kMissing && !m_scene.hadLedger &&
                       Running() < m_longest;
    if (!isNew) Add(Level::kWarning, Topic::kLedger, m_scene.ledgerTrouble);
  }

  // How long the service has been running under our eyes.
  long Running() const {
    const std::time_t since = std::max(m_scene.since, m_scene.service.since);
    return static_cast<long>(m_scene.now - since);
  }

  void JudgeAcceptance() {
    if (IntervalsOf(m_scene).realDataInv < 1 || m_scene.logs.isOn == false) return;
    const std::time_t last = m_account.LastAccepted(Kind::kRealData);
    const long age = static_cast<long>(m_scene.now - last);
    const long quiet = last == 0 ? Running() : std::min(age, std::max(Running(), 0L));
    if (quiet <= m_longest) return;
    const Level level = quiet > kMuchLater * m_longest ? Level::kCritical : Level::kWarning;
    Add(level, Topic::kResults,
        last == 0 ? "the cloud has accepted no live values yet"
                  : "the cloud has accepted no live values for " + status::Duration(age) + "," +
                        SinceText(last));
  }

  void JudgeWaiting() {
    const auto oldest = m_account.OldestPending();
    const SeenFile* const file = oldest ? m_account.Find(*oldest) : nullptr;
    if (file == nullptr) return;
    const long age = static_cast<long>(m_scene.now - std::max(file->stamp, file->firstSeen));
    const long pending = m_account.Total().pending;
    if (age <= LongestWaitSeconds(m_scene, pending)) return;
    Add(Level::kWarning, Topic::kResults,
        Files(pending) + (pending == 1 ? " waits" : " wait") + ", the oldest for " +
            status::Duration(age));
  }

  const Account& m_account;
  const Scene& m_scene;
  long m_longest;
  std::vector<Reason> m_reasons;
};

}  // namespace

std::string SpaceTrouble(const Scene& scene) {
  if (scene.card.space) return {};
  return scene.isFolderCard ? "the card is a folder of this machine (BRENNIK_SANDBOX_KEEP)"
                            : scene.card.space.reason;
}

Interval_Info IntervalsOf(const Scene& scene) {
  if (scene.logs.intervals) return *scene.logs.intervals;
  const ST_CLOUDSERVER_CONFIG_ATTR& cloud = scene.configuration.cloud;
  if (!scene.configuration.starts) return {300, 30, 600, 60, -1};
  return {cloud.RealDataInv, cloud.AlarmDataInv, cloud.HeartBeatInv, cloud.CheckFailInv,
          cloud.RecallInv};
}

// A file may be made up to an interval after the last one.
long LongestQuietSeconds(const Scene& scene) {
  return std::max(IntervalsOf(scene).realDataInv, 0) + LongestWaitSeconds(scene, kFewFiles);
}

// It is sent in the next round, behind other files, or in the round after it.
long LongestWaitSeconds(const Scene& scene, long files) {
  return 2L * std::max(IntervalsOf(scene).checkFailInv, 30) +
         std::min(files, kFilesARound) * kUploadPauseSeconds + kSlackSeconds;
}

Witness WitnessOf(const Account& account, const Scene& scene) {
  Witness witness;
  witness.reasons = Judging(account, scene).Take();
  for (const Reason& reason : witness.reasons) {
    witness.level = std::max(witness.level, reason.level);
    witness.text += (witness.text.empty() ? "" : "; ") + reason.text;
  }
  if (witness.reasons.empty()) witness.text = "all normal";
  return witness;
}

}  // namespace console
