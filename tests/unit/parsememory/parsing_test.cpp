// The step that all parsers share: from the text to a document.
#include <gmock/gmock.h>
#include <pthread.h>

#include <array>
#include <stdexcept>
#include <string>
#include <thread>

#include "answertest.h"

using test::ParseUpload;
using test::Texts;
using ::testing::IsEmpty;

namespace {

constexpr std::size_t kDeep = 1000000;  // levels; any recursion ends the process long before
constexpr char kGood[] = R"({"status":6,"message":"ok","data":[]})";

class Parsing : public test::AnswerTest {};

TEST_F(Parsing, FailsSilentlyAndLeavesTheRecordAlone) {
  for (const auto& text : Texts{
           "", " \t\r\n", "nonsense", "<html><body>status</body></html>", "{",
           R"({"status":0,"message":"o)", R"({"status":0,"message":"ok","data":[],})",
           std::string(kGood) + "x", std::string(kGood) + kGood,
           R"({'status':0,'message':'ok','data':[]})",
           R"({"status":0,"message":"ok","data":[]/**/})",
           R"({"status":NaN,"message":"ok","data":[]})",
           R"({"status":1e999,"message":"ok","data":[]})",
           "{\"status\":0,\"message\":\"o\nk\",\"data\":[]}",
           R"({"status":0,"message":"\ud800","data":[]})", "\xff\xfe{}", std::string(kDeep, '[')}) {
    SCOPED_TRACE(text);
    const auto parsed = ParseUpload(text);

    EXPECT_EQ(parsed.result, -1);
    EXPECT_TRUE(parsed.IsUntouched());
  }
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(Parsing, FailsSilentlyInEveryParser) {
  EXPECT_EQ(test::ParseAuthorize("{").result, -1);
  EXPECT_EQ(test::ParseSkipAddress("{").result, -1);
  EXPECT_EQ(test::ParseRecall("{").result, -1);
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

TEST_F(Parsing, ReadsUpToTheTerminatorWhateverTheLengthSays) {
  for (const int length : {0, 1, -1, 1000}) {
    EXPECT_EQ(ParseUpload(std::string(kGood) + '\0' + "garbage", length).result, 0) << length;
  }
}

TEST_F(Parsing, AllowsWhiteSpaceAroundEverything) {
  const auto parsed = ParseUpload("\r\n { \"status\" : 6 ,\t\"message\" : \"ok\" } \n");

  EXPECT_EQ(parsed.ack.status, 6);
}

TEST_F(Parsing, GoesOnAfterAnAnswerThatThrew) {
  EXPECT_THROW(ParseUpload("[]"), std::logic_error);

  EXPECT_EQ(ParseUpload(kGood).result, 0);
}

// What the service's own threads give a parser.
void RunOnAWorkersStack(void* (*entry)(void*), void* argument) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 0x200000);
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, &attributes, entry, argument), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST_F(Parsing, PassesOverANestOfAMillionLevelsOnAWorkersStack) {
  struct Call {
    std::string text;
    int result;
  } call{R"({"status":6,"message":"ok","nest":)" + std::string(kDeep, '[') +
             std::string(kDeep, ']') + "}",
         -99};

  RunOnAWorkersStack(
      [](void* argument) -> void* {
        auto* deep = static_cast<Call*>(argument);
        deep->result = ParseUpload(deep->text).result;
        return nullptr;
      },
      &call);

  EXPECT_EQ(call.result, 0);
}

TEST_F(Parsing, GivesEachOfTwoThreadsItsOwnAnswer) {
  const auto parseMany = [](int& good) {
    for (int i = 0; i < 200; ++i) {
      const auto parsed = ParseUpload(R"({"message":"","status":)" + std::to_string(i) + "}");
      if (parsed.result == 0 && parsed.ack.status == i) ++good;
    }
  };
  std::array<int, 2> good{};

  std::thread other(parseMany, std::ref(good[1]));
  parseMany(good[0]);
  other.join();

  EXPECT_EQ(good, (std::array{200, 200}));
}

}  // namespace
