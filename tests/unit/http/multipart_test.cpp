// The form in which a data file travels.
#include "http/multipart.h"

#include <gmock/gmock.h>

#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "taps.h"

namespace {

// The name holds what a format or a form would trip over.
constexpr char kOddFile[] = "/media/mmcblk0p1/%s%n\"data\".tar.gz";
// A body is a head, the file and a closing of 44 bytes.
constexpr std::size_t kHeadBytes = 156;
constexpr std::size_t kFramingBytes = kHeadBytes + 44;
constexpr std::size_t kRoomBytes = 2048;

class Multipart : public test::GatewayTest {};

TEST_F(Multipart, PutsHeadFileAndClosingTogether) {
  test::WriteFile(kOddFile, "x");
  MultipartBody body(7);  // a file may have shrunk meanwhile

  EXPECT_TRUE(body.Build(kOddFile));
  EXPECT_EQ(body.Text(),
            "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
            "Content-Disposition:form-data;name=\"licence\";filename=\"%s%n\"data\".tar.gz\"\r\n"
            "Content-Type:application/octet-stream\r\n"
            "\r\n"
            "x\r\n"
            "----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n");
}

TEST_F(Multipart, TakesAFileThatHasBecomeEmpty) {
  test::WriteFile(kOddFile, "");
  MultipartBody body(7);

  EXPECT_TRUE(body.Build(kOddFile));
  EXPECT_EQ(body.Text().size(), kFramingBytes);
}

TEST_F(Multipart, TakesAFileThatJustFitsItsRoomAndRefusesOneByteMore) {
  const std::string content(100 + kRoomBytes - kFramingBytes, 'x');
  test::WriteFile(kOddFile, content);
  MultipartBody body(100);

  EXPECT_TRUE(body.Build(kOddFile));
  EXPECT_EQ(body.Text().size(), 2148U);
  EXPECT_EQ(body.Text().find(content), kHeadBytes);
  test::WriteFile(kOddFile, content + "x");
  EXPECT_FALSE(MultipartBody(100).Build(kOddFile));
  EXPECT_THAT(test::TextLog(), ::testing::IsEmpty());
}

TEST_F(Multipart, RefusesAFileThatCannotBeReadWhole) {
  test::WriteFile(kOddFile, "archive");
  MultipartBody body(7);
  test::ShortenNextRead();

  EXPECT_FALSE(body.Build(kOddFile));
}

TEST_F(Multipart, ConvertsToFalseWithoutMemoryForEitherBuffer) {
  for (const int skipped : {0, 1}) {
    test::FailCalls(test::Call::kCalloc, 1, skipped);

    EXPECT_FALSE(static_cast<bool>(MultipartBody(100)));
  }
}

}  // namespace
