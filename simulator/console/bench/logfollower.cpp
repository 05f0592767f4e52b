#include "console/bench/logfollower.h"

#include <filesystem>
#include <fstream>

namespace console {
namespace {

constexpr char kMark[] = " logType:";
constexpr std::size_t kDateLength = 11;  // "YYYY-MM-DD "

void TakeLine(const std::string& line, std::string* head,
              const std::function<void(const std::string&)>& take) {
  const auto mark = line.find(kMark);
  if (mark != std::string::npos && mark > kDateLength && line.front() != ' ') {
    *head =
        line.substr(kDateLength, mark - kDateLength) + " " + line.substr(mark + sizeof(kMark) - 1);
  } else if (!line.empty()) {
    take(*head + " " + line.substr(line.front() == ' ' ? 1 : 0));
  }
}

}  // namespace

void LogFollower::Look(const std::function<void(const std::string& record)>& take) {
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(m_folder, none)) {
    const std::string name = entry.path().filename();
    if (name.ends_with("_log.txt")) m_days.try_emplace(name);
  }
  for (auto& [name, day] : m_days) Read(m_folder + "/" + name, &day, take);
}

void LogFollower::Read(const std::string& path, Day* day,
                       const std::function<void(const std::string& record)>& take) const {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return;
  if (file.tellg() < day->read) *day = {};
  file.seekg(day->read);
  std::string fresh((std::istreambuf_iterator<char>(file)), {});
  day->read += static_cast<long long>(fresh.size());
  day->text += fresh;
  std::size_t from = 0;
  for (auto end = day->text.find('\n'); end != std::string::npos;
       end = day->text.find('\n', from)) {
    TakeLine(day->text.substr(from, end - from), &day->head, take);
    from = end + 1;
  }
  day->text.erase(0, from);
}

}  // namespace console
