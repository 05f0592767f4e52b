// How the watcher looks: first around without the lock, then the account takes what was seen.
#include <algorithm>
#include <mutex>
#include <utility>

#include "console/watch/month.h"
#include "console/watch/watcher.h"
#include "judge/gaps.h"
#include "packfile/realdatadocument.h"
#include "util/paths.h"
#include "util/text.h"

namespace console {
namespace {

using Lock = std::lock_guard<util::Mutex>;

constexpr int kChannelShift = 24;              // a DataId's channel
constexpr std::size_t kMostJudged = 1000;      // records of one look
constexpr std::size_t kMostArrivals = 50'000;  // taken in one look
constexpr std::size_t kMostRecent = 5000;      // arrivals that are kept
constexpr std::size_t kMostDocuments = 600;    // that wait; older ones are given up
constexpr int kDocumentsALook = 10;
constexpr char kPolled[] = "Recall Receive Response";

SegmentSight SegmentOf(const status::Segment& segment, const status::Configuration& configuration) {
  SegmentSight sight;
  sight.isPresent = segment.present && *segment.present;
  if (!segment.values) sight.trouble = segment.values.reason;
  if (segment.values) sight.published = segment.values->size();
  if (configuration.points == nullptr) return sight;
  for (const auto& [dataId, point] : *configuration.points) {
    if (dataId >> kChannelShift == kChannelLeftOut) continue;
    ++sight.configured;
    if (!segment.values || segment.values->contains(dataId)) continue;
    if (++sight.unpublished == 1) sight.firstUnpublished = PointText(configuration, dataId);
  }
  return sight;
}

// Since when it is so: as before, or from now on.
void Date(SegmentSight* sight, const SegmentSight& before, std::time_t now) {
  const auto since = [now](bool isSo, std::time_t known) {
    return !isSo ? 0 : known != 0 ? known : now;
  };
  sight->troubleSince = since(!sight->trouble.empty(), before.troubleSince);
  sight->unpublishedSince = since(sight->unpublished > 0, before.unpublishedSince);
}

// The point of "CreateRealDataJsonFile … Error, can't find id: 01010001".
std::string LoggedPoint(const status::LogFacts& logs, const status::Configuration& configuration) {
  constexpr std::string_view kBefore = "can't find id: ";
  if (!logs.points.failed) return {};
  const std::string& text = logs.points.failed->text;
  const std::size_t at = text.find(kBefore);
  if (at == std::string::npos) return {};
  const std::size_t begin = at + kBefore.size();
  return LoggedPointText(configuration,
                         text.substr(begin, text.find_first_of(" \n", begin) - begin));
}

ProcessSight Found(const std::vector<ProcessSight>& processes, const char* name) {
  const auto found =
      std::find_if(processes.begin(), processes.end(),
                   [name](const ProcessSight& process) { return process.name == name; });
  return found == processes.end() ? ProcessSight{.name = name, .text = ""} : *found;
}

}  // namespace

void Watcher::Look() {
  const Seen seen = LookAround();
  const Lock lock(m_mutex);
  Take(seen);
}

Watcher::Seen Watcher::LookAround() {
  Seen seen;
  seen.now = m_sources.now();
  m_next.now = seen.now;
  m_clock.Take(seen.now, m_sources.steadyNow());
  seen.hasLedger = m_card.ReadLedger(&seen.ledger);
  if (seen.hasLedger) {
    m_next.ledgerTrouble = seen.ledger.trouble;
    m_next.ledgerState = seen.ledger.state;
    m_next.hadLedger = m_next.hadLedger || seen.ledger.state == status::LedgerState::kGood;
  }
  if (m_next.ledgerState == status::LedgerState::kGood) seen.folders = m_card.ReadFolders();
  LookAtLogs(seen);
  LookAtProcesses();
  LookAtMachine();
  LookAtConfiguration();
  if (m_sources.arrivals) {
    while (seen.arrivals.size() < kMostArrivals) {
      const auto more = m_sources.arrivals(m_newestArrival);
      if (more.empty() || more.back().id <= m_newestArrival) break;
      m_newestArrival = more.back().id;
      seen.arrivals.insert(seen.arrivals.end(), more.begin(), more.end());
    }
  }
  for (const Arrival& arrival : seen.arrivals) {
    m_orders.Take(arrival);
    if (arrival.accepted && arrival.kind == NameOf(Kind::kRealData)) m_documents.push_back(arrival);
    if (m_documents.size() > kMostDocuments) m_documents.pop_front();
  }
  TakeDocuments();
  return seen;
}

// The newest first: a long backlog is read over many looks.
void Watcher::TakeDocuments() {
  for (int i = 0; i < kDocumentsALook && !m_documents.empty(); ++i) {
    const Arrival arrival = m_documents.back();
    m_documents.pop_back();
    const auto stamp = status::StampOf(arrival.name);
    if (stamp && m_sources.document) m_values.TakeReceived(*stamp, m_sources.document(arrival.id));
  }
}

void Watcher::LookAtLogs(Seen& seen) {
  bool isNew = false;
  m_logStream.Read([&](const status::LogRecord& record) {
    isNew = true;
    m_logs.Take(record);
    m_sending.Take(record);
    const std::string judged = status::JudgedSent(record);
    const auto key = judged.empty() ? std::nullopt : KeyOf(judged);
    if (key && seen.judgedSent.size() < kMostJudged) seen.judgedSent.push_back(*key);
    return true;
  });
  if (isNew) {
    m_next.polled = m_logs.LastOf(kPolled);
    m_next.sending = m_sending.Sight();
  }
  if (!m_factsPace.IsDue()) return;
  m_factsPace.Begin();
  m_next.logs = status::CollectLogFacts(m_sources.place, seen.now);
  m_next.loggedPoint = LoggedPoint(m_next.logs, m_next.configuration);
  m_factsPace.End();
}

void Watcher::LookAtProcesses() {
  if (m_sources.processes) {
    const std::vector<ProcessSight> processes = m_sources.processes();
    m_next.service = Found(processes, "service");
    m_next.acquisition = Found(processes, "acquisition");
    m_next.cloud = Found(processes, "cloud");
    return;
  }
  const auto service = status::FindService(m_sources.place);
  m_next.service = {.name = "service", .running = service && *service != 0, .text = ""};
  m_next.acquisition = {.name = "acquisition", .running = true, .text = ""};
  m_next.cloud = {.name = "cloud", .running = true, .text = ""};
}

void Watcher::LookAtMachine() {
  if (!m_machinePace.IsDue()) return;
  m_machinePace.Begin();
  const status::Segment segment = status::LookAtSegment(m_sources.place);
  const SegmentSight before = m_next.segment;
  m_next.segment = SegmentOf(segment, m_next.configuration);
  Date(&m_next.segment, before, m_next.now);
  m_next.segment.changed =
      m_values.TakePublished(segment, m_next.now, IntervalsOf(m_next).realDataInv);
  m_next.card = status::LookAtCard(m_sources.place);
  m_machinePace.End();
}

// Loading it hides what other threads print, so it is loaded again only when a file has changed.
void Watcher::LookAtConfiguration() {
  if (!m_configurationPace.IsDue()) return;
  m_configurationPace.Begin();
  bool hasChanged = m_next.configuration.files.empty();
  for (const std::string& file : m_next.configuration.files) {
    struct stat found {};
    if (stat(m_sources.place.At(file).c_str(), &found) != 0) continue;
    hasChanged = hasChanged || found.st_mtime > m_next.configuration.newestChange;
  }
  if (hasChanged) {
    m_next.configuration = status::LoadConfiguration(m_sources.place);
    m_values.TakePoints(m_next.configuration);
  }
  m_configurationPace.End();
}

void Watcher::Take(const Seen& seen) {
  if (seen.hasLedger && seen.ledger.state == status::LedgerState::kGood) {
    m_account.TakeLedger(seen.ledger.rows, seen.ledger.isWhole, seen.now);
  }
  for (const SeenFolder& folder : seen.folders) m_account.TakeFolder(folder, seen.now);
  for (const Arrival& arrival : seen.arrivals) {
    m_account.TakeArrival(arrival);
    m_recent.push_back(arrival);
    if (m_recent.size() > kMostRecent) m_recent.pop_front();
  }
  for (const FileKey& key : seen.judgedSent) m_account.TakeJudgedSent(key);
  m_orders.Tell(m_account);
  m_scene = m_next;
  m_account.Judge(seen.now, m_scene.ledgerState == status::LedgerState::kGood);
  m_road = RoadOf(m_account, m_scene);
  m_witness = WitnessOf(m_account, m_scene);
  m_agreed = m_agreement.Compare(m_status.Latest(), m_witness, seen.now,
                                 2 * LongestQuietSeconds(m_scene), m_scene.isFolderCard);
  m_clockChanges = m_clock.Changes();
  CountGapsSometimes();
}

void Watcher::CountGapsSometimes() {
  if (!m_monthPace.IsDue()) return;
  m_monthPace.Begin();
  const long interval = IntervalsOf(m_scene).realDataInv;
  m_gapCounts = interval < 1 ? GapCounts() : CountGaps(PackedOf(m_account), interval, m_scene.now);
  m_monthPace.End();
}

}  // namespace console
