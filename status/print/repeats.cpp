#include "print/repeats.h"

#include <algorithm>
#include <utility>

#include "collect/times.h"
#include "util/text.h"

namespace status {
namespace {

constexpr std::size_t kLongestBlock = 4;
constexpr std::size_t kDateBytes = 10;

}  // namespace

std::string CountText(const RepeatedLine& line) {
  const std::string first = LocalText(line.first.time);
  std::string last = LocalText(line.last);
  if (last.size() > kDateBytes && first.substr(0, kDateBytes) == last.substr(0, kDateBytes)) {
    last.erase(0, kDateBytes + 1);
  }
  return util::Format(" (%ld times until %s)", line.times, last.c_str());
}

void Repeats::Take(Line line) {
  if (Continues(line)) return;
  m_recent.push_back(std::move(line));
  FindBlock();
  while (m_recent.size() > 2 * kLongestBlock - 1) PrintFront();
}

// Whether the line goes on with the block; ends the block when it does not.
bool Repeats::Continues(const Line& line) {
  if (m_block.empty()) return false;
  if (!m_block[m_again.size()].first.IsSame(line)) {
    EndBlock();
    return false;
  }
  m_again.push_back(line);
  if (m_again.size() < m_block.size()) return true;
  for (std::size_t i = 0; i < m_block.size(); ++i) {
    ++m_block[i].times;
    m_block[i].last = m_again[i].time;
  }
  m_again.clear();
  return true;
}

// Looks whether the latest lines repeat those before them.
void Repeats::FindBlock() {
  for (std::size_t size = 1; size <= kLongestBlock && 2 * size <= m_recent.size(); ++size) {
    const auto again = m_recent.end() - static_cast<std::ptrdiff_t>(size);
    const auto first = again - static_cast<std::ptrdiff_t>(size);
    if (!std::equal(first, again, again,
                    [](const Line& one, const Line& other) { return one.IsSame(other); })) {
      continue;
    }
    while (m_recent.size() > 2 * size) PrintFront();
    for (std::size_t i = 0; i < size; ++i) {
      m_block.push_back({std::move(m_recent[i]), 2, m_recent[size + i].time});
    }
    m_recent.clear();
    return;
  }
}

void Repeats::EndBlock() {
  for (const RepeatedLine& line : m_block) m_print(line);
  m_block.clear();
  for (Line& line : m_again) m_recent.push_back(std::move(line));
  m_again.clear();
}

void Repeats::PrintFront() {
  const std::time_t time = m_recent.front().time;
  m_print({std::move(m_recent.front()), 1, time});
  m_recent.pop_front();
}

void Repeats::Flush() {
  EndBlock();
  while (!m_recent.empty()) PrintFront();
}

}  // namespace status
