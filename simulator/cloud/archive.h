// Owns the opening of uploaded archives.
#pragma once

#include <string>

namespace cloud {

// The one member of a data file's archive.
struct ArchiveContent {
  std::string memberName;
  std::string text;  // the member's bytes
};

// Opens a gzip-compressed tar archive that holds exactly one ordinary file under a bare name.
// Throws Fault when it is anything else, is damaged, or unpacks to more than 16 MiB.
ArchiveContent ReadArchive(const std::string& bytes);

}  // namespace cloud
