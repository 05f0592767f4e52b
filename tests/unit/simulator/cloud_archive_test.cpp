// Which archives the cloud opens.
#include <gmock/gmock.h>

#include <cstdlib>

#include "cloud/archive.h"
#include "cloud/fault.h"
#include "cloudclient.h"
#include "support/files.h"

namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

TEST(CloudArchive, GivesNameAndBytesOfTheOnlyMember) {
  const std::string bytes = test::TarGz({{"S20240301100000.dat", "{\"sn\":\"S1\"}"}});

  const cloud::ArchiveContent content = cloud::ReadArchive(bytes);

  EXPECT_EQ(content.memberName, "S20240301100000.dat");
  EXPECT_EQ(content.text, "{\"sn\":\"S1\"}");
}

TEST(CloudArchive, OpensWhatTheSystemsTarPacks) {
  const test::TemporaryFolder folder;
  const std::string text(50000, 'x');
  test::WriteFile(folder.Path() + "/a.dat", text);
  ASSERT_EQ(std::system(("cd " + folder.Path() + " && tar -zcf a.tar.gz a.dat").c_str()), 0);

  const cloud::ArchiveContent content =
      cloud::ReadArchive(test::ReadFile(folder.Path() + "/a.tar.gz"));

  EXPECT_EQ(content.memberName, "a.dat");
  EXPECT_EQ(content.text, text);
}

// What it is for: bytes that are no data file's archive, and the words for it.
struct BadArchive {
  const char* name;
  std::string bytes;
  const char* fault;
};

void PrintTo(const BadArchive& row, std::ostream* out) {
  *out << row.name;
}

class CloudArchiveFaults : public ::testing::TestWithParam<BadArchive> {};

TEST_P(CloudArchiveFaults, AreSaidInWords) {
  const std::string& bytes = GetParam().bytes;

  EXPECT_THAT([&] { cloud::ReadArchive(bytes); },
              ThrowsMessage<cloud::Fault>(HasSubstr(GetParam().fault)));
}

std::string Half(const std::string& bytes) {
  return bytes.substr(0, bytes.size() / 2);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudArchiveFaults,
    ::testing::Values(
        BadArchive{"TwoMembers", test::TarGz({{"a.dat", "1"}, {"b.dat", "2"}}),
                   "more than one member"},
        BadArchive{"NoMember", test::TarGz({}), "the archive is empty"},
        BadArchive{"NotCompressed", test::PlainTar({{"a.dat", "1"}}), "not compressed with gzip"},
        BadArchive{"NoBareName", test::TarGz({{"realdata/a.dat", "1"}}), "a bare name"},
        BadArchive{"ALink", test::TarGzWithLink("a.dat"), "not an ordinary file"},
        BadArchive{"NoArchive", "{\"sn\":\"S1\"}", "the archive cannot be read: "},
        BadArchive{"NoBytes", "", "the archive"},
        BadArchive{"CutShort", Half(test::TarGz({{"a.dat", test::RealDocument()}})),
                   "the archive cannot be read: "}),
    [](const auto& row) { return row.param.name; });

TEST(CloudArchive, DoesNotUnpackABomb) {
  const test::TemporaryFolder folder;
  ASSERT_EQ(
      std::system(
          ("cd " + folder.Path() + " && truncate -s 20M a.dat && tar -zcf a.tar.gz a.dat").c_str()),
      0);

  EXPECT_THAT([&] { cloud::ReadArchive(test::ReadFile(folder.Path() + "/a.tar.gz")); },
              ThrowsMessage<cloud::Fault>(HasSubstr("too large")));
}

}  // namespace
