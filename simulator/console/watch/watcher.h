// The outside witness: it looks at the card, the logs, the live values and the cloud from outside,
// and tells what has become of every file. It never asks the service and never disturbs it.
#pragma once

#include <cstdlib>
#include <ctime>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "collect/logs.h"
#include "collect/place.h"
#include "console/watch/account.h"
#include "console/watch/accounttext.h"
#include "console/watch/answeredorders.h"
#include "console/watch/arrivals.h"
#include "console/watch/cardsight.h"
#include "console/watch/clockwatch.h"
#include "console/watch/gapfinder.h"
#include "console/watch/logring.h"
#include "console/watch/pace.h"
#include "console/watch/road.h"
#include "console/watch/scene.h"
#include "console/watch/sending.h"
#include "console/watch/trace.h"
#include "console/watch/values.h"
#include "console/watch/verdicts.h"
#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// What the watch needs from others. Each function may be called from several threads. A function
// that is left out gives nothing.
struct WatchSources {
  std::function<std::time_t()> now;  // gateway time; must be there
  ArrivalsAfter arrivals;
  DocumentOf document;
  std::function<StatusRun()> runStatus;  // called on a thread of the watch's own
  std::function<std::vector<ProcessSight>()> processes;
  FaultBands faults;
  AlarmMarks alarms;
  status::Place place{};
  // Whether the card is a folder of this machine, and so nothing is mounted there.
  bool isFolderCard = std::getenv("BRENNIK_SANDBOX_KEEP") != nullptr;
  SteadyNow steadyNow = [] { return std::chrono::steady_clock::now(); };
};

// For those who judge faults: one moment of the account and the verdicts.
struct Sight {
  Counts total;
  Counts realData;
  Counts alarmData;
  Counts callData;
  bool isNormal = false;   // what the witness says
  std::string reasons;     // "all normal", or what is not
  int statusExit = -1;     // verdict of brennik-status: 0 to 3; -1: no run yet
  std::string statusCode;  // its first finding: "BRN-…"; empty: none
  // Whether a record with this text is in a log since then (gateway time).
  std::function<bool(std::string_view text, std::time_t since)> logged;
};

// Look() belongs to one thread, which calls it about twice a second. Everything else may be called
// from any thread and costs little. A Sight must not outlive its Watcher.
class Watcher {
 public:
  // Loads the configuration. While it is loaded, what any thread prints to standard output or
  // standard error is lost, so make the watcher before other threads print.
  explicit Watcher(WatchSources sources);
  ~Watcher();
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  void Look();
  Sight See() const;
  void AddRoutes(Router& router);
  // The members account, road, verdicts and card.
  void WriteState(JsonWriter& json) const;

 private:
  // What is seen without the lock, and taken with it.
  struct Seen {
    std::time_t now = 0;
    bool hasLedger = false;
    LedgerSight ledger;
    std::vector<SeenFolder> folders;
    std::vector<Arrival> arrivals;
    std::vector<FileKey> judgedSent;
  };
  Seen LookAround();
  void LookAtLogs(Seen& seen);
  void LookAtMachine();
  void LookAtConfiguration();
  void LookAtProcesses();
  void Take(const Seen& seen);
  void TakeDocuments();
  struct MonthFacts {
    std::vector<status::Packed> packed;
    long interval = 0;
    std::time_t now = 0;
    std::deque<ClockChange> changes;
    status::Configuration configuration;
  };
  MonthFacts LookAtMonth() const;
  std::vector<SeenGap> GapsOf(const MonthFacts& facts);
  void CountNeverMade();
  Reply AnswerMonth();
  Reply AnswerHour(const Call& call);
  Reply AnswerTrace(const Call& call);
  Reply AnswerMetrics() const;
  void WriteAccount(JsonWriter& json) const;
  void WriteRoad(JsonWriter& json) const;
  void WriteVerdicts(JsonWriter& json) const;
  void WriteCard(JsonWriter& json) const;

  WatchSources m_sources;
  // Of the looking thread.
  CardSight m_card;
  status::LogStream m_logStream;
  Sending m_sending;
  AnsweredOrders m_orders;
  Pace m_factsPace;
  Pace m_machinePace;
  Pace m_configurationPace;
  Pace m_monthPace;
  ClockWatch m_clock;
  Scene m_next;  // what is being seen
  long m_newestArrival = 0;

  std::deque<Arrival> m_documents;  // accepted live values whose documents are not read yet

  LogRing m_logs;
  Values m_values;
  GapFinder m_gaps;

  mutable util::Mutex m_mutex;  // guards everything below
  Account m_account;
  std::deque<Arrival> m_recent;  // the newest arrivals, for traces
  Scene m_scene;
  RoadSight m_road;
  Witness m_witness;
  Agreement m_agreement;
  AgreementSight m_agreed;
  long m_neverMade = 0;  // files of live values that were due
  std::deque<ClockChange> m_clockChanges;

  StatusWatch m_status;
};

}  // namespace console
