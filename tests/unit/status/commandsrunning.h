// The commands in this process, with their standard output.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "historydata/historydata.h"
#include "historydata/ledgerfile.h"
#include "main/commands.h"
#include "support/configs.h"
#include "support/databasefile.h"
#include "support/gateway.h"
#include "util/text.h"

namespace test {

inline constexpr char kName[] = "realdata/7/S20240307040000.tar.gz";
inline constexpr char kTextLog[] = "/tmp/CloudLog/0307_log.txt";

struct Outcome {
  int status;
  std::string text;
};

class CommandsTest : public GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    SysXml()
        .Cloud("checked", "1")
        .Cloud("RealDataInv", "300")
        .Https("certfile", "/etc/geheim.pem")
        .Https("user", "anna")
        .Https("password", "secret'word")
        .Write();
    WriteSnXml("Ostra-7K-M", "TS20240117");
    ChannelTemplate().Channel(1).Device(3, DeviceFile("pump").Path()).Write();
    DeviceFile("pump").Node("AI", 1, "Level", "m").Write();
    Empty("/tmp/CloudLog");
  }

  static Outcome Run(int (*command)(const status::Options&), const std::string& argument = "",
                     long timeout = 1) {
    status::Options options;
    options.argument = argument;
    options.timeout = timeout;
    testing::internal::CaptureStdout();
    const int status = command(options);
    return {status, testing::internal::GetCapturedStdout()};
  }

  // A ledger with rows; the kind follows from the name.
  static void WriteLedger(const std::vector<std::pair<std::string, int>>& rows) {
    if (!Exists(paths::kLedger)) WriteFile(paths::kLedger, "");
    DatabaseFile ledger(paths::kLedger);
    if (ledger.Lines("select name from sqlite_master").empty())
      ledger.Run(CreatePendingStatement());
    for (const auto& [name, result] : rows) {
      const int type = name.starts_with("real") ? kRealDataFile : kAlarmDataFile;
      ledger.Run(util::Format("insert or replace into %s values('%s',%d,%d)", kPendingTable,
                              name.c_str(), type, result));
    }
  }
  // Appends a record of the tests' day: "04:00:02 INFO message".
  static void Log(const std::string& record) {
    WriteFile(kTextLog, ReadFile(kTextLog) + "2024-03-07 " + record.substr(0, 8) +
                            " logType:" + record.substr(9, record.find(' ', 9) - 9) + "\n" +
                            record.substr(record.find(' ', 9)) + "\n");
  }
  static void Shell(const std::string& command) {
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }
  static void WriteArchive() {
    WriteFile("/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307040000.dat",
              R"({"sn":"TS20240117","x":1.500})");
    Shell(
        "cd /media/mmcblk0p1/Cloud/JsonFiles/realdata/7 && tar -czf S20240307040000.tar.gz "
        "S20240307040000.dat && rm S20240307040000.dat && "
        "TZ=CST-8 touch -d '2024-03-07 04:00:01' S20240307040000.tar.gz");
  }
};

}  // namespace test
