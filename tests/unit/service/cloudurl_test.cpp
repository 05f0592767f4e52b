// Where the requests go.
#include "service/cloudurl.h"

#include <gmock/gmock.h>

#include "cloudfixture.h"

namespace {

using test::SysXml;

template <typename Frame>
class CloudFrame : public test::CloudTest {
 protected:
  static Frame Address(const std::string& host) {
    Frame frame{};
    AddressFrame(frame, host, "/eqpapi/E");
    return frame;
  }
};

using Frames = ::testing::Types<ST_FRAME_MEMORY_UPLOAD, ST_FRAME_FILE_UPLOAD>;
TYPED_TEST_SUITE(CloudFrame, Frames);

TYPED_TEST(CloudFrame, CarriesTheUrlTheFileTypeAndTheMethod) {
  test::Load(SysXml().Cloud("port", "65535").Cloud("Dir", "/%s%n").Cloud("FileType", "%d"));

  const auto frame = this->Address("10.1.2.3");

  EXPECT_STREQ(frame.url, "http://10.1.2.3:65535/%s%n/eqpapi/E");
  EXPECT_STREQ(frame.fileType, "%d");
  EXPECT_STREQ(frame.method, "POST");
}

TYPED_TEST(CloudFrame, CutsItsUrlAt127Characters) {
  test::Load(SysXml().Cloud("port", "80").Cloud("Dir", "/" + std::string(62, 'p')));
  const std::string host(63, 'h');

  const auto frame = this->Address(host);

  const std::string whole = "http://" + host + ":80/" + std::string(62, 'p') + "/eqpapi/E";
  EXPECT_EQ(frame.url, whole.substr(0, 127));
}

}  // namespace
