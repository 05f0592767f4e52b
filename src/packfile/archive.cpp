#include "packfile/archive.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "historydata/historydata.h"
#include "util/directory.h"
#include "util/durable.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr unsigned kPauseSeconds = 1;
constexpr int kOutputBytes = 64;
constexpr mode_t kDirectoryMode = 0755;

enum class Attempt { kSucceeded, kFailed, kNoArchive };

struct AttemptResult {
  Attempt outcome;
  int status;  // tar's exit status; 0 when the command could not be started
};

struct PipeCloser {
  void operator()(std::FILE* pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<std::FILE, PipeCloser>;

AttemptResult TryOnce(const DataFileNames& names) {
  char output[kOutputBytes + 1];
  const bool started = RunCommand(names.command, output, kOutputBytes);
  const int status = started ? util::Decimal(output) : 0;
  if (!started || status != 0) return {Attempt::kFailed, status};
  if (util::FileSize(names.archive) == 0) return {Attempt::kNoArchive, status};
  return {Attempt::kSucceeded, status};
}

DataFileNames FormNames(const std::string& directory, const std::string& name,
                        const char* tellStatus) {
  DataFileNames names{};
  const char* in = directory.c_str();
  util::CopyText(names.name, name);
  util::PrintText(names.text, sizeof(names.text), "%s/%s.dat", in, names.name);
  util::PrintText(names.archive, sizeof(names.archive), "%s/%s.tar.gz", in, names.name);
  util::PrintText(names.command, sizeof(names.command),
                  "cd %s && tar -zcf %s.tar.gz %s.dat > /dev/null 2>&1;%s", in, names.name,
                  names.name, tellStatus);
  return names;
}

}  // namespace

DataFileNames NameDataFile(char prefix, const std::string& directory, const std::tm& stamp,
                           const char* tellStatus) {
  return FormNames(directory, prefix + util::Stamp(stamp), tellStatus);
}

bool RunCommand(const char* command, char* line, int n) {
  std::memset(line, 0, static_cast<std::size_t>(n));
  const Pipe stream(popen(command, "r"));
  if (!stream) return false;
  // Without any output the line stays empty, and reads as status 0.
  [[maybe_unused]] const char* read = std::fgets(line, n, stream.get());
  line[n] = '\0';
  return true;
}

DataFile::DataFile(char prefix, const std::string& directory, const std::tm& stamp,
                   const char* tellStatus)
    : m_directory(directory),
      m_tellStatus(tellStatus),
      m_names(NameDataFile(prefix, directory, stamp, tellStatus)),
      m_work(m_names) {}

std::ofstream DataFile::OpenText() {
  if (util::IsRegularFile(m_names.archive)) {
    m_ownDirectory = m_directory + "/new";
    m_work = FormNames(m_ownDirectory, m_names.name, m_tellStatus);
    RemoveDir(m_ownDirectory.c_str());  // left by an attempt that a restart has ended
    if (mkdir(m_ownDirectory.c_str(), kDirectoryMode) != 0 && errno == ENOSPC) {
      // A full card fails the packing. It must not end the process, as a text file that cannot be
      // opened does.
      SetWriteError(ENOSPC);
      return std::ofstream("/dev/null");
    }
  }
  return std::ofstream(m_work.text, std::ios::trunc);
}

bool DataFile::Pack(ReportFailedAttempt reportFailedAttempt) {
  for (int attempt = 0; attempt < kPackAttempts; ++attempt) {
    sleep(kPauseSeconds);
    AttemptResult result =
        IsTextWhole() ? TryOnce(m_work) : AttemptResult{Attempt::kFailed, m_writeError};
    if (result.outcome == Attempt::kSucceeded) {
      if (KeepArchive()) return true;
      result = {Attempt::kFailed, errno};
    }
    // A success of tar without an archive is not reported, deliberately.
    if (result.outcome == Attempt::kFailed) reportFailedAttempt(m_names.archive, result.status);
  }
  if (!IsTextWhole()) std::remove(m_work.text);
  return false;
}

bool DataFile::KeepArchive() {
  if (HasOwnDirectory()) {
    util::SyncToCard(m_work.archive);
    if (std::rename(m_work.archive, m_names.archive) != 0) return false;
  }
  // Before the sync, so that the file system writes both down at once. The text was never synced: a
  // power cut would spoil it.
  std::remove(m_work.text);
  if (HasOwnDirectory()) rmdir(m_ownDirectory.c_str());
  util::SyncToCard(m_names.archive);
  util::SyncToCard(m_directory.c_str());
  return true;
}

void DataFile::RemoveRemains() {
  if (access(m_work.archive, F_OK) == 0) std::remove(m_work.archive);
  if (!HasOwnDirectory()) return;
  std::rename(m_work.text, m_names.text);
  rmdir(m_ownDirectory.c_str());
}
