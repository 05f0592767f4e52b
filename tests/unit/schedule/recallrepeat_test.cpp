// Orders that the cloud repeats: which are only counted, which answered anew.
#include <gmock/gmock.h>

#include "recallfixture.h"
#include "support/faults.h"
#include "support/logs.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

using test::Accepted;
using test::HttpAnswer;
using test::kRecallCheck;
using test::kRecallUpload;
using test::NothingOrdered;
using test::Ordered;
using test::PausesText;
using test::Rejected;
using test::Repeated;

class RecallRepeat : public test::RecallWorkerTest {};

struct Repeats {
  int polls;  // with the same number, the first included
  std::vector<std::string> requests;
  std::vector<std::string> warnings;
  std::string pauses;
};

void PrintTo(const Repeats& repeats, std::ostream* out) {
  *out << repeats.polls << " polls";
}

class RepeatedOrder : public RecallRepeat, public ::testing::WithParamInterface<Repeats> {};

TEST_P(RepeatedOrder, IsCountedTwiceAndAnsweredAnewFromTheThirdTimeOn) {
  for (const auto& request : GetParam().requests) {
    m_cloud.Answer(request == kRecallCheck ? Ordered(7) : Accepted());
  }

  Poll(GetParam().polls);

  EXPECT_EQ(Requested(), GetParam().requests);
  EXPECT_EQ(test::TextLog("WARN"), GetParam().warnings);
  EXPECT_EQ(PausesText(), GetParam().pauses);
}

INSTANTIATE_TEST_SUITE_P(
    Polls, RepeatedOrder,
    ::testing::Values(
        Repeats{1, {kRecallCheck, kRecallUpload}, {}, "1 77"},
        Repeats{2, {kRecallCheck, kRecallUpload, kRecallCheck}, {Repeated(7, 1)}, "1 77 77"},
        Repeats{3,
                {kRecallCheck, kRecallUpload, kRecallCheck, kRecallCheck},
                {Repeated(7, 1), Repeated(7, 2)},
                "1 77 77 77"},
        Repeats{
            4,
            {kRecallCheck, kRecallUpload, kRecallCheck, kRecallCheck, kRecallCheck, kRecallUpload},
            {Repeated(7, 1), Repeated(7, 2)},
            "1 77 77 77 1 77"},
        Repeats{5,
                {kRecallCheck, kRecallUpload, kRecallCheck, kRecallCheck, kRecallCheck,
                 kRecallUpload, kRecallCheck, kRecallUpload},
                {Repeated(7, 1), Repeated(7, 2)},
                "1 77 77 77 1 77 1 77"},
        Repeats{6,
                {kRecallCheck, kRecallUpload, kRecallCheck, kRecallCheck, kRecallCheck,
                 kRecallUpload, kRecallCheck, kRecallUpload, kRecallCheck, kRecallUpload},
                {Repeated(7, 1), Repeated(7, 2)},
                "1 77 77 77 1 77 1 77 1 77"}),
    [](const auto& test) { return std::to_string(test.param.polls); });

TEST_F(RecallRepeat, RebuildsARepeatedOrderFromTheHistoryOfNow) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());
  m_cloud.Answer(Ordered(7)).Answer(Ordered(7)).Answer(Ordered(7)).Answer(Accepted());

  Poll(4);

  EXPECT_THAT(Uploaded(kRecallUpload),
              ElementsAre("R20240307120010.tar.gz", "R20240307120402.tar.gz"));
}

TEST_F(RecallRepeat, CountsRepeatsAcrossPollsWithoutAnOrder) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(7)).Answer(NothingOrdered());
  m_cloud.Answer(HttpAnswer(500, "")).Answer(Ordered(7));

  Poll(5);

  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(Repeated(7, 1), HasSubstr("httpcode =500"), Repeated(7, 2)));
}

TEST_F(RecallRepeat, CountsTheRepeatsOfANewNumberFromTheBeginning) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(7)).Answer(Ordered(7));
  m_cloud.Answer(Ordered(8)).Answer(Accepted()).Answer(Ordered(8));

  Poll(5);

  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(Repeated(7, 1), Repeated(7, 2), Repeated(8, 1)));
}

TEST_F(RecallRepeat, CountsAfreshAfterAFailedResending) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(7)).Answer(Ordered(7));
  m_cloud.Answer(Ordered(7)).Answer(Rejected());  // the third repeat
  m_cloud.Answer(Ordered(7)).Answer(Accepted());  // resent at once
  m_cloud.Answer(Ordered(7));

  Poll(6);

  EXPECT_THAT(Requested(),
              ElementsAre(kRecallCheck, kRecallUpload, kRecallCheck, kRecallCheck, kRecallCheck,
                          kRecallUpload, kRecallCheck, kRecallUpload, kRecallCheck));
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre(Repeated(7, 1), Repeated(7, 2), HasSubstr(" failed\n"), Repeated(7, 1)));
}

TEST_F(RecallRepeat, KeepsTheLastAnsweredNumberAfterAFailedPacking) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted());
  m_cloud.Answer(Ordered(8));  // cannot be packed
  m_cloud.Answer(Ordered(7)).Answer(Ordered(8)).Answer(Accepted());
  test::FailCalls(test::Call::kPopen, 3, 1);

  Poll(4);

  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallUpload, kRecallCheck, kRecallCheck,
                                       kRecallCheck, kRecallUpload));
  EXPECT_THAT(test::TextLog("WARN"), Contains(Repeated(7, 1)));
}

TEST_F(RecallRepeat, KeepsItsCountAfterAFailedPackingOfARepeat) {
  m_cloud.Answer(Ordered(7)).Answer(Accepted()).Answer(Ordered(7)).Answer(Ordered(7));
  m_cloud.Answer(Ordered(7));  // the third repeat, which cannot be packed
  m_cloud.Answer(Ordered(7)).Answer(Accepted());
  test::FailCalls(test::Call::kPopen, 3, 1);

  Poll(5);

  EXPECT_EQ(PausesText(), "1 77 77 77 1 1 1 77 1 77");
  EXPECT_THAT(Requested(), ElementsAre(kRecallCheck, kRecallUpload, kRecallCheck, kRecallCheck,
                                       kRecallCheck, kRecallCheck, kRecallUpload));
}

}  // namespace
