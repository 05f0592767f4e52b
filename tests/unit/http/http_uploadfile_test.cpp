// File uploads: which files go out, which stay, which are judged sent.
#include <gmock/gmock.h>

#include <filesystem>

#include "filetap.h"
#include "support/faults.h"
#include "support/logs.h"
#include "upload.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

using test::HttpAnswer;
using test::kFile;
using test::kName;
using test::kUntouched;
using test::LogRecord;
using test::Multipart;
using test::WriteFile;

constexpr std::size_t kLargestFile = 40959;

class FileUpload : public test::Upload {};

class SizeThatIsSent : public FileUpload, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(SizeThatIsSent, GoesOutWhole) {
  const std::string content(GetParam(), 'x');
  WriteFile(kFile, content);
  m_server.Answer(HttpAnswer(200, "{}"));
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, kUntouched);
  const auto requests = m_server.Requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].body, Multipart(kName, content));
  EXPECT_THAT(
      requests[0].Headers(),
      ::testing::Contains("Content-Length: " + std::to_string(test::kFramingBytes + GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Bytes, SizeThatIsSent, ::testing::Values(1, 2, 4096, kLargestFile));

std::string SizeIsZero() {
  return std::string("file ") + kFile + " size is 0 ,error,do not send it,judge it send OK";
}

class SizeThatStays : public FileUpload, public ::testing::WithParamInterface<std::uintmax_t> {};

TEST_P(SizeThatStays, IsJudgedSent) {
  WriteFile(kFile, "");
  fs::resize_file(kFile, GetParam());
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, 1);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(SizeIsZero(), std::string("file ") + kFile + " has " +
                                            std::to_string(GetParam()) +
                                            " bytes,the largest that is sent has 40959"));
}

// The last one's low 32 bits are a size that would be sent.
INSTANTIATE_TEST_SUITE_P(Bytes, SizeThatStays,
                         ::testing::Values(kLargestFile + 1, kLargestFile + 2, 1000000,
                                           0x100000064));

TEST_F(FileUpload, OfAnEmptyFileIsJudgedSent) {
  WriteFile(kFile, "");
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, 1);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", SizeIsZero()}));
}

TEST_F(FileUpload, OfAMissingFileIsJudgedSent) {
  auto frame = Frame("/media/mmcblk0p1/missing.tar.gz");

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, 1);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN",
                                    "Can not find File /media/mmcblk0p1/missing.tar.gz when send "
                                    "files,judge it send OK"}));
}

TEST_F(FileUpload, OfADanglingLinkIsJudgedSent) {
  fs::create_symlink("/media/mmcblk0p1/missing.tar.gz", "/media/mmcblk0p1/link.tar.gz");
  auto frame = Frame("/media/mmcblk0p1/link.tar.gz");

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, 1);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre("Can not find File /media/mmcblk0p1/link.tar.gz when send files,judge it "
                          "send OK"));
}

TEST_F(FileUpload, OfAFileThatVanishesBeforeItsSizeIsKnownIsJudgedSent) {
  WriteFile(kFile, "archive");
  test::AfterAccess([] { fs::remove(kFile); });
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, 1);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(SizeIsZero()));
}

TEST_F(FileUpload, OfAFileThatVanishesBeforeItIsOpenedFails) {
  WriteFile(kFile, "archive");
  test::BeforeOpen([] { fs::remove(kFile); });
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN", std::string("can not open file ") + kFile + "\n"}));
}

TEST_F(FileUpload, OfADirectoryFails) {
  const std::string path = "/media/mmcblk0p1/directory";
  WriteFile(path + "/entry", "");
  auto frame = Frame(path);

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "can not open file " + path + "\n"}));
}

// A file of the system, which the sandbox shows read-only: readable, but not writable.
TEST_F(FileUpload, OfAReadOnlyFileFails) {
  const std::string path = "/etc/passwd";
  ASSERT_GT(fs::file_size(path), 0U);
  ASSERT_LE(fs::file_size(path), kLargestFile);
  auto frame = Frame(path);

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "can not open file /etc/passwd\n"}));
}

class MissingBuffer : public FileUpload, public ::testing::WithParamInterface<int> {};

TEST_P(MissingBuffer, FailsAndLeavesTheFilePending) {
  WriteFile(kFile, "archive");
  auto frame = Frame();
  test::FailCalls(test::Call::kCalloc, 1, GetParam());

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "calloc size 2055 buff error"}));
}

INSTANTIATE_TEST_SUITE_P(Buffers, MissingBuffer, ::testing::Values(0, 1),
                         [](const auto& test) { return test.param == 0 ? "First" : "Second"; });

TEST_F(FileUpload, ThatReadsTooLittleFailsSilently) {
  WriteFile(kFile, "archive");
  auto frame = Frame();
  test::ShortenNextRead();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(FileUpload, OfAFileThatGrowsMeanwhileSendsAllOfIt) {
  WriteFile(kFile, "archive");
  test::BeforeOpen([] { WriteFile(kFile, "archive, grown"); });
  auto frame = Frame();

  Send(frame);

  ASSERT_THAT(m_server.Requests(), SizeIs(1));
  EXPECT_EQ(m_server.Requests()[0].body, Multipart(kName, "archive, grown"));
}

TEST_F(FileUpload, OfAFileThatOutgrowsTheBuffersFailsSilently) {
  WriteFile(kFile, "archive");
  test::BeforeOpen([] { WriteFile(kFile, std::string(10000, 'x')); });
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(FileUpload, OfAFileThatShrinksMeanwhileSendsWhatIsLeft) {
  WriteFile(kFile, "archive");
  test::BeforeOpen([] { WriteFile(kFile, "arch"); });
  auto frame = Frame();

  Send(frame);

  ASSERT_THAT(m_server.Requests(), SizeIs(1));
  EXPECT_EQ(m_server.Requests()[0].body, Multipart(kName, "arch"));
}

TEST_F(FileUpload, WithoutAHandleFailsSilently) {
  WriteFile(kFile, "archive");
  auto frame = Frame();
  test::FailCalls(test::Call::kCurlEasyInit);

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(FileUpload, LeavesTheFileAsItIs) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(200, "{}"));
  auto frame = Frame();

  Send(frame);

  EXPECT_EQ(test::ReadFile(kFile), "archive");
}

}  // namespace
