// The grammar of behaviours, and the script that is consumed one exchange at a time.
#include <gmock/gmock.h>

#include <stdexcept>

#include "cloud/behaviours.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using cloud::ParseBehaviours;
using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

// What it is for: one item and what it means.
struct Item {
  const char* name;
  const char* text;
  Behaviour behaviour;
};

void PrintTo(const Item& row, std::ostream* out) {
  *out << row.text;
}

class CloudBehaviourItem : public ::testing::TestWithParam<Item> {};

TEST_P(CloudBehaviourItem, MeansOneBehaviour) {
  EXPECT_THAT(ParseBehaviours(GetParam().text), ElementsAre(GetParam().behaviour));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudBehaviourItem,
    ::testing::Values(
        Item{"Ok", "ok", Behaviour::Normal()}, Item{"Refuse", "refuse", Behaviour::Refuse()},
        Item{"Close", "close", Behaviour::Close()}, Item{"Cut", "cut", Behaviour::Cut()},
        Item{"Pieces", "pieces", Behaviour::Pieces(milliseconds(200))},
        Item{"PiecesFarApart", "pieces:1.5", Behaviour::Pieces(milliseconds(1500))},
        Item{"Http", "http:204", Behaviour::Status(204)},
        Item{"HttpWithBody", R"(http:500:'{"status":0,"message":"a"}')",
             Behaviour::Status(500, R"({"status":0,"message":"a"})")},
        Item{"Nonsense", "nonsense:'a,b*2:c'", Behaviour::Nonsense("a,b*2:c")},
        Item{"DoubledQuote", "nonsense:'it''s'", Behaviour::Nonsense("it's")},
        Item{"DoubleQuotes", R"(nonsense:"it's ""so""")", Behaviour::Nonsense(R"(it's "so")")},
        Item{"NoText", "nonsense:''", Behaviour::Nonsense("")},
        Item{"Stall", "stall:5", Behaviour::Stall(seconds(5))},
        Item{"StallOfAFraction", "stall:0.25", Behaviour::Stall(milliseconds(250))},
        Item{"LongestStall", "stall:600", Behaviour::Stall(seconds(600))}),
    [](const auto& row) { return row.param.name; });

TEST(CloudBehaviours, AreReadInOrderWithTheirCounts) {
  EXPECT_THAT(ParseBehaviours("ok*2,refuse,close*2"),
              ElementsAre(Behaviour::Normal(), Behaviour::Normal(), Behaviour::Refuse(),
                          Behaviour::Close(), Behaviour::Close()));
}

TEST(CloudBehaviours, HaveSomeNonsenseOfTheirOwn) {
  const std::vector<Behaviour> behaviours = ParseBehaviours("nonsense");

  ASSERT_EQ(behaviours.size(), 1U);
  EXPECT_EQ(behaviours[0].action, cloud::Action::kNonsense);
  EXPECT_FALSE(behaviours[0].text.empty());
}

TEST(CloudBehaviours, StallAtMostTenMinutes) {
  EXPECT_EQ(Behaviour::Stall(seconds(601)).stall, seconds(600));
  EXPECT_EQ(Behaviour::Pieces(seconds(601)).stall, seconds(600));
}

// What it is for: a list that is none, and the words for it.
struct BadList {
  const char* name;
  const char* text;
  const char* complaint;
};

void PrintTo(const BadList& row, std::ostream* out) {
  *out << row.text;
}

class CloudBehaviourFaults : public ::testing::TestWithParam<BadList> {};

TEST_P(CloudBehaviourFaults, AreSaidInWords) {
  EXPECT_THAT([] { ParseBehaviours(GetParam().text); },
              ThrowsMessage<std::invalid_argument>(HasSubstr(GetParam().complaint)));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudBehaviourFaults,
    ::testing::Values(BadList{"Empty", "", "unknown item ''"},
                      BadList{"UnknownItem", "ok,accept", "unknown item 'accept'"},
                      BadList{"CommaAtTheEnd", "ok,", "unknown item ''"},
                      BadList{"CountOfZero", "ok*0", "no count from 1 to 10000"},
                      BadList{"CountMissing", "ok*,ok", "no count from 1 to 10000"},
                      BadList{"CountTooHigh", "ok*10001", "no count from 1 to 10000"},
                      BadList{"TooManyTogether", "ok*10000,ok", "more than 10000 exchanges"},
                      BadList{"StatusMissing", "http", "no HTTP status"},
                      BadList{"StatusTooLow", "http:199", "no HTTP status"},
                      BadList{"StatusTooHigh", "http:600", "no HTTP status"},
                      BadList{"StatusNoNumber", "http:5x0", "no HTTP status"},
                      BadList{"TextWithoutQuotes", "http:500:busy", "without quotes"},
                      BadList{"TextWithoutEnd", "nonsense:'a", "without a closing quote"},
                      BadList{"StallMissing", "stall", "no seconds"},
                      BadList{"StallTooLong", "stall:600.1", "no seconds"},
                      BadList{"StallNegative", "stall:-1", "no seconds"},
                      BadList{"StallNoNumber", "stall:nan", "no seconds"},
                      BadList{"PiecesTooFarApart", "pieces:601", "after 'pieces:'"},
                      BadList{"CutWithANumber", "cut:1", "goes on with ':1'"},
                      BadList{"SomethingBehind", "nonsense:'a'b", "goes on with 'b'"}),
    [](const auto& row) { return row.param.name; });

TEST(CloudScript, IsConsumedInOrderAndThenNormal) {
  cloud::Script script;
  script.Append(Endpoint::kRealData, {Behaviour::Refuse()});
  script.Append(Endpoint::kRealData, {Behaviour::Close()});

  EXPECT_EQ(script.Next(Endpoint::kRealData), Behaviour::Refuse());
  EXPECT_EQ(script.Next(Endpoint::kRealData), Behaviour::Close());
  EXPECT_EQ(script.Next(Endpoint::kRealData), Behaviour::Normal());
}

TEST(CloudScript, KeepsTheEndpointsApart) {
  cloud::Script script;
  script.Append(Endpoint::kAuthorize, {Behaviour::Refuse()});

  EXPECT_EQ(script.Next(Endpoint::kCallData), Behaviour::Normal());
  EXPECT_EQ(script.Next(Endpoint::kAuthorize), Behaviour::Refuse());
}

}  // namespace
