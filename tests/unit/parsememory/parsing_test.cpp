// What all parsers share: from the text to a document, and the members it must have.
#include <gmock/gmock.h>

#include <string>

#include "answertest.h"

using namespace test;
using namespace testing;

namespace {

constexpr std::size_t kDeep = 1000000;  // levels; any recursion ends the process long before
constexpr char kGood[] = R"({"status":6,"message":"ok","data":[]})";

class Parsing : public GatewayTest {};

TEST_F(Parsing, FailsSilentlyAndLeavesTheRecordAlone) {
  for (const auto& text :
       Texts{"", " \t\r\n", "<html><body>status</body></html>", R"({"status":0,"message":"o)",
             R"({"status":0,"message":"ok","data":[],})", std::string(kGood) + "x",
             R"({'status':0,'message':'ok'})", R"({"status":0,"message":"ok"/**/})",
             R"({"status":NaN,"message":"ok"})", R"({"status":1e999,"message":"ok"})",
             R"({"status":0,"message":"\ud800"})", "\xff\xfe{}", std::string(kDeep, '[')}) {
    SCOPED_TRACE(text);
    const auto parsed = ParseUpload(text);

    EXPECT_EQ(parsed.result, -1);
    EXPECT_TRUE(parsed.IsUntouched());
  }
  EXPECT_EQ(ParseAuthorize("{").result, -1);
  EXPECT_EQ(ParseSkipAddress("{").result, -1);
  EXPECT_EQ(ParseRecall("{").result, -1);
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(Parsing, ReadsUpToTheTerminatorWhateverTheLengthSays) {
  for (const int length : {0, 1, -1, 1000}) {
    ST_UPLOAD_FILE_ACK ack{};
    const std::string text = std::string(kGood) + '\0' + "garbage";

    EXPECT_EQ(GetCParseMemoryInstance().ParseUploadFileFromMemory(text.c_str(), length, &ack), 0);
  }
}

TEST_F(Parsing, PassesOverANestOfAMillionLevels) {
  const std::string nest = std::string(kDeep, '[') + std::string(kDeep, ']');

  EXPECT_EQ(ParseUpload(R"({"status":6,"message":"ok","nest":)" + nest + "}").result, 0);
}

template <typename Parser>
void ExpectLoggedWhole(Parser parse, const std::string& name) {
  for (const auto& text : Texts{R"({"status":0,"message":"%s%n%d"})",
                                R"({"message":"ok","data":[]})", R"({"status":0,"data":[]})"}) {
    SCOPED_TRACE(text);
    DiscardLogs();

    const auto parsed = parse(text);

    EXPECT_EQ(parsed.result, -1);
    EXPECT_TRUE(parsed.IsUntouched());
    EXPECT_THAT(TextLog(),
                ElementsAre(LogRecord{"WARN", name + " recv:" + text + " ,missing Member"}));
  }
}

TEST_F(Parsing, LogsTheWholeAnswerThatLacksAMember) {
  ExpectLoggedWhole(ParseAuthorize, "Authorize");
  ExpectLoggedWhole(ParseSkipAddress, "SkipAddress");
}

}  // namespace
