#include "console/watch/trace.h"

#include <algorithm>
#include <string_view>

#include "collect/times.h"
#include "console/watch/put.h"
#include "main/words.h"
#include "util/text.h"

namespace console {
namespace {

constexpr std::size_t kMostSpans = 30;  // of uploads, the last ones

const KeptRecord* FindRecord(const TraceFacts& facts, std::string_view start,
                             std::string_view part) {
  const auto found =
      std::find_if(facts.records.begin(), facts.records.end(), [&](const KeptRecord& record) {
        return record.text.starts_with(start) && record.text.find(part) != std::string::npos;
      });
  return found == facts.records.end() ? nullptr : &*found;
}

class Tracing {
 public:
  explicit Tracing(const TraceFacts& facts) : m_facts(facts), m_file(facts.file) {}

  std::vector<Span> Take() {
    AddSnapshot();
    AddPack();
    AddRecorded();
    AddWait();
    AddTransferFailures();
    AddUploads();
    AddPresent();
    if (m_file.acceptedAt != 0) {
      Add({"accepted", "Accepted", m_file.acceptedAt, m_file.acceptedAt, "the cloud accepted it"});
    }
    return std::move(m_spans);
  }

 private:
  void Add(Span span) {
    if (span.to) span.to = std::max(*span.to, span.from);
    m_spans.push_back(std::move(span));
  }

  void AddSnapshot() {
    const char* what = "values of ";
    if (m_facts.key.kind == Kind::kAlarmData) what = "alarm events up to ";
    if (m_facts.key.kind == Kind::kCallData) what = "history, packed at ";
    Add({"snapshot", "Snapshot", m_file.stamp, m_file.stamp,
         what + status::LocalText(m_file.stamp)});
  }

  // The log tells when the archive was made; without the record it is when it was seen first.
  void AddPack() {
    const KeptRecord* const packed = FindRecord(m_facts, "Create", " Success");
    const KeptRecord* const failed = FindRecord(m_facts, "Create", "failed,errno");
    m_packed = packed != nullptr ? packed->first : std::max(m_file.firstSeen, m_file.stamp);
    std::string text = "packed";
    if (failed != nullptr) text += " after " + Times(failed->count) + " in which packing failed";
    Add({"pack", "Packing", m_file.stamp, m_packed, text, failed == nullptr});
  }

  static std::string Times(long count) {
    return status::Count(static_cast<std::size_t>(count), "time");
  }

  // Nobody tells when a row was written, only when it was seen first.
  void AddRecorded() {
    const bool isRecorded = m_file.recordedSeen != 0;
    const std::optional<std::time_t> to =
        isRecorded ? std::optional(m_file.recordedSeen) : std::nullopt;
    const bool isLost = m_file.state == FileState::kLost;
    std::string text = isRecorded ? "in the ledger" : "not in the ledger yet";
    if (isLost) text = "lost: the ledger has no row of it";
    m_recorded = std::max(m_file.recordedSeen, m_packed);
    if (isRecorded || m_file.deliveries == 0) {
      Add({"recorded", "Recording", m_packed, to, text, !isLost});
    }
  }

  std::time_t FirstTry() const {
    const KeptRecord* const sending = FindRecord(m_facts, "start Send ", "");
    if (sending == nullptr) return m_file.triedFirst;
    return m_file.triedFirst == 0 ? sending->first : std::min(sending->first, m_file.triedFirst);
  }

  void AddWait() {
    const std::time_t tried = FirstTry();
    const bool isWaiting = m_file.state == FileState::kPending && m_file.recordedSeen != 0;
    if (tried == 0 && !isWaiting) return;
    const std::optional<std::time_t> to = tried == 0 ? std::nullopt : std::optional(tried);
    const std::time_t from = to ? std::min(m_recorded, *to) : m_recorded;
    Add({"wait", "Waiting", from, to, to ? "until its turn came" : "its turn has not come"});
  }

  // What never came to the cloud is only in the log.
  void AddTransferFailures() {
    const KeptRecord* const judged = FindRecord(m_facts, "", "judge it send OK");
    if (judged != nullptr) {
      Add({"upload", "Not sent", judged->first, judged->last, judged->text, false});
    }
    const KeptRecord* const failed = FindRecord(m_facts, "send file ", " failed");
    if (failed == nullptr) return;
    Add({"upload", "Transfer", StartOf(failed->first), failed->last,
         "failed " + Times(failed->count) + ": " + failed->text, false});
  }

  void AddUploads() {
    const auto& arrivals = m_facts.arrivals;
    const std::size_t first = arrivals.size() > kMostSpans ? arrivals.size() - kMostSpans : 0;
    for (std::size_t i = first; i < arrivals.size(); ++i) {
      const Arrival& arrival = arrivals[i];
      Add({"upload", "Upload", StartOf(arrival.time), arrival.time,
           util::Format("attempt %zu, %s", i + 1, VerdictOf(arrival)), arrival.accepted});
    }
  }

  static const char* VerdictOf(const Arrival& arrival) {
    if (arrival.accepted) return "accepted";
    return arrival.verdict.empty() ? "not accepted" : arrival.verdict.c_str();
  }

  // What goes on: it is being sent, or it waits for the next round.
  void AddPresent() {
    if (m_file.state != FileState::kPending) return;
    if (m_facts.transfer) {
      Add({"upload", "Upload", m_facts.transfer->since, std::nullopt,
           "it is being sent, and the cloud has not answered yet"});
    } else if (FirstTry() != 0) {
      std::time_t last = m_recorded;
      for (const Span& span : m_spans) last = std::max(last, span.to.value_or(last));
      Add({"wait", "Waiting", last, std::nullopt, "for the next round of uploads"});
    }
  }

  // The last start of a transfer before it came to the cloud.
  std::time_t StartOf(std::time_t arrived) const {
    std::time_t start = arrived;
    for (const KeptRecord& record : m_facts.records) {
      if (!record.text.starts_with("start Send ")) continue;
      for (const std::time_t time : {record.first, record.last}) {
        if (time <= arrived && (start == arrived || time > start)) start = time;
      }
    }
    return start;
  }

  const TraceFacts& m_facts;
  const SeenFile& m_file;
  std::time_t m_packed = 0;
  std::time_t m_recorded = 0;
  std::vector<Span> m_spans;
};

void WriteSpan(JsonWriter& json, const Span& span) {
  json.StartObject();
  Put(json, "id", span.id);
  Put(json, "title", span.title);
  Put(json, "from_unix_s", std::int64_t{span.from});
  Put(json, "to_unix_s", span.to);
  Put(json, "text", span.text);
  Put(json, "good", span.good);
  json.EndObject();
}

void WriteBand(JsonWriter& json, const FaultBand& band) {
  json.StartObject();
  Put(json, "title", band.title);
  Put(json, "from_unix_s", std::int64_t{band.from});
  Put(json, "to_unix_s", band.to);
  json.EndObject();
}

}  // namespace

std::vector<Span> SpansOf(const TraceFacts& facts) {
  return Tracing(facts).Take();
}

Reply ReplyTrace(const TraceFacts& facts, const FaultBands& bands) {
  const std::vector<Span> spans = SpansOf(facts);
  std::time_t end = spans.front().from;
  for (const Span& span : spans) end = std::max(end, span.to.value_or(facts.now));
  std::vector<FaultBand> faults;
  if (bands) faults = bands(spans.front().from, end);
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    Put(json, "schema", 1);
    Put(json, "name", BaseNameOf(facts.key));
    json.Key("spans");
    json.StartArray();
    for (const Span& span : spans) WriteSpan(json, span);
    json.EndArray();
    json.Key("faults");
    json.StartArray();
    for (const FaultBand& band : faults) WriteBand(json, band);
    json.EndArray();
    json.EndObject();
  });
}

}  // namespace console
