#include "cloud/archive.h"

#include <archive.h>
#include <archive_entry.h>

#include <array>
#include <cstddef>
#include <memory>

#include "cloud/fault.h"

namespace cloud {

namespace {

constexpr std::size_t kChunkBytes = std::size_t{16} * 1024;

struct ArchiveFreer {
  void operator()(archive* reader) const { archive_read_free(reader); }
};
using ArchiveReader = std::unique_ptr<archive, ArchiveFreer>;

[[noreturn]] void ThrowDamaged(archive* reader) {
  const char* why = archive_error_string(reader);
  throw Fault(std::string("the archive cannot be read: ") + (why != nullptr ? why : "damaged"));
}

ArchiveReader Open(const std::string& bytes) {
  ArchiveReader reader(archive_read_new());
  if (!reader) throw Fault("the archive cannot be read: out of memory");
  archive_read_support_format_tar(reader.get());
  archive_read_support_filter_gzip(reader.get());
  if (archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) != ARCHIVE_OK) {
    ThrowDamaged(reader.get());
  }
  return reader;
}

// The next member, or null after the last one.
archive_entry* NextMember(archive* reader) {
  archive_entry* member = nullptr;
  const int result = archive_read_next_header(reader, &member);
  if (result == ARCHIVE_EOF) return nullptr;
  if (result != ARCHIVE_OK) ThrowDamaged(reader);
  return member;
}

std::string MemberName(archive_entry* member) {
  const char* name = archive_entry_pathname(member);
  if (name == nullptr || *name == '\0') throw Fault("the archive's member has no name");
  if (archive_entry_filetype(member) != AE_IFREG) {
    throw Fault(std::string("the archive's member ") + name + " is not an ordinary file");
  }
  std::string text = name;
  if (text.find('/') != std::string::npos) {
    throw Fault("the archive's member " + text + " does not have a bare name");
  }
  return text;
}

std::string ReadContent(archive* reader, std::size_t limitBytes) {
  std::string content;
  std::array<char, kChunkBytes> chunk{};
  for (;;) {
    const la_ssize_t got = archive_read_data(reader, chunk.data(), chunk.size());
    if (got < 0) ThrowDamaged(reader);
    if (got == 0) return content;
    content.append(chunk.data(), static_cast<std::size_t>(got));
    if (content.size() > limitBytes) throw Fault("the archive's member is too large");
  }
}

}  // namespace

ArchiveContent ReadArchive(const std::string& bytes, std::size_t limitBytes) {
  const ArchiveReader reader = Open(bytes);
  archive_entry* member = NextMember(reader.get());
  if (archive_filter_code(reader.get(), 0) != ARCHIVE_FILTER_GZIP) {
    throw Fault("the archive is not compressed with gzip");
  }
  if (member == nullptr) throw Fault("the archive is empty");
  ArchiveContent content;
  content.memberName = MemberName(member);
  content.text = ReadContent(reader.get(), limitBytes);
  if (NextMember(reader.get()) != nullptr) throw Fault("the archive has more than one member");
  return content;
}

}  // namespace cloud
