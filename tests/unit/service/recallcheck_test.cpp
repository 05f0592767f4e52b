// The recall check: whether the cloud orders history.
#include <gmock/gmock.h>

#include "cloudfixture.h"
#include "config/sysset.h"
#include "service/cloudlink.h"
#include "support/logs.h"

namespace {

using namespace std::string_literals;
using namespace test;
using namespace testing;

constexpr std::size_t kLimit = 512U << 10;

constexpr char kOrder[] =
    R"({"status":0,"data":[{"sn":"S2","id":8},{"sn":"S1","id":7,"devs":[]}]})";

// The document of an order, complete by itself, with blanks after it up to this length.
std::string PaddedOrder(std::size_t length) {
  std::string order = kOrder;
  order.resize(length, ' ');
  return order;
}

class RecallCheck : public CloudTest {
 protected:
  int Check() { return CheckDemandRecall(&m_order); }

  ST_CHECKCALL_ACK m_order{};
};

TEST_F(RecallCheck, PostsTheSerialNumberToItsEndpoint) {
  Check();

  EXPECT_EQ(Request(), R"(/cloud/eqpapi/EqpDataIfRecall {"sn":"S1"})");
}

TEST_F(RecallCheck, GoesToTheAddressInUse) {
  const std::string port = std::to_string(m_cloud.Port());
  Load(SysXml().Cloud("cloudip", "127.0.0.2").Cloud("port", port));
  GetCSysSetInstance().SetRealIPAddress("127.0.0.1");

  Check();

  EXPECT_THAT(m_cloud.Requests(), SizeIs(1));
}

TEST_F(RecallCheck, LogsTheAnswerAndFillsInTheOrderForThisGateway) {
  m_cloud.Answer(HttpAnswer(200, kOrder));

  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(m_order.id, 7);
  EXPECT_THAT(TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("Recall Receive Response:\n") + kOrder}));
}

TEST_F(RecallCheck, FailsWithoutAUsableAnswer) {
  const RawServer::Pieces answers[] = {{HttpAnswer(500, kOrder)},
                                       {},
                                       {HttpAnswer(200, "")},
                                       {HttpAnswer(200, R"({"status":1,"data":[]})")},
                                       {HttpAnswer(200, R"({"status":"x"})")}};
  for (const auto& answer : answers) {
    m_cloud.Answer(answer);

    EXPECT_EQ(Check(), -1);
    EXPECT_EQ(m_order.id, 0);
  }
  EXPECT_THAT(TextLog("WARN"), Contains(HasSubstr(R"({"status":"x"})")));
}

TEST_F(RecallCheck, TakesNothingOverFromTheCheckBefore) {
  const std::string order = kOrder;
  m_cloud.Answer(HttpAnswer(200, order.substr(0, 20)));
  m_cloud.Answer(HttpAnswer(200, order.substr(20)));

  EXPECT_EQ(Check(), -1);
  EXPECT_EQ(Check(), -1);
}

TEST_F(RecallCheck, JoinsAnAnswerInCountlessPieces) {
  std::string chunks;
  for (const char character : PaddedOrder(20'000)) chunks += "1\r\n"s + character + "\r\n";
  m_cloud.Answer("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + chunks + "0\r\n\r\n");

  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(m_order.id, 7);
}

TEST_F(RecallCheck, RefusesALargerAnswer) {
  m_cloud.Answer(HttpAnswer(200, PaddedOrder(kLimit + 1)));

  EXPECT_EQ(Check(), -1);
  EXPECT_EQ(m_order.id, 0);
}

class RecallAnswer : public GatewayTest {
 protected:
  std::size_t Receive(const std::string& piece) {
    return Judge(OnRecallCheckAnswer, piece, &m_answer);
  }

  CollectedAnswer m_answer;
};

TEST_F(RecallAnswer, JoinsItsPieces) {
  EXPECT_EQ(Receive("{\"status\""), 9U);
  EXPECT_EQ(Receive(":0}\0"s), 4U);
  EXPECT_EQ(m_answer.text, "{\"status\":0}\0"s);
}

TEST_F(RecallAnswer, Fills512Kibibytes) {
  m_answer.text.assign(kLimit - 1, ' ');

  EXPECT_EQ(Receive("}"), 1U);
  EXPECT_EQ(m_answer.text.size(), kLimit);
  EXPECT_THAT(TextLog("WARN"), IsEmpty());
}

TEST_F(RecallAnswer, GivesUpBeyond512Kibibytes) {
  m_answer.text.assign(kLimit, ' ');

  EXPECT_EQ(Receive("}"), 0U);
  EXPECT_EQ(m_answer.text, "") << "what has come so far may be a whole document";
  EXPECT_THAT(TextLog("WARN"), ElementsAre("Recall answer of more than 524288 bytes refused"));
}

TEST_F(RecallAnswer, LogsItsFirst64Pieces) {
  for (int i = 0; i < 65; ++i) EXPECT_EQ(Receive("a"), 1U);

  EXPECT_EQ(m_answer.text.size(), 65U);
  EXPECT_THAT(TextLog("INFO"), SizeIs(64));
}

}  // namespace
