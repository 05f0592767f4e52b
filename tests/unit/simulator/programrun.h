// One run of a simulator program, with its output in files.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/files.h"

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

// Starts the program; kills it with the object when it still runs.
class ProgramRun {
 public:
  ProgramRun(const char* program, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), program);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::filesystem::remove(kOutput);  // an earlier run's is not waited for

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, kOutput, kCreate, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, kErrors, kCreate, 0600);
    if (posix_spawn(&m_pid, argv[0], &files, nullptr, argv.data(), environ) != 0) m_pid = -1;
    posix_spawn_file_actions_destroy(&files);
  }
  ~ProgramRun() {
    if (m_pid > 0) End(SIGKILL);
  }
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;

  // Waits until it has printed a whole line: then it is ready.
  static bool IsReady() {
    return Await([] { return Output().ends_with('\n'); });
  }
  static std::string Output() { return ReadFile(kOutput); }
  static std::string Errors() { return ReadFile(kErrors); }

  // Waits for its end; the exit status, or 128 + the signal that ended it.
  int Wait() {
    int status = -1;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  int End(int signal) {
    kill(m_pid, signal);
    return Wait();
  }

 private:
  static constexpr char kOutput[] = "/tmp/program-output";
  static constexpr char kErrors[] = "/tmp/program-errors";

  pid_t m_pid = -1;
};

}  // namespace test
