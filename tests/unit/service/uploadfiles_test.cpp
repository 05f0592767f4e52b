// The drivers and their files: which are sent at all, how they are packed, how they are named.
#include <gmock/gmock.h>

#include <array>
#include <filesystem>

#include "cloudfixture.h"
#include "config/channelset.h"
#include "service/uploaddrivers.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"
#include "util/paths.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

using test::CloudAt;
using test::HttpAnswer;
using test::WriteFile;

constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
constexpr char kRealFile[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz";
constexpr char kAlarmFile[] = "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7/T20240307120000.tar.gz";

class UploadedFile : public test::CloudTest {
 protected:
  void UseFileType(const std::string& type) {
    test::Load(CloudAt(m_cloud.Port()).Cloud("FileType", type));
    test::DiscardLogs();
  }
};

TEST_F(UploadedFile, OfAnotherTypeIsAcceptedWithoutBeingSent) {
  UseFileType("json");
  WriteFile("/media/mmcblk0p1/elsewhere/S20240307120000.tar.gz", "archive");

  const int result = UploadRealDataFile("/media/mmcblk0p1/elsewhere/S20240307120000.tar.gz");

  EXPECT_EQ(result, 0);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(UploadedFile, OfATypeThatDoesNotOccurInThePathIsNotSent) {
  UseFileType("xml");
  WriteFile(kRealFile, "archive");

  EXPECT_EQ(UploadRealDataFile(kRealFile), 0);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

struct TypeInPath {
  const char* name;
  const char* type;
};

void PrintTo(const TypeInPath& row, std::ostream* out) {
  *out << row.type;
}

class FileTypeInThePath : public UploadedFile, public ::testing::WithParamInterface<TypeInPath> {};

TEST_P(FileTypeInThePath, LetsTheFileBeSent) {
  UseFileType(GetParam().type);
  const std::string path = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/%n/S.tar.gz";
  WriteFile(path, "archive");
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  EXPECT_EQ(UploadRealDataFile(path.c_str()), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(Types, FileTypeInThePath,
                         ::testing::Values(TypeInPath{"Lower", "json"}, TypeInPath{"Upper", "JSON"},
                                           TypeInPath{"Mixed", "jSoNfIlEs"},
                                           TypeInPath{"End", "tar.gz"}, TypeInPath{"Empty", ""},
                                           TypeInPath{"Percent", "%n"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(UploadedFile, WithAlarmsIsSentWhateverTheFileType) {
  UseFileType("xml");
  WriteFile(kAlarmFile, "archive");
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  EXPECT_EQ(UploadAlarmDataFile(kAlarmFile), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

TEST_F(UploadedFile, ThatIsMissingCountsAsAccepted) {
  EXPECT_EQ(UploadRealDataFile(kRealFile), 0);
  EXPECT_EQ(UploadAlarmDataFile(kAlarmFile), 0);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
  EXPECT_THAT(
      test::TextLog("INFO"),
      ::testing::Contains(HasSubstr("Send realdata " + std::string(kRealFile) + " to ")).Times(2));
}

struct Size {
  std::size_t bytes;
  bool sent;
};

void PrintTo(const Size& size, std::ostream* out) {
  *out << size.bytes << " bytes";
}

class UploadedSize : public UploadedFile, public ::testing::WithParamInterface<Size> {};

TEST_P(UploadedSize, CountsAsAcceptedAlsoWhenItIsNotSent) {
  WriteFile(kRealFile, std::string(GetParam().bytes, 'x'));
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  EXPECT_EQ(UploadRealDataFile(kRealFile), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(GetParam().sent ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(Bytes, UploadedSize,
                         ::testing::Values(Size{0, false}, Size{1, true}, Size{40959, true},
                                           Size{40960, false}),
                         [](const auto& test) { return std::to_string(test.param.bytes); });

TEST_F(UploadedFile, ThatCannotBeOpenedStaysPending) {
  WriteFile(std::string(kRealFile) + "/a-directory-of-that-name", "");

  EXPECT_EQ(UploadRealDataFile(kRealFile), -1);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(std::string("can not open file ") + kRealFile + "\n",
                          std::string("Send realdata ") + kRealFile + " to " +
                              Url("/eqpapi/EqpUploadDataInfo") + " failed\n"));
}

TEST_F(UploadedFile, ForWhichThereIsNoMemoryStaysPending) {
  WriteFile(kRealFile, "archive");
  test::FailCalls(test::Call::kCalloc);

  EXPECT_EQ(UploadRealDataFile(kRealFile), -1);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

TEST_F(UploadedFile, ForWhichThereIsNoHandleStaysPending) {
  WriteFile(kAlarmFile, "archive");
  test::FailCalls(test::Call::kCurlEasyInit);

  EXPECT_EQ(UploadAlarmDataFile(kAlarmFile), -1);
  EXPECT_THAT(m_cloud.Requests(), IsEmpty());
}

TEST_F(UploadedFile, IsLookedForUnder127CharactersOfItsPath) {
  const std::string directory = "/media/mmcblk0p1/json/";
  const std::string kept = directory + std::string(127 - directory.size(), 'n');
  WriteFile(kept, "archive");
  m_cloud.Answer(HttpAnswer(200, kAccepted));

  EXPECT_EQ(UploadRealDataFile((kept + "-and-more").c_str()), 0);
  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
  EXPECT_THAT(test::TextLog("INFO").front(), "start Send realdata " + kept + "-and-more to " +
                                                 Url("/eqpapi/EqpUploadDataInfo") + " \n");
}

// One device on channel 1 with address 3 and two points; the same in every test of this executable.
class PackedFile : public test::CloudTest {
 protected:
  void SetUp() override {
    CloudTest::SetUp();
    test::DeviceFile pump("pump");
    pump.Node("AI", 77).Node("AI", 78).Write();
    test::ChannelTemplate().Channel(9).Device(8, pump.Path()).Write();
    GetCChannelSetInstance().Open(paths::kChannelTemplate);
    GetCChannelSetInstance().Close();
    fs::create_directories(kDirectory);
    test::DiscardLogs();
    test::ForgetPauses();
  }

  int Create() { return CreateRealDataFile(&m_values, kDirectory, &m_files, m_stamp); }

  static constexpr char kDirectory[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7";
  Real_Data_Struct m_values{{0x0908004D, 1.5}, {0x0908004E, 2.5}};
  std::vector<std::string> m_files{"already there"};
  std::time_t m_stamp = test::LocalTimeOf(2024, 3, 7, 12, 5);
};

TEST_F(PackedFile, IsNamedByItsStamp) {
  EXPECT_EQ(Create(), 0);
  EXPECT_THAT(m_files,
              ElementsAre("already there", std::string(kDirectory) + "/S20240307120500.tar.gz"));
  EXPECT_THAT(test::List(kDirectory), ElementsAre("S20240307120500.tar.gz"));
}

TEST_F(PackedFile, WithoutAValueIsNotMadeAndIsNoFailure) {
  m_values.erase(0x0908004E);

  EXPECT_EQ(Create(), 0);
  EXPECT_THAT(m_files, SizeIs(1));
  EXPECT_THAT(test::List(kDirectory), IsEmpty());
}

TEST_F(PackedFile, ThatCannotBeCompressedIsAFailure) {
  test::FailCalls(test::Call::kPopen, 3);

  EXPECT_EQ(Create(), -1);
  EXPECT_THAT(m_files, SizeIs(1));
}

struct Name {
  const char* path;
  const char* last;
};

void PrintTo(const Name& name, std::ostream* out) {
  *out << name.path;
}

class LastName : public ::testing::TestWithParam<Name> {};

TEST_P(LastName, IsWhatStandsBehindTheLastSlash) {
  std::array<char, 64> out{};
  out.fill('#');

  EXPECT_EQ(getlastname(GetParam().path, out.data()), out.data());
  EXPECT_STREQ(out.data(), GetParam().last);
}

INSTANTIATE_TEST_SUITE_P(Paths, LastName,
                         ::testing::Values(Name{"/media/S1.tar.gz", "S1.tar.gz"},
                                           Name{"S1.tar.gz", "S1.tar.gz"}, Name{"/S1", "S1"},
                                           Name{"/media/", ""}, Name{"", ""}, Name{"/", ""},
                                           Name{"a//b", "b"}));

}  // namespace
