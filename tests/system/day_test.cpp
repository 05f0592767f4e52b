// Whole days of the running service, with everything accounted for.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/ledger.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/text.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;

constexpr int kCycles = 288;  // of a day, 300 s each
constexpr int kCycleSeconds = 300;

class Day : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
  }

  // The live values of a cycle: the discharge pressure is the cycle's number.
  static std::vector<SegmentPoint> Values(int cycle) {
    auto values = test::ExampleValues();
    values[0].value = cycle;
    return values;
  }

  static std::string Document(int cycle) {
    const int minutes = cycle * kCycleSeconds / 60;
    std::string document =
        test::ExampleDocument(util::Format("2024-03-07 %02d:%02d:00", minutes / 60, minutes % 60));
    return document.replace(document.find("12.500"), 6, util::Format("%d.000", cycle));
  }

  // The day's data files, each with what must be in it.
  static std::map<std::string, std::string> Documents() {
    std::map<std::string, std::string> documents;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
      const std::string name = test::RealDataName(At(0, 0) + cycle * kCycleSeconds);
      documents[name.substr(name.rfind('/') + 1)] = Document(cycle);
    }
    return documents;
  }

  // Lives through the cycles from `first` to before `end`, each with values of its own.
  static void RunCycles(test::ServiceProcess& service, Segment& segment, int first, int end) {
    for (int cycle = first; cycle < end; ++cycle) {
      segment.Write(Values(cycle));
      service.RunUntil(At(0, 0) + (cycle + 1) * kCycleSeconds - 1);
    }
  }

  // What the cloud has accepted, each file once, is what was packed: as documents and as bytes.
  static void CheckCopies(const std::vector<cloud::Exchange>& uploads) {
    std::map<std::string, std::string> copies;
    for (const auto& upload : uploads) {
      const std::string path = test::DataFilePath("realdata/7/" + upload.fileName);
      EXPECT_EQ(upload.archive, test::ReadFile(path)) << path;
      copies[upload.fileName] = upload.document;
    }
    EXPECT_EQ(copies, Documents());
    EXPECT_EQ(copies.size(), uploads.size()) << "a file was accepted twice";
  }
};

// Every sixth upload goes wrong, each time in another way.
std::vector<Behaviour> Troubles(int count) {
  const std::vector<Behaviour> troubles = {Behaviour::Refuse(), Behaviour::Status(503, "busy"),
                                           Behaviour::Nonsense("<html>"), Behaviour::Close()};
  std::vector<Behaviour> script;
  for (int i = 0; i < count; ++i) {
    script.insert(script.end(), 5, Behaviour::Normal());
    script.push_back(troubles[static_cast<std::size_t>(i) % troubles.size()]);
  }
  return script;
}

TEST_F(Day, WithTroublesEndsWithEverythingAccepted) {
  constexpr int kTroubles = 40;
  constexpr int kAddressChecks = 143;  // every ten minutes from 00:10 to 23:50
  cloud::Simulator cloud({.serialNumber = test::kSerialNumber});
  cloud.Script(Endpoint::kRealData, Troubles(kTroubles));
  test::SystemFile(cloud.Port()).Write();
  Segment segment(Values(0));
  test::ServiceProcess service(At(0, 0));

  RunCycles(service, segment, 0, kCycles);

  EXPECT_EQ(test::CountResults(1), kCycles);
  EXPECT_EQ(test::CountResults(0), 0);
  EXPECT_EQ(cloud.Exchanges().size(), 1U + kCycles + kTroubles + kAddressChecks);
  CheckCopies(cloud.AcceptedUploads());
}

TEST_F(Day, WithoutACloudUntilNoonIsMadeUpForAfterwards) {
  auto cloud = std::make_unique<cloud::Simulator>(cloud::Settings{});
  const int port = cloud->Port();
  cloud.reset();
  test::SystemFile(port).Write();
  Segment segment(Values(0));
  test::ServiceProcess service(At(0, 0));
  RunCycles(service, segment, 0, kCycles / 2);
  const int pendingAtNoon = test::CountResults(0);
  cloud = std::make_unique<cloud::Simulator>(cloud::Settings{.port = port});

  RunCycles(service, segment, kCycles / 2, kCycles);

  EXPECT_EQ(pendingAtNoon, kCycles / 2);
  EXPECT_EQ(test::CountResults(1), kCycles);
  CheckCopies(cloud->AcceptedUploads());
}

TEST_F(Day, WithTheProcessKilledTwiceLosesNothing) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  Segment segment(Values(0));
  for (const int first : {0, kCycles / 3, 2 * kCycles / 3}) {
    segment.Write(Values(first));
    test::ServiceProcess service(At(0, 0) + first * kCycleSeconds);
    RunCycles(service, segment, first, first + kCycles / 3);
  }

  EXPECT_EQ(test::CountResults(1), kCycles);
  CheckCopies(cloud.AcceptedUploads());
}

}  // namespace
