// Which files are sent, and which are judged sent.
#include <filesystem>
#include <string>
#include <vector>

#include "system/support/answers.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"

namespace {

using test::CloudServer;
using test::HttpAnswer;
using test::LedgerRow;

// The service starts at 11:59:30 with one pending row, which is up at 12:00:00.
class UploadedFiles : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
    m_server.Answer(HttpAnswer(200, test::kLoginGranted)).Answer(HttpAnswer(200, test::kAccepted));
    m_name = test::RealDataName(At(10, 0));
    m_path = test::DataFilePath(m_name);
  }

  CloudServer m_server;
  std::string m_name;
  std::string m_path;
};

struct Size {
  const char* name;
  std::size_t bytes;
};

class SentSize : public UploadedFiles, public ::testing::WithParamInterface<Size> {};

TEST_P(SentSize, ArrivesWhole) {
  test::SystemFile(m_server.Port()).Write();
  std::string content;
  for (std::size_t i = 0; i < GetParam().bytes; ++i) content += static_cast<char>(i * 7 % 256);
  test::WriteFile(m_path, content);
  test::WriteLedger({{m_name}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  ASSERT_EQ(m_server.Requests().size(), 2U);
  EXPECT_EQ(m_server.Requests()[1].body,
            "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
            "Content-Disposition:form-data;name=\"licence\";filename=\"S20240307100000.tar.gz\"\r\n"
            "Content-Type:application/octet-stream\r\n\r\n" +
                content + "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n");
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{m_name, 2, 1}}));
}

INSTANTIATE_TEST_SUITE_P(UploadedFiles, SentSize,
                         ::testing::Values(Size{"OneByte", 1}, Size{"MostBytes", 40959}),
                         [](const auto& row) { return row.param.name; });

class UnsentSize : public UploadedFiles, public ::testing::WithParamInterface<Size> {};

TEST_P(UnsentSize, IsJudgedSent) {
  test::SystemFile(m_server.Port()).Write();
  test::WriteFile(m_path, std::string(GetParam().bytes, 'x'));
  test::WriteLedger({{m_name}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(m_server.Requests().size(), 1U);
  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "WARN").front(),
            "file " + m_path + " size is 0 ,error,do not send it,judge it send OK");
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{m_name, 2, 1}}));
}

INSTANTIATE_TEST_SUITE_P(UploadedFiles, UnsentSize,
                         ::testing::Values(Size{"Empty", 0}, Size{"OneTooMany", 40960},
                                           Size{"FarTooMany", 10485760}),
                         [](const auto& row) { return row.param.name; });

TEST_F(UploadedFiles, ThatAreMissingAreJudgedSent) {
  test::SystemFile(m_server.Port()).Write();
  test::WriteLedger({{m_name}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(m_server.Requests().size(), 1U);
  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "WARN"),
            std::vector<std::string>{"Can not find File " + m_path +
                                     " when send files,judge it send OK"});
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{m_name, 2, 1}}));
}

TEST_F(UploadedFiles, ThatAreDirectoriesStayPending) {
  test::SystemFile(m_server.Port()).Write();
  std::filesystem::create_directories(m_path);
  test::WriteFile(m_path + "/inside", "x");
  test::WriteLedger({{m_name}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(m_server.Requests().size(), 1U);
  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "WARN").front(),
            "can not open file " + m_path + "\n");
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{m_name}}));
}

struct FileType {
  const char* name;
  const char* text;
  bool sent;
};

class ConfiguredFileType : public UploadedFiles, public ::testing::WithParamInterface<FileType> {};

TEST_P(ConfiguredFileType, DecidesWhichRealDataAreSent) {
  test::SystemFile(m_server.Port()).Cloud("FileType", GetParam().text).Write();
  test::WriteFile(m_path, "content");
  test::WriteLedger({{m_name}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(m_server.Requests().size(), GetParam().sent ? 2U : 1U);
  EXPECT_EQ(test::TextLogTimes("start Send").size(), GetParam().sent ? 2U : 0U);
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{m_name, 2, 1}}));
}

INSTANTIATE_TEST_SUITE_P(UploadedFiles, ConfiguredFileType,
                         ::testing::Values(FileType{"Default", "json", true},
                                           FileType{"AnyCase", "JSONFILES", true},
                                           FileType{"AnyPartOfThePath", "tar.gz", true},
                                           FileType{"Empty", "", true},
                                           FileType{"Another", "csv", false},
                                           FileType{"WithConversions", "%s%n%100000d", false}),
                         [](const auto& row) { return row.param.name; });

TEST_F(UploadedFiles, WithAlarmsAreSentWhateverTheFileType) {
  test::SystemFile(m_server.Port()).Cloud("FileType", "csv").Write();
  test::WriteFile(m_path, "content");
  test::WriteLedger({{m_name, test::kAlarmDataType}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 30));

  EXPECT_EQ(m_server.Requests().size(), 2U);
}

TEST_F(UploadedFiles, OfAnotherFileTypeAreRetiredThreeSecondsApart) {
  test::SystemFile(m_server.Port()).Cloud("FileType", "csv").Write();
  test::WriteLedger({{test::RealDataName(At(10, 0))}, {test::RealDataName(At(10, 5))}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 2));
  const int first = test::CountResults(1);
  service.RunUntil(At(12, 0, 3));

  EXPECT_EQ(first, 1);
  EXPECT_EQ(test::CountResults(1), 2);
}

}  // namespace
