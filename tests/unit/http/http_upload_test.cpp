// File uploads: what goes out, and what the answer amounts to.
#include <gmock/gmock.h>

#include "support/logs.h"
#include "upload.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace {

using test::Function;
using test::HttpAnswer;
using test::kFile;
using test::kName;
using test::kUntouched;
using test::LogRecord;
using test::Multipart;
using test::Number;
using test::Pointer;
using test::WriteFile;

class Upload : public test::Upload {};

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
  ASSERT_THAT(options, SizeIs(13));
  EXPECT_EQ(options[9].option, CURLOPT_POSTFIELDS);
  options.erase(options.begin() + 9);
  EXPECT_EQ(options[10].option, CURLOPT_HEADERFUNCTION);
  options.resize(10);  // behind them stand those that bound the answer's headers
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
  ASSERT_THAT(options, SizeIs(14));
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
  EXPECT_THAT(test::Options(), SizeIs(11));
}

TEST_F(Upload, WithoutMemoryForItsHeadersGoesOutWithLibcurlsOwn) {
  WriteFile(kFile, "archive");
  m_server.Answer(HttpAnswer(200, "{}"));
  auto frame = Frame();
  test::FailHeaderLine(2);

  const auto result = Send(frame);

  EXPECT_EQ(result, test::kDone);
  EXPECT_THAT(test::Options(), Not(::testing::Contains(Pointer(CURLOPT_HTTPHEADER, nullptr))));
  EXPECT_EQ(m_server.Requests().at(0).body, Multipart(kName, "archive"));
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
  auto frame =
      test::FileFrame("http://127.0.0.1:" + std::to_string(test::ClosedPort()) + "/", kFile);

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
