// File uploads.
#include <gmock/gmock.h>

#include <filesystem>

#include "exchange.h"
#include "support/faults.h"
#include "support/logs.h"
#include "taps.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using test::HttpAnswer;
using test::kDone;
using test::kFailed;
using test::kUntouched;
using test::LogRecord;
using test::Option;
using test::WriteFile;

constexpr char kFile[] = "/media/mmcblk0p1/data/S1.tar.gz";
constexpr std::size_t kLargestFile = 40959;

class HttpUpload : public test::HttpTest {
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

  auto options = test::Options();
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
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", "start Send file S1.tar.gz to " + m_server.Url("/e")},
                          LogRecord{"INFO", std::string("Send file ") + kFile + " finish"}));
}

TEST_F(HttpUpload, LogsAFailureWithThePathTheErrorAndTheStatus) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(500, "{}"));

  EXPECT_EQ(Upload(), kFailed);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(std::string("send file ") + kFile + " failed: No error,httpcode =500"));
  EXPECT_THAT(test::TextLog("INFO"), SizeIs(1));
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
    test::DiscardLogs();
    WriteFile(kFile, "");
    std::filesystem::resize_file(kFile, size);

    ExpectJudgedSent();
    EXPECT_THAT(test::TextLog("WARN"),
                ElementsAre(HasSubstr("size is 0"),
                            std::string("file ") + kFile + " has " + std::to_string(size) +
                                " bytes,the largest that is sent has 40959"));
  }
}

TEST_F(HttpUpload, JudgesAnEmptyFileSent) {
  WriteFile(kFile, "");

  ExpectJudgedSent();
  EXPECT_THAT(
      test::TextLog(),
      ElementsAre(LogRecord{"WARN", std::string("file ") + kFile +
                                        " size is 0 ,error,do not send it,judge it send OK"}));
}

TEST_F(HttpUpload, JudgesAMissingFileSent) {
  ExpectJudgedSent();
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN", std::string("Can not find File ") + kFile +
                                                " when send files,judge it send OK"}));
}

// The sandbox shows the system's files read-only.
TEST_F(HttpUpload, FailsForAFileThatCannotBeWritten) {
  ExpectFailure("/etc/passwd");
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "can not open file /etc/passwd\n"}));
}

TEST_F(HttpUpload, FailsWithoutMemory) {
  WriteFile(kFile, "archive");
  test::FailCalls(test::Call::kCalloc);

  ExpectFailure();
  EXPECT_THAT(test::TextLog(), ElementsAre(LogRecord{"WARN", "calloc size 2055 buff error"}));
}

TEST_F(HttpUpload, FailsSilentlyWithoutAHandle) {
  WriteFile(kFile, "archive");
  test::FailCalls(test::Call::kCurlEasyInit);

  ExpectFailure();
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

}  // namespace
