#include "faults/stillness.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>

#include "faults/lockstatistics.h"
#include "faults/watchers.h"
#include "support/files.h"
#include "util/paths.h"
#include "util/text.h"

namespace test {
namespace {

constexpr int kRounds = 5;  // of all commands

// Asks the kernel which files the tool opens for writing, makes, removes and renames, and whether
// it makes a socket.
void ExpectHarmlessCalls(const Words& command, std::time_t now) {
  const std::string trace = std::string(kWatchersFolder) + "/trace";
  const std::string holds = std::string("--unset=") + kLockHoldsVariable;
  RunStatus(command, now,
            {"env", holds, "strace", "-f", "-y", "-qq", "-o", trace, "-s", "200", "-e",
             "trace=%file,%network,ftruncate,fchmod,fchown,fallocate,shmget,semget"});
  const std::regex writes(
      "O_WRONLY|O_RDWR|O_CREAT|O_TRUNC|O_TMPFILE|"
      "\\b(socket|connect|sendto|sendmsg|bind|creat|mkdir|mkdirat|mknod|mknodat|unlink|unlinkat|"
      "rmdir|rename|renameat|renameat2|link|linkat|symlink|symlinkat|truncate|ftruncate|"
      "fallocate|chmod|fchmod|fchmodat|chown|fchown|lchown|fchownat|utime|utimes|utimensat|"
      "setxattr|IPC_CREAT)\\b");
  std::ifstream lines(trace);
  int calls = 0;
  for (std::string line; std::getline(lines, line); ++calls) {
    if (line.find("resumed>") != std::string::npos) continue;  // judged where it began
    if (!std::regex_search(line, writes)) continue;
    // The null device, what the user has named, the library that fakes the time, and tar, which
    // asks this machine for the names of users.
    const bool allowed =
        line.find("\"/dev/null\"") != std::string::npos ||
        line.find(kWatchersFolder) != std::string::npos ||
        line.find("faketime_") != std::string::npos ||
        (!command.empty() && command[0] == "report" && line.find("AF_UNIX") != std::string::npos);
    EXPECT_TRUE(allowed) << (command.empty() ? "verdict" : command[0]) << ": " << line;
  }
  EXPECT_GT(calls, 20) << "strace has seen nothing";
}

}  // namespace

std::map<std::string, std::string> Snapshot() {
  std::map<std::string, std::string> found;
  const auto add = [&found](const std::string& path) {
    struct stat about {};
    if (lstat(path.c_str(), &about) != 0) return;
    const std::string content = S_ISREG(about.st_mode) ? ReadFile(path) : "";
    found[path] = util::Format(
        "mode %o, owner %u:%u, links %ju, inode %ju, %jd bytes, changed %jd.%09ld %jd.%09ld, %zx",
        about.st_mode, about.st_uid, about.st_gid, static_cast<std::uintmax_t>(about.st_nlink),
        static_cast<std::uintmax_t>(about.st_ino), static_cast<std::intmax_t>(about.st_size),
        static_cast<std::intmax_t>(about.st_mtim.tv_sec), about.st_mtim.tv_nsec,
        static_cast<std::intmax_t>(about.st_ctim.tv_sec), about.st_ctim.tv_nsec,
        std::hash<std::string>()(content));
  };
  for (const char* root : {"/media", "/tessel", "/tmp", paths::kCardDevice}) {
    add(root);
    if (!std::filesystem::is_directory(root)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) add(entry.path());
  }
  return found;
}

Stillness ExpectNothingChanges(std::time_t now) {
  const auto before = Snapshot();
  Stillness stillness;
  auto commands = QuickCommands(now);
  const auto slow = SlowCommands(now);
  commands.insert(commands.end(), slow.begin(), slow.end());
  for (const auto& command : commands) {
    for (int round = 0; round < kRounds; ++round) RunStatus(command, now);
    ExpectHarmlessCalls(command, now);
    stillness.runs += kRounds + 1;
  }
  const auto after = Snapshot();
  for (const auto& [path, facts] : after) {
    const auto found = before.find(path);
    if (found == before.end()) {
      ADD_FAILURE() << path << " is new";
      continue;
    }
    EXPECT_EQ(facts, found->second) << path;
    stillness.unchanged += facts == found->second ? 1 : 0;
  }
  EXPECT_EQ(after.size(), before.size());
  return stillness;
}

}  // namespace test
