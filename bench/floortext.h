// The floor of the documents: each part of the text is made once and copied once, into memory that
// is taken at once and never moved.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>
#include <string_view>

class FloorText {
 public:
  // Room for a text of `bytes` bytes. Nothing checks that it suffices.
  explicit FloorText(std::size_t bytes)
      : m_text(std::make_unique_for_overwrite<char[]>(bytes)), m_at(m_text.get()) {}

  void Clear() { m_at = m_text.get(); }
  void Put(std::string_view part) {
    std::memcpy(m_at, part.data(), part.size());
    m_at += part.size();
  }
  void PutNumber(std::int32_t number) { m_at = std::to_chars(m_at, m_at + 11, number).ptr; }
  // Four upper-case hexadecimal digits.
  void PutHex(std::uint32_t number) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (int shift = 12; shift >= 0; shift -= 4) *m_at++ = kDigits[(number >> shift) & 0xFU];
  }
  // Three decimals, at most 14 characters.
  void PutDecimals(double value) {
    constexpr std::ptrdiff_t kLongest = 314;
    constexpr std::ptrdiff_t kMost = 14;
    char* const end = std::to_chars(m_at, m_at + kLongest, value, std::chars_format::fixed, 3).ptr;
    m_at = end - m_at > kMost ? m_at + kMost : end;
  }
  // "YYYY-MM-DD hh:mm:ss" of a Unix time, in local time.
  void PutTimeMark(std::time_t when);
  std::string_view Text() const {
    return {m_text.get(), static_cast<std::size_t>(m_at - m_text.get())};
  }

 private:
  void PutTwo(int number) {
    *m_at++ = static_cast<char>('0' + number / 10);
    *m_at++ = static_cast<char>('0' + number % 10);
  }

  std::unique_ptr<char[]> m_text;
  char* m_at;
};
