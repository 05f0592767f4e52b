// The login and the uploads of what is pending.
#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "support/databasefile.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using test::LedgerRow;
using ::testing::ElementsAre;

// The service starts at 11:59:30 without an acquisition side: nothing is packed, and the first
// uploads begin at 12:00:00.
class UploadRoad : public test::ConnectedTest {
 protected:
  // Pending files with the stamps 10:00:00, 10:05:00 and so on, packed and recorded; their names.
  static std::vector<std::string> WritePending(int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
      names.push_back(test::PackDataFile(At(10, 0) + i * 300));
      test::WriteLedger({{names.back()}});
    }
    return names;
  }
};

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

TEST_F(UploadRoad, BeginsOnceTheCloudIsThere) {
  std::optional<cloud::Simulator> cloud(std::in_place, cloud::Settings{});
  const int port = cloud->Port();
  cloud.reset();
  test::SystemFile(port).Write();
  WritePending(1);
  test::ServiceProcess service(At(11, 59, 30));
  service.RunUntil(At(12, 2, 10));
  cloud.emplace(cloud::Settings{.port = port});

  service.RunUntil(At(12, 4, 10));

  EXPECT_EQ(cloud->AcceptedUploads().size(), 1U);
}

TEST_F(UploadRoad, StopsAtTheFirstFailureUntilTheNextBoundary) {
  m_cloud.Script(Endpoint::kRealData,
                 {Behaviour::Normal(), Behaviour::Normal(), Behaviour::Refuse()});
  const auto names = WritePending(5);
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 0, 59));
  EXPECT_EQ(test::ReadLedger(),
            (std::vector<LedgerRow>{
                {names[0]}, {names[1]}, {names[2]}, {names[3], 2, 1}, {names[4], 2, 1}}));
  service.RunUntil(At(12, 1, 30));

  EXPECT_EQ(test::CountResults(1), 5);
}

// A clock that stood in the future has left a file that stays the newest.
TEST_F(UploadRoad, WaitsBehindARefusedFileOfTheFutureUntilItsRowIsFreed) {
  m_cloud.Script(Endpoint::kRealData, {Behaviour::Refuse(), Behaviour::Refuse()});
  WritePending(2);
  const std::string future = test::PackDataFile(On(2030, 1, 21));
  test::WriteLedger({{future}});
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

TEST_F(UploadRoad, PutsNewFilesBeforeTheBacklog) {
  m_cloud.Script(Endpoint::kRealData, {Behaviour::Refuse()});
  WritePending(2);
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 1, 30));

  EXPECT_THAT(FileNames(Endpoint::kRealData),
              ElementsAre("S20240307100500.tar.gz", "S20240307120000.tar.gz",
                          "S20240307100500.tar.gz", "S20240307100000.tar.gz"));
}

}  // namespace
