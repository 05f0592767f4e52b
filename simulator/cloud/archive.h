// Owns the opening of uploaded archives.
#pragma once

#include <cstddef>
#include <string>

namespace cloud {

// The one member of a data file's archive.
struct ArchiveContent {
  std::string memberName;
  std::string text;  // the member's bytes
};

inline constexpr std::size_t kContentLimitBytes = std::size_t{16} << 20;

// Opens a gzip-compressed tar archive that holds exactly one ordinary file under a bare name.
// Throws Fault when it is anything else, is damaged, or unpacks to more than `limitBytes`.
ArchiveContent ReadArchive(const std::string& bytes, std::size_t limitBytes = kContentLimitBytes);

}  // namespace cloud
