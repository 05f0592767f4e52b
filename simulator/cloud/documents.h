// Owns the checks of every JSON document that a gateway sends: two request bodies and three data
// files. The order of the keys is checked too:
//
//   login          {"sn":"…","applyType":0}
//   recall check   {"sn":"…"}
//   real data      {"sn":"…","data":[{"groupId":1,"eqpId":3,"timeMark":"2024-03-01 10:00:00",
//                  "values":[{"pointId":"1123","value":"12.500"},…]},…]}
//   alarm data     {"sn":"…","alarmDataType":0,"data":[{"groupId":1,"eqpId":3,"alarmTime":"…",
//                  "alarmType":"10201","alarmGrade":"0001","flag":1,"alarmDes":"…","alarmValues":
//                  [{"pointId":"0105","values":[{"timeMark":"…","value":"1.000"}]}]},…]}
//   recall data    {"sn":"…","id":7,"data":[{"groupId":1,"eqpId":3,"pointId":"1123","flag":1,
//                  "values":[{"timeMark":"…","value":"12.500"},…]},…]}
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cloud/endpoints.h"

namespace cloud {

// One value of recall data, as written.
struct TimedValue {
  std::string timeMark;
  std::string value;

  bool operator==(const TimedValue&) const = default;
};

// One point of recall data.
struct RecalledPoint {
  std::int64_t groupId = 0;
  std::int64_t eqpId = 0;
  std::string pointId;  // four hexadecimal digits
  std::int64_t flag = 0;
  std::vector<TimedValue> values;

  bool operator==(const RecalledPoint&) const = default;
};

// The content of a recall data file.
struct RecallData {
  std::int32_t id = 0;  // the order that they answer
  std::vector<RecalledPoint> points;

  bool operator==(const RecallData&) const = default;
};

// What a sound document says.
struct DocumentFacts {
  std::string serialNumber;
  std::size_t devices = 0;  // different ones
  std::size_t points = 0;   // point objects; in alarm data one for each alarm
  std::optional<RecallData> recall{};
};

// Checks that the text is JSON and says what kind: "an object". Throws a Fault that names the first
// byte that does not belong.
std::string FindJson(const std::string& text);

// Checks the document that belongs to `endpoint`; the address check has none. Throws a Fault that
// names the place of the first thing that is not as above.
DocumentFacts CheckDocument(Endpoint endpoint, const std::string& text);

}  // namespace cloud
