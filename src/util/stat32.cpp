// Replaces the C library's stat64, lstat64 and fstat64 for libraries that are built with 32-bit
// time.
//
// Such a library's stat() fails with EOVERFLOW for a file dated after 2038-01-19, and SQLite could
// then open no database. The dynamic linker prefers functions of the program to those of the C
// library, so the libraries of this process call the functions below. A file with a later date gets
// the last moment that 32 bits can hold.
//
// CMakeLists.txt adds this file only where the libraries need it, and compiles it with 32-bit time:
// the record must have the layout that those libraries expect.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdint>
#include <limits>

static_assert(sizeof(time_t) == 4, "the libraries expect a record with 32-bit time");

namespace {

timespec Held(const struct statx_timestamp& time) {
  constexpr std::int64_t kLast = std::numeric_limits<time_t>::max();
  constexpr std::int64_t kFirst = std::numeric_limits<time_t>::min();
  timespec held{};
  held.tv_sec = static_cast<time_t>(std::clamp<std::int64_t>(time.tv_sec, kFirst, kLast));
  held.tv_nsec = static_cast<long>(time.tv_nsec);
  return held;
}

int Look(int directory, const char* path, int flags, struct stat64* out) {
  struct statx found {};
  if (statx(directory, path, flags | AT_NO_AUTOMOUNT, STATX_BASIC_STATS, &found) != 0) return -1;
  *out = {};
  out->st_dev = makedev(found.stx_dev_major, found.stx_dev_minor);
  out->st_ino = found.stx_ino;
  out->st_mode = found.stx_mode;
  out->st_nlink = found.stx_nlink;
  out->st_uid = found.stx_uid;
  out->st_gid = found.stx_gid;
  out->st_rdev = makedev(found.stx_rdev_major, found.stx_rdev_minor);
  out->st_size = static_cast<off64_t>(found.stx_size);
  out->st_blksize = static_cast<blksize_t>(found.stx_blksize);
  out->st_blocks = static_cast<blkcnt64_t>(found.stx_blocks);
  out->st_atim = Held(found.stx_atime);
  out->st_mtim = Held(found.stx_mtime);
  out->st_ctim = Held(found.stx_ctime);
  return 0;
}

}  // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's are reserved
extern "C" {

int stat64(const char* path, struct stat64* out) noexcept {
  return Look(AT_FDCWD, path, 0, out);
}

int lstat64(const char* path, struct stat64* out) noexcept {
  return Look(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, out);
}

int fstat64(int file, struct stat64* out) noexcept {
  return Look(file, "", AT_EMPTY_PATH, out);
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
