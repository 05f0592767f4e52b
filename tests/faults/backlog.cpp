// Many pending files: what they cost, how fast they are sent, and how long a new file waits.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "faults/gauges.h"
#include "system/support/ledger.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/text.h"

namespace {

constexpr std::time_t kMinute = 60;
constexpr std::time_t kHour = 3600;
constexpr std::time_t kDay = 86400;
constexpr std::time_t kAge = 31 * kDay;
constexpr std::time_t kCycle = 300;
constexpr int kMemoryMayGrowKilobytes = 1024;
constexpr std::time_t kWalk = 60;  // twenty files, three seconds apart

// What one run of the gateway has shown.
struct Shown {
  int peak = 0;                 // resident kilobytes
  int privateDirty = 0;         // the most at any full minute, kilobytes
  double filesAnHour = 0;       // until the last pending file was sent, new files included
  std::time_t longestWait = 0;  // of a new file, from its stamp to the cloud
  double averageWait = 0;
  double work = 0;  // processor milliseconds in the second in which a walk begins
  int delivered = 0;
  int aged = 0;
};

class Backlog : public test::SystemTest {
 protected:
  // Runs with `rows` pending files until they are sent, for two hours at least.
  Shown Run(int rows) {
    SystemTest::SetUp();
    test::WriteExamplePlant();
    const Segment segment(test::ExampleValues());
    AddPendingFiles(rows);
    m_times.clear();
    m_work.clear();
    cloud::Simulator cloud({.serialNumber = test::kSerialNumber,
                            .onAcceptedUpload = [&](std::size_t) { NoteAcceptance(); }});
    test::SystemFile(cloud.Port()).Write();
    test::ServiceProcess service(Start());
    m_service = &service;

    Shown shown;
    RunFor(2 * kHour, shown);
    for (int hour = 0; hour < rows / 500 + 1 && test::CountResults(0) > 1; ++hour) {
      RunFor(kHour, shown);
    }
    RunFor(4 * kMinute, shown);
    shown.peak = test::ReadGauges(service.Pid()).peakKilobytes;
    CheckDelivery(cloud.AcceptedUploads(), shown);
    return shown;
  }

 private:
  static std::time_t Start() { return At(12, 0); }

  // Newest first; the first is five minutes old.
  void AddPendingFiles(int rows) {
    std::vector<test::LedgerRow> ledger;
    m_names.clear();
    for (int row = 1; row <= rows; ++row) {
      ledger.push_back({test::PackDataFile(Start() - row * kCycle)});
      m_names.push_back(test::BaseOf(ledger.back().name));
    }
    test::WriteLedger(ledger);
    m_now = Start();
  }

  void NoteAcceptance() {
    const std::lock_guard lock(m_mutex);
    m_times.push_back(m_service->Now());
  }

  // Measures at each full minute, when the upload worker may begin its walk.
  void RunFor(std::time_t seconds, Shown& shown) {
    for (const std::time_t end = m_now + seconds; m_now < end;) {
      m_now += kMinute;
      m_service->RunUntil(m_now - 1);
      const double before = test::ReadCpuMilliseconds(m_service->Pid());
      m_service->RunUntil(m_now);
      m_work[m_now] = test::ReadCpuMilliseconds(m_service->Pid()) - before;
      const auto gauges = test::ReadGauges(m_service->Pid());
      shown.privateDirty = std::max(shown.privateDirty, gauges.privateDirtyKilobytes);
    }
  }

  void CheckDelivery(const std::vector<cloud::Exchange>& uploads, Shown& shown) const {
    const std::set<std::string> old(m_names.begin(), m_names.end());
    std::set<std::string> arrived;
    std::vector<std::string> inOrder;
    double works = 0;
    for (std::size_t i = 0; i < uploads.size(); ++i) {
      const std::string& name = uploads[i].fileName;
      EXPECT_TRUE(arrived.insert(name).second) << name << " arrived twice";
      if (old.contains(name)) {
        inOrder.push_back(name);
        shown.filesAnHour =
            static_cast<double>((i + 1) * kHour) / static_cast<double>(m_times[i] - Start());
        continue;
      }
      const std::time_t wait = m_times[i] - StampOf(name);
      shown.longestWait = std::max(shown.longestWait, wait);
      shown.averageWait += static_cast<double>(wait);
      const auto work = m_work.find(m_times[i]);
      if (work == m_work.end() || m_times[i] % kCycle == 0) continue;
      shown.work += work->second;
      ++works;
    }
    shown.averageWait /= static_cast<double>(uploads.size() - inOrder.size());
    shown.work /= std::max(works, 1.0);
    shown.delivered = static_cast<int>(inOrder.size());
    EXPECT_TRUE(std::ranges::is_sorted(inOrder, std::greater<>())) << "not newest first";
    for (const auto& name : m_names) {
      if (arrived.contains(name)) continue;
      EXPECT_LE(StampOf(name), m_now - kAge) << name << " has not arrived";
      ++shown.aged;
    }
  }

  // Unix time of "S20240307120500.tar.gz".
  static std::time_t StampOf(const std::string& name) {
    std::tm time{};
    strptime(name.c_str(), "S%Y%m%d%H%M%S", &time);
    return std::mktime(&time);
  }

  test::ServiceProcess* m_service = nullptr;
  std::time_t m_now = 0;
  std::vector<std::string> m_names;  // of the pending files
  std::mutex m_mutex;
  std::vector<std::time_t> m_times;  // of accepted uploads; guarded by m_mutex
  std::map<std::time_t, double> m_work;
};

TEST_F(Backlog, CostsNoMemoryAndIsSentNewestFirst) {
  const char* asked = std::getenv("BRENNIK_BACKLOG");
  const int rows = asked == nullptr ? 600 : util::Decimal(asked);

  const Shown without = Run(0);
  const Shown with = Run(rows);

  EXPECT_LE(with.peak - without.peak, kMemoryMayGrowKilobytes);
  EXPECT_LE(with.privateDirty - without.privateDirty, kMemoryMayGrowKilobytes);
  // A file that is made during a walk waits for the next walk.
  EXPECT_LE(with.longestWait, without.longestWait + kWalk);
  EXPECT_EQ(with.delivered + with.aged, rows);
  std::printf(
      "backlog: %d pending files: %d delivered once and newest first, %d aged by rule, "
      "%.0f an hour; peak memory %d kB (%d kB without), private dirty %d kB (%d kB); a new file "
      "waits %.0f s on "
      "average, %ld s at most (%.0f s, %ld s); a walk's first second works %.1f ms (%.1f ms)\n",
      rows, with.delivered, with.aged, with.filesAnHour, with.peak, without.peak, with.privateDirty,
      without.privateDirty, with.averageWait, static_cast<long>(with.longestWait),
      without.averageWait, static_cast<long>(without.longestWait), with.work, without.work);
}

}  // namespace
