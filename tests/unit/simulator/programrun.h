// One run of a simulator program.
#pragma once

#include <sys/wait.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace test {

// Returns once `happened` is true; false when that takes longer than ten seconds.
template <typename Condition>
bool Await(Condition happened) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!happened()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// Starts a program with the arguments as a shell takes them; kills it with the object.
class ProgramRun {
 public:
  ProgramRun(const std::string& program, const std::string& arguments)
      : m_output(
            popen(("echo $$; exec " + program + " " + arguments + " 2>/dev/null").c_str(), "r")),
        m_pid(std::atoi(ReadLine().c_str())) {}
  ~ProgramRun() {
    if (m_output != nullptr) End(SIGKILL);
  }
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;

  // The next line that it prints, waited for; empty when it has ended.
  std::string ReadLine() {
    std::array<char, 4096> line{};
    return fgets(line.data(), line.size(), m_output) != nullptr ? line.data() : "";
  }

  // Waits for its end; the exit status, or 128 + the signal that ended it.
  int Wait() {
    while (!ReadLine().empty()) {
    }
    const int status = pclose(m_output);
    m_output = nullptr;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  int End(int signal) {
    kill(m_pid, signal);
    return Wait();
  }

 private:
  FILE* m_output;
  pid_t m_pid;
};

}  // namespace test
