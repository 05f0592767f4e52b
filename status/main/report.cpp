// report FILE: everything in one archive, for somebody who helps from afar.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "main/commands.h"
#include "main/reportparts.h"
#include "main/staging.h"
#include "print/terminal.h"
#include "util/directory.h"
#include "util/file.h"
#include "util/paths.h"

namespace status {
namespace {

constexpr char kFolder[] = "brennik-report";  // in the archive
// Parts besides the ledger and its journal.
constexpr std::uint64_t kRoomBytes = 8U << 20;
constexpr int kFilesChanged = 1;  // tar: a log grew while it was read

int CannotMake(const std::string& file, const std::string& reason) {
  std::printf("%s cannot be made: %s\n", Visible(file).c_str(), Visible(reason).c_str());
  return 1;
}

// Why the name cannot be that of a report; empty: it can.
std::string WhyRefused(const std::string& file) {
  struct stat about {};
  if (lstat(file.c_str(), &about) != 0) return errno == ENOENT ? "" : std::strerror(errno);
  return S_ISREG(about.st_mode) ? "" : "something else than a plain file has this name";
}

// The file under a temporary name beside it. It is removed unless it gets its own name.
class NewFile {
 public:
  explicit NewFile(const std::string& file)
      : m_file(file), m_name(file + ".XXXXXX"), m_opened(mkstemp(m_name.data())) {}
  ~NewFile() {
    if (m_opened && !m_isKept) unlink(m_name.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  explicit operator bool() const { return static_cast<bool>(m_opened); }
  int Get() const { return m_opened.Get(); }
  bool Keep() {
    m_isKept = fsync(m_opened.Get()) == 0 && std::rename(m_name.c_str(), m_file.c_str()) == 0;
    return m_isKept;
  }

 private:
  std::string m_file;
  std::string m_name;
  util::Descriptor m_opened;
  bool m_isKept = false;
};

std::uint64_t RoomFor(const Place& place) {
  std::uint64_t bytes = kRoomBytes;
  for (const char* path : {paths::kLedger, paths::kLedgerJournal}) {
    bytes += static_cast<std::uint64_t>(util::FileSize(place.At(path).c_str()));
  }
  return bytes;
}

// The log files that this user may read, with the name of their folder. The others are noted.
std::vector<std::string> ReadableLogs(const std::string& parent, const std::string& folder,
                                      std::vector<ReportPart>& parts) {
  std::vector<std::string> names;
  const util::Directory logs(opendir((parent + folder).c_str()));
  while (const dirent* entry = logs ? readdir(logs.get()) : nullptr) {
    const std::string name = folder + "/" + entry->d_name;
    if (!util::IsRegularFile((parent + name).c_str())) continue;
    if (faccessat(AT_FDCWD, (parent + name).c_str(), R_OK, AT_EACCESS) == 0) {
      names.push_back(name);
    } else {
      parts.push_back({name, "left out: it needs root's rights: sudo brennik-status report"});
    }
  }
  return names;
}

// The log files go into the archive from where they are: they may be large.
std::vector<std::string> TarCommand(const Place& place, const Staging& staging,
                                    std::vector<ReportPart>& parts) {
  std::vector<std::string> command = {"tar", "-czf", "-", "-C", staging.Path(), kFolder};
  const std::string logs = place.At(paths::kLogDirectory);
  if (!util::IsDirectory(logs.c_str())) return command;
  const std::size_t slash = logs.rfind('/') + 1;
  const std::string folder = logs.substr(slash);
  const std::size_t known = parts.size();
  const std::vector<std::string> names = ReadableLogs(logs.substr(0, slash), folder, parts);
  if (names.empty()) return command;
  parts.push_back({folder + "/", "the files of both logs"});
  command.insert(command.end(), {"-C", logs.substr(0, slash)});
  if (parts.size() == known + 1) {
    command.push_back(folder);
  } else {
    command.insert(command.end(), names.begin(), names.end());
  }
  return command;
}

void SayWhatIsInside(const std::string& file, const std::vector<ReportPart>& parts) {
  int widest = 0;
  for (const ReportPart& part : parts) widest = std::max(widest, Columns(Visible(part.name)));
  std::printf("%s holds\n", Visible(file).c_str());
  for (const ReportPart& part : parts) {
    std::printf("  %s  %s\n", Padded(Visible(part.name), widest).c_str(),
                Visible(part.text).c_str());
  }
}

}  // namespace

int MakeReport(const Options& options) {
  const std::string& file = options.argument;
  const std::string refused = WhyRefused(file);
  if (!refused.empty()) return CannotMake(file, refused);
  const Interruptible interruptible;
  NewFile made(file);
  if (!made) return CannotMake(file, std::strerror(errno));
  const Place place(options.root);
  const Staging staging;
  if (!staging)
    return CannotMake(file, "no temporary folder can be made; TMPDIR names another place");
  if (staging.FreeBytes() < RoomFor(place)) {
    return CannotMake(file, "there is no room in the temporary folder; TMPDIR names another place");
  }
  std::vector<ReportPart> parts = WriteParts(options, staging, kFolder);
  const std::vector<std::string> command = TarCommand(place, staging, parts);
  if (Interruptible::Happened()) return CannotMake(file, "it was interrupted");
  const int status = Run(command, made.Get());
  if (Interruptible::Happened()) return CannotMake(file, "it was interrupted");
  if (status != 0 && status != kFilesChanged) return CannotMake(file, "tar fails");
  if (!made.Keep()) return CannotMake(file, std::strerror(errno));
  SayWhatIsInside(file, parts);
  return 0;
}

}  // namespace status
