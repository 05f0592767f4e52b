#include "util/directory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace util {
namespace {

bool MakeOne(const std::string& path) {
  if (access(path.c_str(), F_OK) == 0) return true;
  if (errno != ENOENT && errno != ENOTDIR) return false;
  return mkdir(path.c_str(), 0755) == 0;
}

}  // namespace

int MakeDirectories(const char* path, std::size_t pathLimit, std::size_t prefixLimit) {
  if (path == nullptr) return -1;
  std::string whole(std::string_view(path).substr(0, pathLimit));
  if (whole.empty()) return 0;
  if (whole.back() != '/') whole += '/';

  for (auto end = whole.find('/', 1); end != std::string::npos; end = whole.find('/', end + 1)) {
    if (!MakeOne(whole.substr(0, end).substr(0, prefixLimit))) return -1;
  }
  return 0;
}

bool Exists(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0;
}

bool IsDirectory(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsRegularFile(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

bool IsMissing(const char* path) {
  struct stat status {};
  return stat(path, &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

off_t FileSize(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 ? status.st_size : 0;
}

}  // namespace util
