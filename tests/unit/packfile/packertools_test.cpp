// The packer's tools: a command's first line, a file's size, a point's value, an alarm type.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cerrno>
#include <map>
#include <string>
#include <utility>

#include "packfile/packfile.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"

using namespace testing;
using namespace std::string_literals;

namespace {

// The result of one command with a limit of 8 bytes, and its buffer, which was filled with '#'.
std::pair<int, std::string> Execute(const char* command) {
  std::string buffer(11, '#');
  const int result = GetCPackFileInstance().executeCMD(command, buffer.data(), 8);
  return {result, buffer};
}

class PackerTools : public test::GatewayTest {};

TEST_F(PackerTools, StoreTheFirstLineOfACommandInAZeroedBuffer) {
  EXPECT_THAT(Execute("echo a; echo b; exit 3"), Pair(0, "a\n\0\0\0\0\0\0\0##"s));
  EXPECT_THAT(Execute("echo 123456789"), Pair(0, "1234567\0\0##"s));
  EXPECT_THAT(Execute("true"), Pair(0, "\0\0\0\0\0\0\0\0\0##"s));
}

TEST_F(PackerTools, ZeroTheBufferOfACommandThatCannotBeStarted) {
  test::FailCalls(test::Call::kPopen);

  EXPECT_THAT(Execute("echo 0"), Pair(-1, "\0\0\0\0\0\0\0\0###"s));
}

TEST_F(PackerTools, LeaveNoChildAndNoPipe) {
  const std::size_t before = test::List("/proc/self/fd").size();

  Execute("echo 0");

  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
  EXPECT_THAT(test::List("/proc/self/fd"), SizeIs(before));
}

TEST_F(PackerTools, MeasureAFile) {
  test::WriteFile("/tmp/file", "five5");

  EXPECT_EQ(GetCPackFileInstance().get_file_size("/tmp/file"), 5U);
}

TEST_F(PackerTools, FindTheValueOfAPointOrGiveMinusOne) {
  std::map<unsigned int, double> values{{0x01031123, 12.5}};

  EXPECT_EQ(GetCPackFileInstance().GetPointValue(0x01031123, &values), 12.5);
  EXPECT_EQ(GetCPackFileInstance().GetPointValue(0x01031124, &values), -1.0);
}

TEST_F(PackerTools, GiveTheAlarmTypeOfTheLowBytes) {
  EXPECT_STREQ(GetCPackFileInstance().GetAlarmType(0x0C030005, 1, 255), "10100");
  EXPECT_STREQ(GetCPackFileInstance().GetAlarmType(0x0C030005, 0, 0), "10001");
}

}  // namespace
