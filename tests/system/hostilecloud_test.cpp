// A cloud that answers nonsense, too much, in pieces, too slowly or not at all. Each exchange meets
// each misbehaviour once, and the next sound answer must do.
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>

#include "system/support/hostileserver.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"

namespace test {
namespace {

constexpr long kMostKib = 40L << 10;
constexpr std::size_t kMuch = 64U << 20;  // more than the service may need
const std::string kHead = "HTTP/1.1 200 OK\r\n";
const std::string kNoLength = kHead + "\r\n";
const std::string kChunked = kHead + "Transfer-Encoding: chunked\r\n\r\n";
const std::string kLast = "~\r\n@\r\n0\r\n";

struct CloudRow {
  const char* name;
  Misdeed misdeed;
};

// An alarm file is pending. By 12:27 the service has checked its address twice and uploaded often.
class HostileCloud : public SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    WriteEmptyPlant();
    const std::string alarms = AlarmDataName(At(9, 0));
    WriteFile(DataFilePath(alarms), "the alarms");
    WriteLedger({{alarms, kAlarmDataType}});
  }
};

class Misbehaviour : public HostileCloud, public ::testing::WithParamInterface<CloudRow> {};

// Sanitizers and emulators have memory of their own.
bool IsPlainBuild() {
  return std::getenv("BRENNIK_SERVICE") == nullptr && std::getenv("QEMU_LD_PREFIX") == nullptr;
}

TEST_P(Misbehaviour, CostsNoMoreThanTheExchange) {
  HostileServer server(GetParam().misdeed);
  SystemFile(server.Port(), {.recall = 60}).Write();
  const Segment segment(ExampleValues());
  ServiceProcess service(At(11, 58, 50));

  service.RunUntil(At(12, 27));

  EXPECT_EQ(server.Met(), 6U);
  EXPECT_TRUE(server.IsFollowed());
  EXPECT_EQ(CountResults(0), 0);
  if (IsPlainBuild()) {
    EXPECT_LT(service.PeakKib(), kMostKib);
    std::cout << "peak " << service.PeakKib() << " KiB\n";
  }
}

std::string Repeated(const std::string& part, int times) {
  std::string all;
  while (times-- > 0) all += part;
  return all;
}

constexpr auto kName = [](const auto& row) { return row.param.name; };

INSTANTIATE_TEST_SUITE_P(
    Connection, Misbehaviour,
    ::testing::Values(CloudRow{"Closed", Says("")},
                      CloudRow{"ClosedInTheHeaders", Says(kHead + "Content-Le")},
                      CloudRow{"ClosedInTheBody",
                               Says(kHead + "Content-Length: 500\r\n\r\n{\"status\":0")},
                      CloudRow{"Reset", Resets("")},
                      CloudRow{"ResetInTheBody", Resets(kNoLength + "{\"status\":0")},
                      CloudRow{"Silent", Stalls("")},
                      CloudRow{"AByteASecond", Stalls("", kHead + Repeated("x", 200))},
                      CloudRow{"SilentInTheBody", Stalls(kNoLength + "{\"status\":0")}),
    kName);

INSTANTIATE_TEST_SUITE_P(
    Http, Misbehaviour,
    ::testing::Values(
        CloudRow{"NoHttp", Says("SSH-2.0-OpenSSH_9.2\r\n")},
        CloudRow{"NoContent", Says("HTTP/1.1 204 No Content\r\n\r\n")},
        CloudRow{"NotFoundWithASoundBody", Says("HTTP/1.1 404 Not Found\r\n\r\n@")},
        CloudRow{"LengthTooSmall", Says(kHead + "Content-Length: 10\r\n\r\n@")},
        CloudRow{"AHeaderWithoutEnd", Floods(kHead, "x", kMuch)},
        CloudRow{"Gzip", Says(kHead + "Content-Encoding: gzip\r\n\r\n\x1f\x8b\x08\x10\x03\x01")}),
    kName);

INSTANTIATE_TEST_SUITE_P(
    Body, Misbehaviour,
    ::testing::Values(CloudRow{"TwoThousandPieces",
                               Says(kChunked + Repeated("1\r\n \r\n", 2000) + kLast + "\r\n")},
                      CloudRow{"Much", Floods(kNoLength, "x", kMuch)},
                      CloudRow{"Html", Answers("<html>status</html>")},
                      CloudRow{"WrongTypes", Answers(R"({"status":{},"message":{},"data":{}})")},
                      CloudRow{"NestedDeeply",
                               Answers(R"({"message":"","status":)" + Repeated("[", 100000) +
                                       Repeated("]", 100000) + "}")}),
    kName);

TEST_F(HostileCloud, HoldsUpNoPackingByItsSilence) {
  HostileServer server(Stalls(""));
  SystemFile(server.Port()).Write();
  const Segment segment(ExampleValues());
  ServiceProcess service(At(11, 58, 50));

  service.RunUntil(At(12, 6));

  EXPECT_TRUE(Exists(DataFilePath(RealDataName(At(12, 0)))));
  EXPECT_TRUE(Exists(DataFilePath(RealDataName(At(12, 5)))));
}

using BrokenPipe = ConnectedTest;

TEST_F(BrokenPipe, DoesNotEndTheService) {
  const Segment segment(ExampleValues());
  ServiceProcess service(At(12, 0));
  ASSERT_EQ(kill(service.Pid(), SIGPIPE), 0);

  service.RunUntil(At(12, 6, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(m_cloud.AcceptedUploads().size(), 2U);
}

}  // namespace
}  // namespace test
