// What people call the points of the plant.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "util/mutex.h"

struct Plant;

namespace console {

struct PointName {
  std::string name{};
  std::string unit{};    // may be empty
  std::string device{};  // its description, or "1/3"
};

// A point identifier as documents and people write it: "1/3:1123", channel/device:point.
std::string PointIdText(std::uint32_t dataId);
// The reverse; nothing for any other text.
std::optional<std::uint32_t> PointIdIn(const std::string& text);

// Reads the channel template and the device definitions, again after the template has changed.
// Every thread may call it.
class PlantNames {
 public:
  PlantNames();
  ~PlantNames();
  PlantNames(const PlantNames&) = delete;
  PlantNames& operator=(const PlantNames&) = delete;

  // An unknown point has an empty name.
  PointName Find(std::uint32_t dataId);

 private:
  void Load();  // under m_mutex

  util::Mutex m_mutex;
  std::unique_ptr<Plant> m_plant;  // guarded by m_mutex; null before the first loading
  std::int64_t m_changed = 0;      // guarded by m_mutex; of the template that was read
};

}  // namespace console
