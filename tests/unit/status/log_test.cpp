#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "main/commands.h"
#include "main/moment.h"
#include "print/repeats.h"
#include "support/gateway.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

constexpr char kToday[] = "/tmp/CloudLog/0307_log.txt";

std::string Record(const std::string& time, const std::string& level, const std::string& message) {
  return "2024-03-07 " + time + " logType:" + level + "\n " + message + "\n";
}

// log

struct ShownLog {
  int exitStatus;
  std::string output;
  std::string errors;
};

class LogCommand : public test::GatewayTest {
 protected:
  static ShownLog Show(const std::string& since = "", const std::string& level = "") {
    status::Options options;
    options.since = since;
    options.level = level;
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    const int exitStatus = status::ShowLog(options);
    std::string output = ::testing::internal::GetCapturedStdout();
    return {exitStatus, std::move(output), ::testing::internal::GetCapturedStderr()};
  }
};

TEST_F(LogCommand, PrintsALineARecordWithControlCharactersVisible) {
  test::WriteFile(kToday, Record("10:00:00", "INFO", "one\n two\x1b[2J") +
                              Record("10:00:01", "ERROR", "three"));

  const ShownLog shown = Show();

  EXPECT_EQ(shown.exitStatus, 0);
  EXPECT_EQ(shown.output,
            "2024-03-07 10:00:00 INFO  one\\n two\\x1b[2J\n"
            "2024-03-07 10:00:01 ERROR three\n");
}

TEST_F(LogCommand, PrintsALowestLevelAndWhatIsWorse) {
  std::string content;
  for (const char* level : {"SEND", "RECV", "INFO", "WARN", "ERROR", "FATAL"}) {
    content += Record("10:00:00", level, "x");
  }
  test::WriteFile(kToday, content);

  EXPECT_EQ(Show("", "ERROR").output, "2024-03-07 10:00:00 ERROR x\n2024-03-07 10:00:00 FATAL x\n");
}

TEST_F(LogCommand, PrintsWhatIsNotOlderThanAMoment) {
  test::WriteFile(kToday, Record("09:59:59", "INFO", "a") + Record("10:00:00", "INFO", "b"));

  EXPECT_EQ(Show("2024-03-07T02:00:00Z").output, "2024-03-07 10:00:00 INFO  b\n");
}

TEST_F(LogCommand, RefusesAMomentThatIsNone) {
  test::WriteFile(kToday, Record("09:59:59", "INFO", "a"));

  const ShownLog shown = Show("yesterday");

  EXPECT_EQ(shown.exitStatus, status::kBadArguments);
  EXPECT_EQ(shown.output, "");
  EXPECT_THAT(shown.errors, HasSubstr("--since takes RFC 3339"));
}

TEST_F(LogCommand, NamesTheLogThatCannotBeRead) {
  test::WriteFile(kToday, Record("09:59:59", "INFO", "a"));

  const ShownLog shown = Show();

  EXPECT_EQ(shown.exitStatus, 0);
  EXPECT_EQ(shown.errors, "brennik-status: there is no /tmp/CloudLog/Cloudlog.db\n");
}

TEST_F(LogCommand, FailsWhenNoLogCanBeRead) {
  const ShownLog shown = Show();

  EXPECT_EQ(shown.exitStatus, 1);
  EXPECT_EQ(shown.errors,
            "brennik-status: there is no /tmp/CloudLog: the service has not run since the gateway "
            "started\n");
}

// The command in a process of its own, which follows the log.
class Follower {
 public:
  Follower() {
    if (pipe(m_pipe) != 0) std::abort();
    m_process = fork();
    if (m_process != 0) {
      close(m_pipe[1]);
      return;
    }
    dup2(m_pipe[1], STDOUT_FILENO);
    close(m_pipe[0]);
    close(m_pipe[1]);
    status::Options options;
    options.follow = true;
    _exit(status::ShowLog(options));
  }
  ~Follower() {
    if (m_process > 0) {
      kill(m_process, SIGKILL);
      Wait();
    }
    StopReading();
  }
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;

  std::string ReadLine() const {
    std::string line;
    for (char character = 0; read(m_pipe[0], &character, 1) == 1 && character != '\n';) {
      line += character;
    }
    return line;
  }
  void StopReading() {
    if (m_pipe[0] >= 0) close(std::exchange(m_pipe[0], -1));
  }
  void Signal(int signal) const { kill(m_process, signal); }
  // The exit status; -1 when a signal ended it.
  int Wait() {
    int status = 0;
    waitpid(std::exchange(m_process, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  int m_pipe[2] = {-1, -1};
  pid_t m_process;
};

TEST_F(LogCommand, FollowsTheLogUntilItIsTold) {
  test::WriteFile(kToday, Record("10:00:00", "INFO", "a"));
  Follower follower;
  EXPECT_EQ(follower.ReadLine(), "2024-03-07 10:00:00 INFO  a");

  test::WriteFile(kToday, Record("10:00:00", "INFO", "a") + Record("10:00:01", "WARN", "b"));
  EXPECT_EQ(follower.ReadLine(), "2024-03-07 10:00:01 WARN  b");

  follower.Signal(SIGTERM);
  EXPECT_EQ(follower.Wait(), 0);
}

TEST_F(LogCommand, EndsWhenNobodyReadsItsOutput) {
  test::WriteFile(kToday, Record("10:00:00", "INFO", "a"));
  Follower follower;
  follower.ReadLine();

  follower.StopReading();

  EXPECT_EQ(follower.Wait(), 0);
}

// Repeats

// What is printed of records with these texts, a second apart: "text" or "text xN until S".
std::vector<std::string> Collapsed(const std::vector<std::string>& texts) {
  std::vector<std::string> lines;
  status::Repeats repeats([&lines](const status::RepeatedLine& line) {
    lines.push_back(line.first.text);
    if (line.times == 1) return;
    lines.back() += " x" + std::to_string(line.times) + " until " + std::to_string(line.last);
  });
  std::time_t second = 0;
  for (const std::string& text : texts) repeats.Take({++second, "INFO", text});
  repeats.Flush();
  return lines;
}

struct RepeatRow {
  const char* name;
  std::vector<std::string> texts;
  std::vector<std::string> lines;
};
void PrintTo(const RepeatRow& row, std::ostream* out) {
  *out << row.name;
}
class RepeatedRecords : public ::testing::TestWithParam<RepeatRow> {};

TEST_P(RepeatedRecords, AreCollapsed) {
  EXPECT_EQ(Collapsed(GetParam().texts), GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(
    All, RepeatedRecords,
    ::testing::Values(
        RepeatRow{"none", {"a", "b", "c", "a", "b", "d"}, {"a", "b", "c", "a", "b", "d"}},
        RepeatRow{"one", {"a", "a", "a", "b"}, {"a x3 until 3", "b"}},
        RepeatRow{"other numbers", {"a 1", "a 2"}, {"a 1", "a 2"}},
        RepeatRow{"a pair, and a half",
                  {"z", "a", "b", "a", "b", "a", "b", "a"},
                  {"z", "a x3 until 6", "b x3 until 7", "a"}},
        RepeatRow{"four",
                  {"a", "b", "c", "d", "a", "b", "c", "d", "e"},
                  {"a x2 until 5", "b x2 until 6", "c x2 until 7", "d x2 until 8", "e"}},
        RepeatRow{"five, which are too many",
                  {"a", "b", "c", "d", "e", "a", "b", "c", "d", "e"},
                  {"a", "b", "c", "d", "e", "a", "b", "c", "d", "e"}},
        RepeatRow{"one after the other", {"a", "a", "b", "b"}, {"a x2 until 2", "b x2 until 4"}}));

TEST(Repeats, TellsLevelsApart) {
  int lines = 0;
  status::Repeats repeats([&lines](const status::RepeatedLine&) { ++lines; });

  repeats.Take({1, "INFO", "a"});
  repeats.Take({2, "WARN", "a"});
  repeats.Flush();

  EXPECT_EQ(lines, 2);
}

class CountOfRepeats : public test::GatewayTest {};

TEST_F(CountOfRepeats, HasTheDateOnlyWhenItIsAnotherDays) {
  const std::time_t first = test::LocalTimeOf(2024, 3, 7, 4);

  EXPECT_EQ(status::CountText({{first, "INFO", "a"}, 12, first + 633}),
            " (12 times until 04:10:33)");
  EXPECT_EQ(status::CountText({{first, "INFO", "a"}, 2, first + 86400}),
            " (2 times until 2024-03-08 04:00:00)");
}

// Moments

struct MomentRow {
  const char* text;
  std::optional<std::time_t> moment;
};
void PrintTo(const MomentRow& row, std::ostream* out) {
  *out << row.text;
}
class Moments : public test::GatewayTest, public ::testing::WithParamInterface<MomentRow> {};

TEST_P(Moments, AreReadAs) {
  EXPECT_EQ(status::MomentOf(GetParam().text), GetParam().moment);
}

constexpr std::time_t kFourInUtc = 1709784000;  // 2024-03-07T04:00:00Z
constexpr std::time_t kLocalFour = kFourInUtc - 8 * 3600;

INSTANTIATE_TEST_SUITE_P(All, Moments,
                         ::testing::Values(MomentRow{"2024-03-07T04:00:00Z", kFourInUtc},
                                           MomentRow{"2024-03-07t04:00:00z", kFourInUtc},
                                           MomentRow{"2024-03-07 04:00:00Z", kFourInUtc},
                                           MomentRow{"2024-03-07T04:00:00.123Z", kFourInUtc},
                                           MomentRow{"2024-03-07T05:30:00+01:30", kFourInUtc},
                                           MomentRow{"2024-03-06T23:00:00-05:00", kFourInUtc},
                                           MomentRow{"2024-03-07 04:00", kLocalFour},
                                           MomentRow{"2024-03-07 04:00:07", kLocalFour + 7},
                                           MomentRow{"2024-03-07T04:00:00", std::nullopt},
                                           MomentRow{"2024-03-07T04:00Z", std::nullopt},
                                           MomentRow{"2024-03-07T04:00:00.Z", std::nullopt},
                                           MomentRow{"2024-03-07T04:00:00+24:00", std::nullopt},
                                           MomentRow{"2024-03-07T04:00:00Zx", std::nullopt},
                                           MomentRow{"2024-02-30 04:00", std::nullopt},
                                           MomentRow{"2024-03-07 24:00", std::nullopt},
                                           MomentRow{"2024-03-07 04:00:61", std::nullopt},
                                           MomentRow{"2024-03-07", std::nullopt},
                                           MomentRow{"04:00", std::nullopt},
                                           MomentRow{"", std::nullopt}));

}  // namespace
