#include "main/reportparts.h"

#include <sys/statvfs.h>

#include <cstdio>

#include "collect/configuration.h"
#include "collect/ledgerbackup.h"
#include "collect/logs.h"
#include "collect/machine.h"
#include "main/commands.h"
#include "main/redact.h"
#include "main/words.h"
#include "print/terminal.h"
#include "util/directory.h"
#include "util/file.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/xml.h"

namespace status {
namespace {

constexpr std::size_t kLogTailBytes = 2U << 20;  // of each text log, in the merged one

constexpr std::size_t kConfigurationBytes = util::kXmlFileLimitBytes;  // of all its files

// At most `limit` bytes of a plain file, or of a file of /proc. Nothing when it cannot be read.
std::optional<std::string> ReadAll(const std::string& path, std::size_t limit) {
  if (!util::IsRegularFile(path.c_str())) return std::nullopt;
  const util::File file(std::fopen(path.c_str(), "rb"));
  if (!file) return std::nullopt;
  std::string content;
  char piece[4096];
  for (std::size_t bytes; (bytes = std::fread(piece, 1, sizeof piece, file.get())) > 0;) {
    content.append(piece, bytes);
    if (content.size() > limit) return std::nullopt;
  }
  if (std::ferror(file.get())) return std::nullopt;
  return content;
}

class Parts {
 public:
  Parts(const Options& options, const Staging& staging, const std::string& parent)
      : m_options(options), m_place(options.root), m_staging(staging), m_parent(parent + "/") {}

  std::vector<ReportPart> WriteAll() {
    Options options = m_options;
    options.argument.clear();
    Capture("verdict.txt", "the verdict", [&] { return ShowVerdict(options); });
    Capture("config.txt", "the check of the configuration", [&] { return CheckConfig(options); });
    Capture("gaps.txt", "the month", [&] { return ShowGaps(options); });
    Capture("version.txt", "versions", [&] { return ShowVersion(options); });
    options.json = true;
    Capture("verdict.json", "the same as JSON", [&] { return ShowVerdict(options); });
    WriteLog();
    WriteMachine();
    WriteConfiguration();
    WriteLedger();
    return std::move(m_parts);
  }

 private:
  void Note(const std::string& name, const std::string& text) { m_parts.push_back({name, text}); }
  void LeftOut(const std::string& name, const std::string& reason) {
    Note(name, "left out: " + reason);
  }

  void Capture(const std::string& name, const std::string& what,
               const std::function<int()>& print) {
    if (Interruptible::Happened()) return;
    if (m_staging.Capture(m_parent + name, print)) return Note(name, what);
    Note(name, what + ", perhaps not whole: its command was ended");
  }

  void WriteLog() {
    Capture("log.txt", "the newest records of both logs in one", [this] {
      const auto print = [](const LogRecord& record) {
        std::printf("%s %-5s %s\n", LocalText(record.time).c_str(), record.level.c_str(),
                    Visible(record.text).c_str());
        return true;
      };
      LogRange range;
      range.tailBytes = kLogTailBytes;
      const LogsRead read = ReadLogs(m_place, range, print);
      if (!read.text) std::printf("text log: %s\n", Visible(read.text.reason).c_str());
      if (!read.database) std::printf("log database: %s\n", Visible(read.database.reason).c_str());
      return 0;
    });
  }

  void Copy(const std::string& from, const std::string& name, const char* what) {
    const std::optional<std::string> content = ReadAll(from, util::kXmlFileLimitBytes);
    if (!content) return LeftOut(name, from + " cannot be read");
    WriteText(name, *content, what);
  }
  void WriteText(const std::string& name, std::string_view content, const std::string& what) {
    if (m_staging.Write(m_parent + name, content)) return Note(name, what);
    LeftOut(name, "there is no room for it");
  }

  void WriteMachine() {
    if (!m_place.IsLive()) return;
    Copy("/proc/mounts", "machine/mounts", "what is mounted");
    std::string text;
    for (const char* path : {paths::kCardMount, "/", "/tmp"}) text += SpaceText(path);
    WriteText("machine/space.txt", text, "free space");
    const Fact<pid_t> process = FindService(m_place);
    if (!process || *process <= 0) {
      return LeftOut("machine/process", process ? "the service does not run" : process.reason);
    }
    for (const char* about : {"status", "limits"}) {
      Copy(util::Format("/proc/%d/%s", *process, about), std::string("machine/process-") + about,
           "the service's process");
    }
  }
  static std::string SpaceText(const char* path) {
    struct statvfs about {};
    if (statvfs(path, &about) != 0) return util::Format("%s: unknown\n", path);
    const auto bytes = [&about](fsblkcnt_t blocks) {
      return static_cast<unsigned long long>(blocks) * about.f_frsize;
    };
    return util::Format("%s: %llu of %llu bytes free, %llu of %llu inodes free%s\n", path,
                        bytes(about.f_bavail), bytes(about.f_blocks),
                        static_cast<unsigned long long>(about.f_favail),
                        static_cast<unsigned long long>(about.f_files),
                        (about.f_flag & ST_RDONLY) != 0 ? ", read-only" : "");
  }

  // A configuration may name any file of the machine as that of a device; only XML is taken.
  void WriteConfiguration() {
    std::vector<std::string> files = LoadConfiguration(m_place).files;
    if (files.empty()) files = {paths::kSystemFile, paths::kIdentityFile, paths::kChannelTemplate};
    for (const std::string& file : files) {
      if (Interruptible::Happened()) return;
      if (file != paths::kVersionFile) WriteWithoutSecrets(file);
    }
  }
  void WriteWithoutSecrets(const std::string& file) {
    const std::string name = "config" + file;
    if (file.find("/../") != std::string::npos) return LeftOut(name, "its path leads elsewhere");
    const std::optional<std::string> xml = ReadAll(m_place.At(file), m_configurationBytes);
    if (!xml) return LeftOut(name, "it cannot be read, or it is too large");
    std::string reason;
    const std::optional<std::string> text = WithoutSecrets(*xml, reason);
    if (!text) return LeftOut(name, "it could hold a password that is not found: it " + reason);
    m_configurationBytes -= xml->size();
    WriteText(name, *text, "without certificates, users, passwords and comments");
  }

  void WriteLedger() {
    if (Interruptible::Happened()) return;
    const bool runs = ServiceRuns(m_place);
    const std::string to = m_staging.Path() + "/" + m_parent + "CloudDB.db";
    const std::string reason = BackUpLedger(m_place, runs, to);
    if (reason.empty()) return Note("CloudDB.db", "a copy of the ledger");
    std::remove(to.c_str());
    LeftOut("CloudDB.db", reason);
  }

  const Options& m_options;
  Place m_place;
  const Staging& m_staging;
  std::string m_parent;
  std::size_t m_configurationBytes = kConfigurationBytes;  // that may still be copied
  std::vector<ReportPart> m_parts;
};

}  // namespace

std::vector<ReportPart> WriteParts(const Options& options, const Staging& staging,
                                   const std::string& parent) {
  return Parts(options, staging, parent).WriteAll();
}

}  // namespace status
