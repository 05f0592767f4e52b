// The client's look at files.
#include <gmock/gmock.h>

#include <array>

#include "exchange.h"
#include "support/logs.h"
#include "taps.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr char kFile[] = "/media/mmcblk0p1/data.json";

class ReadJsonDataFile : public test::HttpTest {
 protected:
  void SetUp() override {
    HttpTest::SetUp();
    test::WriteFile(kFile, "{\"a\":1}");
    m_buffer.fill('#');
  }

  std::int32_t Read(const char* path, int max) {
    return GetCHttpInstance().ReadJsonDataFile(path, m_buffer.data(), max);
  }
  std::string Buffer() const { return {m_buffer.data(), m_buffer.size()}; }

  std::array<char, 8> m_buffer{};
};

TEST_F(ReadJsonDataFile, RefusesANullPathSilently) {
  EXPECT_EQ(Read(nullptr, 10), -1);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

// The sandbox shows the system's files read-only.
TEST_F(ReadJsonDataFile, RefusesAFileThatCannotBeWritten) {
  EXPECT_EQ(Read("/etc/passwd", 8), -1);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(test::LogRecord{"WARN", "Can not open file /etc/passwd"}));
}

TEST_F(ReadJsonDataFile, ReadsTheWholeFileWithoutATerminator) {
  EXPECT_EQ(Read(kFile, 8), 7);
  EXPECT_EQ(Buffer(), "{\"a\":1}#");
}

TEST_F(ReadJsonDataFile, ReadsNoMoreThanItMay) {
  EXPECT_EQ(Read(kFile, 3), 3);
  EXPECT_EQ(Read(kFile, -1), 0);
  EXPECT_EQ(Buffer(), "{\"a#####");
}

TEST_F(ReadJsonDataFile, ReturnsTheNumberOfBytesRead) {
  test::ShortenNextRead();

  EXPECT_EQ(Read(kFile, 8), 6);
}

TEST_F(ReadJsonDataFile, KnowsTheSizeOfAFileAndZeroForAMissingOne) {
  EXPECT_EQ(GetCHttpInstance().get_file_size(kFile), 7);
  EXPECT_EQ(GetCHttpInstance().get_file_size("/media/mmcblk0p1/missing.json"), 0);
}

}  // namespace
