// wait --accepted: until a file made after now is accepted.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <optional>
#include <vector>

#include "judge/verdict.h"
#include "main/commands.h"
#include "main/words.h"
#include "print/terminal.h"

namespace status {
namespace {

constexpr unsigned kPollSeconds = 5;
constexpr int kTimedOut = 2;

// Seconds of a clock that nobody sets: the gateway's time may be set while somebody waits.
long SteadySeconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<long>(now.tv_sec);
}

// A name as a number; 45,000 names take 360 KB so.
std::uint64_t KeyOf(const std::string& name) {
  std::uint64_t key = 14695981039346656037U;  // FNV-1a
  for (const char c : name) key = (key ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return key;
}

// The files that were made before the call.
class Before {
 public:
  explicit Before(std::time_t called) : m_called(called) {}

  // Remembers a row of the first look. One with a stamp that is still to come and that is not
  // accepted yet may be waited for: stamps of live values are rounded to the nearest boundary.
  void Add(const LedgerRow& row) {
    if (row.accepted || !row.stamp || *row.stamp < m_called) m_keys.push_back(KeyOf(row.name));
  }
  void Sort() { std::sort(m_keys.begin(), m_keys.end()); }
  bool Holds(const LedgerRow& row) const {
    return std::binary_search(m_keys.begin(), m_keys.end(), KeyOf(row.name));
  }

 private:
  std::time_t m_called;
  std::vector<std::uint64_t> m_keys;
};

// A ledger that is not there yet is as good as an empty one: the service makes it.
bool IsComplete(const Ledger& ledger) {
  return ledger.state == LedgerState::kGood || ledger.state == LedgerState::kMissing;
}

// Looks again and again until the time is over, first at once.
class Watch {
 public:
  explicit Watch(const Options& options)
      : m_place(options.root), m_timeout(options.timeout), m_began(SteadySeconds()) {}

  long Seconds() const { return SteadySeconds() - m_began; }

  // Remembers what is there. False when the ledger could not be read in time.
  bool Remember(Before& before) {
    do {
      Before now = before;
      if (IsComplete(Read([&now](const LedgerRow& row) { now.Add(row); }))) {
        before = std::move(now);
        before.Sort();
        return true;
      }
    } while (HasTime());
    return false;
  }

  // The first new file that is accepted.
  std::optional<LedgerRow> Await(const Before& before) {
    std::optional<LedgerRow> found;
    const auto look = [&](const LedgerRow& row) {
      if (!found && row.accepted && !before.Holds(row)) found = row;
    };
    do {
      Read(look);
    } while (!found && HasTime());
    return found;
  }

  const std::string& Trouble() const { return m_trouble; }

 private:
  Ledger Read(const EachRow& each) {
    Ledger ledger = ReadLedger(m_place, ServiceRuns(m_place), each);
    m_trouble = WhyNotRead(ledger.state, ledger.detail);
    return ledger;
  }

  // Pauses until the next look. False when the time is over.
  bool HasTime() const {
    if (m_timeout == 0) {
      sleep(kPollSeconds);
      return true;
    }
    const long left = m_timeout - Seconds();
    if (left <= 0) return false;
    sleep(static_cast<unsigned>(std::min<long>(left, kPollSeconds)));
    return true;
  }

  Place m_place;
  long m_timeout;  // 0: for ever
  long m_began;
  std::string m_trouble;  // of the last look; empty: none
};

int SayWhyNot(const Options& options, const Watch& watch) {
  std::printf("No file was made and accepted within %s\n", Duration(watch.Seconds()).c_str());
  if (!watch.Trouble().empty()) std::printf("%s\n", Visible(watch.Trouble()).c_str());
  const Verdict verdict = Judge(CollectFacts(Place(options.root)), ThresholdsOf(options));
  std::printf("%s\n", Visible(verdict.text).c_str());
  if (!verdict.findings.empty()) {
    std::printf("%s: %s\n", verdict.findings.front().code.c_str(),
                Visible(verdict.findings.front().remedy).c_str());
  }
  return kTimedOut;
}

}  // namespace

int WaitAccepted(const Options& options) {
  Watch watch(options);
  Before before(std::time(nullptr));
  if (!watch.Remember(before)) return SayWhyNot(options, watch);
  const std::optional<LedgerRow> row = watch.Await(before);
  if (!row) return SayWhyNot(options, watch);
  std::printf("%s is accepted, after %s\n", Visible(row->name).c_str(),
              Duration(watch.Seconds()).c_str());
  return 0;
}

}  // namespace status
