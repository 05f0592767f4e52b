// The packer's tools: a command's first line, a file's size, a point's value.
#include "packfile/packfile.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cerrno>
#include <map>
#include <string>
#include <type_traits>

#include "packtest.h"
#include "support/faults.h"
#include "support/files.h"

using ::testing::SizeIs;

namespace {

static_assert(!std::is_copy_constructible_v<CPackFile>);

constexpr int kLimit = 8;
using namespace std::string_literals;

// The outcome of one command, in a buffer that was filled with '#'.
struct Ran {
  int result = 0;
  std::string buffer = std::string(kLimit + 3, '#');
};

Ran Execute(const std::string& command) {
  Ran ran;
  ran.result = GetCPackFileInstance().executeCMD(command.c_str(), ran.buffer.data(), kLimit);
  return ran;
}

struct Command {
  const char* name;
  const char* command;
  std::string buffer;  // 8 bytes of output and the terminator behind them
};

class CommandOutput : public test::PackTest, public ::testing::WithParamInterface<Command> {};

TEST_P(CommandOutput, IsItsFirstLineInAZeroedBuffer) {
  const Ran ran = Execute(GetParam().command);

  EXPECT_EQ(ran.result, 0);
  EXPECT_EQ(ran.buffer, GetParam().buffer + "##");
}

INSTANTIATE_TEST_SUITE_P(
    Commands, CommandOutput,
    ::testing::Values(Command{"OneLine", "echo 0", "0\n\0\0\0\0\0\0\0"s},
                      Command{"TwoLines", "echo a; echo b", "a\n\0\0\0\0\0\0\0"s},
                      Command{"SevenCharacters", "printf 1234567", "1234567\0\0"s},
                      Command{"ALineThatIsCut", "echo 123456789", "1234567\0\0"s},
                      Command{"Nothing", "true", "\0\0\0\0\0\0\0\0\0"s},
                      Command{"OutputOfAFailure", "echo 3; exit 3", "3\n\0\0\0\0\0\0\0"s}),
    [](const auto& test) { return test.param.name; });

class PackerTools : public test::PackTest {};

TEST_F(PackerTools, ZeroTheBufferOfACommandThatCannotBeStarted) {
  test::FailCalls(test::Call::kPopen);

  const Ran ran = Execute("echo 0");

  EXPECT_EQ(ran.result, -1);
  EXPECT_EQ(ran.buffer, std::string(kLimit, '\0') + "###");
}

TEST_F(PackerTools, LeaveNoChildBehind) {
  Execute("echo 0");

  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(PackerTools, LeaveNoPipeOpen) {
  const std::size_t before = test::List("/proc/self/fd").size();

  Execute("echo 0");

  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before));
}

TEST_F(PackerTools, TellTheSizeOfAFile) {
  test::WriteFile("/tmp/file", std::string(40960, 'x'));
  test::WriteFile("/tmp/empty", "");

  EXPECT_EQ(GetCPackFileInstance().get_file_size("/tmp/file"), 40960U);
  EXPECT_EQ(GetCPackFileInstance().get_file_size("/tmp/empty"), 0U);
  EXPECT_EQ(GetCPackFileInstance().get_file_size("/tmp/missing"), 0U);
}

TEST_F(PackerTools, FindTheValueOfAPoint) {
  std::map<unsigned int, double> values{{0x01031123, 12.5}};

  EXPECT_EQ(GetCPackFileInstance().GetPointValue(0x01031123, &values), 12.5);
}

TEST_F(PackerTools, GiveMinusOneForAPointWithoutAValueAndAddNone) {
  std::map<unsigned int, double> values{{0x01031123, 12.5}};

  EXPECT_EQ(GetCPackFileInstance().GetPointValue(0x01031124, &values), -1.0);
  EXPECT_THAT(values, SizeIs(1));
}

}  // namespace
