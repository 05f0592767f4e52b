#include "console/watch/verdicts.h"

#include <gtest/gtest.h>

namespace console {
namespace {

constexpr long kPatience = 100;

StatusSight Says(int exit, const std::string& code = "BRN-CARD-FULL") {
  StatusSight status;
  status.code = exit == 0 ? "" : code;
  status.exit = exit;
  status.text = "the card is full";
  return status;
}

Witness Sees(status::Level level, Topic topic = Topic::kFiles) {
  return {.level = level,
          .text = "2 files are lost",
          .reasons = {{.level = level, .text = "2 files are lost", .topic = topic}}};
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

// What is said when both have said the same for two minutes.
std::string AfterTwoMinutes(const StatusSight& status, const Witness& witness,
                            bool isFolderCard = false) {
  Agreement agreement;
  agreement.Compare(status, witness, 1000, kPatience, isFolderCard);
  return agreement.Compare(status, witness, 1120, kPatience, isFolderCard).disagreement;
}

TEST(Agreement, PassesOverAShortDisagreement) {
  Agreement agreement;
  const auto compare = [&agreement](const Witness& witness, std::time_t now) {
    return agreement.Compare(Says(0), witness, now, kPatience, false);
  };

  EXPECT_EQ(compare(Sees(status::Level::kCritical), 1000).disagreement, "");
  EXPECT_EQ(compare(Sees(status::Level::kOk), 1050).since, 0);
  const AgreementSight sight = compare(Sees(status::Level::kCritical), 1150);
  EXPECT_EQ(sight.disagreement, "");
  EXPECT_EQ(sight.since, 1150);
  EXPECT_EQ(sight.patience, kPatience);
}

TEST(Agreement, TellsOfALastingDisagreementEitherWay) {
  EXPECT_EQ(AfterTwoMinutes(Says(0), Sees(status::Level::kCritical)),
            "brennik-status says that all is normal, but the witness does not: 2 files are lost "
            "(for 2 min)");
  EXPECT_EQ(
      AfterTwoMinutes(Says(2), Sees(status::Level::kOk)),
      "the witness sees nothing wrong, but brennik-status says: the card is full (for 2 min)");
}

TEST(Agreement, TellsOfDifferentDiagnoses) {
  const auto critical = status::Level::kCritical;

  EXPECT_EQ(AfterTwoMinutes(Says(2), Sees(critical, Topic::kFiles)),
            "brennik-status says: the card is full; the witness does not say so, but: 2 files are "
            "lost (for 2 min)");
  EXPECT_EQ(AfterTwoMinutes(Says(2), Sees(critical, Topic::kCard)), "");
  EXPECT_EQ(AfterTwoMinutes(Says(2, "BRN-CLOUD-SILENT"), Sees(critical, Topic::kSending)), "");
  EXPECT_EQ(AfterTwoMinutes(Says(2, "BRN-UPLOADS-REFUSED"), Sees(critical, Topic::kResults)), "");
  EXPECT_EQ(AfterTwoMinutes(Says(1, "BRN-BACKLOG"), Sees(critical, Topic::kLogin)), "");
  EXPECT_NE(AfterTwoMinutes(Says(2, "BRN-LOGIN-REFUSED"), Sees(critical, Topic::kValues)), "");
}

TEST(Agreement, ComparesNothingWhereTheCardIsAFolder) {
  const StatusSight status = Says(2, "BRN-CARD-NOT-MOUNTED");
  const Witness witness = Sees(status::Level::kOk);

  EXPECT_EQ(AfterTwoMinutes(status, witness, true), "");
  EXPECT_NE(AfterTwoMinutes(status, witness, false), "");
  EXPECT_EQ(Agreement()
                .Compare(status, witness, 1000, kPatience, true)
                .note.find("this is no fault here: the card is a folder of this machine"),
            0U);
}

}  // namespace
}  // namespace console
