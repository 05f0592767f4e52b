// The form in which a data file travels.
#include "http/multipart.h"

#include <gmock/gmock.h>

#include "filetap.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"

namespace {

constexpr char kFile[] = "/media/mmcblk0p1/data.tar.gz";
// What stands around the bytes of a file with a name of 11 characters.
constexpr std::size_t kHeadBytes = 150;
constexpr std::size_t kFramingBytes = kHeadBytes + 44;
constexpr std::size_t kRoomBytes = 2048;

class Multipart : public test::GatewayTest {};

TEST_F(Multipart, HasRoomForTheFileAnd2048Bytes) {
  const MultipartBody body(100);

  EXPECT_TRUE(static_cast<bool>(body));
  EXPECT_EQ(body.Capacity(), 2148U);
  EXPECT_EQ(body.Length(), 0U);
}

TEST_F(Multipart, WithoutMemoryForEitherBufferIsFalse) {
  test::FailCalls(test::Call::kCalloc, 1, 0);
  const MultipartBody withoutFirst(100);
  test::FailCalls(test::Call::kCalloc, 1, 1);
  const MultipartBody withoutSecond(100);

  EXPECT_FALSE(static_cast<bool>(withoutFirst));
  EXPECT_FALSE(static_cast<bool>(withoutSecond));
}

TEST_F(Multipart, IsHeadFileAndClosing) {
  test::WriteFile(kFile, "x");
  MultipartBody body(1);

  EXPECT_TRUE(body.Build(kFile));
  EXPECT_EQ(std::string(body.Data(), body.Length()),
            "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
            "Content-Disposition:form-data;name=\"licence\";filename=\"data.tar.gz\"\r\n"
            "Content-Type:application/octet-stream\r\n"
            "\r\n"
            "x\r\n"
            "----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n");
  EXPECT_EQ(body.Length(), kFramingBytes + 1);
}

TEST_F(Multipart, TakesAFileThatJustFitsItsRoom) {
  const std::string content(100 + kRoomBytes - kFramingBytes, 'x');
  test::WriteFile(kFile, content);
  MultipartBody body(100);

  EXPECT_TRUE(body.Build(kFile));
  EXPECT_EQ(body.Length(), body.Capacity());
  EXPECT_EQ(std::string(body.Data(), body.Length()).find(content), kHeadBytes);
}

TEST_F(Multipart, RefusesAFileThatIsOneByteTooLargeForItsRoom) {
  test::WriteFile(kFile, std::string(100 + kRoomBytes - kFramingBytes + 1, 'x'));
  MultipartBody body(100);

  EXPECT_FALSE(body.Build(kFile));
  EXPECT_THAT(test::TextLog(), ::testing::IsEmpty());
}

}  // namespace
