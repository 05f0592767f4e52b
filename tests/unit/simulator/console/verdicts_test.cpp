#include "console/watch/verdicts.h"

#include <gtest/gtest.h>

namespace console {
namespace {

constexpr long kPatience = 100;

StatusSight Says(int exit) {
  StatusSight status;
  status.exit = exit;
  status.text = "the card is full";
  return status;
}

Witness Sees(status::Level level) {
  return {.level = level, .text = "2 files are lost", .reasons = {}};
}

TEST(StatusOf, ReadsVerdictAndFirstCode) {
  const StatusSight sight =
      StatusOf({0, R"({"verdict":{"level":"CRITICAL","exit_status":2,"text":"the card is full"},)"
                   R"("findings":[{"code":"BRN-CARD-FULL"},{"code":"BRN-OTHER"}]})"});

  EXPECT_EQ(sight.exit, 2);
  EXPECT_EQ(sight.level, "critical");
  EXPECT_EQ(sight.code, "BRN-CARD-FULL");
  EXPECT_EQ(sight.text, "the card is full");
}

TEST(StatusOf, SaysThatNoVerdictCame) {
  EXPECT_EQ(StatusOf({-1, ""}).text, "brennik-status could not be run");
  const StatusSight ended = StatusOf({3, "no JSON"});
  EXPECT_EQ(ended.exit, -1);
  EXPECT_EQ(ended.level, "unknown");
  EXPECT_EQ(ended.text, "brennik-status ended with status 3 and printed no verdict");
}

TEST(StatusWatch, GivesTheLatestRunAndEndsAtOnce) {
  const auto begin = std::chrono::steady_clock::now();
  {
    const StatusWatch watch([] {
      return StatusRun{0, R"({"verdict":{"level":"OK","exit_status":0,"text":"fine"}})"};
    });
    while (watch.Latest().exit != 0) std::this_thread::yield();
    EXPECT_EQ(watch.Latest().text, "fine");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST(Agreement, PassesOverAShortDisagreement) {
  Agreement agreement;

  EXPECT_EQ(agreement.Compare(Says(0), Sees(status::Level::kCritical), 1000, kPatience), "");
  EXPECT_EQ(agreement.Compare(Says(0), Sees(status::Level::kOk), 1050, kPatience), "");
  EXPECT_EQ(agreement.Compare(Says(0), Sees(status::Level::kCritical), 1150, kPatience), "");
}

TEST(Agreement, TellsOfALastingDisagreementEitherWay) {
  Agreement agreement;
  agreement.Compare(Says(0), Sees(status::Level::kCritical), 1000, kPatience);
  EXPECT_EQ(agreement.Compare(Says(0), Sees(status::Level::kCritical), 1120, kPatience),
            "brennik-status says that all is normal, but the witness does not: 2 files are lost "
            "(for 2 min)");

  Agreement other;
  other.Compare(Says(2), Sees(status::Level::kOk), 1000, kPatience);
  EXPECT_EQ(
      other.Compare(Says(2), Sees(status::Level::kOk), 1120, kPatience),
      "the witness sees nothing wrong, but brennik-status says: the card is full (for 2 min)");
}

}  // namespace
}  // namespace console
