#include "workerfixture.h"

#include <sstream>

#include "config/channelset.h"
#include "config/snset.h"
#include "config/sysset.h"
#include "historydata/historydata.h"
#include "schedule/schedule.h"
#include "support/logs.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"

namespace test {
namespace {

constexpr Pause kShortestRest = std::chrono::seconds(10);

void LoadConfiguration(std::uint16_t port) {
  WriteFile(paths::kVersionFile, "1.0\n");
  SysXml().Cloud("cloudip", "127.0.0.1").Cloud("port", std::to_string(port)).Write();
  GetCSysSetInstance().Open(paths::kSystemFile);
  GetCSysSetInstance().Close();
  WriteSnXml("Ostra-7K", "S1");
  GetCsnSetInstance().Open(paths::kIdentityFile);
  GetCsnSetInstance().Close();
  DeviceFile tank("tank");
  tank.Node("AI", 0x4D).Node("AI", 0x4E).Write();
  ChannelTemplate().Channel(1).Device(3, tank.Path()).Write();
  GetCChannelSetInstance().Open(paths::kChannelTemplate);
  GetCChannelSetInstance().Close();
}

// Does one action after each pause that is at least so long.
void Run(Worker worker, std::int32_t& interval, Pause shortest, Actions actions) {
  std::size_t done = 0;
  OnPause([&](Pause pause) {
    if (pause < shortest) return;
    actions[done++]();
    if (done == actions.size()) throw WorkerEnded{};
  });
  try {
    worker(&interval);
    ADD_FAILURE() << "a worker never returns";
  } catch (const WorkerEnded&) {  // the only way out of a worker
  }
  OnPause({});
}

// An earlier test may have left rows and marks in the ledger's memory. They go with this one's.
void ForgetLedger() {
  const std::vector<History_Data_Para> none;
  std::vector<History_Data_Para> rows;
  GetCHistoryDataInstance().SaveHistoryData(&none);
  GetCHistoryDataInstance().GetHistoryData(&rows);
  Empty(paths::kLedgerDirectory);
}

}  // namespace

std::string Granted() {
  return HttpAnswer(200, R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})");
}

std::string Refused() {
  return HttpAnswer(200, R"({"status":0,"message":"no","data":[{"seqStatus":1}]})");
}

std::string Accepted() {
  return HttpAnswer(200, R"({"status":0,"message":"ok"})");
}

std::string Rejected() {
  return HttpAnswer(200, R"({"status":1,"message":"no"})");
}

void RunThroughRests(Worker worker, std::int32_t& interval, Actions actions) {
  Run(worker, interval, kShortestRest, std::move(actions));
}

void RunToRest(Worker worker, std::int32_t& interval, int n) {
  RunThroughRests(worker, interval, Actions(static_cast<std::size_t>(n), [] {}));
}

void RunToPause(Worker worker, std::int32_t& interval, int n, std::function<void()> action) {
  Actions actions(static_cast<std::size_t>(n), [] {});
  actions.back() = std::move(action);
  Run(worker, interval, Pause::zero(), std::move(actions));
}

std::string PausesText() {
  std::ostringstream text;
  for (const Pause pause : Pauses()) {
    if (text.tellp() > 0) text << ' ';
    text << std::chrono::duration<double>(pause).count();
  }
  return text.str();
}

Ledger ReadLedger() {
  Ledger ledger;
  if (!Exists(paths::kLedger)) return ledger;
  util::Database database(paths::kLedger);
  util::Statement rows = database.Prepare("select FileName, FileType, Result from tJsonFileNames");
  while (rows && rows.NextRow()) {
    ledger[std::string(rows.Text(0))] =
        std::to_string(rows.Integer(1)) + " " + std::to_string(rows.Integer(2));
  }
  return ledger;
}

void WorkerTest::SetUp() {
  GatewayTest::SetUp();
  LoadConfiguration(m_cloud.Port());
  Interval_Info off{-1, -1, -1, -1, -1};
  CSchedule().Init(&off);
  ForgetLedger();
  SetTime(LocalTimeOf(2024, 3, 7, 12, 0, 10));
  DiscardLogs();
  ForgetPauses();
}

void WorkerTest::AddFile(const std::string& name, std::int32_t type) {
  WriteFile(std::string(paths::kDataFiles) + "/" + name, "archive");
  History_Data_Para row{};
  row.filetype = type;
  util::CopyText(row.filename, name);
  const std::vector<History_Data_Para> rows{row};
  GetCHistoryDataInstance().SaveHistoryData(&rows);
}

std::vector<std::string> WorkerTest::Uploaded() const {
  constexpr char kMark[] = "filename=\"";
  std::vector<std::string> names;
  for (const auto& request : m_cloud.Requests()) {
    const auto mark = request.body.find(kMark);
    if (mark == std::string::npos) continue;
    const auto from = mark + sizeof(kMark) - 1;
    names.push_back(request.body.substr(from, request.body.find('"', from) - from));
  }
  return names;
}

std::vector<std::string> WorkerTest::Requested() const {
  std::vector<std::string> names;
  for (const auto& request : m_cloud.Requests()) {
    const std::string line = request.Line();
    const std::string path = line.substr(0, line.rfind(' '));
    names.push_back(path.substr(path.rfind('/') + 1));
  }
  return names;
}

}  // namespace test
