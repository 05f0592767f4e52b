#include "console/faults/cardactions.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "console/bench/child.h"
#include "util/file.h"

namespace console {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFiller = ".bench-filler";
constexpr const char* kPulled = ".bench-pulled-card";
constexpr const char* kMeanwhile = ".bench-written-without-card";
constexpr std::size_t kBlockBytes = 65536;
constexpr std::chrono::seconds kStartTime{1};  // of sqlite3

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

// Takes most of the room at once; a real card would take minutes to be written.
void Reserve(int file, const std::string& mount) {
  struct statvfs room {};
  struct stat now {};
  if (statvfs(mount.c_str(), &room) != 0 || fstat(file, &now) != 0) return;
  const auto bytes = static_cast<off_t>(room.f_frsize) * static_cast<off_t>(room.f_bfree);
  if (bytes > 0) posix_fallocate(file, now.st_size, bytes);
}

}  // namespace

CardActions::CardActions(Place place) : m_place(std::move(place)) {}

CardActions::~CardActions() {
  try {
    Empty();
    if (fs::exists(m_place.mount + "/" + kPulled)) Put();
  } catch (const std::exception& error) {
    std::cerr << "the card cannot be put right: " << error.what() << '\n';
  }
}

void CardActions::Lock() {
  if (m_locker) return;
  // Its input is open as long as the object lives, so it keeps the lock until then.
  auto locker = std::make_unique<Child>(
      std::vector<std::string>{"sqlite3", "-batch", "-cmd",
                               ".timeout " + std::to_string(m_place.patience.count()), "-cmd",
                               "BEGIN EXCLUSIVE;", "-cmd", "select 'locked';", m_place.ledger},
      std::vector<std::string>{});
  const auto line = locker->ReadLine(m_place.patience + kStartTime);
  if (line != "locked")
    throw std::runtime_error("the ledger cannot be locked: " + line.value_or("it is busy"));
  m_locker = std::move(locker);
}

void CardActions::Unlock() {
  m_locker.reset();
}

void CardActions::Fill() {
  const std::string path = m_place.mount + "/" + kFiller;
  const util::Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  if (!file) Fail("the card cannot be filled");
  Reserve(file.Get(), m_place.mount);
  static const std::array<char, kBlockBytes> block{};
  for (std::size_t size = block.size(); size > 0;) {
    const ssize_t written = write(file.Get(), block.data(), size);
    if (written < 0 && errno != ENOSPC && errno != EINTR) Fail("the card cannot be filled");
    if (written < 0 && errno == ENOSPC) size /= 2;
  }
}

void CardActions::Empty() {
  const std::string path = m_place.mount + "/" + kFiller;
  if (unlink(path.c_str()) != 0 && errno != ENOENT) Fail("the filler cannot be removed");
}

std::vector<std::string> CardActions::Names() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(m_place.mount)) {
    const std::string name = entry.path().filename();
    if (name != kPulled && name != kMeanwhile) names.push_back(name);
  }
  return names;
}

void CardActions::MoveAll(const std::string& from, const std::string& to,
                          const std::vector<std::string>& names) const {
  for (const std::string& name : names) fs::rename(fs::path(from) / name, fs::path(to) / name);
}

void CardActions::Pull() {
  const std::string pulled = m_place.mount + "/" + kPulled;
  if (unlink(m_place.device.c_str()) != 0 && errno != ENOENT)
    Fail("the card's device cannot be removed");
  fs::create_directory(pulled);
  MoveAll(m_place.mount, pulled, Names());
}

void CardActions::Put() {
  const std::string pulled = m_place.mount + "/" + kPulled;
  const std::string meanwhile = m_place.mount + "/" + kMeanwhile;
  if (fs::exists(pulled)) {
    fs::remove_all(meanwhile);
    fs::create_directory(meanwhile);
    MoveAll(m_place.mount, meanwhile, Names());
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(pulled))
      names.push_back(entry.path().filename());
    MoveAll(pulled, m_place.mount, names);
    fs::remove(pulled);
  }
  const util::Descriptor device(open(m_place.device.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  if (!device) Fail("the card's device cannot be made");
}

unsigned long long CardActions::TotalBytes() const {
  struct statvfs room {};
  if (statvfs(m_place.mount.c_str(), &room) != 0) return 0;
  return static_cast<unsigned long long>(room.f_frsize) * room.f_blocks;
}

}  // namespace console
