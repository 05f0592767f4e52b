// The terminal of the bench: labelled lines, and a progress line below them.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "util/mutex.h"

namespace console {

// Prints lines like "[cloud      ] text". Any thread may call.
class Terminal {
 public:
  // Called with every line, after it was printed, on the caller's thread.
  using Also = std::function<void(const std::string& label, const std::string& text)>;

  // What becomes of the progress. A terminal can take a line back. Labelled lines are for a program
  // that shows them in this way.
  enum class Style { kNoProgress, kTakenBack, kLabelled };

  Terminal(std::ostream& output, Style style, Also also = {});
  ~Terminal();  // takes the progress line away
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // Control characters are printed as '?'.
  void Line(const std::string& label, const std::string& text);
  // Replaces the progress line, which stands below all others. It is cut to the width of a terminal
  // line.
  void Progress(const std::string& text);

 private:
  const Style m_style;
  const Also m_also;
  util::Mutex m_mutex{};  // guards all below
  std::ostream& m_output;
  std::string m_progress{};
};

}  // namespace console
