// The bodies of the requests that the gateway posts on its own initiative.
#include "packmemory/packmemory.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "config/snset.h"
#include "support/configs.h"
#include "support/files.h"
#include "support/gateway.h"
#include "util/paths.h"

namespace {

constexpr std::size_t kBodyArea = 20480;  // what a request frame offers
constexpr char kUntouched = '#';
constexpr char kSixteenCharacters[] = "BR20240307000042";

static_assert(!std::is_copy_constructible_v<CPackMemory>);

void LoadSerial(const std::string& serial) {
  test::WriteSnXml("Ostra-7K", serial);
  GetCsnSetInstance().Open(paths::kIdentityFile);
  GetCsnSetInstance().Close();
}

// What an identity file holds between the quotation marks of its serial number.
void LoadSerialAsWritten(const std::string& serial) {
  test::WriteFile(paths::kIdentityFile,
                  "<snConfig><model model=\"Ostra-7K\"/><sn sn=\"" + serial + "\"/></snConfig>");
  GetCsnSetInstance().Open(paths::kIdentityFile);
  GetCsnSetInstance().Close();
}

// The outcome of one call that may use `size` bytes of a larger area.
struct Built {
  int length = 0;
  std::array<char, kBodyArea> area{};

  const char* Text() const { return area.data(); }
};

Built Authorize(int size) {
  Built built;
  built.area.fill(kUntouched);
  built.length = GetCPackMemoryInstance().CreateAuthorizeMemory(built.area.data(), size);
  return built;
}

class AuthorizeBody : public test::GatewayTest {};

TEST_F(AuthorizeBody, HoldsTheSerialNumberAndTheApplyType) {
  LoadSerial("S1");

  const Built built = Authorize(kBodyArea);

  EXPECT_STREQ(built.Text(), R"({"sn":"S1","applyType":0})");
  EXPECT_EQ(built.length, 25);
}

TEST_F(AuthorizeBody, IsThirtyNineCharactersLongForASerialNumberOfSixteen) {
  LoadSerial(kSixteenCharacters);

  const Built built = Authorize(kBodyArea);

  EXPECT_EQ(built.length, 39);
  EXPECT_STREQ(built.Text(), R"({"sn":"BR20240307000042","applyType":0})");
}

TEST_F(AuthorizeBody, IsTwentyThreeCharactersLongForAnEmptySerialNumber) {
  LoadSerial("");

  const Built built = Authorize(kBodyArea);

  EXPECT_EQ(built.length, 23);
  EXPECT_STREQ(built.Text(), R"({"sn":"","applyType":0})");
}

TEST_F(AuthorizeBody, IsBuiltFromTheSerialNumberOfTheMoment) {
  LoadSerial("S1");
  Authorize(kBodyArea);
  LoadSerial("S2");

  const Built built = Authorize(kBodyArea);

  EXPECT_STREQ(built.Text(), R"({"sn":"S2","applyType":0})");
}

TEST_F(AuthorizeBody, LeavesTheRestOfTheBufferAlone) {
  LoadSerial("S1");

  const Built built = Authorize(kBodyArea);

  EXPECT_EQ(built.area.at(25), '\0');
  EXPECT_EQ(built.area.at(26), kUntouched);
  EXPECT_EQ(built.area.back(), kUntouched);
}

struct Escaping {
  const char* name;
  const char* written;  // in the identity file
  const char* body;
};

void PrintTo(const Escaping& escaping, std::ostream* out) {
  *out << escaping.written;
}

class EscapedSerial : public AuthorizeBody, public ::testing::WithParamInterface<Escaping> {};

TEST_P(EscapedSerial, FollowsTheRulesOfJsonStrings) {
  LoadSerialAsWritten(GetParam().written);

  const Built built = Authorize(kBodyArea);

  EXPECT_STREQ(built.Text(), GetParam().body);
  EXPECT_EQ(built.length, static_cast<int>(std::strlen(GetParam().body)));
}

INSTANTIATE_TEST_SUITE_P(
    Serials, EscapedSerial,
    ::testing::Values(
        Escaping{"QuotationMark", "A&quot;B", R"({"sn":"A\"B","applyType":0})"},
        Escaping{"Backslash", "A\\B", R"({"sn":"A\\B","applyType":0})"},
        Escaping{"Tab", "A&#9;B", R"({"sn":"A\tB","applyType":0})"},
        Escaping{"LineFeed", "A&#10;B", R"({"sn":"A\nB","applyType":0})"},
        Escaping{"CarriageReturn", "A&#13;B", R"({"sn":"A\rB","applyType":0})"},
        Escaping{"Slash", "A/B", R"({"sn":"A/B","applyType":0})"},
        Escaping{"Delete", "A\177B", "{\"sn\":\"A\177B\",\"applyType\":0}"},
        Escaping{"Percent", "%s%n%d", R"({"sn":"%s%n%d","applyType":0})"},
        Escaping{"Chinese", "网关一号", R"({"sn":"网关一号","applyType":0})"},
        // 18 bytes are kept of a serial number: five characters of three bytes, and two bytes more.
        Escaping{"ChineseCutWithinACharacter", "1网关一号网关",
                 "{\"sn\":\"1网关一号网\xe5\x85\",\"applyType\":0}"},
        Escaping{"InjectedMember", "S1&quot;,&quot;a&quot;:&quot;",
                 R"({"sn":"S1\",\"a\":\"","applyType":0})"}),
    [](const auto& test) { return test.param.name; });

struct Limit {
  int size;
  int length;
};

void PrintTo(const Limit& limit, std::ostream* out) {
  *out << "size " << limit.size;
}

class LimitedAuthorizeBody : public AuthorizeBody, public ::testing::WithParamInterface<Limit> {};

TEST_P(LimitedAuthorizeBody, StoresTwoCharactersLessThanTheSizeAndReturnsTheirNumber) {
  const std::string whole = R"({"sn":"BR20240307000042","applyType":0})";
  LoadSerial(kSixteenCharacters);

  const Built built = Authorize(GetParam().size);

  const auto stored = static_cast<std::size_t>(GetParam().length);
  EXPECT_EQ(built.length, GetParam().length);
  EXPECT_EQ(built.Text(), whole.substr(0, stored));
  EXPECT_EQ(built.area.at(stored + 1), kUntouched);
}

INSTANTIATE_TEST_SUITE_P(Sizes, LimitedAuthorizeBody,
                         ::testing::Values(Limit{42, 39}, Limit{41, 39}, Limit{40, 38},
                                           Limit{10, 8}, Limit{3, 1}, Limit{2, 0}),
                         [](const auto& test) { return "Size" + std::to_string(test.param.size); });

class UselessBuffer : public AuthorizeBody, public ::testing::WithParamInterface<int> {};

TEST_P(UselessBuffer, IsLeftAlone) {
  LoadSerial("S1");

  const Built built = Authorize(GetParam());

  EXPECT_EQ(built.length, 0);
  EXPECT_EQ(built.area.front(), kUntouched);
}

INSTANTIATE_TEST_SUITE_P(Sizes, UselessBuffer, ::testing::Values(1, 0, -1), [](const auto& test) {
  return test.param < 0 ? std::string("Negative") : "Size" + std::to_string(test.param);
});

TEST_F(AuthorizeBody, IsBuiltByTwoThreadsAtOnce) {
  LoadSerial("S1");
  std::array<std::vector<std::string>, 2> bodies;
  const auto build = [](std::vector<std::string>& into) {
    for (int i = 0; i < 100; ++i) into.emplace_back(Authorize(kBodyArea).Text());
  };

  std::thread other(build, std::ref(bodies[1]));
  build(bodies[0]);
  other.join();

  for (const auto& built : bodies) {
    EXPECT_THAT(built, ::testing::Each(std::string(R"({"sn":"S1","applyType":0})")));
  }
}

Built RecallCheck(int size) {
  Built built;
  built.area.fill(kUntouched);
  built.length = GetCPackMemoryInstance().CreateRecallMemory(built.area.data(), size);
  return built;
}

class RecallCheckBody : public test::GatewayTest {};

TEST_F(RecallCheckBody, HoldsTheSerialNumber) {
  LoadSerial("S1");

  const Built built = RecallCheck(kBodyArea);

  EXPECT_STREQ(built.Text(), R"({"sn":"S1"})");
  EXPECT_EQ(built.length, 11);
}

TEST_F(RecallCheckBody, IsTwentyFiveCharactersLongForASerialNumberOfSixteen) {
  LoadSerial(kSixteenCharacters);

  const Built built = RecallCheck(kBodyArea);

  EXPECT_EQ(built.length, 25);
  EXPECT_STREQ(built.Text(), R"({"sn":"BR20240307000042"})");
}

TEST_F(RecallCheckBody, IsNineCharactersLongForAnEmptySerialNumber) {
  LoadSerial("");

  const Built built = RecallCheck(kBodyArea);

  EXPECT_EQ(built.length, 9);
  EXPECT_STREQ(built.Text(), R"({"sn":""})");
}

TEST_F(RecallCheckBody, IsBuiltFromTheSerialNumberOfTheMoment) {
  LoadSerial("S1");
  RecallCheck(kBodyArea);
  LoadSerial("S2");

  const Built built = RecallCheck(kBodyArea);

  EXPECT_STREQ(built.Text(), R"({"sn":"S2"})");
}

TEST_F(RecallCheckBody, LeavesTheRestOfTheBufferAlone) {
  LoadSerial("S1");

  const Built built = RecallCheck(kBodyArea);

  EXPECT_EQ(built.area.at(11), '\0');
  EXPECT_EQ(built.area.at(12), kUntouched);
  EXPECT_EQ(built.area.back(), kUntouched);
}

TEST_F(RecallCheckBody, FollowsTheRulesOfJsonStrings) {
  LoadSerialAsWritten("A&quot;\\&#9;%s/网");

  const Built built = RecallCheck(kBodyArea);

  EXPECT_STREQ(built.Text(), R"({"sn":"A\"\\\t%s/网"})");
}

class LimitedRecallCheckBody : public RecallCheckBody,
                               public ::testing::WithParamInterface<Limit> {};

TEST_P(LimitedRecallCheckBody, StoresTwoCharactersLessThanTheSizeAndReturnsTheirNumber) {
  const std::string whole = R"({"sn":"BR20240307000042"})";
  LoadSerial(kSixteenCharacters);

  const Built built = RecallCheck(GetParam().size);

  const auto stored = static_cast<std::size_t>(GetParam().length);
  EXPECT_EQ(built.length, GetParam().length);
  EXPECT_EQ(built.Text(), whole.substr(0, stored));
  EXPECT_EQ(built.area.at(stored + 1), kUntouched);
}

INSTANTIATE_TEST_SUITE_P(Sizes, LimitedRecallCheckBody,
                         ::testing::Values(Limit{28, 25}, Limit{27, 25}, Limit{26, 24},
                                           Limit{10, 8}, Limit{3, 1}, Limit{2, 0}),
                         [](const auto& test) { return "Size" + std::to_string(test.param.size); });

TEST_F(RecallCheckBody, LeavesAUselessBufferAlone) {
  LoadSerial("S1");

  for (const int size : {1, 0, -1}) {
    const Built built = RecallCheck(size);

    EXPECT_EQ(built.length, 0) << size;
    EXPECT_EQ(built.area.front(), kUntouched) << size;
  }
}

}  // namespace
