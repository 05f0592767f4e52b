#include "console/bench/clock.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <stdexcept>

#include "console/bench/child.h"
#include "util/text.h"

namespace console {
namespace {

constexpr double kNanosecond = 1e-9;
constexpr std::chrono::seconds kHolderStarts{10};
constexpr std::chrono::seconds kHolderEnds{2};

// Its clock stands still, so `date` prints the common start. It ends when its input ends, which the
// kernel sees to.
constexpr char kHolder[] =
    "echo \"$FAKETIME_SHARED\"; echo \"$LD_PRELOAD\"; date +%s.%N; exec cat >/dev/null";

double RealNow() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * kNanosecond;
}

void RequireSpeed(double speed) {
  if (speed >= Clock::kLeastSpeed && speed <= Clock::kMostSpeed) return;
  throw std::invalid_argument(util::Format("The speed is a number from %.0f to %.0f.",
                                           Clock::kLeastSpeed, Clock::kMostSpeed));
}

std::string RequireLine(Child& child) {
  const auto line = child.ReadLine(kHolderStarts);
  if (line && !line->empty()) return *line;
  throw std::runtime_error("faketime does not start; Debian's package is called faketime");
}

}  // namespace

// The library for programs with threads (-m): without its lock a thread may see a half-read file.
Clock::Clock(std::string file, std::time_t start, double speed)
    : m_file(std::move(file)),
      m_holder(std::make_unique<Child>(
          std::vector<std::string>{"faketime", "-m", "-f", "+0 x0", "sh", "-c", kHolder},
          std::vector<std::string>{})) {
  RequireSpeed(speed);
  const std::string shared = RequireLine(*m_holder);
  const std::string library = RequireLine(*m_holder);
  m_start = std::strtod(RequireLine(*m_holder).c_str(), nullptr);
  m_begin = static_cast<double>(start);
  m_setting = {.offset = m_begin - m_start - SinceStart() * speed, .speed = speed};
  Write(m_setting);
  m_environment = {"FAKETIME_SHARED=" + shared, "LD_PRELOAD=" + library,
                   "FAKETIME_TIMESTAMP_FILE=" + m_file, "FAKETIME_NO_CACHE=1",
                   "FAKETIME_DONT_FAKE_MONOTONIC=1"};
}

Clock::Clock() : m_start(RealNow()), m_begin(m_start) {}

Clock::~Clock() {
  if (m_file.empty()) return;
  std::remove(m_file.c_str());
  m_holder->CloseInput();  // so it removes what it holds
  m_holder->Await(kHolderEnds);
}

std::time_t Clock::Now() const {
  return static_cast<std::time_t>(std::floor(Exact()));
}

std::time_t Clock::Real() const {
  const std::lock_guard lock(m_mutex);
  const double own = m_file.empty() ? m_setting.stepped : 0;
  return static_cast<std::time_t>(std::floor(RealNow() - own));
}

double Clock::Exact() const {
  const std::lock_guard lock(m_mutex);
  return Shown(m_setting);
}

double Clock::Elapsed() const {
  const std::lock_guard lock(m_mutex);
  return Shown(m_setting) - m_begin - m_setting.stepped;
}

double Clock::Speed() const {
  const std::lock_guard lock(m_mutex);
  return m_setting.speed;
}

void Clock::SetSpeed(double speed) {
  RequireSpeed(speed);
  if (m_file.empty() && speed != kLeastSpeed) {
    throw std::invalid_argument("The gateway runs in real time here.");
  }
  const std::lock_guard lock(m_mutex);
  Setting setting = m_setting;
  setting.offset += SinceStart() * (m_setting.speed - speed);
  setting.speed = speed;
  Write(setting);
  m_setting = setting;
}

void Clock::Step(long seconds) {
  const std::lock_guard lock(m_mutex);
  if (m_file.empty()) return StepOwn(seconds);
  Setting setting = m_setting;
  setting.offset += static_cast<double>(seconds);
  setting.stepped += static_cast<double>(seconds);
  Write(setting);
  m_setting = setting;
}

// The time is read from the clock itself, so there is no offset.
void Clock::StepOwn(long seconds) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  now.tv_sec += seconds;
  if (clock_settime(CLOCK_REALTIME, &now) != 0) {
    throw std::runtime_error(std::string("The clock cannot be set: ") + std::strerror(errno));
  }
  m_setting.stepped += static_cast<double>(seconds);
}

double Clock::SinceStart() const {
  return RealNow() - m_start;
}

double Clock::Shown(const Setting& setting) const {
  return m_start + setting.offset + SinceStart() * setting.speed;
}

// A program reads the file as it was or as it becomes, never a part. A file that could not be
// written whole does not replace the old one.
void Clock::Write(const Setting& setting) const {
  if (m_file.empty()) return;
  const std::string fresh = m_file + ".new";
  std::ofstream file(fresh);
  file << util::Format("%+.6f x%.6f\n", setting.offset, setting.speed);
  file.close();
  if (file && std::rename(fresh.c_str(), m_file.c_str()) == 0) return;
  std::remove(fresh.c_str());
  throw std::runtime_error("The clock's file " + m_file + " cannot be written.");
}

}  // namespace console
