#include "console/watch/pages.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string_view>

#include "collect/times.h"
#include "console/watch/put.h"
#include "judge/messages.h"
#include "print/manual.h"

namespace console {
namespace {

constexpr long kDefaultLimit = 100;
constexpr long kMostLimit = 500;
constexpr std::size_t kMostMessages = 20;
constexpr long kNoLimit = std::numeric_limits<long>::max();

void WriteGap(JsonWriter& json, const SeenGap& gap) {
  json.StartObject();
  Put(json, "from_unix_s", std::int64_t{gap.first});
  Put(json, "to_unix_s", std::int64_t{gap.last});
  Put(json, "open", gap.isOpen);
  Put(json, "missing", gap.missing);
  Put(json, "cause", gap.cause);
  json.EndObject();
}

void WriteDay(JsonWriter& json, const Day& day) {
  json.StartObject();
  Put(json, "date", status::LocalText(day.from).substr(0, 10));
  Put(json, "from_unix_s", std::int64_t{day.from});
  json.Key("hours");
  json.StartArray();
  for (const SlotState state : day.hours) json.String(NameOf(state));
  json.EndArray();
  json.EndObject();
}

// Why a slot is as it is; null when nothing is to be said.
std::optional<std::string> CauseOf(const Slot& slot, const std::vector<SeenGap>& gaps) {
  if (slot.state == SlotState::kJudgedSent) {
    return "the service counted it as sent without sending it";
  }
  if (slot.state != SlotState::kMissing) return std::nullopt;
  if (!slot.name.empty()) return "the file is lost: it has no row and will never be sent";
  for (const SeenGap& gap : gaps) {
    if (slot.time >= gap.first && (gap.isOpen || slot.time <= gap.last)) return gap.cause;
  }
  return std::nullopt;
}

void WriteSlot(JsonWriter& json, const Slot& slot, const std::vector<SeenGap>& gaps) {
  json.StartObject();
  Put(json, "unix_s", std::int64_t{slot.time});
  Put(json, "state", NameOf(slot.state));
  Put(json, "name", slot.name.empty() ? std::nullopt : std::optional(slot.name));
  Put(json, "attempts", slot.attempts);
  Put(json, "cause", CauseOf(slot, gaps));
  json.EndObject();
}

void WriteRecord(JsonWriter& json, const KeptRecord& record) {
  json.StartObject();
  Put(json, "id", record.id);
  Put(json, "replaces", record.replaces == 0 ? std::nullopt : std::optional(record.replaces));
  Put(json, "unix_s", std::int64_t{record.last});
  Put(json, "first_unix_s", std::int64_t{record.first});
  Put(json, "level", record.level);
  Put(json, "reports_error", ReportsError(record));
  Put(json, "text", record.text);
  Put(json, "file", record.file);
  Put(json, "line", record.line);
  Put(json, "count", record.count);
  json.EndObject();
}

}  // namespace

std::int64_t NumberOf(const Call& call, const char* name, std::int64_t otherwise,
                      std::int64_t least, std::int64_t most) {
  const std::string text = call.Get(name);
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return otherwise;
  return std::clamp(number, least, most);
}

Reply ReplyMonth(const std::vector<Day>& days, long interval, const std::vector<SeenGap>& gaps) {
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    Put(json, "schema", 1);
    Put(json, "interval_s", interval);
    json.Key("days");
    json.StartArray();
    for (const Day& day : days) WriteDay(json, day);
    json.EndArray();
    json.Key("gaps");
    json.StartArray();
    for (const SeenGap& gap : gaps) WriteGap(json, gap);
    json.EndArray();
    json.EndObject();
  });
}

Reply ReplyHour(const std::vector<Slot>& slots, const std::vector<SeenGap>& gaps) {
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    Put(json, "schema", 1);
    json.Key("slots");
    json.StartArray();
    for (const Slot& slot : slots) WriteSlot(json, slot, gaps);
    json.EndArray();
    json.EndObject();
  });
}

Reply ReplyLogs(const LogRing& logs, const Call& call) {
  LogQuery query{.level = call.Get("level"), .text = call.Get("text")};
  query.after = static_cast<long>(NumberOf(call, "after", 0, 0, kNoLimit));
  query.before = static_cast<long>(NumberOf(call, "before", 0, 0, kNoLimit));
  query.limit = static_cast<std::size_t>(NumberOf(call, "limit", kDefaultLimit, 1, kMostLimit));
  const std::vector<KeptRecord> records = logs.Find(query);
  const HiddenRecords hidden = logs.Hidden(query);
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    Put(json, "schema", 1);
    json.Key("records");
    json.StartArray();
    for (const KeptRecord& record : records) WriteRecord(json, record);
    json.EndArray();
    Put(json, "newest", logs.Newest());
    Put(json, "hidden", hidden.count);
    Put(json, "hidden_errors", hidden.errors);
    json.EndObject();
  });
}

Reply ReplyExplain(const Call& call) {
  std::vector<const status::Message*> messages = status::FindMessages(call.Get("text"));
  if (messages.size() > kMostMessages) messages.resize(kMostMessages);
  return JsonReply([&messages](JsonWriter& json) {
    json.StartObject();
    Put(json, "schema", 1);
    json.Key("messages");
    json.StartArray();
    for (const status::Message* message : messages) {
      json.StartObject();
      Put(json, "text", message->text);
      Put(json, "log", message->log);
      Put(json, "meaning", status::PlainText(message->meaning));
      json.EndObject();
    }
    json.EndArray();
    json.EndObject();
  });
}

}  // namespace console
