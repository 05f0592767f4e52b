#include "http/multipart.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "log/log.h"
#include "util/text.h"

namespace {

constexpr std::size_t kFramingRoomBytes = 2048;

constexpr char kHead[] =
    "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
    "Content-Disposition:form-data;name=\"licence\";filename=\"%s\"\r\n"
    "Content-Type:application/octet-stream\r\n\r\n";
constexpr char kClosing[] = "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";
constexpr std::size_t kClosingLength = sizeof(kClosing) - 1;

// Reads a file, which must be writable too, into `copy`, which has room for `room` bytes. Returns
// its length; nothing when it cannot be read whole.
std::optional<std::size_t> ReadWhole(const std::string& path, char* copy, std::size_t room) {
  const util::File file(std::fopen(path.c_str(), "rb+"));
  if (!file) {
    log_Text(WARN, "can not open file %s\n", path.c_str());
    return std::nullopt;
  }
  std::fseek(file.get(), 0, SEEK_END);
  const long end = std::ftell(file.get());
  std::rewind(file.get());
  if (end < 0) return std::nullopt;
  const auto length = static_cast<std::size_t>(end);
  if (length > room || std::fread(copy, 1, length, file.get()) != length) return std::nullopt;
  return length;
}

}  // namespace

MultipartBody::MultipartBody(std::size_t fileBytes)
    : m_capacity(fileBytes + kFramingRoomBytes),
      m_body(util::MakeZeroed<char>(m_capacity)),
      m_copy(util::MakeZeroed<char>(m_capacity)) {}

bool MultipartBody::Build(const std::string& path) {
  const std::string name(util::BaseName(path));
  util::PrintText(m_body.get(), m_capacity - 1, kHead, name.c_str());
  m_length = std::strlen(m_body.get());

  // A file that has grown meanwhile may use what the framing leaves of its room.
  const std::size_t room = m_capacity - m_length - kClosingLength;
  const auto fileLength = ReadWhole(path, m_copy.get(), room);
  if (!fileLength) return false;
  std::memcpy(m_body.get() + m_length, m_copy.get(), *fileLength);
  m_length += *fileLength;
  std::memcpy(m_body.get() + m_length, kClosing, kClosingLength);
  m_length += kClosingLength;
  return true;
}
