// The cloud as a program: its options reach the simulator, and it ends as asked.
#include <gmock/gmock.h>

#include "cloudclient.h"
#include "program/control.h"
#include "programrun.h"

namespace {

using namespace test;
using ::testing::HasSubstr;

// The port in a line like "listening on 127.0.0.1:8080".
int PortIn(const std::string& line) {
  return std::atoi(line.substr(line.rfind(':') + 1).c_str());
}

TEST(CloudProgram, KeepsUploadsAndEndsAfterAsManyAsAsked) {
  ProgramRun run(BRENNIK_CLOUD_SIMULATOR,
                 "--port=0 --exit-after=2 --sn=S1 --prefix=/plant --uploads=/tmp/kept");
  const int port = PortIn(run.ReadLine());
  const std::string upload = Replaced(RealUpload(), "/eqpapi", "/plant/eqpapi");

  Ask(port, upload);
  Ask(port, upload);

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_TRUE(Exists("/tmp/kept/realdata/S20240301100000.tar.gz"));
}

TEST(CloudProgram, PassesItsOptionsOn) {
  ProgramRun run(BRENNIK_CLOUD_SIMULATOR,
                 "--address=127.0.0.3 --port=0 --redirect=127.0.0.2:8080 --authorize refuse "
                 "--realdata=\"http:500:'busy'\" "
                 "--order '7:1/3:1123@2024-03-01 08:00:00..2024-03-01 08:01:00'");
  const int port = PortIn(run.ReadLine());

  EXPECT_THAT(Ask(port, Login(), "127.0.0.3").body, ::testing::StartsWith(R"({"status":1)"));
  EXPECT_EQ(Ask(port, RealUpload(), "127.0.0.2").body, "busy");
  EXPECT_EQ(Ask(port, AddressCheck(), "127.0.0.3").body,
            R"({"status":0,"message":"ok","data":[{"realIpAddress":"127.0.0.2:8080"}]})");
  EXPECT_THAT(Ask(port, RecallCheck(), "127.0.0.2").body, HasSubstr("\"1123\""));
}

TEST(CloudProgram, TakesOrdersWhileItRuns) {
  ProgramRun run(BRENNIK_CLOUD_SIMULATOR, "--port=0 --control=/tmp/cloud.sock");
  const int port = PortIn(run.ReadLine());
  const program::ControlClient control("/tmp/cloud.sock");
  ASSERT_TRUE(Await([&] { return control.Call(R"({"do":"state"})").ok; }));

  for (const char* order :
       {R"({"do":"stand","endpoint":"realdata","behaviour":"http:503:'busy'"})",
        R"({"do":"script","endpoint":"authorize","behaviours":"refuse*3"})",
        R"({"do":"redirect","to":"127.0.0.2:8080"})",
        R"({"do":"order","order":"7:1/3:1123@2024-03-01 08:00:00..2024-03-01 08:01:00"})"}) {
    EXPECT_TRUE(control.Call(order).ok) << order;
  }

  EXPECT_EQ(Ask(port, RealUpload()).body, "busy");
  EXPECT_THAT(Ask(port, Login()).body, ::testing::StartsWith(R"({"status":1)"));
  EXPECT_THAT(Ask(port, AddressCheck(), "127.0.0.2").body, HasSubstr("127.0.0.2:8080"));
  EXPECT_THAT(Ask(port, RecallCheck()).body, HasSubstr("\"1123\""));
  EXPECT_EQ(control.Call(R"({"do":"state"})").line,
            R"({"ok":true,"standing":{"realdata":"http:503:'busy'"},"queued":{"authorize":2},)"
            R"("redirect":"127.0.0.2:8080","orders":[7]})");
  EXPECT_TRUE(control.Call(R"({"do":"normal"})").ok);
  EXPECT_TRUE(control.Call(R"({"do":"redirect","to":""})").ok);
  EXPECT_EQ(control.Call(R"({"do":"state"})").line,
            R"({"ok":true,"standing":{},"queued":{},"redirect":"","orders":[7]})");
}

TEST(CloudProgram, SaysWhyAnOrderMakesNoSense) {
  const ProgramRun run(BRENNIK_CLOUD_SIMULATOR, "--port=0 --control=/tmp/cloud.sock");
  const program::ControlClient control("/tmp/cloud.sock");
  ASSERT_TRUE(Await([&] { return control.Call(R"({"do":"state"})").ok; }));

  const std::vector<std::pair<const char*, const char*>> rows = {
      {R"({"do":"dance"})", "no order 'dance'"},
      {R"({"do":"stand","endpoint":"moon","behaviour":"refuse"})", "no endpoint 'moon'"},
      {R"({"do":"stand","endpoint":"realdata","behaviour":"refuse*2"})", "single"},
      {R"({"do":"script","endpoint":"realdata","behaviours":"later"})", "later"},
      {R"({"do":"redirect","to":"10.1.2.3:8080"})", "not a loopback address"},
      {R"({"do":"order","order":"7"})", "':'"}};
  for (const auto& [order, fragment] : rows) {
    EXPECT_THAT(control.Call(order).error, HasSubstr(fragment)) << order;
  }
}

TEST(CloudProgram, RefusesABadCommandLine) {
  for (const char* arguments : {"--bogus", "extra", "--address 0.0.0.0", "--redirect 10.1.2.3:8080",
                                "--calldata ok,later"}) {
    EXPECT_EQ(ProgramRun(BRENNIK_CLOUD_SIMULATOR, arguments).Wait(), 2) << arguments;
  }
}

}  // namespace
