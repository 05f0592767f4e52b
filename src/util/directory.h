// Questions about files and directories, and the creation of directories.
#pragma once

#include <dirent.h>
#include <sys/types.h>

#include <cstddef>
#include <memory>

namespace util {

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

inline constexpr std::size_t kPathBytes = 128;  // a path field, its terminator included

// Creates every missing directory along `path` with mode 0755. Only the first `pathLimit`
// characters of the path count, and of the path of each directory only the first `prefixLimit`.
// Returns 0, also for an empty path; -1 for a null path, a path that cannot be examined, or a
// directory that cannot be made. Directories made before the failure stay.
int MakeDirectories(const char* path, std::size_t pathLimit, std::size_t prefixLimit);

// These follow symbolic links. They are false when the path cannot be examined.
bool Exists(const char* path);
bool IsDirectory(const char* path);
bool IsRegularFile(const char* path);
// Whether there is certainly no file or directory. False when the path cannot be examined.
bool IsMissing(const char* path);

// Size in bytes, or 0 when the file cannot be examined.
off_t FileSize(const char* path);

}  // namespace util
