// Where the requests go.
#include "service/cloudurl.h"

#include <gmock/gmock.h>

#include "cloudfixture.h"
#include "config/sysset.h"

namespace {

using test::SysXml;

template <typename Frame>
class CloudAddress : public test::CloudTest {
 protected:
  static Frame Addressed(const char* host, const char* endpoint) {
    Frame frame{};
    cloud::Address(&frame, host, endpoint);
    return frame;
  }
};

using Frames = ::testing::Types<ST_FRAME_MEMORY_UPLOAD, ST_FRAME_FILE_UPLOAD>;
TYPED_TEST_SUITE(CloudAddress, Frames);

TYPED_TEST(CloudAddress, IsHostPortPrefixAndEndpoint) {
  test::Load(SysXml().Cloud("port", "8080").Cloud("Dir", "/prefix"));

  const auto frame = this->Addressed("10.1.2.3", "/eqpapi/EqpAuthorize");

  EXPECT_STREQ(frame.url, "http://10.1.2.3:8080/prefix/eqpapi/EqpAuthorize");
}

TYPED_TEST(CloudAddress, IsWithoutAPrefixWhereNoneIsConfigured) {
  test::Load(SysXml());

  const auto frame = this->Addressed("10.1.2.3", "/eqpapi/EqpAuthorize");

  EXPECT_STREQ(frame.url, "http://10.1.2.3:80/eqpapi/EqpAuthorize");
}

TYPED_TEST(CloudAddress, KnowsPortsUpTo65535) {
  test::Load(SysXml().Cloud("port", "65535"));

  const auto frame = this->Addressed("h", "/e");

  EXPECT_STREQ(frame.url, "http://h:65535/e");
}

TYPED_TEST(CloudAddress, IsCutAt127Characters) {
  const std::string host(63, 'h');
  const std::string prefix = "/" + std::string(62, 'p');
  test::Load(SysXml().Cloud("port", "8080").Cloud("Dir", prefix));

  const auto frame = this->Addressed(host.c_str(), "/eqpapi/EqpAuthorize");

  const std::string whole = "http://" + host + ":8080" + prefix + "/eqpapi/EqpAuthorize";
  EXPECT_EQ(frame.url, whole.substr(0, 127));
  EXPECT_STREQ(frame.fileType, "json");
}

TYPED_TEST(CloudAddress, ComesWithTheFileTypeAndTheMethod) {
  test::Load(SysXml().Cloud("FileType", "fifteen-letters"));

  const auto frame = this->Addressed("h", "/e");

  EXPECT_STREQ(frame.fileType, "fifteen-letters");
  EXPECT_STREQ(frame.method, "POST");
}

TYPED_TEST(CloudAddress, TakesAPercentSignInTheFileTypeAndThePrefixAsItStands) {
  test::Load(SysXml().Cloud("FileType", "%s%n").Cloud("Dir", "/%s%n%d"));

  const auto frame = this->Addressed("h", "/e");

  EXPECT_STREQ(frame.fileType, "%s%n");
  EXPECT_STREQ(frame.url, "http://h:80/%s%n%d/e");
}

TYPED_TEST(CloudAddress, LeavesTheRestOfTheFrameZero) {
  const auto frame = this->Addressed("h", "/e");

  EXPECT_EQ(frame.answerCallback, nullptr);
  EXPECT_EQ(frame.readCallback, nullptr);
  EXPECT_EQ(frame.successFlag, 0);
}

TEST(Endpoints, AreTheCloudsOwn) {
  EXPECT_STREQ(cloud::kAuthorize, "/eqpapi/EqpAuthorize");
  EXPECT_STREQ(cloud::kUploadRealData, "/eqpapi/EqpUploadDataInfo");
  EXPECT_STREQ(cloud::kUploadAlarmData, "/eqpapi/EqpUploadAlarmDataInfo");
}

}  // namespace
