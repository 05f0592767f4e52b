// File uploads, and the client's look at files.
#include <gmock/gmock.h>

#include <array>
#include <filesystem>

#include "exchange.h"
#include "support/faults.h"
#include "support/logs.h"
#include "taps.h"

namespace {

using namespace test;
using namespace testing;

constexpr char kFile[] = "/media/mmcblk0p1/data/S1.tar.gz";
constexpr std::size_t kLargestFile = 40959;

class HttpUpload : public HttpTest {
 protected:
  // Uploads the file with m_frame.
  std::uint32_t Upload(const std::string& path = kFile) {
    m_frame = FileFrame(path);
    return GetCHttpInstance().UploadFile(&m_frame);
  }
  // Uploads the file. Expects that nothing is sent.
  void ExpectUnsent(std::uint32_t result, std::int32_t flag, const std::string& path = kFile) {
    EXPECT_EQ(Upload(path), result);
    EXPECT_EQ(m_frame.successFlag, flag);
    EXPECT_THAT(m_server.Requests(), IsEmpty());
  }
  void ExpectFailure(const std::string& path = kFile) { ExpectUnsent(kFailed, kUntouched, path); }
  void ExpectJudgedSent() { ExpectUnsent(kDone, 1); }

  ST_FRAME_FILE_UPLOAD m_frame{};
};

TEST_F(HttpUpload, SendsTheseHeaders) {
  WriteFile(kFile, "archive");

  Upload();

  ASSERT_THAT(m_server.Requests(), SizeIs(1));
  EXPECT_EQ(m_server.Requests()[0].Line(), "POST /e HTTP/1.1");
  EXPECT_THAT(m_server.Requests()[0].Headers(),
              ElementsAre("Host: 127.0.0.1:" + std::to_string(m_server.Port()),
                          "Connection: Keep-Alive", "Accept: */*; q=0.01",
                          "Accept-Encoding: gzip, deflate,sdch", "Accept-Language: zh-CN,zh;q=0.8",
                          "Content-Type:multipart/form-data;charset=UTF-8;"
                          "boundary=--WebKitFormBoundaryslLU7UmlAp48QHln",
                          "Content-Length: 199"));
}

TEST_F(HttpUpload, SetsTheseOptionsInThisOrder) {
  WriteFile(kFile, "archive");
  auto frame = FileFrame(kFile);
  frame.readCallback = ReadNothing;
  void* flag = &frame.successFlag;

  GetCHttpInstance().UploadFile(&frame);

  auto options = Options();
  ASSERT_THAT(options, SizeIs(14));
  EXPECT_EQ(options[10].first, CURLOPT_POSTFIELDS);
  options.resize(10);
  EXPECT_THAT(
      options,
      ElementsAre(Option(CURLOPT_URL, frame.url), Option(CURLOPT_SSL_VERIFYPEER, 0),
                  Option(CURLOPT_SSL_VERIFYHOST, 0), Option(CURLOPT_HTTPHEADER, 0),
                  Option(CURLOPT_TIMEOUT, 90), Option(CURLOPT_NOSIGNAL, 1), Option(CURLOPT_POST, 1),
                  Option(CURLOPT_WRITEFUNCTION, TakeAnswer), Option(CURLOPT_WRITEDATA, flag),
                  Option(CURLOPT_READFUNCTION, ReadNothing)));
}

TEST_F(HttpUpload, LogsItsStartByNameAndItsEndByPath) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(201, "{}"));

  EXPECT_EQ(Upload(), kDone);
  EXPECT_EQ(m_frame.successFlag, kUntouched) << "the answer callback sets it";
  EXPECT_THAT(TextLog(),
              ElementsAre(LogRecord{"INFO", "start Send file S1.tar.gz to " + m_server.Url("/e")},
                          LogRecord{"INFO", std::string("Send file ") + kFile + " finish"}));
}

TEST_F(HttpUpload, LogsAFailureWithThePathTheErrorAndTheStatus) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(500, "{}"));

  EXPECT_EQ(Upload(), kFailed);
  EXPECT_THAT(TextLog("WARN"),
              ElementsAre(std::string("send file ") + kFile + " failed: No error,httpcode =500"));
  EXPECT_THAT(TextLog("INFO"), SizeIs(1));
}

TEST_F(HttpUpload, SendsFilesFromOneByteToTheLargestSize) {
  for (const std::size_t size : {std::size_t{1}, kLargestFile}) {
    const std::string content(size, 'x');
    WriteFile(kFile, content);

    Upload();

    ASSERT_FALSE(m_server.Requests().empty());
    EXPECT_THAT(m_server.Requests().back().body, HasSubstr("\r\n\r\n" + content + "\r\n"));
  }
}

TEST_F(HttpUpload, JudgesALargerFileSent) {
  // The low 32 bits of the last size are one that would be sent.
  for (const std::uintmax_t size :
       {std::uintmax_t{kLargestFile} + 1, std::uintmax_t{0x100000064}}) {
    DiscardLogs();
    WriteFile(kFile, "");
    std::filesystem::resize_file(kFile, size);

    ExpectJudgedSent();
    EXPECT_THAT(TextLog("WARN"),
                ElementsAre(HasSubstr("size is 0"),
                            std::string("file ") + kFile + " has " + std::to_string(size) +
                                " bytes,the largest that is sent has 40959"));
  }
}

TEST_F(HttpUpload, JudgesAnEmptyFileSent) {
  WriteFile(kFile, "");

  ExpectJudgedSent();
  EXPECT_THAT(TextLog(), ElementsAre(LogRecord{
                             "WARN", std::string("file ") + kFile +
                                         " size is 0 ,error,do not send it,judge it send OK"}));
}

TEST_F(HttpUpload, JudgesAMissingFileSent) {
  ExpectJudgedSent();
  EXPECT_THAT(TextLog(), ElementsAre(LogRecord{"WARN", std::string("Can not find File ") + kFile +
                                                           " when send files,judge it send OK"}));
}

// The sandbox shows the system's files read-only.
TEST_F(HttpUpload, FailsForAFileThatCannotBeWritten) {
  ExpectFailure("/etc/passwd");
  EXPECT_THAT(TextLog(), ElementsAre(LogRecord{"WARN", "can not open file /etc/passwd\n"}));
}

TEST_F(HttpUpload, FailsWithoutMemory) {
  WriteFile(kFile, "archive");
  FailCalls(Call::kCalloc);

  ExpectFailure();
  EXPECT_THAT(TextLog(), ElementsAre(LogRecord{"WARN", "calloc size 2055 buff error"}));
}

TEST_F(HttpUpload, FailsSilentlyWithoutAHandle) {
  WriteFile(kFile, "archive");
  FailCalls(Call::kCurlEasyInit);

  ExpectFailure();
  EXPECT_THAT(TextLog(), IsEmpty());
}

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
