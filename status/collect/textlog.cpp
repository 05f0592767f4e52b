#include "collect/textlog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <tuple>
#include <utility>

#include "collect/logfile.h"
#include "util/directory.h"
#include "util/paths.h"

namespace status {
namespace {

constexpr std::string_view kNameEnd = "_log.txt";
constexpr std::size_t kDayDigits = 4;

bool IsDayFile(std::string_view name) {
  return name.size() == kDayDigits + kNameEnd.size() && name.ends_with(kNameEnd) &&
         name.find_first_not_of("0123456789") == kDayDigits;
}

std::string PathOf(const std::string& name) {
  return std::string(paths::kLogDirectory) + "/" + name;
}

// Never waits for a pipe, and follows no link: in /tmp anybody may have put it there.
int OpenToRead(const std::string& path) {
  return open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC);
}

}  // namespace

std::string TextLog::Start() {
  Leave();
  m_before = std::exchange(m_files, {});
  m_next = 0;
  const util::Directory directory(opendir(m_place.At(paths::kLogDirectory).c_str()));
  if (!directory) return WhyUnreadable(paths::kLogDirectory, errno, false);

  std::string trouble = std::string("there is no text log in ") + paths::kLogDirectory;
  while (const dirent* entry = readdir(directory.get())) {
    if (!IsDayFile(entry->d_name)) continue;
    const std::string why = LookAt(entry->d_name);
    if (!why.empty()) trouble = why;
  }
  if (m_files.empty()) return trouble;
  std::sort(m_files.begin(), m_files.end(), [](const DayFile& one, const DayFile& other) {
    return std::tie(one.firstTime, one.name) < std::tie(other.firstTime, other.name);
  });
  if (m_tailBytes > 0) SkipToTail();
  m_tailBytes = 0;
  return {};
}

// Adds a file to the list. Returns why it cannot be read, or the empty text.
std::string TextLog::LookAt(const std::string& name) {
  const std::string path = PathOf(name);
  const util::Descriptor file(OpenToRead(m_place.At(path)));
  struct stat status {};
  if (!file || fstat(file.Get(), &status) != 0) {
    if (errno != ELOOP) return WhyUnreadable(path, errno, true);
  }
  if (!S_ISREG(status.st_mode)) return path + " is no regular file";

  DayFile day;
  day.name = name;
  day.inode = status.st_ino;
  day.size = status.st_size;
  const auto known = std::find_if(m_before.begin(), m_before.end(), [&day](const DayFile& before) {
    return before.name == day.name && before.inode == day.inode && before.size <= day.size;
  });
  if (known != m_before.end()) {
    day.position = known->position;
    day.firstTime = known->firstTime;
    day.isNew = day.size != known->size;
  }
  if (day.firstTime == 0) {
    TextFile reader(file.Get(), day.size);
    day.firstTime = reader.NextTime().value_or(status.st_mtime);
  }
  day.start = day.position.offset;
  m_files.push_back(std::move(day));
  return {};
}

// Moves the starts so that only the last bytes of all files are read.
void TextLog::SkipToTail() {
  auto left = static_cast<off_t>(m_tailBytes);
  std::for_each(m_files.rbegin(), m_files.rend(), [&left](DayFile& day) {
    day.start = std::max(day.start, day.size - left);
    left = std::max<off_t>(left - day.size, 0);
  });
}

// Opens the next file that has something new. False when there is none.
bool TextLog::OpenNext() {
  Leave();
  for (; m_next < m_files.size(); ++m_next) {
    DayFile& day = m_files[m_next];
    if (!day.isNew || day.start >= day.size) continue;
    m_open = std::make_unique<util::Descriptor>(OpenToRead(m_place.At(PathOf(day.name))));
    struct stat status {};
    if (!*m_open || fstat(m_open->Get(), &status) != 0 || status.st_ino != day.inode) continue;
    m_reader.emplace(m_open->Get(), day.size);
    m_reader->StartAt(day.position, day.start);
    return true;
  }
  return false;
}

// Notes where the open file was left.
void TextLog::Leave() {
  if (!m_reader) return;
  m_files[m_next].position = m_reader->GoOnAt();
  m_reader.reset();
  ++m_next;
}

bool TextLog::Next(LogRecord* record) {
  while (!m_reader || !m_reader->Next(record)) {
    if (!OpenNext()) return false;
  }
  record->file = PathOf(m_files[m_next].name);
  record->isDatabase = false;
  return true;
}

}  // namespace status
