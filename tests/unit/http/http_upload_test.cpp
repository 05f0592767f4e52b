// File uploads: what goes out, what stays, what is judged sent.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "curltap.h"
#include "exchange.h"
#include "filetap.h"
#include "support/faults.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

using test::FileFrame;
using test::Function;
using test::HttpAnswer;
using test::LogRecord;
using test::Number;
using test::Pointer;
using test::RawServer;
using test::WriteFile;

constexpr char kFile[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz";
constexpr char kName[] = "S20240307120000.tar.gz";
constexpr std::int32_t kUntouched = 7;
constexpr std::size_t kLargestFile = 40959;
constexpr std::size_t kFramingBytes = 205;  // what stands around the file's bytes

std::string Multipart(const std::string& name, const std::string& content) {
  return "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
         "Content-Disposition:form-data;name=\"licence\";filename=\"" +
         name +
         "\"\r\n"
         "Content-Type:application/octet-stream\r\n"
         "\r\n" +
         content + "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";
}

class Upload : public test::HttpTest {
 protected:
  ST_FRAME_FILE_UPLOAD Frame(const std::string& path = kFile) const {
    auto frame = FileFrame(m_server.Url("/eqpapi/EqpUploadDataInfo"), path);
    frame.successFlag = kUntouched;
    return frame;
  }
  static std::uint32_t Send(ST_FRAME_FILE_UPLOAD& frame) {
    return GetCHttpInstance().UploadFile(&frame);
  }
  void ExpectNothingSent() const {
    EXPECT_THAT(m_server.Requests(), IsEmpty());
    EXPECT_THAT(test::Options(), IsEmpty());
  }

  RawServer m_server;
};

TEST_F(Upload, GoesOutByteForByte) {
  WriteFile(kFile, "archive");
  auto frame = Frame();

  Send(frame);

  const auto requests = m_server.Requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].head,
            "POST /eqpapi/EqpUploadDataInfo HTTP/1.1\r\n"
            "Host: 127.0.0.1:" +
                std::to_string(m_server.Port()) +
                "\r\n"
                "Connection: Keep-Alive\r\n"
                "Accept: */*; q=0.01\r\n"
                "Accept-Encoding: gzip, deflate,sdch\r\n"
                "Accept-Language: zh-CN,zh;q=0.8\r\n"
                "Content-Type:multipart/form-data;charset=UTF-8;"
                "boundary=--WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
                "Content-Length: 212");
  EXPECT_EQ(requests[0].body, Multipart(kName, "archive"));
  EXPECT_EQ(requests[0].body.size(), 212U);
}

TEST_F(Upload, SetsItsOptionsInThisOrder) {
  WriteFile(kFile, "archive");
  auto frame = Frame();

  Send(frame);

  auto options = test::Options();
  ASSERT_THAT(options, SizeIs(11));
  EXPECT_EQ(options[9].option, CURLOPT_POSTFIELDS);
  options.erase(options.begin() + 9);
  EXPECT_THAT(
      options,
      ElementsAre(Pointer(CURLOPT_URL, frame.url), Number(CURLOPT_SSL_VERIFYPEER, 0),
                  Number(CURLOPT_SSL_VERIFYHOST, 0), Pointer(CURLOPT_HTTPHEADER, nullptr),
                  Number(CURLOPT_TIMEOUT, 90), Number(CURLOPT_NOSIGNAL, 1), Number(CURLOPT_POST, 1),
                  Function(CURLOPT_WRITEFUNCTION, test::TakeAnswer),
                  Pointer(CURLOPT_WRITEDATA, &frame.successFlag),
                  Number(CURLOPT_POSTFIELDSIZE, 212)));
}

TEST_F(Upload, InstallsTheReadCallbackBehindTheAnswerCallback) {
  WriteFile(kFile, "archive");
  auto frame = Frame();
  frame.readCallback = test::ReadNothing;

  Send(frame);

  const auto options = test::Options();
  ASSERT_THAT(options, SizeIs(12));
  EXPECT_EQ(options[9], Function(CURLOPT_READFUNCTION, test::ReadNothing));
  EXPECT_EQ(m_server.Requests().at(0).body, Multipart(kName, "archive"));
}

TEST_F(Upload, WithoutAnAnswerCallbackPrintsTheAnswer) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(200, R"({"status":0})"));
  auto frame = Frame();
  frame.answerCallback = nullptr;
  testing::internal::CaptureStdout();

  const auto result = Send(frame);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), R"({"status":0})");
  EXPECT_EQ(result, test::kDone);
  EXPECT_THAT(test::Options(), SizeIs(9));
}

TEST_F(Upload, TellsItsStartByNameAndItsEndByPath) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(200, "{}"));
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("start Send file ") + kName + " to " +
                                                m_server.Url("/eqpapi/EqpUploadDataInfo")},
                          LogRecord{"INFO", std::string("Send file ") + kFile + " finish"}));
}

TEST_F(Upload, LeavesTheSuccessFlagToTheAnswerCallback) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(200, R"({"status":0})"));
  auto frame = Frame();

  Send(frame);

  EXPECT_EQ(frame.successFlag, kUntouched);
  EXPECT_EQ(test::Answer().userdata, static_cast<void*>(&frame.successFlag));
  EXPECT_EQ(test::Answer().bytes, R"({"status":0})");
}

TEST_F(Upload, KeepsEveryByteOfTheFile) {
  std::string content;
  for (int i = 0; i < 256; ++i) content += static_cast<char>(i);
  content += "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";
  WriteFile(kFile, content);
  auto frame = Frame();

  Send(frame);

  EXPECT_EQ(m_server.Requests().at(0).body, Multipart(kName, content));
}

TEST_F(Upload, AddsNoZeroToTheBody) {
  WriteFile(kFile, "plain text");
  auto frame = Frame();

  Send(frame);

  EXPECT_EQ(m_server.Requests().at(0).body.find('\0'), std::string::npos);
}

TEST_F(Upload, NamesTheFileAsItIsNamed) {
  const std::string path = "/media/mmcblk0p1/100%s%n \"quoted\".tar.gz";
  WriteFile(path, "archive");
  auto frame = Frame(path);

  Send(frame);

  EXPECT_EQ(m_server.Requests().at(0).body, Multipart("100%s%n \"quoted\".tar.gz", "archive"));
}

TEST_F(Upload, TakesAPathOf127Characters) {
  const std::string directory = "/media/mmcblk0p1/";
  const std::string name(127 - directory.size(), 'n');
  WriteFile(directory + name, "archive");
  auto frame = Frame(directory + name);

  Send(frame);

  EXPECT_EQ(m_server.Requests().at(0).body, Multipart(name, "archive"));
}

class SizeThatIsSent : public Upload, public ::testing::WithParamInterface<std::size_t> {};

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
  EXPECT_THAT(requests[0].Headers(),
              ::testing::Contains("Content-Length: " + std::to_string(kFramingBytes + GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Bytes, SizeThatIsSent, ::testing::Values(1, 2, 4096, kLargestFile));

class SizeThatStays : public Upload, public ::testing::WithParamInterface<std::uintmax_t> {};

TEST_P(SizeThatStays, IsJudgedSent) {
  WriteFile(kFile, "");
  fs::resize_file(kFile, GetParam());
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, 1);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN", std::string("file ") + kFile +
                                                " size is 0 ,error,do not send it,judge it send "
                                                "OK"}));
}

// The last one's low 32 bits are a size that would be sent.
INSTANTIATE_TEST_SUITE_P(Bytes, SizeThatStays,
                         ::testing::Values(0, kLargestFile + 1, kLargestFile + 2, 1000000,
                                           0x100000064));

TEST_F(Upload, OfAMissingFileIsJudgedSent) {
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

TEST_F(Upload, OfADanglingLinkIsJudgedSent) {
  fs::create_symlink("/media/mmcblk0p1/missing.tar.gz", "/media/mmcblk0p1/link.tar.gz");
  auto frame = Frame("/media/mmcblk0p1/link.tar.gz");

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, 1);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre("Can not find File /media/mmcblk0p1/link.tar.gz when send files,judge it "
                          "send OK"));
}

TEST_F(Upload, OfAFileThatVanishesBeforeItsSizeIsKnownIsJudgedSent) {
  WriteFile(kFile, "archive");
  test::AfterAccess([] { fs::remove(kFile); });
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_EQ(frame.successFlag, 1);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(std::string("file ") + kFile +
                          " size is 0 ,error,do not send it,judge it send OK"));
}

TEST_F(Upload, OfAFileThatVanishesBeforeItIsOpenedFails) {
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

TEST_F(Upload, OfADirectoryFails) {
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
TEST_F(Upload, OfAReadOnlyFileFails) {
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

class MissingBuffer : public Upload, public ::testing::WithParamInterface<int> {};

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

TEST_F(Upload, ThatReadsTooLittleFailsSilently) {
  WriteFile(kFile, "archive");
  auto frame = Frame();
  test::ShortenNextRead();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(Upload, OfAFileThatGrowsMeanwhileSendsAllOfIt) {
  WriteFile(kFile, "archive");
  test::BeforeOpen([] { WriteFile(kFile, "archive, grown"); });
  auto frame = Frame();

  Send(frame);

  ASSERT_THAT(m_server.Requests(), SizeIs(1));
  EXPECT_EQ(m_server.Requests()[0].body, Multipart(kName, "archive, grown"));
}

TEST_F(Upload, OfAFileThatOutgrowsTheBuffersFailsSilently) {
  WriteFile(kFile, "archive");
  test::BeforeOpen([] { WriteFile(kFile, std::string(10000, 'x')); });
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(Upload, OfAFileThatShrinksMeanwhileSendsWhatIsLeft) {
  WriteFile(kFile, "archive");
  test::BeforeOpen([] { WriteFile(kFile, "arch"); });
  auto frame = Frame();

  Send(frame);

  ASSERT_THAT(m_server.Requests(), SizeIs(1));
  EXPECT_EQ(m_server.Requests()[0].body, Multipart(kName, "arch"));
}

TEST_F(Upload, WithoutAHandleFailsSilently) {
  WriteFile(kFile, "archive");
  auto frame = Frame();
  test::FailCalls(test::Call::kCurlEasyInit);

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, kUntouched);
  ExpectNothingSent();
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(Upload, LeavesTheFileAsItIs) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(200, "{}"));
  auto frame = Frame();

  Send(frame);

  EXPECT_EQ(test::ReadFile(kFile), "archive");
}

class UploadStatus : public Upload, public ::testing::WithParamInterface<test::StatusVerdict> {};

TEST_P(UploadStatus, DecidesTheResult) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(GetParam().status, R"({"status":0,"message":"ok"})"));
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, GetParam().result);
  const std::string failed = std::string("send file ") + kFile +
                             " failed: No error,httpcode =" + std::to_string(GetParam().status);
  if (result == test::kDone) {
    EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
  } else {
    EXPECT_THAT(test::TextLog("WARN"), ElementsAre(failed));
    EXPECT_THAT(test::TextLog("INFO"), Not(::testing::Contains(HasSubstr("finish"))));
  }
}

INSTANTIATE_TEST_SUITE_P(Statuses, UploadStatus, ::testing::ValuesIn(test::StatusVerdicts()),
                         [](const auto& test) { return std::to_string(test.param.status); });

class UploadTrouble : public Upload, public ::testing::WithParamInterface<test::Trouble> {};

TEST_P(UploadTrouble, IsLoggedWithThePathTheErrorAndTheStatus) {
  WriteFile(kFile, "archive");
  m_server.Answer(GetParam().answer);
  auto frame = Frame();

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(std::string("send file ") + kFile + " failed: " + GetParam().words +
                          ",httpcode =" + std::to_string(GetParam().httpStatus)));
  EXPECT_THAT(m_server.Requests(), SizeIs(1)) << "a failed upload is not repeated here";
}

INSTANTIATE_TEST_SUITE_P(Answers, UploadTrouble, ::testing::ValuesIn(test::Troubles()),
                         [](const auto& test) { return test.param.name; });

TEST_F(Upload, ToNobodyIsLoggedWithStatusZero) {
  WriteFile(kFile, "archive");
  auto frame = FileFrame("http://127.0.0.1:" + std::to_string(test::ClosedPort()) + "/", kFile);

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kFailed);
  EXPECT_EQ(frame.successFlag, 0);
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(std::string("send file ") + kFile +
                                                 " failed: Couldn't connect to server,httpcode "
                                                 "=0"));
}

TEST_F(Upload, WithStatus201SucceedsAlsoWhenTheCallbackReturnsAnotherCount) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(201, R"({"status":0})"));
  auto frame = Frame();
  frame.answerCallback = test::RejectAnswer;

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_THAT(test::TextLog("INFO"), SizeIs(2));
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

}  // namespace
