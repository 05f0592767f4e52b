#include "console/watch/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <string_view>
#include <utility>

#include "console/watch/put.h"
#include "util/json.h"

namespace console {
namespace {

using Lock = std::lock_guard<util::Mutex>;

constexpr std::size_t kMostSamples = 600;
constexpr std::size_t kMostNumbers = 1'000'000;  // of a row of samples: 8 MB
constexpr std::size_t kMostSeries = 8;
constexpr std::size_t kMostMarks = 200;
constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();
constexpr long kDefaultMinutes = 60;

using Value = rapidjson::Value;

const Value* Member(const Value& object, const char* name) {
  if (!object.IsObject()) return nullptr;
  const auto member = object.FindMember(name);
  return member == object.MemberEnd() ? nullptr : &member->value;
}

const Value* List(const Value& object, const char* name) {
  const Value* const member = Member(object, name);
  return member != nullptr && member->IsArray() ? member : nullptr;
}

std::optional<unsigned> Number(const Value& object, const char* name) {
  const Value* const member = Member(object, name);
  return member != nullptr && member->IsUint() ? std::optional(member->GetUint()) : std::nullopt;
}

// Gives the values of one device of a document.
template <typename Each>
void ForEachValue(const Value& device, const Each& each) {
  const auto channel = Number(device, "groupId");
  const auto address = Number(device, "eqpId");
  const Value* const values = List(device, "values");
  if (!channel || !address || values == nullptr) return;
  for (const Value& entry : values->GetArray()) {
    const Value* const point = Member(entry, "pointId");
    const Value* const value = Member(entry, "value");
    if (point == nullptr || value == nullptr || !point->IsString() || !value->IsString()) continue;
    const auto dataId = DataIdOf(*channel, *address, point->GetString());
    if (dataId) each(*dataId, std::strtod(value->GetString(), nullptr));
  }
}

void WriteNumber(JsonWriter& json, double value) {
  if (std::isfinite(value)) {
    json.Double(value);
  } else {
    json.Null();
  }
}

void WritePair(JsonWriter& json, std::time_t when, double value) {
  json.StartArray();
  json.Int64(when);
  WriteNumber(json, value);
  json.EndArray();
}

std::vector<std::uint32_t> DataIdsIn(std::string_view list) {
  std::vector<std::uint32_t> dataIds;
  while (!list.empty() && dataIds.size() < kMostSeries) {
    const std::string_view id = list.substr(0, list.find(','));
    if (const auto dataId = DataIdOf(id)) dataIds.push_back(*dataId);
    list.remove_prefix(std::min(list.size(), id.size() + 1));
  }
  return dataIds;
}

}  // namespace

void Values::TakePoints(const status::Configuration& configuration) {
  Points points(configuration);
  const Lock lock(m_mutex);
  m_points = std::move(points);
  m_published.clear();
  m_received.clear();
  m_changed = 0;
  m_current.assign(m_points.All().size(), kNoValue);
}

std::size_t Values::MostSamples() const {
  const std::size_t points = std::max<std::size_t>(m_points.All().size(), 1);
  return std::min(kMostSamples, std::max<std::size_t>(kMostNumbers / points, 1));
}

void Values::Keep(Samples& samples, std::time_t when, Sample sample) {
  samples[when] = std::move(sample);
  while (samples.size() > MostSamples()) samples.erase(samples.begin());
}

std::time_t Values::TakePublished(const status::Segment& segment, std::time_t now,
                                  long intervalSeconds) {
  const Lock lock(m_mutex);
  Sample sample(m_points.All().size(), kNoValue);
  if (segment.values) {
    for (const auto& [dataId, value] : *segment.values) {
      if (const auto place = m_points.PlaceOf(dataId)) sample[*place] = value;
    }
  }
  const bool isSame = std::equal(sample.begin(), sample.end(), m_current.begin(), m_current.end(),
                                 [](double a, double b) { return a == b || (a != a && b != b); });
  if (!isSame || m_changed == 0) m_changed = now;
  m_current = sample;
  m_interval = std::max(intervalSeconds, 1L);
  const std::time_t number = now / m_interval;
  if (std::exchange(m_sampledIn, number) != number) Keep(m_published, now, std::move(sample));
  return m_changed;
}

void Values::TakeReceived(std::time_t stamp, const std::string& document) {
  rapidjson::Document parsed;
  parsed.Parse(document.data(), document.size());
  if (parsed.HasParseError()) return;
  const Value* const devices = List(parsed, "data");
  if (devices == nullptr) return;
  const Lock lock(m_mutex);
  Sample sample(m_points.All().size(), kNoValue);
  for (const Value& device : devices->GetArray()) {
    ForEachValue(device, [&](std::uint32_t dataId, double value) {
      if (const auto place = m_points.PlaceOf(dataId)) sample[*place] = value;
    });
  }
  Keep(m_received, stamp, std::move(sample));
}

Reply Values::ReplyPoints() const {
  const Lock lock(m_mutex);
  return JsonReply([this](JsonWriter& json) {
    json.StartObject();
    Put(json, "schema", 1);
    json.Key("points");
    json.StartArray();
    for (std::size_t place = 0; place < m_points.All().size(); ++place) {
      const PointInfo& point = m_points.All()[place];
      json.StartObject();
      Put(json, "id", point.id);
      Put(json, "data_id", std::int64_t{point.dataId});
      Put(json, "device", point.device);
      Put(json, "name", point.name);
      Put(json, "type", point.type);
      Put(json, "unit", point.unit);
      json.Key("value");
      WriteNumber(json, m_current[place]);
      json.EndObject();
    }
    json.EndArray();
    json.EndObject();
  });
}

// Where files are missing in between, a value that is null breaks the line.
void Values::WriteSamples(JsonWriter& json, const Samples& samples, std::size_t place,
                          std::time_t from) const {
  std::vector<std::pair<std::time_t, double>> pairs;
  for (auto sample = samples.lower_bound(from); sample != samples.end(); ++sample) {
    const std::time_t when = sample->first;
    const std::time_t before = pairs.empty() ? when : pairs.back().first;
    if (when - before > m_interval + m_interval / 2) {
      pairs.emplace_back(before + m_interval, kNoValue);
    }
    pairs.emplace_back(when, sample->second[place]);
  }
  json.StartArray();
  const std::size_t first = pairs.size() > kMostSamples ? pairs.size() - kMostSamples : 0;
  for (std::size_t i = first; i < pairs.size(); ++i) {
    WritePair(json, pairs[i].first, pairs[i].second);
  }
  json.EndArray();
}

void Values::WriteSeries(JsonWriter& json, std::size_t place, std::time_t from,
                         const std::vector<AlarmMark>& marks) const {
  const PointInfo& point = m_points.All()[place];
  json.StartObject();
  Put(json, "id", point.id);
  Put(json, "name", point.name);
  Put(json, "unit", point.unit);
  json.Key("published");
  WriteSamples(json, m_published, place, from);
  json.Key("received");
  WriteSamples(json, m_received, place, from);
  json.Key("alarms");
  json.StartArray();
  const std::size_t first = marks.size() > kMostMarks ? marks.size() - kMostMarks : 0;
  for (std::size_t i = first; i < marks.size(); ++i) {
    json.StartObject();
    Put(json, "unix_s", std::int64_t{marks[i].time});
    Put(json, "text", marks[i].text);
    Put(json, "raised", marks[i].raised);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
}

Reply Values::ReplySeries(const Call& call, std::time_t now) const {
  const std::vector<std::uint32_t> dataIds = DataIdsIn(call.Get("ids"));
  if (dataIds.empty()) {
    return ErrorReply(400, "ids takes up to 8 points such as 1/3:1123, with commas between them");
  }
  const std::string asked = call.Get("minutes");
  long minutes = kDefaultMinutes;
  std::from_chars(asked.data(), asked.data() + asked.size(), minutes);
  if (minutes <= 0) minutes = kDefaultMinutes;
  const std::time_t from = now - std::min<long>(minutes, 31L * 24 * 60) * 60;
  std::map<std::uint32_t, std::vector<AlarmMark>> marks;  // asked for without the lock
  for (const std::uint32_t dataId : dataIds) {
    marks[dataId] = m_alarms ? m_alarms(dataId, from, now) : std::vector<AlarmMark>();
  }
  const Lock lock(m_mutex);
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    Put(json, "schema", 1);
    json.Key("series");
    json.StartArray();
    for (const std::uint32_t dataId : dataIds) {
      if (const auto place = m_points.PlaceOf(dataId))
        WriteSeries(json, *place, from, marks[dataId]);
    }
    json.EndArray();
    json.EndObject();
  });
}

}  // namespace console
