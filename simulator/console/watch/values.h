// Values over time: what the acquisition side publishes, and what the cloud has received.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "collect/machine.h"
#include "console/watch/points.h"
#include "console/web/router.h"
#include "util/mutex.h"

namespace console {

// An alarm event of a point.
struct AlarmMark {
  std::time_t time = 0;
  std::string text;
  bool raised = true;
};
// Gives the events of a point in a span of gateway time.
using AlarmMarks =
    std::function<std::vector<AlarmMark>(std::uint32_t dataId, std::time_t from, std::time_t to)>;

// Keeps the values of all configured points: a sample of the segment at each interval, and the
// values of accepted documents. Both are bounded: 600 times, fewer with many points. Any thread.
class Values {
 public:
  explicit Values(AlarmMarks alarms) : m_alarms(std::move(alarms)) {}

  // Takes the configured points; values of others are forgotten.
  void TakePoints(const status::Configuration& configuration);
  // Takes the segment as it is now; keeps it when a new interval has begun. `intervalSeconds` is
  // that of live values, gateway time.
  // Returns when a value has changed last, gateway time.
  std::time_t TakePublished(const status::Segment& segment, std::time_t now, long intervalSeconds);
  // Takes an accepted document with the stamp of its file. A text that is no such document is
  // ignored.
  void TakeReceived(std::time_t stamp, const std::string& document);

  Reply ReplyPoints() const;                                   // GET /api/values/points
  Reply ReplySeries(const Call& call, std::time_t now) const;  // GET /api/values

 private:
  // By the place of the point; not a number: no value.
  using Sample = std::vector<double>;
  using Samples = std::map<std::time_t, Sample>;

  std::size_t MostSamples() const;
  void Keep(Samples& samples, std::time_t when, Sample sample);
  void WriteSeries(JsonWriter& json, std::size_t place, std::time_t from,
                   const std::vector<AlarmMark>& marks) const;
  void WriteSamples(JsonWriter& json, const Samples& samples, std::size_t place,
                    std::time_t from) const;

  AlarmMarks m_alarms;
  mutable util::Mutex m_mutex;  // guards everything below
  Points m_points;
  Samples m_published;
  Samples m_received;
  Sample m_current;
  std::time_t m_changed = 0;  // when m_current was another
  long m_interval = 60;
  std::time_t m_sampledIn = -1;  // number of the interval of the latest sample
};

}  // namespace console
