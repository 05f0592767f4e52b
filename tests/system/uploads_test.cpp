// The login and the uploads of what is pending.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/databasefile.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using ::testing::ElementsAre;

using UploadRoad = test::ConnectedTest;

TEST_F(UploadRoad, WaitsForTheLoginWhilePackingGoesOn) {
  m_cloud.Script(Endpoint::kAuthorize, std::vector<Behaviour>(15, Behaviour::Refuse()));
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(12, 14, 20));
  EXPECT_EQ(test::CountResults(0), 3);  // of 12:00, 12:05 and 12:10
  EXPECT_TRUE(Exchanges(Endpoint::kRealData).empty());
  service.RunUntil(At(12, 17));

  EXPECT_EQ(test::CountResults(1), 4);
  EXPECT_EQ(Exchanges(Endpoint::kAuthorize).size(), 16U);
}

// A clock that stood in the future has left a file that stays the newest.
TEST_F(UploadRoad, WaitsBehindARefusedFileOfTheFutureUntilItsRowIsFreed) {
  m_cloud.Script(Endpoint::kRealData, {Behaviour::Refuse(), Behaviour::Refuse()});
  const std::string future = test::PackDataFile(On(2030, 1, 21));
  test::WriteLedger({{test::PackDataFile(At(10, 0))}, {test::PackDataFile(At(10, 5))}, {future}});
  test::ServiceProcess service(At(11, 59, 30));
  service.RunUntil(At(12, 1, 30));

  // The statement of docs/operations.md.
  test::DatabaseFile(paths::kLedger)
      .Run("update tJsonFileNames set Result=1 where FileName='" + future + "'");
  service.RunUntil(At(12, 2, 30));

  EXPECT_THAT(FileNames(Endpoint::kRealData),
              ElementsAre("S20300121000000.tar.gz", "S20300121000000.tar.gz",
                          "S20240307100500.tar.gz", "S20240307100000.tar.gz"));
}

}  // namespace
