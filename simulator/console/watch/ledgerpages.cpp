// Replies about the ledger and the card.
#include <algorithm>
#include <array>
#include <string_view>

#include "console/watch/pages.h"
#include "console/watch/put.h"

namespace console {
namespace {

constexpr long kDefaultRows = 50;
constexpr long kMostRows = 500;
constexpr long kNoRow = INT32_MAX;  // behind all of a ledger

const char* WordOf(status::LedgerState state) {
  constexpr std::array kWords = {"good",    "missing", "foreign",    "no_table",
                                 "damaged", "busy",    "unfinished", "unreadable"};
  return kWords[static_cast<std::size_t>(state)];
}

struct Row {
  FileKey key;
  const SeenFile* file;
};

bool IsInLedger(const SeenFile& file) {
  return file.ledger == RowState::kPending || file.ledger == RowState::kAccepted;
}

// The ledger has no result for recalls: the cloud's word counts.
bool IsAccepted(const FileKey& key, const SeenFile& file) {
  if (key.kind == Kind::kCallData) return file.state == FileState::kAccepted;
  return file.ledger == RowState::kAccepted;
}

// The rows that fit the call, the last of the ledger first.
std::vector<Row> RowsFor(const Account& account, const Call& call, std::size_t limit) {
  const std::string kind = call.Get("kind");
  const std::string state = call.Get("state");
  const auto before = static_cast<std::uint32_t>(NumberOf(call, "before", kNoRow, 1, kNoRow));
  std::vector<Row> rows;
  for (const auto& [key, file] : account.All()) {
    if (!IsInLedger(file) || file.row >= before) continue;
    if (!kind.empty() && kind != NameOf(key.kind)) continue;
    if (!state.empty() && IsAccepted(key, file) != (state == "accepted")) continue;
    rows.push_back({key, &file});
  }
  const auto kept = rows.begin() + static_cast<std::ptrdiff_t>(std::min(limit, rows.size()));
  std::partial_sort(rows.begin(), kept, rows.end(),
                    [](const Row& a, const Row& b) { return a.file->row > b.file->row; });
  rows.erase(kept, rows.end());
  return rows;
}

struct Age {
  const char* name;
  std::time_t below;  // seconds
};
constexpr std::array kAges = {Age{"under an hour", 3600}, Age{"under a day", 86400},
                              Age{"under 7 days", 7L * 86400}, Age{"under 31 days", 31L * 86400},
                              Age{"older", 0}};

struct AgeCounts {
  long pending = 0;
  long accepted = 0;
};
using AgeTable = std::array<std::array<AgeCounts, kAges.size()>, kKinds>;

AgeTable CountByAge(const Account& account, std::time_t now) {
  AgeTable table{};
  for (const auto& [key, file] : account.All()) {
    if (!IsInLedger(file)) continue;
    std::size_t age = 0;
    while (age + 1 < kAges.size() && now - file.stamp >= kAges[age].below) ++age;
    AgeCounts& counts = table[static_cast<std::size_t>(key.kind)][age];
    ++(IsAccepted(key, file) ? counts.accepted : counts.pending);
  }
  return table;
}

void WriteAges(JsonWriter& json, const AgeTable& table) {
  json.Key("rows");
  json.StartArray();
  for (const Kind kind : {Kind::kRealData, Kind::kAlarmData, Kind::kCallData}) {
    for (std::size_t age = 0; age < kAges.size(); ++age) {
      const AgeCounts& counts = table[static_cast<std::size_t>(kind)][age];
      if (counts.pending + counts.accepted == 0) continue;
      json.StartObject();
      Put(json, "kind", NameOf(kind));
      Put(json, "age", kAges[age].name);
      Put(json, "pending", counts.pending);
      Put(json, "accepted", counts.accepted);
      json.EndObject();
    }
  }
  json.EndArray();
}

}  // namespace

Reply ReplyLedger(const Account& account, const Call& call) {
  const auto limit = static_cast<std::size_t>(NumberOf(call, "limit", kDefaultRows, 1, kMostRows));
  const std::vector<Row> rows = RowsFor(account, call, limit);
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    Put(json, "schema", 1);
    json.Key("rows");
    json.StartArray();
    for (const auto& [key, file] : rows) {
      json.StartObject();
      Put(json, "row", std::int64_t{file->row});
      Put(json, "name", BaseNameOf(key));
      Put(json, "kind", NameOf(key.kind));
      Put(json, "stamp_unix_s", std::int64_t{file->stamp});
      Put(json, "accepted", IsAccepted(key, *file));
      json.EndObject();
    }
    json.EndArray();
    const bool isFull = rows.size() == limit;
    Put(json, "next", isFull ? std::optional(std::int64_t{rows.back().file->row}) : std::nullopt);
    json.EndObject();
  });
}

Reply ReplyCard(const Account& account, const Scene& scene) {
  return JsonReply([&](JsonWriter& json) {
    using Bytes = std::optional<std::int64_t>;
    const auto& space = scene.card.space;
    json.StartObject();
    Put(json, "schema", 1);
    Put(json, "free_bytes", space ? Bytes(space->freeBytes) : Bytes());
    Put(json, "total_bytes", space ? Bytes(space->totalBytes) : Bytes());
    Put(json, "space_trouble", SpaceTrouble(scene));
    json.Key("ledger");
    json.StartObject();
    Put(json, "state", WordOf(scene.ledgerState));
    Put(json, "detail", scene.ledgerTrouble);
    json.EndObject();
    WriteAges(json, CountByAge(account, scene.now));
    json.EndObject();
  });
}

}  // namespace console
