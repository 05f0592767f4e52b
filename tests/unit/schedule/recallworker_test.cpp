// The demand-recall worker.
#include <gmock/gmock.h>

#include "schedule/workers.h"
#include "support/databasefile.h"
#include "support/faults.h"
#include "support/historydatabase.h"
#include "support/logs.h"
#include "util/paths.h"
#include "workerfixture.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using test::Accepted;
using test::HttpAnswer;
using test::LogRecord;
using test::Rejected;
using test::RunToRest;

constexpr char kCheck[] = "EqpDataIfRecall";
constexpr char kUpload[] = "EqpDataRecall";

// An order of one point of channel 2, which publishes no live values.
std::string Ordered(int sequence, const std::string& begin = "2024-03-07 10:00:00",
                    const std::string& end = "2024-03-07 10:01:00") {
  return HttpAnswer(200, R"({"status":0,"message":"ok","data":[{"sn":"S1","id":)" +
                             std::to_string(sequence) +
                             R"(,"devs":[{"groupId":"2","eqpId":"7","ids":[{"pointId":"004D",)" +
                             R"("beginTime":")" + begin + R"(","endTime":")" + end + R"("}]}]}]})");
}

std::string NothingOrdered() {
  return HttpAnswer(200, R"({"status":0,"message":"ok","data":[]})");
}

// The line about a repeated order.
std::string Repeated(int sequence, int times) {
  const std::string number = std::to_string(sequence);
  return "Recall receive the same seq: " + number + "==" + number +
         " times:" + std::to_string(times) + ", Will recreate file after 3 times\r\n";
}

// The names of recall files in the ledger.
std::vector<std::string> RecallRows() {
  if (!test::Exists(paths::kLedger)) return {};
  return test::DatabaseFile(paths::kLedger).Lines("select FileName from recallJsonFile");
}

class RecallWorker : public test::WorkerTest {
 protected:
  void Poll(int polls) { RunToRest(HandleRecall, m_interval, polls); }

  std::int32_t m_interval = 77;
};

TEST_F(RecallWorker, AsksAtOnceAndSleepsAPlainIntervalBetweenPolls) {
  Poll(3);

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kCheck, kCheck));
  EXPECT_EQ(test::PausesText(), "77 77 77");
}

TEST_F(RecallWorker, AnswersAnOrderAtOnce) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());

  Poll(1);

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kUpload));
  EXPECT_THAT(Uploaded(), ElementsAre("R20240307120010.tar.gz"));
  EXPECT_THAT(test::List(paths::kCallData), ElementsAre("R20240307120010.tar.gz"));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RecallWorker, RecordsTheArchiveUnderItsFullPathBeforeItUploads) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());
  std::vector<std::string> atTheUpload;
  test::AtNextCall(test::Call::kPopen, [&] {
    test::AtNextCall(test::Call::kCurlEasyInit, [&] { atTheUpload = RecallRows(); });
  });

  Poll(1);

  EXPECT_THAT(atTheUpload, ElementsAre(paths::kCallData + std::string("/R20240307120010.tar.gz")));
}

TEST_F(RecallWorker, AnswersEveryNewNumberAtOnceAlsoANegativeOne) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(-1)).Answer(Accepted());

  Poll(2);

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kUpload, kCheck, kUpload));
}

TEST_F(RecallWorker, TakesNumberZeroForNoOrder) {
  m_cloud.Answer(Ordered(0));

  Poll(1);

  EXPECT_THAT(Requested(), ElementsAre(kCheck));
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

TEST_F(RecallWorker, AnswersNoOrderThatIsFaultyBehindItsNumber) {
  m_cloud.Answer(HttpAnswer(200, R"({"status":0,"data":[{"sn":"S1","id":9}]})"));
  m_cloud.Answer(Ordered(9)).Answer(Accepted());

  Poll(2);

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kCheck, kUpload));
}

TEST_F(RecallWorker, CountsTwoRepeatsOfAnOrderAndAnswersFromTheThirdOn) {
  for (const bool isAnswered : {true, false, false, true, true, true}) {
    m_cloud.Answer(Ordered(7));
    if (isAnswered) m_cloud.Answer(Accepted());
  }

  Poll(6);

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kUpload, kCheck, kCheck, kCheck, kUpload, kCheck,
                                       kUpload, kCheck, kUpload));
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(Repeated(7, 1), Repeated(7, 2)));
}

TEST_F(RecallWorker, CountsRepeatsAcrossPollsWithoutAnOrder) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(7)).Answer(NothingOrdered());
  m_cloud.Answer(Ordered(7));

  Poll(4);

  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(Repeated(7, 1), Repeated(7, 2)));
}

TEST_F(RecallWorker, CountsTheRepeatsOfANewNumberFromTheBeginning) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(7)).Answer(Ordered(7));
  m_cloud.Answer(Ordered(8)).Answer(Accepted()).Answer(Ordered(8));

  Poll(5);

  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(Repeated(7, 1), Repeated(7, 2), Repeated(8, 1)));
}

TEST_F(RecallWorker, RebuildsAndResendsAtTheNextPollAfterAFailedUpload) {
  m_cloud.Answer(Ordered(7)).Answer(Rejected()).Answer(Ordered(7)).Answer(Accepted());

  Poll(2);

  EXPECT_THAT(Uploaded(), ElementsAre("R20240307120010.tar.gz", "R20240307120128.tar.gz"));
  EXPECT_THAT(RecallRows(), SizeIs(2));
}

TEST_F(RecallWorker, RecordsAndSendsNothingWhenPackingFailsAndRetries) {
  m_cloud.Answer(Ordered(7)).Answer(Ordered(7)).Answer(Accepted());
  test::FailCalls(test::Call::kPopen, 3);

  test::RunThroughRests(HandleRecall, m_interval,
                        {[] { EXPECT_FALSE(test::Exists(paths::kLedger)); }, [] {}});

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kCheck, kUpload));
  EXPECT_THAT(test::DatabaseLog(),
              ElementsAre(LogRecord{"ERROR", "Brennik Create Recall Data File error"}));
}

TEST_F(RecallWorker, KeepsTheNumberOfItsLastAnswerWhenPackingFails) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(8)).Answer(Ordered(7));
  test::FailCalls(test::Call::kPopen, 3, 1);

  Poll(3);

  EXPECT_THAT(test::TextLog("WARN"), Contains(Repeated(7, 1)));
}

TEST_F(RecallWorker, TakesAnOrderThatIsTooLargeForAnswered) {
  test::HistoryDatabase().Series(0x0207004D, test::LocalTimeOf(2024, 2, 1),
                                 test::LocalTimeOf(2024, 2, 16));
  for (int i = 0; i < 2; ++i) {
    m_cloud.Answer(Ordered(7, "2024-02-01 00:00:00", "2024-02-16 00:00:00"));
  }

  Poll(2);

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kCheck));
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(HasSubstr("more than"), Repeated(7, 1)));
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

}  // namespace
