// gaps: the month as text, an hour a cell, and why files are missing.
#include <cstdio>
#include <ctime>

#include "judge/gaps.h"

#include <algorithm>
#include <cstdlib>
#include <deque>

#include "collect/configuration.h"
#include "main/commands.h"
#include "main/words.h"
#include "print/terminal.h"
#include "util/text.h"
#include "util/timetext.h"

namespace status {
namespace {

constexpr std::size_t kShownGaps = 50;
constexpr std::size_t kShownJudged = 10;
constexpr std::time_t kDaySeconds = 86400;

struct Cell {
  Hour hour;
  const char* sign;
  const char* plain;  // for a terminal without UTF-8
  const char* colour;
  const char* meaning;  // null: not in the legend
};
constexpr Cell kCells[] = {
    {Hour::kComplete, "█", "#", "green", "complete"},
    {Hour::kPartly, "▄", "+", "yellow", "partly"},
    {Hour::kPending, "░", "o", "yellow", "pending"},
    {Hour::kNothing, "x", "x", "red", "nothing"},
    {Hour::kFuture, ".", ".", "dim", "to come"},
    {Hour::kBefore, "-", "-", "dim", "before the oldest file"},
    {Hour::kNone, " ", " ", "", nullptr},
};

bool IsUtf8() {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    const std::string_view locale = value;
    return locale.find("UTF-8") != std::string_view::npos ||
           locale.find("utf8") != std::string_view::npos;
  }
  return false;
}

struct Month {
  PackedFiles files;
  long interval = 0;  // seconds
  const char* intervalFrom = "";
  std::time_t since = 0;
  std::time_t now = 0;
};

void FindInterval(const Place& place, Month& month) {
  const Configuration configuration = LoadConfiguration(place);
  month.interval = configuration.starts ? configuration.cloud.RealDataInv : 0;
  month.intervalFrom = "RealDataInv";
  if (month.interval > 0) return;
  month.interval = month.files.MostFrequentDistance();
  month.intervalFrom = "the most frequent distance between files";
}

const Cell& CellOf(Hour hour) {
  return *std::find_if(std::begin(kCells), std::end(kCells),
                       [hour](const Cell& cell) { return cell.hour == hour; });
}

void PrintDay(const Month& month, std::time_t day, const Terminal& terminal, bool isUtf8) {
  std::string line = LocalText(day).substr(0, 10) + "  ";
  for (const Hour hour : HoursOfDay(month.files.All(), month.interval, day, month.now)) {
    const Cell& cell = CellOf(hour);
    line += terminal.Colour(cell.colour, isUtf8 ? cell.sign : cell.plain);
  }
  std::printf("%s\n", line.c_str());
}

// Noon of the day `back` days ago.
std::time_t NoonOf(std::time_t now, long back) {
  std::tm day = util::LocalTime(now).value_or(std::tm{});
  day.tm_mday -= static_cast<int>(back);
  day.tm_hour = 12;
  return util::UnixTime(day);
}

void PrintMonth(const Month& month, long days) {
  const Terminal terminal = Terminal::OfStandardOutput();
  const bool isUtf8 = IsUtf8();
  std::printf("%-12s0     6     12    18    \n", "");
  for (long back = days - 1; back >= 0; --back) {
    PrintDay(month, NoonOf(month.now, back), terminal, isUtf8);
  }
  std::string legend;
  for (const Cell& cell : kCells) {
    if (cell.meaning == nullptr) continue;
    legend += (legend.empty() ? "" : "   ") + std::string(isUtf8 ? cell.sign : cell.plain) + " " +
              cell.meaning;
  }
  std::printf("\n%s\n", legend.c_str());
  std::printf("Live values, a file every %ld s (%s).\n", month.interval, month.intervalFrom);
}

void PrintGap(const Gap& gap) {
  std::printf("%s to %s  %s  %s\n", LocalText(gap.from).c_str(),
              gap.isOpen ? "now                " : LocalText(gap.to).c_str(),
              Count(static_cast<std::size_t>(gap.missing), "file").c_str(),
              Visible(CauseText(gap)).c_str());
}

void PrintGaps(const std::vector<Gap>& gaps) {
  if (gaps.empty()) {
    std::printf("\nNo file is missing.\n");
    return;
  }
  std::printf("\nGaps, from the last file before to the first file after, and the likely cause:\n");
  const std::size_t first = gaps.size() > kShownGaps ? gaps.size() - kShownGaps : 0;
  if (first > 0) std::printf("%s before these are left out\n", Count(first, "gap").c_str());
  for (std::size_t i = first; i < gaps.size(); ++i) PrintGap(gaps[i]);
}

struct Judged {
  std::size_t count = 0;
  std::deque<std::string> last;  // the last lines
};

void Note(Judged& judged, const LogRecord& record) {
  const std::string file = JudgedSent(record);
  if (file.empty()) return;
  ++judged.count;
  judged.last.push_back(LocalText(record.time) + "  " + Visible(file));
  if (judged.last.size() > kShownJudged) judged.last.pop_front();
}

void PrintJudged(const Judged& judged) {
  if (judged.count == 0) return;
  std::printf("\n%s counted as accepted without being sent (missing, empty or too large):\n",
              Count(judged.count, "file").c_str());
  if (judged.count > judged.last.size()) {
    std::printf("the last %zu of them are\n", judged.last.size());
  }
  for (const std::string& line : judged.last) std::printf("%s\n", line.c_str());
}

void PrintFuture(const Month& month) {
  const std::vector<Packed>& files = month.files.All();
  const auto first =
      std::upper_bound(files.begin(), files.end(), month.now + month.interval,
                       [](std::time_t time, const Packed& file) { return time < file.stamp; });
  if (first == files.end()) return;
  std::printf("\n%s from the future, up to %s: the clock was ahead and was set back.\n",
              Count(static_cast<std::size_t>(files.end() - first), "file").c_str(),
              LocalText(files.back().stamp).c_str());
}

}  // namespace

int ShowGaps(const Options& options) {
  const Place place(options.root);
  Month month;
  month.now = std::time(nullptr);
  const Ledger ledger = ReadLedger(place, ServiceRuns(place),
                                   [&month](const LedgerRow& row) { month.files.Add(row); });
  if (ledger.state != LedgerState::kGood) {
    std::printf("%s\n", Visible(WhyNotRead(ledger.state, ledger.detail)).c_str());
    return 1;
  }
  month.files.Sort();
  FindInterval(place, month);
  if (month.interval <= 0) {
    std::printf("No interval is known: the ledger has no live values and the configuration none\n");
    return 0;
  }
  month.since = NoonOf(month.now, options.days - 1) - kDaySeconds / 2;
  PrintMonth(month, options.days);
  std::vector<Gap> gaps = FindGaps(month.files.All(), month.interval, month.since, month.now);
  CauseFinder causes(gaps, month.interval);
  Judged judged;
  ReadLogs(place, {}, [&](const LogRecord& record) {
    causes.Take(record);
    Note(judged, record);
    return true;
  });
  causes.Finish();
  PrintGaps(gaps);
  PrintFuture(month);
  PrintJudged(judged);
  return 0;
}

}  // namespace status
