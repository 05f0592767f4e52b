#include "collect/archive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "util/file.h"
#include "util/text.h"

// zlib is linked into this program, so no other program, shell or pipe takes part: the work is
// bounded by the sizes alone, and nothing has to be ended after a time limit.

namespace status {
namespace {

constexpr std::size_t kTarBlockBytes = 512;  // of a tar archive
constexpr std::size_t kPieceBytes = 16384;
// Blocks of zeros, up to a record of 10 KiB, follow the document.
constexpr std::size_t kTarLimitBytes = kDocumentLimitBytes + 64 * kTarBlockBytes;

// The fields of a member's header: offset and size.
struct Field {
  std::size_t offset;
  std::size_t size;
};
constexpr Field kName{0, 100};
constexpr Field kSize{124, 12};
constexpr Field kChecksum{148, 8};
constexpr std::size_t kTypeOffset = 156;

Archive& Fail(Archive& archive, ArchiveState state, std::string text) {
  archive.state = state;
  archive.text = std::move(text);
  return archive;
}

class Inflater {
 public:
  Inflater() { m_ready = inflateInit2(&m_stream, MAX_WBITS + 16) == Z_OK; }  // gzip only
  ~Inflater() {
    if (m_ready) inflateEnd(&m_stream);
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  // Appends what the piece unpacks to, as far as the text then has at most `limit` bytes and one.
  int Add(unsigned char* piece, std::size_t bytes, std::size_t limit, std::string& text) {
    if (!m_ready) return Z_MEM_ERROR;
    m_stream.next_in = piece;
    m_stream.avail_in = static_cast<uInt>(bytes);
    std::array<unsigned char, kPieceBytes> unpacked;
    int result = Z_OK;
    do {
      m_stream.next_out = unpacked.data();
      m_stream.avail_out = kPieceBytes;
      result = inflate(&m_stream, Z_NO_FLUSH);
      text.append(reinterpret_cast<const char*>(unpacked.data()), kPieceBytes - m_stream.avail_out);
    } while (result == Z_OK && m_stream.avail_out == 0 && text.size() <= limit);
    return result == Z_BUF_ERROR ? Z_OK : result;  // it wants more
  }

 private:
  z_stream m_stream{};
  bool m_ready = false;
};

// Unpacks the whole file. Nothing when `archive` says why not.
std::optional<std::string> Unpack(std::FILE* file, Archive& archive) {
  Inflater inflater;
  std::string tar;
  std::array<unsigned char, kPieceBytes> piece;
  std::size_t taken = 0;
  int result = Z_OK;
  while (result == Z_OK && tar.size() <= kTarLimitBytes && taken <= kArchiveLimitBytes) {
    const std::size_t bytes = std::fread(piece.data(), 1, piece.size(), file);
    if (bytes == 0) break;
    taken += bytes;
    result = inflater.Add(piece.data(), bytes, kTarLimitBytes, tar);
  }
  if (tar.size() > kTarLimitBytes || taken > kArchiveLimitBytes) {
    Fail(archive, ArchiveState::kTooLarge,
         util::Format("it holds more than %zu MiB", kDocumentLimitBytes >> 20));
  } else if (result == Z_STREAM_END) {
    return tar;
  } else if (std::ferror(file)) {
    Fail(archive, ArchiveState::kUnreadable, "reading it fails: the card is gone or failing");
  } else if (result == Z_MEM_ERROR) {
    Fail(archive, ArchiveState::kUnreadable, "there is no memory to unpack it");
  } else if (result == Z_OK) {
    Fail(archive, ArchiveState::kCut, "it ends too early");
  } else {
    Fail(archive, ArchiveState::kDamaged, "its compressed data are damaged");
  }
  return std::nullopt;
}

bool IsGzip(std::FILE* file) {
  const int first = std::fgetc(file);
  const int second = std::fgetc(file);
  std::rewind(file);
  return first == 0x1f && second == 0x8b;
}

// A number in octal digits. Nothing for anything else: larger numbers have another form.
std::optional<std::size_t> Octal(std::string_view field) {
  std::size_t number = 0;
  std::size_t at = field.find_first_not_of(' ');
  if (at == std::string_view::npos || field[at] < '0' || field[at] > '7') return std::nullopt;
  for (; at < field.size() && field[at] >= '0' && field[at] <= '7'; ++at) {
    number = number * 8 + static_cast<std::size_t>(field[at] - '0');
    if (number > 0x7fffffff) return std::nullopt;
  }
  return number;
}

std::string_view Part(std::string_view header, Field field) {
  return header.substr(field.offset, field.size);
}

bool HasChecksum(std::string_view header) {
  std::size_t sum = 0;
  for (std::size_t i = 0; i < kTarBlockBytes; ++i) {
    const bool isBlank = i >= kChecksum.offset && i < kChecksum.offset + kChecksum.size;
    sum += static_cast<unsigned char>(isBlank ? ' ' : header[i]);
  }
  return Octal(Part(header, kChecksum)) == sum;
}

// Whether anything but zeros follows the document.
bool HasMore(std::string_view tar, std::size_t documentBytes) {
  const std::size_t end =
      (kTarBlockBytes + documentBytes + kTarBlockBytes - 1) / kTarBlockBytes * kTarBlockBytes;
  return tar.find_first_not_of('\0', end) != std::string_view::npos;
}

}  // namespace

Archive ReadTar(std::string tar) {
  Archive archive;
  if (tar.empty()) return Fail(archive, ArchiveState::kNotTar, "it holds no file");
  if (tar.size() < kTarBlockBytes)
    return Fail(archive, ArchiveState::kNotTar, "it holds no tar archive");
  const std::string_view header = std::string_view(tar).substr(0, kTarBlockBytes);
  if (header.find_first_not_of('\0') == std::string_view::npos) {
    return Fail(archive, ArchiveState::kNotTar, "it holds no file");
  }
  if (!HasChecksum(header)) return Fail(archive, ArchiveState::kNotTar, "it holds no tar archive");
  const char type = header[kTypeOffset];
  if (type != '0' && type != '\0') {
    return Fail(archive, ArchiveState::kNotTar, "it holds something else than a plain file");
  }
  const std::optional<std::size_t> size = Octal(Part(header, kSize));
  if (!size || *size > kDocumentLimitBytes) {
    return Fail(archive, ArchiveState::kTooLarge, "its document is too large");
  }
  if (*size > tar.size() - kTarBlockBytes) {
    return Fail(archive, ArchiveState::kCut, "its document is cut short");
  }
  archive.member = Part(header, kName);
  archive.member.resize(std::strlen(archive.member.c_str()));
  archive.state = ArchiveState::kGood;
  if (HasMore(tar, *size)) Fail(archive, ArchiveState::kSeveral, "it holds more than one file");
  tar.erase(0, kTarBlockBytes);
  tar.resize(*size);
  archive.document = std::move(tar);
  return archive;
}

Archive ReadArchive(const std::string& path) {
  Archive archive;
  // Without O_NONBLOCK a pipe of that name would never open.
  const util::Descriptor opened(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!opened) {
    const int error = errno;
    const bool isMissing = error == ENOENT || error == ENOTDIR;
    return Fail(archive, isMissing ? ArchiveState::kMissing : ArchiveState::kUnreadable,
                isMissing ? "it is not on the card" : std::strerror(error));
  }
  struct stat about {};
  if (fstat(opened.Get(), &about) != 0 || !S_ISREG(about.st_mode)) {
    return Fail(archive, ArchiveState::kUnreadable, "it is no plain file");
  }
  archive.bytes = static_cast<std::size_t>(about.st_size);
  archive.changed = about.st_mtime;
  const util::File file(fdopen(dup(opened.Get()), "rb"));
  if (!file) return Fail(archive, ArchiveState::kUnreadable, std::strerror(errno));
  if (archive.bytes == 0) return Fail(archive, ArchiveState::kCut, "it is empty");
  if (!IsGzip(file.get()))
    return Fail(archive, ArchiveState::kNotGzip, "it is not compressed with gzip");
  std::optional<std::string> tar = Unpack(file.get(), archive);
  if (!tar) return archive;
  Archive read = ReadTar(std::move(*tar));
  read.bytes = archive.bytes;
  read.changed = archive.changed;
  return read;
}

}  // namespace status
