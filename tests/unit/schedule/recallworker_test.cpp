// The demand-recall worker: what it asks, and when and how it answers.
#include <gmock/gmock.h>

#include "config/sysset.h"
#include "recallfixture.h"
#include "schedule/workers.h"
#include "support/databasefile.h"
#include "support/faults.h"
#include "support/historydatabase.h"
#include "support/logs.h"
#include "util/paths.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using test::Accepted;
using test::HttpAnswer;
using test::kRecallCheck;
using test::kRecalls;
using test::kRecallUpload;
using test::LogRecord;
using test::NothingOrdered;
using test::Ordered;
using test::PausesText;
using test::Rejected;
using test::RunToItsEnd;
using test::RunToPause;
using test::UnpackRecall;

// The names that the ledger holds of recall files.
std::vector<std::string> RecallRows() {
  if (!test::Exists(paths::kLedger)) return {};
  return test::DatabaseFile(paths::kLedger).Lines("select FileName from recallJsonFile");
}

class RecallWorker : public test::RecallWorkerTest {};

TEST_F(RecallWorker, AsksAtOnceAndSleepsItsPlainInterval) {
  for (int i = 0; i < 3; ++i) m_cloud.Answer(NothingOrdered());

  RunToPause(HandleRecall, m_interval, 3);

  EXPECT_EQ(PausesText(), "77 77 77");
  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallCheck, kRecallCheck));
}

TEST_F(RecallWorker, AnswersAnOrderAtOnce) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());

  Poll(1);

  EXPECT_EQ(PausesText(), "1 77");
  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallUpload));
  EXPECT_THAT(Uploaded(kRecallUpload), ElementsAre("R20240307120010.tar.gz"));
}

TEST_F(RecallWorker, PacksTheOrderedHistory) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());

  Poll(1);

  EXPECT_EQ(UnpackRecall("R20240307120010.tar.gz"),
            R"({"sn":"S1","id":7,"data":[{"groupId":2,"eqpId":7,"pointId":"004D","flag":1,)"
            R"("values":[{"timeMark":"2024-03-07 10:00:00","value":"0.000"},)"
            R"({"timeMark":"2024-03-07 10:01:00","value":"1.000"}]}]})");
}

TEST_F(RecallWorker, TellsEveryStep) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());

  Poll(1);

  const std::string archive = std::string(kRecalls) + "/R20240307120010.tar.gz";
  const std::string url = m_cloud.Url(kRecallUpload);
  EXPECT_THAT(test::TextLog("INFO"),
              ElementsAre(HasSubstr("Recall Receive Response:\n"),
                          "CreateRecallDataJsonFile " + archive + " Success",
                          "start Send Recalldata " + archive + " to " + url + " \n",
                          "start Send file R20240307120010.tar.gz to " + url,
                          R"(UPloadFile recv message:{"status":0,"message":"ok"})",
                          "Send file " + archive + " finish",
                          "Send Recalldata " + archive + " to " + url + " successfully\n"));
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

// Between the compression's pause and the upload's handle the row is written.
TEST_F(RecallWorker, RecordsTheArchiveUnderItsFullPathBeforeItUploads) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());
  std::vector<std::string> before;
  std::vector<std::string> atTheUpload;
  test::OnPause([&](test::Pause pause) {
    if (pause == std::chrono::seconds(77)) throw test::WorkerEnded{};
    before = RecallRows();
    test::AtNextCall(test::Call::kCurlEasyInit, [&] { atTheUpload = RecallRows(); });
  });

  RunToItsEnd(HandleRecall, m_interval);

  EXPECT_THAT(before, IsEmpty());
  EXPECT_THAT(atTheUpload, ElementsAre(std::string(kRecalls) + "/R20240307120010.tar.gz"));
}

TEST_F(RecallWorker, LeavesTheArchiveOnTheCard) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());

  Poll(1);

  EXPECT_THAT(test::List(kRecalls), ElementsAre("R20240307120010.tar.gz"));
}

TEST_F(RecallWorker, AnswersANewNumberAtOnce) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(8)).Answer(Accepted());

  Poll(2);

  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallUpload, kRecallCheck, kRecallUpload));
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

TEST_F(RecallWorker, AnswersANegativeNumberToo) {
  m_cloud.Answer(Ordered(-1)).Answer(Accepted());

  Poll(1);

  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallUpload));
}

TEST_F(RecallWorker, TakesNumberZeroForNoOrder) {
  m_cloud.Answer(Ordered(0)).Answer(NothingOrdered());

  Poll(2);

  EXPECT_EQ(PausesText(), "77 77");
  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallCheck));
  EXPECT_THAT(test::List(kRecalls), IsEmpty());
}

TEST_F(RecallWorker, ForgetsTheDevicesOfTheOrderBefore) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(8, "9")).Answer(Accepted());

  Poll(2);

  EXPECT_EQ(UnpackRecall("R20240307120128.tar.gz"),
            R"({"sn":"S1","id":8,"data":[)"
            R"({"groupId":2,"eqpId":9,"pointId":"004D","flag":0,"values":[]}]})");
}

TEST_F(RecallWorker, RebuildsAndResendsAtTheNextPollAfterAFailedUpload) {
  m_cloud.Answer(Ordered(7)).Answer(Rejected()).Answer(Ordered(7)).Answer(Accepted());

  Poll(2);

  EXPECT_EQ(PausesText(), "1 77 1 77");
  EXPECT_THAT(Uploaded(kRecallUpload),
              ElementsAre("R20240307120010.tar.gz", "R20240307120128.tar.gz"));
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(HasSubstr("Send Recalldata ")));
  EXPECT_THAT(RecallRows(), SizeIs(2));
}

TEST_F(RecallWorker, ReportsAFailedPackingAndRetriesAfterAnInterval) {
  m_cloud.Answer(Ordered(7)).Answer(Ordered(7)).Answer(Accepted());
  test::FailCalls(test::Call::kPopen, 3);

  Poll(2);

  EXPECT_EQ(PausesText(), "1 1 1 77 1 77");
  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallCheck, kRecallUpload));
  EXPECT_THAT(test::DatabaseLog(),
              ElementsAre(LogRecord{"ERROR", "Brennik Create Recall Data File error"}));
}

TEST_F(RecallWorker, RecordsNothingForAFailedPacking) {
  m_cloud.Answer(Ordered(7));
  test::FailCalls(test::Call::kPopen, 3);

  Poll(1);

  EXPECT_FALSE(test::Exists(paths::kLedger));
}

TEST_F(RecallWorker, TakesAnOrderThatIsTooLargeForAnswered) {
  const auto first = test::LocalTimeOf(2024, 2, 1);
  test::HistoryDatabase().Series(0x0207004E, first, test::LocalTimeOf(2024, 2, 16));
  const std::string order = HttpAnswer(
      200, R"({"status":0,"data":[{"sn":"S1","id":7,"devs":[{"groupId":"2","eqpId":"7","ids":[)"
           R"({"pointId":"004E","beginTime":"2024-02-01 00:00:00",)"
           R"("endTime":"2024-02-16 00:00:00"}]}]}]})");
  m_cloud.Answer(order).Answer(order);

  Poll(2);

  EXPECT_EQ(PausesText(), "77 77");
  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallCheck));
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(HasSubstr("Recall 7 has more than "), test::Repeated(7, 1)));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
  EXPECT_FALSE(test::Exists(paths::kLedger));
  EXPECT_THAT(test::List(kRecalls), IsEmpty());
}

TEST_F(RecallWorker, WhoseTimeCannotBeToldIsAFailedPacking) {
  m_cloud.Answer(Ordered(7));
  // The log stamps the answer's line first.
  test::FailCalls(test::Call::kLocaltime, 1, 1);

  Poll(1);

  EXPECT_EQ(PausesText(), "77");
  EXPECT_THAT(test::DatabaseLog("ERROR"), ElementsAre("Brennik Create Recall Data File error"));
}

TEST_F(RecallWorker, AsksAndUploadsAtTheAddressInUse) {
  GetCSysSetInstance().SetRealIPAddress("127.0.0.2");  // where nobody listens

  Poll(1);

  EXPECT_EQ(PausesText(), "77");
  EXPECT_THAT(Requested(), IsEmpty());
}

struct BadAnswer {
  const char* name;
  test::RawServer::Pieces pieces;
};

void PrintTo(const BadAnswer& answer, std::ostream* out) {
  *out << answer.name;
}

class RecallWorkerWithABadCloud : public RecallWorker,
                                  public ::testing::WithParamInterface<BadAnswer> {};

TEST_P(RecallWorkerWithABadCloud, WaitsForItsNextTurn) {
  m_cloud.Answer(GetParam().pieces).Answer(Ordered(7)).Answer(Accepted());

  Poll(2);

  EXPECT_EQ(PausesText(), "77 1 77");
  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallCheck, kRecallUpload));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, RecallWorkerWithABadCloud,
    ::testing::Values(
        BadAnswer{"Silent", {}}, BadAnswer{"Empty", {HttpAnswer(200, "")}},
        BadAnswer{"Status500", {HttpAnswer(500, "")}},
        BadAnswer{"NoJson", {HttpAnswer(200, "<html></html>")}},
        BadAnswer{"StatusOfFailure", {HttpAnswer(200, R"({"status":1,"data":[]})")}},
        BadAnswer{"WrongType", {HttpAnswer(200, R"({"status":0,"data":7})")}},
        BadAnswer{"IdText", {HttpAnswer(200, R"({"status":0,"data":[{"sn":"S1","id":"7"}]})")}},
        BadAnswer{"FaultyBehindTheNumber",
                  {HttpAnswer(200, R"({"status":0,"data":[{"sn":"S1","id":9}]})")}},
        BadAnswer{"ForOthers", {HttpAnswer(200, R"({"status":0,"data":[{"sn":"S2","id":9}]})")}}),
    [](const auto& test) { return test.param.name; });

TEST_F(RecallWorker, AnswersAnOrderWithoutDevices) {
  m_cloud.Answer(HttpAnswer(200, R"({"status":0,"data":[{"sn":"S1","id":9,"devs":[]}]})"));
  m_cloud.Answer(Accepted());

  Poll(1);

  EXPECT_EQ(UnpackRecall("R20240307120010.tar.gz"), R"({"sn":"S1","id":9,"data":[]})");
  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallUpload));
}

TEST_F(RecallWorker, ReadsItsIntervalAfreshEveryCycle) {
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 2) m_interval = 5;
    if (pauses == 4) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRecall, m_interval);

  EXPECT_EQ(PausesText(), "77 77 5 5");
}

}  // namespace
