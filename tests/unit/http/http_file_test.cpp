// The client's look at files.
#include <gmock/gmock.h>

#include <array>
#include <filesystem>

#include "exchange.h"
#include "filetap.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

constexpr char kFile[] = "/media/mmcblk0p1/data.json";
constexpr char kUntouched = '#';

struct Buffer {
  std::array<char, 64> bytes{};

  Buffer() { bytes.fill(kUntouched); }
  std::string First(std::size_t count) const { return {bytes.data(), count}; }
};

class ReadJsonDataFile : public test::HttpTest {
 protected:
  std::int32_t Read(const char* path, int max) {
    return GetCHttpInstance().ReadJsonDataFile(path, m_buffer.bytes.data(), max);
  }

  Buffer m_buffer;
};

TEST_F(ReadJsonDataFile, RefusesANullPathSilently) {
  EXPECT_EQ(Read(nullptr, 10), -1);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(ReadJsonDataFile, TellsOfAFileThatIsMissing) {
  EXPECT_EQ(Read("/media/mmcblk0p1/missing.json", 10), -1);
  EXPECT_THAT(test::TextLog(), ElementsAre(test::LogRecord{
                                   "WARN", "Can not open file /media/mmcblk0p1/missing.json"}));
}

TEST_F(ReadJsonDataFile, TellsOfAFileThatCannotBeWritten) {
  EXPECT_EQ(Read("/etc/passwd", 10), -1);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre("Can not open file /etc/passwd"));
  EXPECT_EQ(m_buffer.bytes[0], kUntouched);
}

TEST_F(ReadJsonDataFile, TellsOfADirectory) {
  EXPECT_EQ(Read("/media/mmcblk0p1", 10), -1);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre("Can not open file /media/mmcblk0p1"));
}

TEST_F(ReadJsonDataFile, ReadsTheWholeFileWithoutATerminator) {
  test::WriteFile(kFile, "{\"a\":1}");

  EXPECT_EQ(Read(kFile, 64), 7);
  EXPECT_EQ(m_buffer.First(7), "{\"a\":1}");
  EXPECT_EQ(m_buffer.bytes[7], kUntouched);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(ReadJsonDataFile, ReadsNoMoreThanItMay) {
  test::WriteFile(kFile, "{\"a\":1}");

  EXPECT_EQ(Read(kFile, 3), 3);
  EXPECT_EQ(m_buffer.First(3), "{\"a");
  EXPECT_EQ(m_buffer.bytes[3], kUntouched);
}

TEST_F(ReadJsonDataFile, ReadsNothingOfAnEmptyFile) {
  test::WriteFile(kFile, "");

  EXPECT_EQ(Read(kFile, 64), 0);
  EXPECT_EQ(m_buffer.bytes[0], kUntouched);
}

TEST_F(ReadJsonDataFile, ReadsNothingWhereNothingIsWanted) {
  test::WriteFile(kFile, "{\"a\":1}");

  EXPECT_EQ(Read(kFile, 0), 0);
  EXPECT_EQ(Read(kFile, -1), 0);
  EXPECT_EQ(m_buffer.bytes[0], kUntouched);
}

TEST_F(ReadJsonDataFile, ReturnsTheCountThatWasRead) {
  test::WriteFile(kFile, "{\"a\":1}");
  test::ShortenNextRead();

  EXPECT_EQ(Read(kFile, 64), 6);
}

class GetFileSize : public test::HttpTest {
 protected:
  static std::int32_t Size(const char* path) { return GetCHttpInstance().get_file_size(path); }
};

TEST_F(GetFileSize, IsTheFilesSizeInBytes) {
  test::WriteFile(kFile, std::string(40960, 'x'));

  EXPECT_EQ(Size(kFile), 40960);
}

TEST_F(GetFileSize, IsZeroForAnEmptyFile) {
  test::WriteFile(kFile, "");

  EXPECT_EQ(Size(kFile), 0);
}

TEST_F(GetFileSize, IsZeroForAMissingFile) {
  EXPECT_EQ(Size(kFile), 0);
}

}  // namespace
