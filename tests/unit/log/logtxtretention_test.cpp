// The text log's retention: five day files, and which one goes.
#include <gmock/gmock.h>

#include <filesystem>
#include <list>
#include <string>
#include <vector>

#include "log/logtxt.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "util/text.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr char kUntouched[] = "untouched";

class TextLogRetention : public test::GatewayTest {
 protected:
  static void Place(const std::vector<std::string>& names) {
    for (const auto& name : names) test::WriteFile("/tmp/CloudLog/" + name, "");
  }
  // One cycle with a record in it, at noon of that day.
  int WriteOn(int month, int day) {
    test::SetTime(test::LocalTimeOf(2024, month, day, 12));
    ST_TXT_LOG_NODE node{};
    std::list<ST_TXT_LOG_NODE> queue{node};
    return store.WriteLog(&queue);
  }
  static std::vector<std::string> Files() { return test::List("/tmp/CloudLog"); }

  CLogTxt& store = Singleton<CLogTxt>::Instance();
};

TEST_F(TextLogRetention, RemovesTheFirstOfSixDays) {
  Place({"1110_log.txt", "1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt"});

  const int result = WriteOn(11, 15);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(Files(), ElementsAre("1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt",
                                   "1115_log.txt"));
}

TEST_F(TextLogRetention, KeepsFiveDays) {
  Place({"1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt"});

  WriteOn(11, 15);

  EXPECT_THAT(Files(), ElementsAre("1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt",
                                   "1115_log.txt"));
}

TEST_F(TextLogRetention, RemovesAtMostOneFileACycle) {
  Place({"1107_log.txt", "1108_log.txt", "1109_log.txt", "1110_log.txt", "1111_log.txt",
         "1112_log.txt", "1113_log.txt", "1114_log.txt"});

  WriteOn(11, 15);
  const auto afterOne = Files();
  WriteOn(11, 15);

  EXPECT_THAT(afterOne,
              ElementsAre("1108_log.txt", "1109_log.txt", "1110_log.txt", "1111_log.txt",
                          "1112_log.txt", "1113_log.txt", "1114_log.txt", "1115_log.txt"));
  EXPECT_THAT(Files(), ElementsAre("1109_log.txt", "1110_log.txt", "1111_log.txt", "1112_log.txt",
                                   "1113_log.txt", "1114_log.txt", "1115_log.txt"));
}

TEST_F(TextLogRetention, RemovesJanuaryBeforeTheDecemberBeforeIt) {
  Place({"0101_log.txt", "1227_log.txt", "1228_log.txt", "1229_log.txt", "1230_log.txt"});

  WriteOn(12, 31);

  EXPECT_THAT(Files(), ElementsAre("1227_log.txt", "1228_log.txt", "1229_log.txt", "1230_log.txt",
                                   "1231_log.txt"));
}

TEST_F(TextLogRetention, RemovesEvenTodaysFileWhileFiveOfDecemberAreThere) {
  Place({"1227_log.txt", "1228_log.txt", "1229_log.txt", "1230_log.txt", "1231_log.txt"});

  WriteOn(1, 1);

  EXPECT_THAT(Files(), ElementsAre("1227_log.txt", "1228_log.txt", "1229_log.txt", "1230_log.txt",
                                   "1231_log.txt"));
}

TEST_F(TextLogRetention, CountsOnlyNamesThatStartWithANumberOtherThanZero) {
  Place({"Cloudlog.db", "Cloudlog.db-journal", ".hidden", "notes.txt", "0000_log.txt", "00"});
  Place({"1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt"});
  const auto before = Files();

  WriteOn(11, 15);

  auto after = before;
  after.insert(after.begin() + 7, "1115_log.txt");
  EXPECT_THAT(Files(), ::testing::UnorderedElementsAreArray(after));
}

TEST_F(TextLogRetention, CountsEveryNameThatStartsWithANumber) {
  Place({"1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt", "1116 notes"});

  WriteOn(11, 15);

  EXPECT_THAT(Files(), ElementsAre("1112_log.txt", "1113_log.txt", "1114_log.txt", "1115_log.txt",
                                   "1116 notes"));
}

TEST_F(TextLogRetention, RemovesNothingWhenTheSmallestNumberIsNoDayFiles) {
  Place({"12 notes", "1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt"});

  WriteOn(11, 15);

  EXPECT_THAT(Files(), ElementsAre("1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt",
                                   "1115_log.txt", "12 notes"));
}

TEST_F(TextLogRetention, PadsTheNumberToFourDigits) {
  Place({"0102_log.txt", "0103_log.txt", "0104_log.txt", "0105_log.txt", "0106_log.txt"});

  WriteOn(1, 7);

  EXPECT_THAT(Files(), ElementsAre("0103_log.txt", "0104_log.txt", "0105_log.txt", "0106_log.txt",
                                   "0107_log.txt"));
}

TEST_F(TextLogRetention, ComparesNumbersWithoutASign) {
  Place({"-5", "1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt"});

  WriteOn(11, 15);

  EXPECT_THAT(Files(),
              ElementsAre("-5", "1112_log.txt", "1113_log.txt", "1114_log.txt", "1115_log.txt"));
}

TEST_F(TextLogRetention, GoesOnWhenTheFileCannotBeRemoved) {
  Place({"1110_log.txt", "1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt"});
  test::FailCalls(test::Call::kUnlink);

  const int result = WriteOn(11, 15);

  EXPECT_EQ(result, 0);
  EXPECT_EQ(Files().size(), 6U);
}

TEST_F(TextLogRetention, IsAnOperationOfItsOwn) {
  Place({"1110_log.txt", "1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt",
         "1115_log.txt"});

  store.CheckSizeAndClear();

  EXPECT_THAT(Files(), ElementsAre("1111_log.txt", "1112_log.txt", "1113_log.txt", "1114_log.txt",
                                   "1115_log.txt"));
}

TEST_F(TextLogRetention, RemovesNothingWithoutADirectory) {
  store.CheckSizeAndClear();

  EXPECT_FALSE(test::Exists("/tmp/CloudLog"));
}

TEST_F(TextLogRetention, LeavesNothingOpen) {
  Place({"1110_log.txt"});
  const auto before = test::List("/proc/self/fd").size();

  store.CheckSizeAndClear();

  EXPECT_EQ(test::List("/proc/self/fd").size(), before);
}

class FirstLogTxt : public TextLogRetention {
 protected:
  int Get(unsigned char size = sizeof(m_path)) { return store.GetFirstLogTxt(m_path, size); }
  const char* Path() const { return m_path; }

 private:
  char m_path[128] = "untouched";
};

TEST_F(FirstLogTxt, IsTheOneWithTheSmallestNumber) {
  Place({"1112_log.txt", "0930_log.txt", "1001_log.txt", "Cloudlog.db"});

  const int count = Get();

  EXPECT_EQ(count, 3);
  EXPECT_STREQ(Path(), "/tmp/CloudLog/0930_log.txt");
}

TEST_F(FirstLogTxt, CountsASingleFile) {
  Place({"1112_log.txt"});

  EXPECT_EQ(Get(), 1);
  EXPECT_STREQ(Path(), "/tmp/CloudLog/1112_log.txt");
}

TEST_F(FirstLogTxt, LeavesThePathAloneWithoutANumberedFile) {
  Place({"Cloudlog.db"});

  EXPECT_EQ(Get(), 0);
  EXPECT_STREQ(Path(), kUntouched);
}

TEST_F(FirstLogTxt, SaysThatTheDirectoryCannotBeOpened) {
  EXPECT_EQ(Get(), -1);
  EXPECT_STREQ(Path(), kUntouched);
}

TEST_F(FirstLogTxt, SaysThatAFileIsNoDirectory) {
  test::WriteFile("/tmp/CloudLog", "in the way");

  EXPECT_EQ(Get(), -1);
  EXPECT_STREQ(Path(), kUntouched);

  std::filesystem::remove("/tmp/CloudLog");
}

TEST_F(FirstLogTxt, WritesNoMoreThanTheGivenSize) {
  Place({"1112_log.txt"});

  EXPECT_EQ(Get(14), 1);
  EXPECT_STREQ(Path(), "/tmp/CloudLog");
}

TEST_F(FirstLogTxt, WritesNothingIntoNothing) {
  Place({"1112_log.txt"});

  EXPECT_EQ(Get(0), 1);
  EXPECT_STREQ(Path(), kUntouched);
}

}  // namespace
