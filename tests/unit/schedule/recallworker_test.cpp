// The demand-recall worker.
#include <gmock/gmock.h>

#include "schedule/workers.h"
#include "support/databasefile.h"
#include "support/faults.h"
#include "support/historydatabase.h"
#include "support/logs.h"
#include "util/paths.h"
#include "util/text.h"
#include "workerfixture.h"

namespace {

using namespace test;
using namespace testing;

constexpr char kCheck[] = "EqpDataIfRecall";
constexpr char kUpload[] = "EqpDataRecall";

std::string Answer(const std::string& data) {
  return HttpAnswer(200, R"({"status":0,"message":"ok","data":[)" + data + "]}");
}

// An order of one point of channel 2, which publishes no live values.
std::string Ordered(int sequence, const std::string& begin = "2024-03-07 10:00:00",
                    const std::string& end = "2024-03-07 10:01:00") {
  return Answer(R"({"sn":"S1","id":)" + std::to_string(sequence) +
                R"(,"devs":[{"groupId":"2","eqpId":"7","ids":[{"pointId":"004D","beginTime":")" +
                begin + R"(","endTime":")" + end + R"("}]}]})");
}

// The line about a repeated order.
std::string Repeated(int sequence, int times) {
  return util::Format(
      "Recall receive the same seq: %d==%d times:%d, Will recreate file after 3 times\r\n",
      sequence, sequence, times);
}

class RecallWorker : public WorkerTest {
 protected:
  void Poll(int polls) { RunToRest(HandleRecall, m_interval, polls); }

  std::int32_t m_interval = 77;
};

TEST_F(RecallWorker, AsksAtOnceAndSleepsAPlainIntervalBetweenPolls) {
  Poll(3);

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kCheck, kCheck));
  EXPECT_EQ(PausesText(), "77 77 77");
}

TEST_F(RecallWorker, RecordsTheArchiveUnderItsFullPathBeforeItUploads) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());
  std::vector<std::string> atTheUpload;
  AtNextCall(Call::kPopen, [&] {
    AtNextCall(Call::kCurlEasyInit, [&] {
      atTheUpload = DatabaseFile(paths::kLedger).Lines("select FileName from recallJsonFile");
    });
  });

  Poll(1);

  EXPECT_THAT(atTheUpload, ElementsAre(paths::kCallData + std::string("/R20240307120010.tar.gz")));
  EXPECT_THAT(Uploaded(), ElementsAre("R20240307120010.tar.gz"));
  EXPECT_THAT(List(paths::kCallData), ElementsAre("R20240307120010.tar.gz"));
  EXPECT_THAT(DatabaseLog(), IsEmpty());
}

// A poll: what the cloud orders, what it says to the answer ("": none comes), what is logged.
struct Exchange {
  std::string order;
  std::string upload;
  std::string warning;
};

struct Conversation {
  const char* name;
  std::vector<Exchange> polls;
};

class RecallConversation : public RecallWorker, public WithParamInterface<Conversation> {};

TEST_P(RecallConversation, AnswersNewOrdersAtOnceAndRepeatedOnesFromTheThirdRepeatOn) {
  std::vector<std::string> requests;
  std::vector<std::string> warnings;
  for (const auto& poll : GetParam().polls) {
    m_cloud.Answer(poll.order);
    requests.emplace_back(kCheck);
    if (!poll.warning.empty()) warnings.push_back(poll.warning);
    if (poll.upload.empty()) continue;
    m_cloud.Answer(poll.upload);
    requests.emplace_back(kUpload);
  }

  Poll(static_cast<int>(GetParam().polls.size()));

  EXPECT_EQ(Requested(), requests);
  auto logged = TextLog("WARN");
  std::erase_if(logged, [](const auto& line) { return !line.starts_with("Recall receive"); });
  EXPECT_EQ(logged, warnings);
}

INSTANTIATE_TEST_SUITE_P(
    Orders, RecallConversation,
    Values(Conversation{"NewNumbers",
                        {{Ordered(7), Accepted(), ""}, {Ordered(-1), Accepted(), ""}}},
           Conversation{"NumberZero", {{Ordered(0), "", ""}}},
           Conversation{"FaultyBehindItsNumber",
                        {{Answer(R"({"sn":"S1","id":9})"), "", ""}, {Ordered(9), Accepted(), ""}}},
           Conversation{"Repeats",
                        {{Ordered(7), Accepted(), ""},
                         {Ordered(7), "", Repeated(7, 1)},
                         {Answer(""), "", ""},
                         {Ordered(7), "", Repeated(7, 2)},
                         {Ordered(7), Accepted(), ""},
                         {Ordered(7), Accepted(), ""}}},
           Conversation{"RepeatsOfAnotherNumber",
                        {{Ordered(7), Accepted(), ""},
                         {Ordered(7), "", Repeated(7, 1)},
                         {Ordered(8), Accepted(), ""},
                         {Ordered(8), "", Repeated(8, 1)}}},
           Conversation{"RefusedUpload",
                        {{Ordered(1), Rejected(), ""}, {Ordered(1), Accepted(), ""}}}),
    [](const auto& test) { return test.param.name; });

TEST_F(RecallWorker, RecordsAndSendsNothingWhenPackingFailsAndRetries) {
  m_cloud.Answer(Ordered(7)).Answer(Ordered(7)).Answer(Accepted());
  FailCalls(Call::kPopen, 3);

  RunThroughRests(HandleRecall, m_interval, {[] { EXPECT_FALSE(Exists(paths::kLedger)); }, [] {}});

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kCheck, kUpload));
  EXPECT_THAT(DatabaseLog(),
              ElementsAre(LogRecord{"ERROR", "Brennik Create Recall Data File error"}));
}

TEST_F(RecallWorker, KeepsTheNumberOfItsLastAnswerWhenPackingFails) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(8)).Answer(Ordered(7));
  FailCalls(Call::kPopen, 3, 1);

  Poll(3);

  EXPECT_THAT(TextLog("WARN"), Contains(Repeated(7, 1)));
}

TEST_F(RecallWorker, TakesAnOrderThatIsTooLargeForAnswered) {
  HistoryDatabase().Series(0x0207004D, LocalTimeOf(2024, 2, 1), LocalTimeOf(2024, 2, 16));
  for (int i = 0; i < 2; ++i) {
    m_cloud.Answer(Ordered(7, "2024-02-01 00:00:00", "2024-02-16 00:00:00"));
  }

  Poll(2);

  EXPECT_THAT(Requested(), ElementsAre(kCheck, kCheck));
  EXPECT_THAT(TextLog("WARN"), ElementsAre(HasSubstr("more than"), Repeated(7, 1)));
  EXPECT_FALSE(Exists(paths::kLedger));
}

}  // namespace
