// Directories: creating all of a path, listing one, and the size of a file.
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

// Creates every missing directory along `path` with mode 0755. At most `pathLimit` characters of
// the path are looked at (127 at the most), and at most `prefixLimit` of each directory's own path.
// Returns 0, also for an empty path; -1 for a null path, a path that cannot be examined, or a
// directory that cannot be made (those before it stay).
int MakeDirectories(const char* path, std::size_t pathLimit, std::size_t prefixLimit);

// Whether the path can be examined: a file or a directory stands there.
bool Exists(const char* path);
bool IsDirectory(const char* path);
bool IsRegularFile(const char* path);
// Whether certainly nothing stands there: not so when the path cannot be examined.
bool IsMissing(const char* path);

// Size in bytes, or 0 when the file cannot be examined.
off_t FileSize(const char* path);

}  // namespace util
