#include "system/support/ledger.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <stdexcept>

#include "support/databasefile.h"
#include "support/files.h"
#include "system/support/plant.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "util/text.h"
#include "util/timetext.h"

namespace test {
namespace {

constexpr char kCreate[] =
    "create table if not exists tJsonFileNames(FileName VARCHAR(32) PRIMARY KEY ASC,"
    "FileType TINYINT DEFAULT 1,Result TINYINT DEFAULT 0)";

std::string Name(const char* folder, char prefix, std::time_t stamp) {
  const std::tm time = *util::LocalTime(stamp);
  return util::Format("%s/%d/%c%s.tar.gz", folder, time.tm_mday, prefix, util::Stamp(time).c_str());
}

}  // namespace

void PrintTo(const LedgerRow& row, std::ostream* out) {
  *out << row.name << '|' << row.type << '|' << row.result;
}

std::vector<LedgerRow> ReadLedger() {
  std::vector<LedgerRow> rows;
  if (!Exists(paths::kLedger)) return rows;
  util::Database database(paths::kLedger);
  util::Statement found =
      database.Prepare("select FileName, FileType, Result from tJsonFileNames order by FileName");
  while (found && found.NextRow()) {
    rows.push_back({std::string(found.Text(0)), found.Integer(1), found.Integer(2)});
  }
  return rows;
}

int CountResults(int result) {
  const auto rows = ReadLedger();
  return static_cast<int>(
      std::ranges::count_if(rows, [=](const LedgerRow& row) { return row.result == result; }));
}

void WriteLedger(const std::vector<LedgerRow>& rows) {
  std::filesystem::create_directories(paths::kLedgerDirectory);
  DatabaseFile ledger(paths::kLedger);
  ledger.Run(kCreate);
  ledger.Run("begin");
  for (const auto& row : rows) {
    ledger.Run(util::Format("insert into tJsonFileNames values('%s',%d,%d)", row.name.c_str(),
                            row.type, row.result));
  }
  ledger.Run("commit");
}

std::string RealDataName(std::time_t stamp) {
  return Name("realdata", 'S', stamp);
}

std::string AlarmDataName(std::time_t stamp) {
  return Name("alarmdata", 'T', stamp);
}

std::string StampOf(std::time_t when) {
  return util::Stamp(*util::LocalTime(when));
}

std::string StampOf(const std::string& name) {
  return name.substr(name.size() - 21, 14);
}

std::string BaseOf(const std::string& name) {
  return name.substr(name.rfind('/') + 1);
}

std::string DataFilePath(const std::string& name) {
  return paths::kDataFiles + ("/" + name);
}

std::string PackDataFile(std::time_t stamp) {
  const std::string name = RealDataName(stamp);
  const std::filesystem::path archive = DataFilePath(name);
  const std::string member = archive.stem().stem().string() + ".dat";
  const std::string text = (archive.parent_path() / member).string();
  WriteFile(text, EmptyDocument());
  const std::string command =
      "tar -C " + archive.parent_path().string() + " -zcf " + archive.string() + " " + member;
  if (std::system(command.c_str()) != 0) throw std::runtime_error(command);
  std::filesystem::remove(text);
  return name;
}

}  // namespace test
