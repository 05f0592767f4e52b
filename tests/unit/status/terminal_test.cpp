#include "print/terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <limits>
#include <utility>

#include "support/gateway.h"

using status::Terminal;

namespace {

class TerminalTest : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    unsetenv("COLUMNS");
    unsetenv("NO_COLOR");
    setenv("TERM", "linux", 1);
    m_saved = dup(STDOUT_FILENO);
  }
  void TearDown() override {
    BackToStandardOutput();
    close(m_saved);
    GatewayTest::TearDown();
  }

  // What is seen with standard output on a terminal of so many columns.
  Terminal OnTerminal(unsigned short columns) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_GE(master, 0);
    EXPECT_EQ(grantpt(master) | unlockpt(master), 0);
    const int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
    const winsize size{25, columns, 0, 0};
    EXPECT_EQ(ioctl(slave, TIOCSWINSZ, &size), 0);
    dup2(slave, STDOUT_FILENO);
    const Terminal terminal = Terminal::OfStandardOutput();
    BackToStandardOutput();
    close(slave);
    close(master);
    return terminal;
  }

  // The same with standard output in a file.
  Terminal InFile() {
    const int file = open("/dev/null", O_WRONLY);
    dup2(file, STDOUT_FILENO);
    const Terminal terminal = Terminal::OfStandardOutput();
    BackToStandardOutput();
    close(file);
    return terminal;
  }

 private:
  void BackToStandardOutput() const { dup2(m_saved, STDOUT_FILENO); }

  int m_saved = -1;
};

}  // namespace

TEST_F(TerminalTest, TakesColoursAndWidthFromTheTerminal) {
  const Terminal terminal = OnTerminal(132);

  EXPECT_TRUE(terminal.colours);
  EXPECT_EQ(terminal.width, 132);
}

TEST_F(TerminalTest, HasNoColoursAnd80ColumnsInAFile) {
  const Terminal terminal = InFile();

  EXPECT_FALSE(terminal.colours);
  EXPECT_EQ(terminal.width, 80);
}

TEST_F(TerminalTest, Has80ColumnsWhenTheTerminalDoesNotTell) {
  EXPECT_EQ(OnTerminal(0).width, 80);
}

TEST_F(TerminalTest, HonoursNoColorUnlessItIsEmpty) {
  setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(OnTerminal(80).colours);

  setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(OnTerminal(80).colours);
}

TEST_F(TerminalTest, HasNoColoursOnADumbTerminal) {
  setenv("TERM", "dumb", 1);

  EXPECT_FALSE(OnTerminal(80).colours);
}

TEST_F(TerminalTest, TakesTheWidthFromColumns) {
  for (const auto& [columns, width] : {std::pair{"100", 100},
                                       {"x", 132},
                                       {"0", 132},
                                       {"-5", 132},
                                       {"1", 20},
                                       {"99999999999", 1000}}) {
    setenv("COLUMNS", columns, 1);
    EXPECT_EQ(OnTerminal(132).width, width) << columns;
  }
  setenv("COLUMNS", "100", 1);
  EXPECT_EQ(InFile().width, 100);
}

TEST_F(TerminalTest, ColoursTextOnlyWithColours) {
  const Terminal colours{.colours = true};

  EXPECT_EQ(colours.Colour("red", "bad"), "\x1b[31mbad\x1b[0m");
  EXPECT_EQ(colours.Colour("bold", "loud"), "\x1b[1mloud\x1b[0m");
  EXPECT_EQ(colours.Colour("mauve", "bad"), "bad");
  EXPECT_EQ(Terminal{}.Colour("red", "bad"), "bad");
}

TEST_F(TerminalTest, SaysDurationsForPeople) {
  for (const auto& [seconds, text] : {std::pair{0L, "0 s"},
                                      {59, "59 s"},
                                      {60, "1 min"},
                                      {3599, "59 min"},
                                      {3600, "1 h"},
                                      {12000, "3 h 20 min"},
                                      {172799, "47 h 59 min"},
                                      {172800, "2 days"},
                                      {400000, "4 days"},
                                      {-120, "-2 min"}})
    EXPECT_EQ(status::Duration(seconds), text);
  EXPECT_EQ(status::Duration(std::numeric_limits<long>::min()).substr(0, 1), "-");
}

TEST_F(TerminalTest, WritesLocalTimes) {
  EXPECT_EQ(status::LocalText(test::LocalTimeOf(2026, 11, 22, 4, 0, 10)), "2026-11-22 04:00:10");
}

struct Zone {
  const char* name;
  const char* zone;
  const char* text;
};

TEST_F(TerminalTest, WritesRfc3339WithTheOffset) {
  for (const auto& [name, zone, text] : {Zone{"east", "CST-8", "2026-11-22T11:00:10+08:00"},
                                         Zone{"none", "UTC0", "2026-11-22T03:00:10+00:00"},
                                         Zone{"west", "EST5", "2026-11-21T22:00:10-05:00"},
                                         Zone{"half", "NST3:30", "2026-11-21T23:30:10-03:30"}}) {
    setenv("TZ", zone, 1);
    tzset();
    EXPECT_EQ(status::Rfc3339(1795316410), text) << name;
  }
}
