// The upload and retry worker.
#include <gmock/gmock.h>

#include <filesystem>

#include "schedule/workers.h"
#include "util/paths.h"
#include "util/text.h"
#include "workerfixture.h"

namespace {

using namespace test;
using namespace testing;

constexpr char kLogin[] = "EqpAuthorize";
constexpr char kRealData[] = "EqpUploadDataInfo";
constexpr char kAlarmData[] = "EqpUploadAlarmDataInfo";

// The name of the n-th file of the hour.
std::string BaseName(int n) {
  return util::Format("S202403071100%02d.tar.gz", n);
}
std::string Name(int n) {
  return "realdata/7/" + BaseName(n);
}

class UploadWorker : public WorkerTest {
 protected:
  // Adds five files; the cloud refuses the third and accepts everything else.
  void AddFiveAndRefuseTheThird() {
    for (int n = 1; n <= 5; ++n) AddFile(Name(n));
    m_cloud.Answer(Granted()).Answer(Accepted()).Answer(Accepted()).Answer(Rejected());
    for (int i = 0; i < 3; ++i) m_cloud.Answer(Accepted());
  }

  std::int32_t m_interval = 60;
};

TEST_F(UploadWorker, LogsInOnceWithARetryAMinuteAfterARefusalAndSendsNothingMeanwhile) {
  AddFile(Name(1));
  m_cloud.Answer(Refused()).Answer(Refused()).Answer(Granted());
  const auto expectLogins = [this] {
    EXPECT_THAT(Requested(), ElementsAre(kLogin, kLogin, kLogin));
    EXPECT_EQ(PausesText(), "60 60 50");
  };

  RunThroughRests(HandleFail, m_interval, {[] {}, [] {}, expectLogins, [] {}, [] {}});

  EXPECT_THAT(Requested(), ElementsAre(kLogin, kLogin, kLogin, kRealData, kRealData));
}

TEST_F(UploadWorker, SendsTheNewestFirstUpToTheFirstFailureAndTheRestInTheNextCycle) {
  AddFiveAndRefuseTheThird();
  const auto expectTwoMarks = [] {
    EXPECT_THAT(ReadLedger(),
                ElementsAre(Pair(Name(1), "2 0"), Pair(Name(2), "2 0"), Pair(Name(3), "2 0"),
                            Pair(Name(4), "2 1"), Pair(Name(5), "2 1")));
    AddFile(Name(6));
  };

  RunThroughRests(HandleFail, m_interval, {[] {}, expectTwoMarks, [] {}});

  EXPECT_THAT(Uploaded(), ElementsAre(BaseName(5), BaseName(4), BaseName(3), BaseName(6),
                                      BaseName(3), BaseName(2), BaseName(1)));
}

TEST_F(UploadWorker, PausesThreeSecondsAfterAnAcceptedFileAndFiveAfterARefusedOne) {
  AddFiveAndRefuseTheThird();

  RunToRest(HandleFail, m_interval, 2);

  EXPECT_EQ(PausesText(), "50 3 3 5 49");
}

TEST_F(UploadWorker, MarksAnAcceptedFileBeforeItPauses) {
  AddFile(Name(1));
  m_cloud.Answer(Granted()).Answer(Accepted());

  RunToPause(HandleFail, m_interval, 2,
             [] { EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), "2 1"))); });
}

TEST_F(UploadWorker, SendsEveryTypeButRealDataAsAlarms) {
  m_cloud.Answer(Granted());
  for (const int type : {1, 2, 3}) {
    AddFile(Name(type), type);
    m_cloud.Answer(Accepted());
  }

  RunToRest(HandleFail, m_interval, 2);

  EXPECT_THAT(Requested(), ElementsAre(kLogin, kAlarmData, kRealData, kAlarmData));
}

TEST_F(UploadWorker, CutsAPathAt127CharactersAndMarksTheWholeName) {
  const std::string name(127, 'n');
  const std::string cut = name.substr(0, 127 - sizeof(paths::kDataFiles));
  AddFile(name);
  std::filesystem::rename(paths::kDataFiles + ("/" + name), paths::kDataFiles + ("/" + cut));
  m_cloud.Answer(Granted()).Answer(Accepted());

  RunToRest(HandleFail, m_interval, 2);

  EXPECT_THAT(Uploaded(), ElementsAre(cut));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(name, "2 1")));
}

TEST_F(UploadWorker, PausesOneSecondWithoutALedgerAndMakesNone) {
  m_cloud.Answer(Granted());

  RunToRest(HandleFail, m_interval, 2);

  EXPECT_EQ(PausesText(), "50 1 59");
  EXPECT_FALSE(Exists(paths::kLedger));
}

}  // namespace
