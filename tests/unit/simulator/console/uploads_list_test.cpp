// The page's uploads, read from the index of a real cloud.
#include "console/uploads/jsonscan.h"
#include "console/uploads/text.h"
#include "uploadsfixture.h"

namespace {

using namespace test;
using cloud::Behaviour;
using cloud::Endpoint;
using cloud::Simulator;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kRealPath[] = "/eqpapi/EqpUploadDataInfo";

using UploadList = UploadsTest;
using OneUpload = UploadsTest;
using CloudTally = UploadsTest;

TEST_F(UploadList, IsEmptyBeforeTheCloudHasBegun) {
  const auto list = Ask("/api/uploads");

  EXPECT_TRUE(list["uploads"].Empty());
  EXPECT_EQ(list["total"].GetInt(), 0);
  EXPECT_TRUE(list["next"].IsNull());
}

TEST_F(UploadList, SaysSoWhenTheIndexCannotBeRead) {
  WriteFile(kIndex, "this is no database, and it is long enough to be taken for a damaged one");

  EXPECT_EQ(Get("/api/uploads").status, 503);
}

TEST_F(UploadList, BeginsWithTheNewestAndGoesOnPageByPage) {
  const Simulator cloud({.indexFile = kIndex});
  Send(cloud, Login());  // not an upload
  for (const char* stamp : {"20240307110000", "20240307110100", "20240307110200"}) {
    Send(cloud, RealUpload(stamp));
  }

  const auto first = Ask("/api/uploads", {{"limit", "2"}});
  const std::string next = std::to_string(first["next"].GetInt64());
  const auto second = Ask("/api/uploads", {{"limit", "2"}, {"before", next}});

  EXPECT_THAT(TextsOf(first["uploads"], "name"),
              ElementsAre("S20240307110200.tar.gz", "S20240307110100.tar.gz"));
  EXPECT_THAT(TextsOf(second["uploads"], "name"), ElementsAre("S20240307110000.tar.gz"));
  EXPECT_EQ(first["total"].GetInt(), 3);
  EXPECT_TRUE(second["next"].IsNull());
  EXPECT_EQ(second["uploads"][0]["stamp_unix_s"].GetInt64(), LocalTimeOf(2024, 3, 7, 11));
}

TEST_F(UploadList, PassesAFilterOnly) {
  Simulator cloud({.indexFile = kIndex});
  cloud.Script(Endpoint::kRealData, {Behaviour::Refuse()});
  Send(cloud, RealUpload("20240307110000"));
  Send(cloud, RealUpload("20240307110000"));
  Send(cloud, AlarmUpload());

  const auto names = [&](const std::map<std::string, std::string>& query) {
    const auto list = Ask("/api/uploads", query);
    EXPECT_EQ(list["total"].GetInt(), static_cast<int>(list["uploads"].Size()));
    return TextsOf(list["uploads"], "id");
  };
  EXPECT_THAT(names({{"kind", "alarmdata"}}), ElementsAre("3"));
  EXPECT_THAT(names({{"verdict", "not"}}), ElementsAre("1"));
  EXPECT_THAT(names({{"verdict", "accepted"}, {"kind", "realdata"}}), ElementsAre("2"));
  EXPECT_THAT(names({{"name", "071100"}}), ElementsAre("2", "1"));
  EXPECT_THAT(names({{"name", "%"}}), IsEmpty());
  EXPECT_THAT(names({{"name", "S_0"}}), IsEmpty());
  EXPECT_THAT(TextsOf(Ask("/api/uploads")["uploads"], "attempt"), ElementsAre("1", "2", "1"));
  EXPECT_THAT(TextsOf(Ask("/api/uploads")["uploads"], "attempts"), ElementsAre("1", "2", "2"));
  EXPECT_EQ(Get("/api/uploads", {{"verdict", "maybe"}}).status, 400);
  EXPECT_EQ(Get("/api/uploads", {{"before", "x"}}).status, 400);
}

TEST_F(OneUpload, ShowsWhatCameAndEveryCheck) {
  const Simulator cloud({.serialNumber = "S2", .indexFile = kIndex});
  Send(cloud, Replaced(RealUpload(), "Keep-Alive", "close"));

  const auto one = Ask("/api/uploads/one", {{"id", "1"}});

  EXPECT_THAT(one["head"].GetString(), HasSubstr("\nConnection: close\n"));
  EXPECT_STREQ(one["parts"][0]["filename"].GetString(), "S20240301100000.tar.gz");
  EXPECT_STREQ(one["member"].GetString(), "S20240301100000.dat");
  EXPECT_THAT(one["document"].GetString(), HasSubstr("      \"eqpId\": 3,\n"));
  std::vector<std::string> failed;
  for (const auto& check : one["checks"].GetArray()) {
    if (check["passed"].IsFalse()) failed.emplace_back(check["name"].GetString());
  }
  EXPECT_THAT(failed, ElementsAre("Connection", "Serial number"));
  EXPECT_EQ(one["answer_status"].GetInt(), 200);
  EXPECT_THAT(one["answer"].GetString(), HasSubstr("header Connection"));
  EXPECT_EQ(Get("/api/uploads/one", {{"id", "2"}}).status, 404);
  EXPECT_EQ(Get("/api/uploads/one").status, 400);
}

TEST_F(OneUpload, IsDownloadedByteForByte) {
  const std::string archive = Archive("S20240301100000.dat", RealDocument());
  const Simulator cloud({.indexFile = kIndex});
  Send(cloud, Upload(kRealPath, Form("../S 1.tar.gz", archive)));
  Send(cloud, Login());

  const console::Reply reply = Get("/api/uploads/archive", {{"id", "1"}});

  EXPECT_EQ(reply.body, archive);
  EXPECT_EQ(reply.downloadName, "upload-1.tar.gz");  // a name with a leading dot is not kept
  EXPECT_EQ(Get("/api/uploads/archive", {{"id", "2"}}).status, 404);
}

// Runs the line with a curl that keeps its arguments and what it would send.
TEST_F(OneUpload, HasACurlLineThatSendsItAgain) {
  const std::string archive = Archive("S20240301100000.dat", RealDocument());
  const std::string request = Upload(kRealPath, Form("S20240301100000.tar.gz", archive));
  const Simulator cloud({.indexFile = kIndex});
  Send(cloud, Replaced(request, "zh-CN,zh;q=0.8", "it's\x1b[31m"));
  const std::string line = Ask("/api/uploads/one", {{"id", "1"}})["curl"].GetString();

  WriteFile("/tmp/console/S20240301100000.tar.gz", archive);
  WriteFile("/tmp/console/line",
            "curl() { printf '%s\\n' \"$@\" >arguments; for last; do :; done; cat \"${last#@}\" "
            ">body; }\n" +
                line + "\n");
  ASSERT_EQ(std::system("cd /tmp/console && bash line"), 0);

  EXPECT_EQ(ReadFile("/tmp/console/body"), Form("S20240301100000.tar.gz", archive));
  EXPECT_THAT(
      ReadFile("/tmp/console/arguments"),
      testing::AllOf(HasSubstr("\nhttp://127.0.0.1/eqpapi/EqpUploadDataInfo\n"),
                     HasSubstr("\nAccept-Language: it's\x1b[31m\n"),
                     HasSubstr("\nContent-Type: multipart/form-data;charset=UTF-8;boundary=")));
  EXPECT_THAT(line, Not(HasSubstr("\x1b")));
  EXPECT_THAT(line, Not(HasSubstr("Content-Length")));  // curl makes its own
}

TEST_F(OneUpload, IsShownWhateverItHolds) {
  const std::string nested(200'000, '[');
  const std::string large = "head -c 40000000 /dev/zero > * && tar -czf out *";
  const Simulator cloud({.indexFile = kIndex});
  Send(cloud, Upload(kRealPath, Form("S\xff\x01.tar.gz", "no archive")));
  Send(cloud, Upload(kRealPath, Form("S1.tar.gz", Archive("a", nested))));
  Send(cloud, Upload(kRealPath, Form("S2.tar.gz", Archive("a", "x", large))));
  Send(cloud, Upload(kRealPath, Form("S3.tar.gz", Archive("a", "\"\xc0\x80\""))));

  EXPECT_STREQ(Ask("/api/uploads/one", {{"id", "1"}})["name"].GetString(),
               "S\xEF\xBF\xBD\x01.tar.gz");
  EXPECT_THAT(Ask("/api/uploads/one", {{"id", "1"}})["document_trouble"].GetString(),
              HasSubstr("cannot be read"));
  EXPECT_EQ(Ask("/api/uploads/one", {{"id", "2"}})["document"].GetStringLength(), nested.size());
  EXPECT_THAT(Ask("/api/uploads/one", {{"id", "3"}})["document_trouble"].GetString(),
              HasSubstr("too large"));
  EXPECT_THAT(Ask("/api/uploads/one", {{"id", "4"}})["document"].GetString(),
              HasSubstr("\xEF\xBF\xBD"));
  EXPECT_EQ(Ask("/api/uploads")["uploads"].Size(), 4U);
}

TEST_F(UploadList, TellsTheWatchWhatIsNew) {
  const Simulator cloud({.indexFile = kIndex});
  Send(cloud, Login());
  Send(cloud, RealUpload());
  Send(cloud, RealUpload("20240307110000", "{}"));

  const auto all = uploads.Index().ArrivalsAfter(0);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].id, 2);
  EXPECT_EQ(all[0].kind, "realdata");
  EXPECT_TRUE(all[0].accepted);
  EXPECT_EQ(all[0].points, 2);
  EXPECT_FALSE(all[1].accepted);
  EXPECT_EQ(uploads.Index().ArrivalsAfter(2).size(), 1U);
  EXPECT_EQ(uploads.Index().ArrivalsAfter(0, 1).size(), 1U);
  EXPECT_EQ(uploads.Index().DocumentOf(2), RealDocument());
  EXPECT_EQ(uploads.Index().DocumentOf(1), "");
}

TEST_F(CloudTally, CountsTheExchangesOfEachEndpoint) {
  Simulator cloud({.secondAddress = "127.0.0.2", .indexFile = kIndex});
  cloud.Script(Endpoint::kRealData, {Behaviour::Refuse(), Behaviour::Stall({})});
  for (int i = 0; i < 3; ++i) Send(cloud, RealUpload());
  Send(cloud, RealUpload("20240307110000", "{}"));
  test::Ask(cloud.Port(), Login(), "127.0.0.2");

  const auto tallies = uploads.Tally().Endpoints();
  EXPECT_EQ(tallies.size(), 6U);
  const console::EndpointTally& real = tallies.at("realdata");
  EXPECT_EQ(real.asked, 4);
  EXPECT_EQ(real.accepted, 2);
  EXPECT_EQ(real.refused, 2);
  EXPECT_EQ(real.disturbed, 2);  // the refusal and the stall, not the faulty document
  EXPECT_EQ(real.latestAccepted, "S20240301100000.tar.gz");
  EXPECT_EQ(real.latestAddress, "127.0.0.1");
  EXPECT_EQ(tallies.at("authorize").at.at("127.0.0.2"), 1);

  Send(cloud, RealUpload());
  EXPECT_EQ(uploads.Tally().Endpoints().at("realdata").asked, 5);
}

TEST(JsonScan, EndsAtADepthThatNoGatewayMakes) {
  const console::JsonScan nothing{[](auto, auto) {}, [](int) {}};
  const auto nested = [&](const std::string& open, const std::string& close, int depth) {
    std::string text = "1";
    for (int i = 0; i < depth; ++i) text = open + text + close;
    return console::ScanJson(text, nothing);
  };

  EXPECT_TRUE(nested("[", "]", 16));
  EXPECT_FALSE(nested("[", "]", 17));
  EXPECT_TRUE(nested("{\"a\":", "}", 16));
  EXPECT_FALSE(nested("{\"a\":", "}", 17));
}

TEST(ConsoleText, BecomesAShellWordWithoutControlCharacters) {
  EXPECT_EQ(console::ShellWord("it's"), "'it'\\''s'");
  EXPECT_EQ(console::ShellWord("a'\\\x1b\n"), "$'a\\'\\\\\\x1b\\x0a'");
}

TEST(ConsoleText, BecomesUtf8) {
  const std::string bad = "\xEF\xBF\xBD";
  EXPECT_EQ(console::ValidUtf8("柜\xF0\x9F\x98\x80"), "柜\xF0\x9F\x98\x80");
  for (const char* wrong :
       {"\x80", "\xff", "\xe6\x9f", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80"}) {
    const std::string text = console::ValidUtf8(std::string("a") + wrong + "b");
    EXPECT_TRUE(text.starts_with("a" + bad) && text.ends_with(bad + "b")) << wrong;
  }
}

TEST(ConsoleText, BecomesAFileNameThatStaysInItsFolder) {
  EXPECT_EQ(console::SafeFileName("S20240301100000.tar.gz", "x"), "S20240301100000.tar.gz");
  EXPECT_EQ(console::SafeFileName("a/b\r\n;\"c", "x"), "a_b____c");
  for (const char* name : {"", "..", "-rf"}) EXPECT_EQ(console::SafeFileName(name, "x"), "x");
}

}  // namespace
