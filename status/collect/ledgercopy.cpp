#include "collect/ledgercopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "util/directory.h"
#include "util/file.h"

namespace status {
namespace {

constexpr char kJournal[] = "-journal";
constexpr std::size_t kCopyBytes = 65536;

// A journal that ends so belongs to a write of several databases. SQLite would look for a further
// file that the journal names, and remove it.
constexpr std::string_view kSharedEnd = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";

bool AreSame(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino && one.st_size == other.st_size &&
         one.st_mtim.tv_sec == other.st_mtim.tv_sec && one.st_mtim.tv_nsec == other.st_mtim.tv_nsec;
}

// Ledger and journal as they are on the card.
struct Pair {
  struct stat ledger {};
  struct stat journal {};

  bool LookAt(const std::string& path) {
    return stat(path.c_str(), &ledger) == 0 && stat((path + kJournal).c_str(), &journal) == 0 &&
           S_ISREG(ledger.st_mode) && S_ISREG(journal.st_mode);
  }
};

bool WriteAll(int file, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(file, bytes, size);
    if (written <= 0) return false;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

bool EndsShared(const std::string& journal) {
  const util::Descriptor file(open(journal.c_str(), O_RDONLY | O_CLOEXEC));
  std::array<char, kSharedEnd.size()> end{};
  if (lseek(file.Get(), -static_cast<off_t>(end.size()), SEEK_END) < 0) return false;
  return read(file.Get(), end.data(), end.size()) == static_cast<ssize_t>(end.size()) &&
         kSharedEnd == std::string_view(end.data(), end.size());
}

void RemoveFolder(const std::string& path) {
  if (const util::Directory folder(opendir(path.c_str())); folder) {
    while (const dirent* entry = readdir(folder.get())) {
      unlinkat(dirfd(folder.get()), entry->d_name, 0);  // "." and ".." refuse it
    }
  }
  rmdir(path.c_str());
}

std::string TemporaryFolder() {
  const char* chosen = std::getenv("TMPDIR");
  return chosen != nullptr && *chosen != '\0' ? chosen : "/tmp";
}

}  // namespace

LedgerCopy::LedgerCopy(const std::string& ledger) {
  std::string name = TemporaryFolder() + "/brennik-status-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    Refuse(LedgerState::kUnreadable, "no copy can be made: " + name + ": " + std::strerror(errno));
    return;
  }
  m_folder = name;
  Make(ledger);
}

LedgerCopy::~LedgerCopy() {
  if (!m_folder.empty()) RemoveFolder(m_folder);
}

void LedgerCopy::Refuse(LedgerState state, std::string detail) {
  m_state = state;
  m_detail = std::move(detail);
}

void LedgerCopy::Make(const std::string& ledger) {
  Pair before;
  Pair after;
  if (!before.LookAt(ledger)) {
    return Refuse(LedgerState::kBusy, "its journal went while it was to be copied");
  }
  if (!HasRoomFor(before.ledger.st_size + before.journal.st_size) ||
      !CopyFile(ledger, Path(), before.ledger.st_size) ||
      !CopyFile(ledger + kJournal, Path() + kJournal, before.journal.st_size)) {
    return;
  }
  if (!after.LookAt(ledger) || !AreSame(before.ledger, after.ledger) ||
      !AreSame(before.journal, after.journal)) {
    return Refuse(LedgerState::kBusy, "it changed while it was copied");
  }
  if (EndsShared(Path() + kJournal)) {
    Refuse(LedgerState::kForeign, "its journal belongs to several databases");
  }
}

// Half of the free space stays free: on the gateway it is memory.
bool LedgerCopy::HasRoomFor(off_t bytes) {
  struct statvfs space {};
  if (statvfs(m_folder.c_str(), &space) == 0 &&
      static_cast<std::uint64_t>(bytes) <= std::uint64_t{space.f_bavail} * space.f_frsize / 2) {
    return true;
  }
  Refuse(LedgerState::kUnreadable, "there is no room for a copy in " + TemporaryFolder());
  return false;
}

bool LedgerCopy::CopyFile(const std::string& from, const std::string& to, off_t bytes) {
  const util::Descriptor source(open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!source) {
    Refuse(LedgerState::kUnreadable, from + ": " + std::strerror(errno));
    return false;
  }
  const util::Descriptor target(open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  const auto block = util::MakeZeroed<char>(kCopyBytes);
  for (off_t copied = 0; copied < bytes;) {
    const ssize_t size = block ? read(source.Get(), block.get(), kCopyBytes) : -1;
    if (size <= 0 || !WriteAll(target.Get(), block.get(), static_cast<std::size_t>(size))) {
      Refuse(LedgerState::kUnreadable, from + " cannot be copied: " + std::strerror(errno));
      return false;
    }
    copied += size;
  }
  return true;
}

}  // namespace status
