// file NAME: the life of one data file.
#include <cstdio>

#include "collect/archive.h"
#include "main/commands.h"
#include "main/filelife.h"
#include "main/filename.h"
#include "main/words.h"
#include "print/terminal.h"
#include "util/directory.h"
#include "util/paths.h"
#include "util/text.h"

namespace status {
namespace {

constexpr std::size_t kShownBytes = 2000;  // of a document that is no JSON

struct File {
  DataFileName name;
  FoundRow row;
  std::string archivePath;  // the gateway's own path, or as it was given
  Archive archive;
  std::string text;  // path of the text file beside it; empty: there is none
};

File LookAt(const Place& place, const std::string& name) {
  File file;
  file.name = ReadDataFileName(name);
  file.row = FindRow(place, ServiceRuns(place), file.name.base);
  const bool isGiven = !file.name.path.empty();
  file.archivePath =
      isGiven ? file.name.path : file.name.Archive(file.row.row ? file.row.row->name : "");
  const std::string path = isGiven ? file.name.path : place.At(file.archivePath);
  file.archive = ReadArchive(path);
  const std::size_t folder = path.rfind('/') + 1;
  for (const char* between : {"", "new/"}) {
    const std::string text = path.substr(0, folder) + between + file.name.stem + ".dat";
    if (file.text.empty() && util::IsRegularFile(text.c_str())) file.text = text;
  }
  return file;
}

std::string RowText(const File& file) {
  if (file.row.row) return file.row.row->accepted ? "accepted" : "pending";
  if (file.row.state != LedgerState::kGood) {
    return "unknown: " + WhyNotRead(file.row.state, file.row.detail);
  }
  if (file.name.IsRecall()) return "has no state for recalls: the cloud orders them again";
  return "no row: it was never recorded, or removed with its row after 31 days";
}

std::string ArchiveText(const Archive& archive, const std::string& path) {
  if (archive.state == ArchiveState::kMissing) return path + " is missing";
  std::string text = path + util::Format(", %zu bytes", archive.bytes);
  if (archive.changed != 0) text += ", written " + LocalText(archive.changed);
  return archive.text.empty() ? text : text + ": " + archive.text;
}

void PrintHead(const File& file) {
  const auto line = [](const char* name, const std::string& text) {
    std::printf("%-9s%s\n", name, Visible(text).c_str());
  };
  line("file", file.name.base);
  line("kind", file.name.Kind());
  line("ledger", RowText(file));
  line("archive", ArchiveText(file.archive, file.archivePath));
  if (!file.text.empty()) {
    line("text",
         file.text + util::Format(", %lld bytes: not packed (yet)",
                                  static_cast<long long>(util::FileSize(file.text.c_str()))));
  }
}

void PrintDocument(const Archive& archive) {
  if (archive.document.empty()) return;
  std::printf("\ndocument %s, %zu bytes\n", Visible(archive.member).c_str(),
              archive.document.size());
  const bool isJson = FormatDocument(
      archive.document, [](std::string_view line) { std::printf("%s\n", Visible(line).c_str()); });
  if (isJson) return;
  const std::string_view shown = std::string_view(archive.document).substr(0, kShownBytes);
  std::printf("It is no JSON document. It begins with:\n%s\n", Visible(shown).c_str());
}

}  // namespace

int ShowFile(const Options& options) {
  const Place place(options.root);
  const File file = LookAt(place, options.argument);
  FileLife life(file.name.InRecords());
  const LogsRead read =
      ReadLogs(place, {}, [&life](const LogRecord& record) { return life.Take(record); });
  const bool isKnown = file.row.row || file.archive.state != ArchiveState::kMissing ||
                       !file.text.empty() || !life.IsEmpty();
  if (!isKnown) {
    std::printf("%s is unknown: no row, no file and no record of the logs has this name\n",
                Visible(file.name.base).c_str());
    if (file.row.state != LedgerState::kGood) {
      std::printf("%s\n", WhyNotRead(file.row.state, file.row.detail).c_str());
    }
    return 1;
  }
  PrintHead(file);
  std::printf("\n");
  if (file.archive.changed != 0) life.AddArchive(file.archive.changed);
  life.Print();
  if (!read.text) std::printf("The text log is left out: %s\n", Visible(read.text.reason).c_str());
  PrintDocument(file.archive);
  return 0;
}

}  // namespace status
