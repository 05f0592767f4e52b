// Records that come again and again, as one line each.
#pragma once

#include <ctime>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace status {

// One record of a stream.
struct Line {
  std::time_t time = 0;
  std::string level;
  std::string text;

  // Whether the other one repeats it.
  bool IsSame(const Line& other) const { return level == other.level && text == other.text; }
};

struct RepeatedLine {
  Line first;
  long times = 1;
  std::time_t last = 0;  // when it came last
};

// " (12 times until 04:10:33)", with the date when it is another day's.
std::string CountText(const RepeatedLine& line);

// Collapses repeats of one record, and of up to four records that come in the same order: a failing
// round logs several. Only what is equal to the last character is a repeat. It holds back at most
// eight records. Each line comes out in the order of its first time.
class Repeats {
 public:
  explicit Repeats(std::function<void(const RepeatedLine&)> print) : m_print(std::move(print)) {}

  void Take(Line line);
  // Prints what was held back.
  void Flush();

 private:
  bool Continues(const Line& line);
  void FindBlock();
  void EndBlock();
  void PrintFront();

  std::function<void(const RepeatedLine&)> m_print;
  std::deque<Line> m_recent;          // not printed, and no repeats so far
  std::vector<RepeatedLine> m_block;  // what is being repeated; empty: nothing
  std::vector<Line> m_again;          // the beginning of its next repeat
};

}  // namespace status
