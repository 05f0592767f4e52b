// The step that all parsers share: from the text to a document.
#include <gmock/gmock.h>
#include <pthread.h>

#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>

#include "parsememory/parsememory.h"
#include "support/gateway.h"
#include "support/logs.h"

using ::testing::IsEmpty;

namespace {

constexpr std::size_t kDeep = 1000000;  // levels; any recursion ends the process long before

static_assert(!std::is_copy_constructible_v<CParseMemory>);

enum class Answer { kUpload, kAuthorize, kSkipAddress };

// What these kinds of answer have in common.
struct Parsed {
  int result = 0;
  std::int32_t status = -99;
  std::string message;
};

template <typename Ack, typename Parser>
Parsed ParseWith(Parser parser, const char* text, int length) {
  Ack ack{};
  ack.status = -99;
  const int result = (GetCParseMemoryInstance().*parser)(text, length, &ack);
  return {result, ack.status, ack.message};
}

Parsed Parse(Answer kind, const char* text, int length) {
  if (kind == Answer::kUpload) {
    return ParseWith<ST_UPLOAD_FILE_ACK>(&CParseMemory::ParseUploadFileFromMemory, text, length);
  }
  if (kind == Answer::kSkipAddress) {
    return ParseWith<ST_SKIP_ADDRESS_ACK>(&CParseMemory::ParseSkipAddressFromMemory, text, length);
  }
  return ParseWith<ST_AUTH_ACK>(&CParseMemory::ParseAuthorizeInfoFromMemory, text, length);
}

Parsed Parse(Answer kind, const std::string& text) {
  return Parse(kind, text.c_str(), static_cast<int>(text.size()));
}

std::string Nested(std::size_t levels) {
  return std::string(levels, '[') + std::string(levels, ']');
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

std::string NameOf(Answer kind) {
  if (kind == Answer::kSkipAddress) return "SkipAddress";
  return kind == Answer::kUpload ? "Upload" : "Authorize";
}

struct BadText {
  const char* name;
  std::string text;
};

class Syntax : public test::GatewayTest,
               public ::testing::WithParamInterface<std::tuple<Answer, BadText>> {};

TEST_P(Syntax, ErrorFailsSilentlyAndLeavesTheRecordAlone) {
  const auto& [kind, bad] = GetParam();

  const Parsed parsed = Parse(kind, bad.text);

  EXPECT_EQ(parsed.result, -1);
  EXPECT_EQ(parsed.status, -99);
  EXPECT_EQ(parsed.message, "");
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Syntax,
    ::testing::Combine(
        ::testing::Values(Answer::kUpload, Answer::kAuthorize, Answer::kSkipAddress),
        ::testing::Values(
            BadText{"Empty", ""}, BadText{"Blank", " \t\r\n"}, BadText{"Nonsense", "nonsense"},
            BadText{"Page", "<html><body>status</body></html>"}, BadText{"OpenObject", "{"},
            BadText{"CutOff", R"({"status":0,"message":"o)"},
            BadText{"TrailingComma", R"({"status":0,"message":"ok","data":[],})"},
            BadText{"TrailingText", R"({"status":0,"message":"ok","data":[]}x)"},
            BadText{
                "TwoAnswers",
                R"({"status":0,"message":"ok","data":[]}{"status":0,"message":"ok","data":[]})"},
            BadText{"SingleQuotes", R"({'status':0,'message':'ok','data':[]})"},
            BadText{"Comment", R"({"status":0,"message":"ok","data":[]/**/})"},
            BadText{"NotANumber", R"({"status":NaN,"message":"ok","data":[]})"},
            BadText{"NumberTooBig", R"({"status":1e999,"message":"ok","data":[]})"},
            BadText{"LineFeedInText", "{\"status\":0,\"message\":\"o\nk\",\"data\":[]}"},
            BadText{"OneSurrogate", R"({"status":0,"message":"\ud800","data":[]})"},
            BadText{"ByteOrderMarkOf16Bits", "\xff\xfe{}"},
            BadText{"NeverClosed", std::string(kDeep, '[')})),
    [](const auto& test) {
      return NameOf(std::get<0>(test.param)) + std::get<1>(test.param).name;
    });

class Parsing : public test::GatewayTest, public ::testing::WithParamInterface<Answer> {};

INSTANTIATE_TEST_SUITE_P(Answers, Parsing,
                         ::testing::Values(Answer::kUpload, Answer::kAuthorize,
                                           Answer::kSkipAddress),
                         [](const auto& test) { return NameOf(test.param); });

TEST_P(Parsing, ReadsUpToTheTerminatorWhateverTheLengthSays) {
  const std::string text = R"({"status":6,"message":"ok","data":[]})";

  for (const int length : {0, 1, -1, 1000}) {
    const Parsed parsed = Parse(GetParam(), text.c_str(), length);

    EXPECT_EQ(parsed.result, 0) << length;
    EXPECT_EQ(parsed.status, 6) << length;
  }
}

TEST_P(Parsing, EndsAtATerminatorWithinTheText) {
  const std::string text =
      R"({"status":6,"message":"ok","data":[]})" + std::string(1, '\0') + "garbage";

  const Parsed parsed = Parse(GetParam(), text);

  EXPECT_EQ(parsed.result, 0);
}

TEST_P(Parsing, AllowsWhiteSpaceAroundEverything) {
  const Parsed parsed =
      Parse(GetParam(), "\r\n { \"status\" : 6 ,\t\"message\" : \"ok\" , \"data\" : [ ] } \n");

  EXPECT_EQ(parsed.result, 0);
  EXPECT_EQ(parsed.status, 6);
}

TEST_P(Parsing, TakesEachAnswerByItself) {
  Parse(GetParam(), R"({"status":6,"message":"first","data":[]})");

  const Parsed parsed = Parse(GetParam(), R"({"message":"second"})");

  EXPECT_EQ(parsed.result, -1);
  EXPECT_EQ(parsed.status, -99);
}

TEST_P(Parsing, GoesOnAfterAnAnswerThatThrew) {
  EXPECT_THROW(Parse(GetParam(), "[]"), std::logic_error);

  EXPECT_EQ(Parse(GetParam(), R"({"status":0,"message":"ok","data":[]})").result, 0);
}

TEST_P(Parsing, PassesOverANestOfAMillionLevelsOnAWorkersStack) {
  struct Call {
    Answer kind;
    std::string text;
    Parsed parsed;
  } call{GetParam(), R"({"status":6,"message":"ok","data":[],"nest":)" + Nested(kDeep) + "}", {}};

  RunOnAWorkersStack(
      [](void* argument) -> void* {
        auto* deep = static_cast<Call*>(argument);
        deep->parsed = Parse(deep->kind, deep->text);
        return nullptr;
      },
      &call);

  EXPECT_EQ(call.parsed.result, 0);
  EXPECT_EQ(call.parsed.status, 6);
}

class ParserOfTwoThreads : public test::GatewayTest {};

TEST_F(ParserOfTwoThreads, GivesEachItsOwnAnswer) {
  const auto parseMany = [](Answer kind, int& good) {
    for (int i = 0; i < 200; ++i) {
      const std::string number = std::to_string(i);
      const Parsed parsed =
          Parse(kind, R"({"status":)" + number + R"(,"message":")" + number + R"(","data":[]})");
      if (parsed.result == 0 && parsed.status == i && parsed.message == number) ++good;
    }
  };
  std::array<int, 2> good{};

  std::thread other(parseMany, Answer::kAuthorize, std::ref(good[1]));
  parseMany(Answer::kUpload, good[0]);
  other.join();

  EXPECT_EQ(good, (std::array{200, 200}));
}

}  // namespace
