// The packer's tools: a command's first line, a file's size, a point's value, an alarm type.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cerrno>
#include <map>
#include <string>

#include "packfile/packfile.h"
#include "packtest.h"
#include "support/faults.h"

using ::testing::SizeIs;

namespace {

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

class PackerTools : public test::GatewayTest {};

TEST_F(PackerTools, StoreTheFirstLineOfACommandInAZeroedBuffer) {
  struct Row {
    const char* command;
    std::string buffer;  // 8 bytes of output and the terminator behind them
  };
  for (const auto& [command, buffer] :
       {Row{"echo a; echo b", "a\n\0\0\0\0\0\0\0"s}, Row{"printf 1234567", "1234567\0\0"s},
        Row{"echo 123456789", "1234567\0\0"s}, Row{"true", "\0\0\0\0\0\0\0\0\0"s},
        Row{"echo 3; exit 3", "3\n\0\0\0\0\0\0\0"s}}) {
    const Ran ran = Execute(command);

    EXPECT_EQ(ran.result, 0) << command;
    EXPECT_EQ(ran.buffer, buffer + "##") << command;
  }
}

TEST_F(PackerTools, ZeroTheBufferOfACommandThatCannotBeStarted) {
  test::FailCalls(test::Call::kPopen);

  const Ran ran = Execute("echo 0");

  EXPECT_EQ(ran.result, -1);
  EXPECT_EQ(ran.buffer, std::string(kLimit, '\0') + "###");
}

TEST_F(PackerTools, LeaveNoChildAndNoPipe) {
  const std::size_t before = test::List("/proc/self/fd").size();

  Execute("echo 0");

  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before));
}

TEST_F(PackerTools, MeasureAFile) {
  test::WriteFile("/tmp/file", std::string(40960, 'x'));

  EXPECT_EQ(GetCPackFileInstance().get_file_size("/tmp/file"), 40960U);
  EXPECT_EQ(GetCPackFileInstance().get_file_size("/tmp/missing"), 0U);
}

TEST_F(PackerTools, FindTheValueOfAPointOrGiveMinusOne) {
  std::map<unsigned int, double> values{{0x01031123, 12.5}};

  EXPECT_EQ(GetCPackFileInstance().GetPointValue(0x01031123, &values), 12.5);
  EXPECT_EQ(GetCPackFileInstance().GetPointValue(0x01031124, &values), -1.0);
  EXPECT_THAT(values, SizeIs(1));
}

TEST_F(PackerTools, GiveTheAlarmTypeOfTheLowBytes) {
  CPackFile& packer = GetCPackFileInstance();

  EXPECT_STREQ(packer.GetAlarmType(0x0C030005, 1, 255), "10100");
  EXPECT_STREQ(packer.GetAlarmType(0x0C030005, 0, 0), "10001");
  EXPECT_STREQ(packer.GetAlarmType(0x0C030005, 2, 1), "");
}

}  // namespace
