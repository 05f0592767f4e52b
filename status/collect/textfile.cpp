#include "collect/textfile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace status {
namespace {

constexpr std::size_t kBlockBytes = 65536;
constexpr std::string_view kMark = " logType:";
constexpr std::size_t kLongestLevel = 7;  // the longest is "UNKNOWN"
constexpr std::string_view kBlanks = " \t\r\n";
// From a mark to the end of its head, and of a whole head.
constexpr std::size_t kBehindMark = kMark.size() + kLongestLevel + 1;
constexpr std::size_t kHeadBytes = RecordTimes::kBytes + kBehindMark;
// A record of so many bytes was cut by the service: it has no line end.
constexpr off_t kLongestRecord = 2047;

long LineEnds(std::string_view text) {
  long count = 0;
  const char* end = text.data() + text.size();
  for (const char* at = text.data(); at < end; ++count) {
    const void* found = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
    if (found == nullptr) break;
    at = static_cast<const char*>(found) + 1;
  }
  return count;
}

// Where the text begins in the other one, from a place on.
std::size_t Find(std::string_view in, std::string_view text, std::size_t from) {
  const void* found = memmem(in.data() + from, in.size() - from, text.data(), text.size());
  if (found == nullptr) return std::string_view::npos;
  return static_cast<std::size_t>(static_cast<const char*>(found) - in.data());
}

bool IsLevel(std::string_view text) {
  return text == "INFO" || text == "WARN" || text == "ERROR" || text == "FATAL" || text == "SEND" ||
         text == "RECV" || text == "DEBUG" || text == "UNKNOWN";
}

}  // namespace

void TextFile::StartAt(const FilePosition& from, off_t offset) {
  m_readTo = from.offset;
  m_line = from.line;
  while (m_readTo < offset) {
    const off_t end = m_end;
    m_end = offset;
    const bool isRead = Fill();
    m_end = end;
    if (!isRead) break;
    m_line += LineEnds(m_buffer);
    m_buffer.clear();
  }
  m_goOnAt = {m_readTo, m_line};
}

// Adds the next block to the buffer and drops what was passed. False at the end.
bool TextFile::Fill() {
  m_buffer.erase(0, m_at);
  m_at = 0;
  const auto wanted = static_cast<std::size_t>(
      std::clamp<off_t>(m_end - m_readTo, 0, static_cast<off_t>(kBlockBytes)));
  if (wanted == 0) return false;
  const std::size_t kept = m_buffer.size();
  m_buffer.resize(kept + wanted);
  const ssize_t got = pread(m_file, m_buffer.data() + kept, wanted, m_readTo);
  m_buffer.resize(kept + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  m_readTo += std::max<ssize_t>(got, 0);
  return got > 0;
}

// Goes on to an index of the buffer and adds what is passed to the text, as far as it fits.
void TextFile::Pass(std::size_t end, std::string* passed) {
  if (end <= m_at) return;
  std::string_view part = std::string_view(m_buffer).substr(m_at, end - m_at);
  m_line += LineEnds(part);
  m_lastByte = part.back();
  m_at = end;
  if (passed == nullptr || passed->size() >= kMessageBytes) return;
  // Blanks at the front are no part of the message.
  if (passed->empty()) part.remove_prefix(std::min(part.find_first_not_of(kBlanks), part.size()));
  passed->append(part.substr(0, kMessageBytes - passed->size()));
}

// The head whose mark stands at this index of the buffer.
std::optional<TextFile::Head> TextFile::HeadAt(std::size_t mark) {
  if (mark < m_at + RecordTimes::kBytes) return std::nullopt;
  const std::string_view buffer = m_buffer;
  const std::string_view rest = buffer.substr(mark + kMark.size(), kLongestLevel + 1);
  const std::size_t end = rest.find('\n');
  if (end == std::string_view::npos || !IsLevel(rest.substr(0, end))) return std::nullopt;
  const auto time = m_times.Read(buffer.substr(mark - RecordTimes::kBytes, RecordTimes::kBytes));
  if (!time) return std::nullopt;
  return Head{
      *time, std::string(rest.substr(0, end)), {}, RecordTimes::kBytes + kMark.size() + end + 1};
}

// Goes on to the next head and behind it. A head may stand anywhere in a line. False at the end.
bool TextFile::FindHead(std::string* passed) {
  m_head.reset();
  std::size_t from = m_at;
  for (;;) {
    const std::size_t mark = Find(m_buffer, kMark, from);
    const bool isWhole = mark != std::string::npos && mark + kBehindMark <= m_buffer.size();
    if (!isWhole && m_readTo < m_end) {
      // The head may go on in the next block.
      const std::size_t size = m_buffer.size();
      Pass(std::max(m_at, size - std::min(size, kHeadBytes)), passed);
      if (!Fill()) m_end = m_readTo;
      from = m_at;
      continue;
    }
    if (mark == std::string::npos) break;
    if (auto head = HeadAt(mark)) {
      Pass(mark - RecordTimes::kBytes, passed);
      head->at = {m_readTo - static_cast<off_t>(m_buffer.size() - m_at), m_line};
      Pass(m_at + head->bytes, nullptr);
      m_head = std::move(head);
      return true;
    }
    from = mark + kMark.size();
  }
  Pass(m_buffer.size(), passed);
  return false;
}

std::optional<std::time_t> TextFile::NextTime() {
  if (!m_head && !FindHead(nullptr)) return std::nullopt;
  return m_head->time;
}

bool TextFile::Next(LogRecord* record) {
  if (m_isAtEnd) return false;
  if (!m_head && !FindHead(nullptr)) {
    m_isAtEnd = true;
    m_goOnAt = {m_readTo, m_line};
    return false;
  }
  const FilePosition at = m_head->at;
  record->time = m_head->time;
  record->level = std::move(m_head->level);
  record->line = at.line;
  record->text.clear();
  const bool isFollowed = FindHead(&record->text);
  record->text = std::string(Trimmed(record->text));
  if (!isFollowed) {
    const bool isWhole = m_lastByte == '\n' || m_readTo - at.offset >= kLongestRecord;
    m_goOnAt = isWhole ? FilePosition{m_readTo, m_line} : at;
    m_isAtEnd = true;
  }
  return true;
}

}  // namespace status
