// A cloud that answers nonsense, too much, in pieces, too slowly or not at all: each exchange meets
// each misbehaviour, and the next sound answer must do.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/answers.h"
#include "system/support/hostileserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/misdeeds.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"

namespace {

using test::Answers;
using test::AnswersReplacing;
using test::AnswersWithMistyped;
using test::Floods;
using test::LedgerRow;
using test::Misdeed;
using test::Resets;
using test::Says;
using test::SaysAndStalls;
using test::SaysApart;
using test::ServiceProcess;
using test::Stalls;

struct Line {
  std::string text;  // part of WARN lines of the text log
  int count;
};

struct Row {
  const char* name;
  Misdeed misdeed;
  std::string effects;  // see HostileServer
  std::vector<Line> lines = {};
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

// A real-data and an alarm file are pending. The service starts at 11:58:50 with a login and a
// recall check, tries the login again 60 s after its end, uploads every minute, and checks its
// address at 12:00:00 and 12:10:00.
class HostileCloud : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
    m_alarms = test::AlarmDataName(At(9, 0));
    m_values = test::PackDataFile(At(10, 0));
    test::WriteFile(test::DataFilePath(m_alarms), "the alarms");
    test::WriteLedger({{m_values}, {m_alarms, test::kAlarmDataType}});
  }

  std::string m_values;
  std::string m_alarms;
};

class Misbehaviour : public HostileCloud, public ::testing::WithParamInterface<Row> {};

// How many WARN records hold the text. A head needs not begin a line: records may be cut.
int WarningsWith(const std::string& text) {
  constexpr std::string_view kHeadOf = "logType:WARN\n";
  const std::string log = test::DayFile("0307");
  int count = 0;
  for (auto at = log.find(kHeadOf); at != std::string::npos; at = log.find(kHeadOf, at + 1)) {
    const auto end = log.find("logType:", at + kHeadOf.size());
    if (std::string_view(log).substr(at, end - at).find(text) != std::string::npos) ++count;
  }
  return count;
}

// Sanitizers and emulators have memory of their own.
bool IsPlainBuild() {
  return std::getenv("BRENNIK_SERVICE") == nullptr && std::getenv("QEMU_LD_PREFIX") == nullptr;
}

TEST_P(Misbehaviour, HasItsEffectAndNoOther) {
  constexpr long kMostKib = 40L << 10;
  const Row& row = GetParam();
  test::HostileServer server(row.misdeed, row.effects[test::kRecallData] == 'A' ? 1 : 2);
  test::SystemFile(server.Port()).Cloud("RecallInterval", "60").Write();
  ServiceProcess service(At(11, 58, 50));

  service.RunUntil(At(12, 12));

  EXPECT_EQ(server.Effects(), row.effects);
  EXPECT_TRUE(server.IsFollowed());
  EXPECT_EQ(test::ReadLedger(),
            (std::vector<LedgerRow>{{m_alarms, test::kAlarmDataType, 1}, {m_values, 2, 1}}));
  for (const auto& line : row.lines) EXPECT_EQ(WarningsWith(line.text), line.count) << line.text;
  if (IsPlainBuild()) {
    EXPECT_LT(service.PeakKib(), kMostKib);
    std::cout << "peak " << service.PeakKib() << " KiB\n";
  }
}

constexpr std::size_t kMebibyte = 1U << 20;
const std::string kHead = "HTTP/1.1 200 OK\r\n";
const std::string kNoLength = kHead + "\r\n";
const std::string kSound = kHead + "Content-Length: #\r\n\r\n@";
const std::string kChunked = kHead + "Transfer-Encoding: chunked\r\n\r\n";
const std::string kLast = "~\r\n@\r\n0\r\n";

std::string Repeated(const std::string& part, int times) {
  std::string all;
  while (times-- > 0) all += part;
  return all;
}

std::string Nested(int depth) {
  return R"({"message":"","status":)" + Repeated("[", depth) + Repeated("]", depth) + "}";
}

constexpr char kNone[] = "RRRRRR";
constexpr char kAll[] = "AAAAAA";
constexpr char kOrder[] = "AARAAA";  // nobody but the recall check has the member

std::vector<Line> NoFormat(int count) {
  return {{"UPloadFile recv error format message:", count}};
}
std::vector<Line> WrongType(int count) {
  return {{"answer with a member missing or of the wrong type (rapidjson exception):", count}};
}
// All six exchanges end with these words.
std::vector<Line> Ended(const std::string& words) {
  return {{"curl_easy_perform() failed when post: " + words, 3}, {" failed: " + words, 3}};
}

constexpr auto kName = [](const auto& row) { return row.param.name; };

INSTANTIATE_TEST_SUITE_P(
    Connection, Misbehaviour,
    ::testing::Values(
        Row{"Closed", Says(""), kNone,
            Ended("Server returned nothing (no headers, no data),httpcode =0")},
        Row{"ClosedInTheHeaders", Says(kHead + "Content-Le"), kNone, NoFormat(0)},
        Row{"ClosedInTheBody", Says(kHead + "Content-Length: 500\r\n\r\n{\"status\":0"), kNone,
            NoFormat(3)},
        Row{"Reset", Resets(""), kNone,
            Ended("Failure when receiving data from the peer,httpcode =0")},
        Row{"ResetInTheBody", Resets(kNoLength + "{\"status\":0"), kNone, NoFormat(3)},
        Row{"Silent", Stalls(""), kNone, Ended("Timeout was reached,httpcode =0")},
        // Within a header, whose status has come; without its time-out the line is never said.
        Row{"AByteASecond", Stalls(kHead + Repeated("x", 200)), kNone, NoFormat(0)},
        Row{"SilentAfterTheStatus", SaysAndStalls(kHead), kNone, NoFormat(0)},
        Row{"SilentInTheBody", SaysAndStalls(kNoLength + "{\"status\":0"), kNone, NoFormat(3)}),
    kName);

INSTANTIATE_TEST_SUITE_P(
    Http, Misbehaviour,
    ::testing::Values(
        Row{"No", Says("SSH-2.0-OpenSSH_9.2\r\n"), kNone,
            Ended("Unsupported protocol,httpcode =0")},
        Row{"Continued", Says("HTTP/1.1 100 Continue\r\n\r\n" + kSound), kAll},
        Row{"Created", Says("HTTP/1.1 201 Created\r\nContent-Length: #\r\n\r\n@"), kAll},
        Row{"NoContent", Says("HTTP/1.1 204 No Content\r\n\r\n"), kNone,
            Ended("No error,httpcode =204")},
        Row{"Redirect", Says("HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:1/\r\n\r\n"), kNone,
            Ended("No error,httpcode =302")},
        Row{"ServerError", Says("HTTP/1.1 500 Oops\r\n\r\n"), kNone,
            Ended("No error,httpcode =500")},
        // The verdict on an upload is the answer's alone, and an address is in use once it is read.
        Row{"NotFoundWithASoundBody",
            Says("HTTP/1.1 404 Not Found\r\n\r\n@"),
            "RARAAA",
            {{"Failed writing received data to disk/application,httpcode =404", 5},
             {"No error,httpcode =404", 1}}},
        Row{"LengthTooLarge", Says(kHead + "Content-Length: 500\r\n\r\n@"), kAll},
        Row{"LengthTooSmall", Says(kHead + "Content-Length: 10\r\n\r\n@"), kNone, NoFormat(3)},
        Row{"WithoutALength", Says("HTTP/1.0 200 OK\r\n\r\n@"), kAll},
        Row{"Chunked", Says(kChunked + kLast + "\r\n"), kAll},
        Row{"Trailers", Says(kChunked + kLast + "Sum: 1\r\n\r\n"), kAll},
        Row{"HeadersWithoutEnd", Floods(kHead, "X-Filler: 0123456789\r\n", 100 * kMebibyte), kNone},
        Row{"AHeaderWithoutEnd", Floods(kHead, "x", 100 * kMebibyte), kNone},
        Row{"TrailersWithoutEnd",
            Floods(kChunked + "1\r\n \r\n0\r\n", "X-Filler: 0123456789\r\n", 40 * kMebibyte),
            kNone},
        Row{"Gzip", Says(kHead + "Content-Encoding: gzip\r\n\r\n\x1f\x8b\x08\x10\x03\x01"), kNone,
            NoFormat(3)}),
    kName);

// Only the recall check joins pieces.
INSTANTIATE_TEST_SUITE_P(
    Pieces, Misbehaviour,
    ::testing::Values(
        Row{"HeadAndBody", SaysApart({kNoLength, "@"}), kAll},
        Row{"OfTheBody", SaysApart({kNoLength + " ", "@"}), "RRARRR", NoFormat(3)},
        Row{"TwoThousand", Says(kChunked + Repeated("1\r\n \r\n", 2000) + kLast + "\r\n"), "RRARRR",
            NoFormat(3)},
        Row{"OneMebibyte", Floods(kNoLength, "x", kMebibyte), kNone, NoFormat(3)},
        Row{"HundredMebibytes", Floods(kNoLength, "x", 100 * kMebibyte), kNone, NoFormat(3)},
        Row{"HundredMebibytesOfBlanks", Floods(kNoLength, " ", 100 * kMebibyte), kNone}),
    kName);

INSTANTIATE_TEST_SUITE_P(
    Json, Misbehaviour,
    ::testing::Values(
        Row{"Empty", Answers(""), kNone},  //
        Row{"Html", Answers("<html>status</html>"), kNone, NoFormat(3)},
        Row{"Balanced", Answers("{status}"), kNone, NoFormat(0)},
        Row{"AnEmptyObject", Answers("{}"), kNone, {{",missing Member", 2}}},
        Row{"AnArray", Answers("[@]"), kNone, WrongType(6)},
        Row{"OpenBrace", Answers("{@"), kNone, NoFormat(3)},
        Row{"BraceInText", AnswersReplacing("\"ok\"", "\"{\""), "AAARRR", NoFormat(3)},
        Row{"AThousandLevels", Answers(Nested(1000)), kNone},
        Row{"HundredThousandLevels", Answers(Nested(100000)), kNone, NoFormat(3)},
        Row{"WithoutStatus",
            AnswersReplacing("\"status\"", "\"state\""),
            kNone,
            {{",missing Member", 2}}},
        Row{"WithoutMessage",
            AnswersReplacing("\"message\"", "\"text\""),
            "RRARRR",
            {{",missing Member", 2}}},
        Row{"MoreMembers", AnswersReplacing("{\"status\"", "{\"x\":[{}],\"status\""), kAll},
        Row{"NulBehind", Answers(std::string("@\0{}", 4)), kAll},
        Row{"NulInside", AnswersReplacing("ok", std::string(1, '\0')), kNone},
        // The address is in use before the status is looked at.
        Row{"NumbersTooLarge", AnswersReplacing(":0", ":4294967296"), "RARRRR", WrongType(6)},
        Row{"ExponentTooLarge", AnswersReplacing(":0", ":1e400"), kNone},
        Row{"ExponentTooSmall", AnswersReplacing(":0", ":0e-2147483000"), "RARRRR"},
        Row{"InvalidUtf8", AnswersReplacing("\"ok\"", "\"\xff\xc0\xed\xa0\x80\""), kAll},
        Row{"ALongMessage", AnswersReplacing("ok", std::string(10000, 'm')), kAll},
        // The first of two counts; login and address check do not look at it.
        Row{"DuplicateKeys", AnswersReplacing("{\"status\"", "{\"status\":1,\"status\""),
            "AARRRR"}),
    kName);

INSTANTIATE_TEST_SUITE_P(
    WrongType, Misbehaviour,
    ::testing::Values(Row{"Status", AnswersWithMistyped("status"), "RARRRR", WrongType(6)},
                      Row{"Message", AnswersWithMistyped("message"), "RAARRR", WrongType(5)},
                      Row{"Data", AnswersWithMistyped("data"), "RRRAAA", WrongType(3)},
                      Row{"SeqStatus", AnswersWithMistyped("seqStatus"), "RAAAAA", WrongType(1)},
                      Row{"RealIpAddress", AnswersWithMistyped("realIpAddress"), "ARAAAA",
                          WrongType(1)},
                      Row{"Sn", AnswersWithMistyped("sn"), kOrder, WrongType(1)},
                      Row{"Id", AnswersWithMistyped("id"), kOrder, WrongType(1)},
                      Row{"Devs", AnswersWithMistyped("devs"), kOrder, WrongType(1)},
                      Row{"GroupId", AnswersWithMistyped("groupId"), kOrder, WrongType(1)},
                      Row{"EqpId", AnswersWithMistyped("eqpId"), kOrder, WrongType(1)},
                      Row{"Ids", AnswersWithMistyped("ids"), kOrder, WrongType(1)},
                      Row{"PointId", AnswersWithMistyped("pointId"), kOrder, WrongType(1)},
                      Row{"BeginTime", AnswersWithMistyped("beginTime"), kOrder, WrongType(1)},
                      Row{"EndTime", AnswersWithMistyped("endTime"), kOrder, WrongType(1)}),
    kName);

// Each waits for no longer than its time-out, and nobody waits for the other.
TEST_F(HostileCloud, ThatStallsHoldsNobodyElseUp) {
  test::HostileServer server(test::Stalls(""), 2);
  test::SystemFile(server.Port()).Write();
  const Segment segment({{0x01030001, 1}});
  ServiceProcess service(At(11, 58, 50));

  service.RunUntil(At(12, 6));

  EXPECT_EQ(test::TextLogTimes("Post Authorize Info failed"), std::vector<std::string>{"11:59:20"});
  EXPECT_EQ(test::TextLogTimes("curl_easy_perform() failed when post: Timeout was reached"),
            (std::vector<std::string>{"11:59:20", "12:00:30"}));
  EXPECT_EQ(test::TextLogTimes("send file"), (std::vector<std::string>{"12:02:30", "12:04:36"}));
  EXPECT_EQ(test::TextLogTimes("CreateRealDataJsonFile"),
            (std::vector<std::string>{"12:00:01", "12:05:01"}));
}

struct Nowhere {
  const char* name;
  const char* host;
  const char* words;
};

class UnreachableCloud : public HostileCloud, public ::testing::WithParamInterface<Nowhere> {};

TEST_P(UnreachableCloud, IsTriedByEachExchangeInItsRhythm) {
  const std::string words =
      std::string("curl_easy_perform() failed when post: ") + GetParam().words;
  test::SysXml()
      .Cloud("checked", "1")
      .Cloud("cloudip", GetParam().host)
      .Cloud("port", "1")
      .Cloud("RecallInterval", "60")
      .Write();
  ServiceProcess service(At(12, 8, 10));

  service.RunUntil(At(12, 10, 20));

  EXPECT_EQ(test::TextLogTimes("Post Authorize Info failed"),
            (std::vector<std::string>{"12:08:10", "12:09:10", "12:10:10"}));
  // As often by the recall check, and once by the address check.
  EXPECT_EQ(test::TextLogTimes(words),
            (std::vector<std::string>{"12:08:10", "12:08:10", "12:09:10", "12:09:10", "12:10:00",
                                      "12:10:10", "12:10:10"}));
}

TEST_P(UnreachableCloud, OfARedirectLeavesTheRowPendingUntilItIsTakenBack) {
  cloud::Simulator cloud({});
  cloud.Redirect(GetParam().host);
  test::SystemFile(cloud.Port()).Write();
  ServiceProcess service(At(11, 59, 30));
  service.RunUntil(At(12, 0, 30));  // the redirect is there
  const std::string name = test::PackDataFile(At(11, 0));
  test::WriteLedger({{name}});
  service.RunUntil(At(12, 2, 30));
  const auto tried =
      test::TextLogTimes("send file " + test::DataFilePath(name) + " failed: " + GetParam().words);
  cloud.Redirect("127.0.0.1");

  service.RunUntil(At(12, 11, 30));

  EXPECT_EQ(tried, (std::vector<std::string>{"12:01:00", "12:02:00"}));
  EXPECT_THAT(test::ReadLedger(), ::testing::Contains(LedgerRow{name, 2, 1}));
}

INSTANTIATE_TEST_SUITE_P(HostileCloud, UnreachableCloud,
                         ::testing::Values(Nowhere{"Refused", "127.0.0.3",
                                                   "Couldn't connect to server,httpcode =0"},
                                           Nowhere{"Unresolvable", "nowhere.invalid",
                                                   "Couldn't resolve host name,httpcode =0"}),
                         kName);

}  // namespace
