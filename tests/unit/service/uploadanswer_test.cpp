// The verdict on an upload: what the answer handler makes of the cloud's words.
#include <pthread.h>

#include <gmock/gmock.h>

#include <cstring>
#include <thread>
#include <vector>

#include "cloudfixture.h"
#include "service/answerguard.h"
#include "service/uploaddrivers.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using namespace std::string_literals;
using test::LogRecord;

constexpr std::int32_t kUntouched = 7;

class UploadAnswer : public test::GatewayTest {
 protected:
  // The handler's verdict on these bytes, which stand in memory of exactly their size.
  std::size_t Judge(const std::string& text) {
    std::vector<char> bytes(text.begin(), text.end());
    bytes.reserve(1);  // an empty answer is not a null one
    return OnUploadFileAnswer(bytes.data(), 1, bytes.size(), &m_flag);
  }

  std::int32_t m_flag = kUntouched;
};

TEST_F(UploadAnswer, OfNoTextAtAllIsRejectedSilently) {
  EXPECT_EQ(OnUploadFileAnswer(nullptr, 1, 10, &m_flag), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(UploadAnswer, IsTold) {
  Judge(R"({"status":0,"message":"ok"})");

  EXPECT_THAT(
      test::TextLog(),
      ElementsAre(LogRecord{"INFO", R"(UPloadFile recv message:{"status":0,"message":"ok"})"}));
}

TEST_F(UploadAnswer, WithPercentSignsIsToldAsItIs) {
  Judge(R"({"status":0,"message":"%s%n%d"})");

  EXPECT_THAT(test::TextLog("INFO"),
              ElementsAre(R"(UPloadFile recv message:{"status":0,"message":"%s%n%d"})"));
}

TEST_F(UploadAnswer, IsAsLongAsSizeTimesCount) {
  char text[] = R"({"status":0,"message":"ok!"}}}})";

  EXPECT_EQ(OnUploadFileAnswer(text, 4, 7, &m_flag), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
}

// What the bytes come to: the flag, and the log's WARN line if there is one.
struct Verdict {
  const char* name;
  std::string text;
};

void PrintTo(const Verdict& verdict, std::ostream* out) {
  *out << verdict.text.substr(0, 100);
}

class AcceptedAnswer : public UploadAnswer, public ::testing::WithParamInterface<Verdict> {};

TEST_P(AcceptedAnswer, SetsTheFlag) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, AcceptedAnswer,
    ::testing::Values(
        Verdict{"Plain", R"({"status":0,"message":"ok"})"},
        Verdict{"OtherOrder", R"({"message":"ok","status":0})"},
        Verdict{"MoreMembers", R"({"status":0,"message":"ok","data":[{"a":{}}],"x":null})"},
        Verdict{"WhiteSpace", " \r\n{ \"status\" : 0 ,\t\"message\" : \"ok\" }\r\n"},
        Verdict{"EmptyMessage", R"({"status":0,"message":""})"},
        Verdict{"LongMessage", R"({"status":0,"message":")" + std::string(5000, 'm') + "\"}"},
        Verdict{"Chinese", R"({"status":0,"message":"成功"})"},
        Verdict{"NoUtf8", "{\"status\":0,\"message\":\"\xff\xfe\"}"},
        Verdict{"FirstOfTwoStatuses", R"({"status":0,"message":"ok","status":1})"},
        Verdict{"MinusZeroIsAnInteger", R"({"status":-0,"message":"ok"})"},
        // The parser reads up to the zero.
        Verdict{"RubbishBehindAZero", R"({"status":0,"message":"ok"})"s + "\0rubbish"s}),
    [](const auto& test) { return test.param.name; });

class RefusedAnswer : public UploadAnswer, public ::testing::WithParamInterface<Verdict> {};

TEST_P(RefusedAnswer, ClearsTheFlagWithoutAComplaint) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictRejected);
  EXPECT_EQ(m_flag, 0);
  EXPECT_THAT(test::TextLog(), SizeIs(1));
  EXPECT_THAT(test::TextLog("WARN"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Answers, RefusedAnswer,
    ::testing::Values(Verdict{"StatusOne", R"({"status":1,"message":"x"})"},
                      Verdict{"StatusNegative", R"({"status":-1,"message":"x"})"},
                      Verdict{"StatusLargest", R"({"status":2147483647,"message":"x"})"},
                      Verdict{"FirstOfTwoStatuses", R"({"status":1,"message":"x","status":0})"},
                      Verdict{"NoMessage", R"({"status":0})"},
                      Verdict{"StatusOnlyInTheMessage", R"({"message":"status"})"},
                      Verdict{"StatusOnlyBelow", R"({"message":"x","data":{"status":0}})"},
                      Verdict{"NoJson", "{status}"},
                      Verdict{"ReversedBraces", R"(}"status":0,"message":"x"{)"},
                      Verdict{"TwoDocuments", R"({"status":0,"message":"x"}{})"},
                      Verdict{"TextBehind", R"({"status":0,"message":"x"} and more)"},
                      Verdict{"TrailingComma", R"({"status":0,"message":"x",})"},
                      Verdict{"SingleQuotes", "{'status':0,'message':'x'}"},
                      Verdict{"ZeroWithinTheMessage", "{\"status\":0,\"message\":\"a\0b\"}"s}),
    [](const auto& test) { return test.param.name; });

class MisshapenAnswer : public UploadAnswer, public ::testing::WithParamInterface<Verdict> {};

TEST_P(MisshapenAnswer, IsRejectedWithAComplaintAndLeavesTheFlag) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(
      test::TextLog(),
      ElementsAre(LogRecord{"INFO", "UPloadFile recv message:" + GetParam().text},
                  LogRecord{"WARN", "UPloadFile recv error format message:" + GetParam().text}));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, MisshapenAnswer,
    ::testing::Values(Verdict{"Empty", ""}, Verdict{"NoStatus", R"({"message":"ok"})"},
                      Verdict{"StatusInCapitals", R"({"STATUS":0,"message":"ok"})"},
                      Verdict{"Web", "<html>502 Bad Gateway</html>"},
                      Verdict{"NoBraces", "status 0"}, Verdict{"StatusWordAlone", "\"status\""},
                      Verdict{"FirstPiece", R"({"status":0,"mess)"},
                      Verdict{"SecondPiece", R"(age":"status"})"},
                      Verdict{"OneBraceTooMany", R"({"status":0,"message":"ok"}})"},
                      Verdict{"BraceInTheMessage", R"({"status":0,"message":"{"})"}),
    [](const auto& test) { return test.param.name; });

TEST_F(UploadAnswer, WithABraceBehindAZeroIsMisshapen) {
  EXPECT_EQ(Judge(R"({"status":0,"message":"ok"})"s + "\0}"s), kVerdictRejected);
  EXPECT_EQ(m_flag, kUntouched);
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(R"(UPloadFile recv error format message:{"status":0,"message":"ok"})"));
}

class WronglyTypedAnswer : public UploadAnswer, public ::testing::WithParamInterface<Verdict> {};

TEST_P(WronglyTypedAnswer, IsRejectedWithTheTextAndClearsTheFlag) {
  EXPECT_EQ(Judge(GetParam().text), kVerdictRejected);
  EXPECT_EQ(m_flag, 0);
  EXPECT_THAT(
      test::TextLog("WARN"),
      ElementsAre("answer with a member missing or of the wrong type (rapidjson exception):" +
                  GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, WronglyTypedAnswer,
    ::testing::Values(Verdict{"StatusText", R"({"status":"x","message":"ok"})"},
                      Verdict{"StatusTextZero", R"({"status":"0","message":"ok"})"},
                      Verdict{"StatusNull", R"({"status":null,"message":"ok"})"},
                      Verdict{"StatusFalse", R"({"status":false,"message":"ok"})"},
                      Verdict{"StatusFraction", R"({"status":0.0,"message":"ok"})"},
                      Verdict{"StatusTooLarge", R"({"status":2147483648,"message":"ok"})"},
                      Verdict{"StatusHuge", R"({"status":18446744073709551616,"message":"ok"})"},
                      Verdict{"StatusObject", R"({"status":{},"message":"ok"})"},
                      Verdict{"StatusArray", R"({"status":[0],"message":"ok"})"},
                      Verdict{"MessageNumber", R"({"status":0,"message":1})"},
                      Verdict{"MessageNull", R"({"status":0,"message":null})"},
                      Verdict{"TopLevelArray", R"([{"status":0,"message":"ok"}])"},
                      Verdict{"TopLevelText", R"("{status}")"}),
    [](const auto& test) { return test.param.name; });

constexpr int kDepth = 100000;

std::string Repeated(const std::string& text, int count) {
  std::string repeated;
  for (int i = 0; i < count; ++i) repeated += text;
  return repeated;
}

// Runs on a stack as small as a worker's.
std::size_t JudgeOnAWorkersStack(std::string text, std::int32_t* flag) {
  struct Call {
    std::string text;
    std::int32_t* flag;
    std::size_t verdict;
  } call{std::move(text), flag, kVerdictAccepted};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 0x200000);
  pthread_t thread{};
  const int created = pthread_create(
      &thread, &attributes,
      [](void* argument) -> void* {
        auto* now = static_cast<Call*>(argument);
        now->verdict = OnUploadFileAnswer(now->text.data(), 1, now->text.size(), now->flag);
        return nullptr;
      },
      &call);
  pthread_attr_destroy(&attributes);
  if (created == 0) pthread_join(thread, nullptr);
  return created == 0 ? call.verdict : kVerdictAccepted;
}

struct DeepAnswer {
  const char* name;
  std::string opening;
  std::string closing;
};

void PrintTo(const DeepAnswer& answer, std::ostream* out) {
  *out << answer.opening << answer.closing;
}

class DeeplyNestedAnswer : public UploadAnswer, public ::testing::WithParamInterface<DeepAnswer> {};

TEST_P(DeeplyNestedAnswer, IsRejectedOnAWorkersStack) {
  const std::string nested =
      Repeated(GetParam().opening, kDepth) + "0" + Repeated(GetParam().closing, kDepth);
  const std::string text = "{\"status\":" + nested + ",\"message\":\"ok\"}";

  EXPECT_EQ(JudgeOnAWorkersStack(text, &m_flag), kVerdictRejected);
  EXPECT_EQ(m_flag, 0);
  // Records of that length are cut and lose their line feed.
  EXPECT_THAT(
      test::WholeTextLog(),
      HasSubstr("logType:WARN\n answer with a member missing or of the wrong type (rapidjson "
                "exception):{\"status\":" +
                GetParam().opening));
}

INSTANTIATE_TEST_SUITE_P(Shapes, DeeplyNestedAnswer,
                         ::testing::Values(DeepAnswer{"Arrays", "[", "]"},
                                           DeepAnswer{"Objects", "{\"a\":", "}"},
                                           DeepAnswer{"Both", "[{\"a\":", "}]"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(UploadAnswer, WithDeepNestingBesideItsMembersIsAccepted) {
  const std::string text =
      R"({"status":0,"message":"ok","data":)" + Repeated("[", kDepth) + Repeated("]", kDepth) + "}";

  EXPECT_EQ(JudgeOnAWorkersStack(text, &m_flag), kVerdictAccepted);
  EXPECT_EQ(m_flag, 1);
}

TEST_F(UploadAnswer, LeftOpenAHundredThousandTimesIsRejected) {
  const std::string text = R"({"status":0,"message":"ok","data":)" + Repeated("[", kDepth) + "}";

  EXPECT_EQ(JudgeOnAWorkersStack(text, &m_flag), kVerdictRejected);
  EXPECT_EQ(m_flag, 0);
}

}  // namespace
