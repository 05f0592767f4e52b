// Follows the service's text log.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace console {

// Reads what the day files of a folder have grown by. One thread uses it.
class LogFollower {
 public:
  explicit LogFollower(std::string folder) : m_folder(std::move(folder)) {}

  // Hands over each new record as "hh:mm:ss LEVEL message". An unfinished record waits for the next
  // look. A file that has become shorter is read from its beginning.
  void Look(const std::function<void(const std::string& record)>& take);

 private:
  struct Day {
    long long read = 0;  // bytes
    std::string head{};  // "hh:mm:ss LEVEL" of the record that is being read
    std::string text{};  // the beginning of a line
  };
  void Read(const std::string& path, Day* day,
            const std::function<void(const std::string& record)>& take) const;

  const std::string m_folder;
  std::map<std::string, Day> m_days{};  // by file name, which sorts them by day
};

}  // namespace console
