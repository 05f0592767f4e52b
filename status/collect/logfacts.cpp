// What the logs say about the time since the service's last start.
#include <algorithm>
#include <cstddef>
#include <string_view>

#include "collect/facts.h"
#include "util/text.h"

namespace status {
namespace {

constexpr std::size_t kTailBytes = 4U << 20;  // of the text logs; weeks in ordinary times
constexpr long kHourSeconds = 3600;

bool Has(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

void Succeed(Attempts& attempts, const Evidence& evidence) {
  attempts = {.succeeded = evidence, .failed = std::nullopt, .firstFailed = std::nullopt};
}

void Fail(Attempts& attempts, const Evidence& evidence) {
  attempts.failed = evidence;
  if (!attempts.firstFailed) attempts.firstFailed = evidence;
}

// The word after `start`: the file of "Send realdata /media/…/S….tar.gz to http://… failed".
std::string FileAfter(std::string_view text, std::string_view start) {
  text.remove_prefix(start.size());
  return std::string(util::BaseName(text.substr(0, text.find(' '))));
}

// The intervals in force; nothing for any other record.
std::optional<Interval_Info> IntervalsIn(const std::string& text) {
  struct Part {
    std::string_view words;
    int Interval_Info::*interval;
  };
  static constexpr Part kParts[] = {{"realdata timeinv = ", &Interval_Info::realDataInv},
                                    {",alarm timeinv = ", &Interval_Info::alarmDataInv},
                                    {",heartbeat timeinv = ", &Interval_Info::heartBeatInv},
                                    {",checkfail timeinv = ", &Interval_Info::checkFailInv},
                                    {",recall timeinv = ", &Interval_Info::recallInv}};
  Interval_Info intervals{};
  std::size_t at = 0;
  for (const auto& [words, interval] : kParts) {
    if (text.compare(at, words.size(), words) != 0) return std::nullopt;
    at += words.size();
    intervals.*interval = util::Decimal(text.c_str() + at);
    at = std::min(text.find(',', at), text.size());
  }
  return intervals;
}

// Reads the records of both logs in their order.
class LogReader {
 public:
  LogReader(LogFacts& facts, std::time_t now) : m_facts(facts), m_now(now) {}

  void Take(const LogRecord& record) {
    m_facts.newestRecord = record.time;
    const Evidence evidence{record.time, record.text, record.Where()};
    if (record.isDatabase) {
      TakeDatabase(record.text, evidence);
    } else if (!TakeStart(record.text, evidence) && !TakeCloud(record.text, evidence) &&
               !TakeUpload(record.text, evidence)) {
      TakePacking(record.text, evidence);
    }
  }

 private:
  void TakeDatabase(std::string_view text, const Evidence& evidence) {
    if (text == "Brennik Start running") {
      Start(evidence);
    } else if (text.starts_with("no sd card")) {
      m_facts.endedEarly = evidence;
    } else if (text == "Brennik Get RealData error") {
      Fail(m_facts.segment, evidence);
    }
  }

  // What an earlier run of the service has left is forgotten.
  void Start(const Evidence& evidence) {
    const long starts = m_facts.startsInLastHour + (evidence.time > m_now - kHourSeconds ? 1 : 0);
    m_facts = {};
    m_facts.startsInLastHour = starts;
    m_facts.started = evidence;
    m_facts.newestRecord = evidence.time;
    m_lastAnswer.reset();
  }

  bool TakeStart(std::string_view text, const Evidence& evidence) {
    if (text.starts_with("Brennik is Set ")) {
      m_facts.isOn = Has(text, "Set on");
      m_facts.setOnOff = evidence;
    } else if (text.starts_with("Brennik Init failed")) {
      m_facts.endedEarly = evidence;
    } else if (const auto intervals = IntervalsIn(evidence.text)) {
      m_facts.intervals = intervals;
      m_facts.intervalsLine = evidence;
    } else {
      return false;
    }
    return true;
  }

  bool TakeCloud(std::string_view text, const Evidence& evidence) {
    static constexpr std::string_view kAddress = "real IP has become ";
    if (text.starts_with("Post Authorize Info Successfully")) {
      Succeed(m_facts.login, evidence);
    } else if (text.starts_with("Post Authorize Info failed")) {
      Fail(m_facts.login, evidence);
      m_facts.loginReason = m_lastAnswer;
    } else if (text.starts_with("Skip Address Receive Response")) {
      Succeed(m_facts.heartbeat, evidence);
    } else if (text.starts_with(kAddress)) {
      m_facts.address = evidence.text.substr(kAddress.size());
      m_facts.addressSet = evidence;
    } else if (text.starts_with("curl_easy_perform() failed") ||
               text.starts_with("Auth Receive Response") || text.starts_with("Authorize ")) {
      m_lastAnswer = evidence;
    } else {
      return false;
    }
    return true;
  }

  bool TakeUpload(std::string_view text, const Evidence& evidence) {
    if (text.starts_with("UPloadFile recv ") || text.starts_with("send file ") ||
        text.starts_with("can not open file")) {
      m_lastUpload = evidence;
      return true;
    }
    static constexpr std::string_view kRealData = "Send realdata ";
    static constexpr std::string_view kAlarms = "Send Alarmdata ";
    const bool isRealData = text.starts_with(kRealData);
    if (!isRealData && !text.starts_with(kAlarms)) return false;
    const std::string file = FileAfter(text, isRealData ? kRealData : kAlarms);
    Has(text, "successfully") ? Accept(evidence) : Refuse(file, evidence);
    return true;
  }

  void Accept(const Evidence& evidence) {
    Succeed(m_facts.uploads, evidence);
    if (m_facts.refusedFirst) m_facts.othersAccepted = true;
  }

  void Refuse(const std::string& file, const Evidence& evidence) {
    Fail(m_facts.uploads, evidence);
    m_facts.uploadReason = m_lastUpload;
    if (m_facts.refusedFile == file) return;
    m_facts.refusedFile = file;
    m_facts.refusedFirst = evidence;
    m_facts.othersAccepted = false;
  }

  void TakePacking(std::string_view text, const Evidence& evidence) {
    const bool isLive = text.starts_with("CreateRealDataJsonFile ");
    if (isLive || text.starts_with("CreateAlarmDataJsonFile ")) {
      if (Has(text, " Success")) {
        Succeed(m_facts.packing, evidence);
        if (isLive) Succeed(m_facts.segment, evidence);
        if (isLive) Succeed(m_facts.points, evidence);
      } else if (Has(text, "can't find id")) {
        Succeed(m_facts.segment, evidence);
        Fail(m_facts.points, evidence);
      } else if (Has(text, " failed")) {
        Fail(m_facts.packing, evidence);
      }
    } else if (text.starts_with("ledger: recording and ageing succeed")) {
      Succeed(m_facts.recording, evidence);
    } else if (text.starts_with("ledger: ") && Has(text, " fails, ")) {
      Fail(m_facts.recording, evidence);
    }
  }

  LogFacts& m_facts;
  std::time_t m_now;
  std::optional<Evidence> m_lastAnswer;  // to a login
  std::optional<Evidence> m_lastUpload;  // to an upload
};

}  // namespace

LogFacts CollectLogFacts(const Place& place, std::time_t now) {
  LogFacts facts;
  LogReader reader(facts, now);
  const LogsRead read = ReadLogs(place, {.since = std::nullopt, .tailBytes = kTailBytes},
                                 [&](const LogRecord& record) {
                                   reader.Take(record);
                                   return true;
                                 });
  facts.read = read;
  return facts;
}

}  // namespace status
