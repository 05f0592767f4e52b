// A data file's archive on the card: the one document in it.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>

namespace status {

// An archive beyond one of these limits is not read on. The largest that the service sends has
// 40,959 bytes; the largest document that it makes has 6 MiB.
inline constexpr std::size_t kArchiveLimitBytes = 8U << 20;
inline constexpr std::size_t kDocumentLimitBytes = 8U << 20;

enum class ArchiveState {
  kGood,
  kMissing,     // there is no file
  kUnreadable,  // no regular file, no right to read it, or an I/O error
  kNotGzip,     // its content is not compressed
  kCut,         // it ends too early
  kDamaged,     // the compressed data contradict themselves
  kNotTar,      // what was compressed is no tar archive of one plain file
  kSeveral,     // it has further members; the document is that of the first
  kTooLarge,    // archive or document is beyond the limit
};

struct Archive {
  ArchiveState state = ArchiveState::kMissing;
  std::string text;         // what is wrong with it, one sentence without a full stop; empty: kGood
  std::size_t bytes = 0;    // size of the archive
  std::time_t changed = 0;  // when the archive was last changed
  std::string member;       // name of the document in the archive
  std::string document;     // empty unless kGood or kSeveral
};

// Reads the archive in this process, with a fixed amount of work: at most the limits above.
Archive ReadArchive(const std::string& path);

// Takes the document out of an uncompressed tar archive; part of ReadArchive.
Archive ReadTar(std::string tar);

// Takes one line, without its line end.
using EachLine = std::function<void(std::string_view)>;

// Formats a JSON document, a value a line. Numbers stay as they are written. False, and no line,
// when the text is no JSON document or is nested deeper than any that the service makes.
bool FormatDocument(const std::string& document, const EachLine& eachLine);

}  // namespace status
