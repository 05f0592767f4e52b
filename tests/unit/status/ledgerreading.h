// Ledgers as the service makes them, and the status tool's reading of them.
#pragma once

#include <string>
#include <vector>

#include "collect/ledger.h"
#include "historydata/ledgerfile.h"
#include "support/databasefile.h"
#include "support/gateway.h"
#include "util/text.h"

namespace test {

inline constexpr bool kRuns = true;  // the service

inline std::string RealName(const std::string& stamp) {
  return "realdata/7/S" + stamp + ".tar.gz";
}

class LedgerReading : public GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    Empty("/tmp");
  }

  // A ledger as the service makes it.
  static DatabaseFile MakeLedger() {
    MakeMissingLedger();
    DatabaseFile ledger(paths::kLedger);
    ledger.Run("PRAGMA journal_mode=PERSIST");
    ledger.Run(CreateRecallStatement());
    return ledger;
  }
  static void Insert(DatabaseFile& ledger, const std::string& name, int type = kRealDataFile,
                     int result = 0) {
    ledger.Run(util::Format("insert into %s(filetype,filename,result) values(%d,'%s',%d)",
                            kPendingTable, type, name.c_str(), result));
  }
  // So many accepted files "realdata/7/N000001.tar.gz" and so on, without stamps.
  static void InsertMany(DatabaseFile& ledger, int rows) {
    ledger.Run(
        util::Format("with recursive n(i) as (select 1 union all select i+1 from n where "
                     "i<%d) insert into %s(filetype,filename,result) select 2, "
                     "printf('realdata/7/N%%06d.tar.gz',i), 1 from n",
                     rows, kPendingTable));
  }
  static status::Ledger Read(bool serviceRuns = false, const status::EachRow& each = {}) {
    return status::ReadLedger(status::Place(), serviceRuns, each);
  }
  static std::vector<std::string> Folder() { return List(paths::kLedgerDirectory); }
};

}  // namespace test
