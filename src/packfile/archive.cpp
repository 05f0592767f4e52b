#include "packfile/archive.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "util/directory.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr unsigned kPauseSeconds = 1;
constexpr int kOutputBytes = 64;

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

}  // namespace

DataFileNames NameDataFile(char prefix, const char* directory, const std::tm& stamp,
                           const char* tellStatus) {
  DataFileNames names{};
  util::PrintText(names.name, sizeof(names.name), "%c%s", prefix, util::Stamp(stamp).c_str());
  util::PrintText(names.text, sizeof(names.text), "%s/%s.dat", directory, names.name);
  util::PrintText(names.archive, sizeof(names.archive), "%s/%s.tar.gz", directory, names.name);
  util::PrintText(names.command, sizeof(names.command),
                  "cd %s && tar -zcf %s.tar.gz %s.dat > /dev/null 2>&1;%s", directory, names.name,
                  names.name, tellStatus);
  return names;
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

bool Compress(const DataFileNames& names, AttemptFailed attemptFailed) {
  for (int attempt = 0; attempt < kPackAttempts; ++attempt) {
    sleep(kPauseSeconds);
    const AttemptResult result = TryOnce(names);
    if (result.outcome == Attempt::kSucceeded) return true;
    // tar's success without an archive is tried again without a word.
    if (result.outcome == Attempt::kFailed) attemptFailed(names.archive, result.status);
  }
  return false;
}
