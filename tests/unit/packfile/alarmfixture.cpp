#include "alarmfixture.h"

#include <filesystem>

#include "alarmevent.h"

namespace test {

std::string AlarmPath(const std::string& name) {
  return std::string(kAlarms) + "/" + name;
}

std::string AlarmArchive(int second) {
  return AlarmPath("T2024030712000" + std::to_string(second) + ".tar.gz");
}

LogRecord Succeeded(const std::string& archive) {
  return {"INFO", "CreateAlarmDataJsonFile " + archive + " Success"};
}

Alarm_Data_Struct AlarmEvents(std::size_t count) {
  Alarm_Data_Struct events;
  for (std::size_t i = 0; i < count; ++i) {
    events.push_back(AlarmEvent(kFirstPoint + static_cast<std::uint32_t>(i)));
  }
  return events;
}

std::vector<std::string> PointsOf(const std::string& archive) {
  const std::string document = Unpack(archive);
  constexpr char kMark[] = R"("pointId":")";
  std::vector<std::string> points;
  for (auto at = document.find(kMark); at != std::string::npos; at = document.find(kMark, at + 1)) {
    points.push_back(document.substr(at + sizeof(kMark) - 1, 4));
  }
  return points;
}

void AlarmFileTest::SetUp() {
  PackTest::SetUp();
  std::filesystem::create_directories(kAlarms);
  Catalogue catalogue;
  for (std::uint32_t i = 0; i < 50; ++i) {
    catalogue.Point(kFirstPoint + i, "Point" + std::to_string(i));
  }
}

Packed AlarmFileTest::PackAlarms(const Alarm_Data_Struct& events) {
  Packed packed;
  packed.result = GetCPackFileInstance().CreateAlarmDataJsonFile(&events, kAlarms, &packed.files);
  return packed;
}

}  // namespace test
