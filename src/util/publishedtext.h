// A short text that one thread replaces while others read it, without a lock.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <string_view>

#include "util/text.h"

namespace util {

// A text of at most N - 1 characters, for one writer at a time and any number of readers. A
// sequence count protects it: it is odd while the writer works, and a reader that finds it odd or
// changed reads again.
template <std::size_t N>
class PublishedText {
 public:
  // Replaces the text, cut silently to N - 1 characters.
  void Publish(std::string_view text) {
    char next[N] = {};
    CopyText(next, text);
    const unsigned count = m_count.load(std::memory_order_relaxed);
    m_count.store(count + 1, std::memory_order_relaxed);
    for (std::size_t i = 0; i < N; ++i) m_text[i].store(next[i], std::memory_order_release);
    m_count.store(count + 2, std::memory_order_release);
  }

  // Copies the latest published text into `text`, terminated. It is never a mixture of two.
  void Read(char (&text)[N]) const {
    for (;;) {
      const unsigned before = m_count.load(std::memory_order_acquire);
      for (std::size_t i = 0; i < N; ++i) text[i] = m_text[i].load(std::memory_order_acquire);
      if (before % 2 == 0 && before == m_count.load(std::memory_order_relaxed)) return;
    }
  }

 private:
  std::atomic<unsigned> m_count{0};
  // Each character is released after the odd count and acquired before the second look at it.
  std::array<std::atomic<char>, N> m_text{};
};

}  // namespace util
