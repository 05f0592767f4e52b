// Both logs of the service, as brennik-status reads them. The first byte of the input chooses: an
// even one makes the rest the text log, an odd one the log database. The text log is also read from
// its end on.
#include <sys/stat.h>

#include <ctime>

#include "collect/logfile.h"
#include "collect/logs.h"
#include "support/world.h"
#include "util/paths.h"

extern "C" int __wrap_nanosleep(const timespec*,
                                timespec*);  // NOLINT(*-reserved-identifier,cert-dcl*)

// The reader's pauses take no time.
int __wrap_nanosleep(const timespec* /*pause*/, timespec* /*left*/) {
  return 0;
}

namespace {

constexpr char kDayFile[] = "/tmp/CloudLog/1122_log.txt";
constexpr std::size_t kLongestPath = 64;

// Reads all records. The number of records; every one is as promised.
long Read(const status::LogRange& range) {
  long records = 0;
  const status::LogsRead read = status::ReadLogs({}, range, [&](const status::LogRecord& record) {
    ++records;
    fuzz::Expect(record.text.size() <= status::kMessageBytes, "a message is cut");
    fuzz::Expect(record.text == status::Trimmed(record.text), "a message has no blanks around it");
    fuzz::Expect(record.line > 0, "a record has a line");
    fuzz::Expect(record.isDatabase || !record.level.empty(),
                 "a record of the text log has a level");
    fuzz::Expect(record.Where().size() < kLongestPath, "a record has a place");
    return true;
  });
  const long counted = read.text.value.value_or(0) + read.database.value.value_or(0);
  fuzz::Expect(counted <= records, "no record is counted that was not given");
  fuzz::Expect(read.text || !read.text.reason.empty(), "what is unknown has a reason");
  fuzz::Expect(read.database || !read.database.reason.empty(), "what is unknown has a reason");
  return records;
}

// Reads the log piece by piece while it grows, as `log --follow` does.
void Follow(const fuzz::InputFile& file, std::string_view content) {
  file.Write(content.substr(0, content.size() / 2));
  status::LogStream stream({}, {});
  const status::EachRecord passOver = [](const status::LogRecord&) { return true; };
  stream.Read(passOver);
  file.Write(content);
  stream.Read(passOver);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool isMade = mkdir(paths::kLogDirectory, 0755) == 0;
  fuzz::Expect(isMade, "the log folder can be made");
  static const fuzz::InputFile text(kDayFile);
  static const fuzz::InputFile database(paths::kLogDatabase);
  if (size == 0) return 0;
  const std::string_view content = fuzz::Content(data, size).substr(1);
  const bool isText = data[0] % 2 == 0;
  text.Write(isText ? content : "");
  database.Write(isText ? "" : content);

  const long all = Read({});
  if (!isText) return 0;
  fuzz::Expect(Read({.since = std::nullopt, .tailBytes = data[0]}) <= all,
               "the end of a log has no more records than the log");
  Follow(text, content);
  return 0;
}
