#include "console/bench/terminal.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "util/text.h"

namespace console {
namespace {

constexpr std::size_t kTerminalColumns = 79;
constexpr char kTakeBack[] = "\r\x1b[K";

std::string Labelled(const std::string& label, const std::string& text) {
  return util::Format("[%-11s] ", label.c_str()) + text + "\n";
}

}  // namespace

Terminal::Terminal(std::ostream& output, Style style, Also also)
    : m_style(style), m_also(std::move(also)), m_output(output) {}

Terminal::~Terminal() {
  if (m_style == Style::kTakenBack && !m_progress.empty()) m_output << kTakeBack << std::flush;
}

void Terminal::Line(const std::string& label, const std::string& text) {
  std::string shown = text;
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
  std::ranges::replace_if(shown, isControl, '?');
  {
    const std::lock_guard lock(m_mutex);
    const bool hasProgress = m_style == Style::kTakenBack && !m_progress.empty();
    if (hasProgress) m_output << kTakeBack;
    m_output << Labelled(label, shown) << (hasProgress ? m_progress : "") << std::flush;
  }
  if (m_also) m_also(label, shown);
}

void Terminal::Progress(const std::string& text) {
  if (m_style == Style::kNoProgress) return;
  const std::string shown = text.substr(0, kTerminalColumns);
  const std::lock_guard lock(m_mutex);
  if (shown == m_progress) return;
  m_output << (m_style == Style::kTakenBack ? kTakeBack + shown : Labelled("progress", shown))
           << std::flush;
  m_progress = shown;
}

}  // namespace console
