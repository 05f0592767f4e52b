// The text log: what a day's file holds, which files stay, and what happens when one cannot be
// written.
#include "log/logtxt.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "fixture.h"
#include "log/log.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"
#include "util/file.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using namespace std::chrono_literals;
using namespace test;
using Names = std::vector<std::string>;

constexpr char kTodaysFile[] = "/tmp/CloudLog/0307_log.txt";
const std::string kHead = "2024-03-06 23:59:58 logType:INFO\n ";

// The files of the days from `first` to `last`, given as month x 100 + day, and further files.
Names Days(int first, int last, const Names& more = {}) {
  Names names = more;
  for (int day = first; day <= last; ++day) names.push_back(util::Format("%04d_log.txt", day));
  return names;
}

class TextLogStore : public TextLogTest {
 protected:
  // Makes these the only files of the log directory. It is missing when there are none.
  static void Place(const Names& names) {
    fs::remove_all("/tmp/CloudLog");
    for (const auto& name : names) WriteFile("/tmp/CloudLog/" + name, "");
  }
};

TEST_F(TextLogStore, AppendsEachRecordAsAHeadAndAnIndentedMessage) {
  EXPECT_EQ(Write({"first", "line feed at the end\n", "line feed\ninside"}), 0);
  EXPECT_EQ(Write({"100%n %s %d", ""}), 0);

  EXPECT_EQ(ReadFile(kTodaysFile), kHead + "first\n" + kHead + "line feed at the end\n\n" + kHead +
                                       "line feed\ninside\n" + kHead + "100%n %s %d\n" + kHead +
                                       "\n");
}

TEST_F(TextLogStore, CutsARecordAt2047BytesWithItsHeadAndLineFeed) {
  const std::string longest(2047 - kHead.size() - 1, 'x');

  Write({longest, longest + "y", longest + "yz", "next"});

  EXPECT_EQ(ReadFile(kTodaysFile), kHead + longest + "\n" + kHead + longest + "y" + kHead +
                                       longest + "y" + kHead + "next\n");
}

TEST_F(TextLogStore, CreatesAFileThatOnlyItsOwnerMayReadInAPublicDirectory) {
  const mode_t mask = umask(0);
  Write({"message"});
  umask(mask);

  struct stat status {};
  ASSERT_EQ(stat(kTodaysFile, &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0400U);
  ASSERT_EQ(stat("/tmp/CloudLog", &status), 0);
  EXPECT_EQ(status.st_mode, S_IFDIR | 0755U);
}

TEST_F(TextLogStore, TouchesNothingForAnEmptyQueue) {
  EXPECT_EQ(Write(), -1);

  EXPECT_FALSE(Exists("/tmp/CloudLog"));
}

TEST_F(TextLogStore, StampsARecordWithTheMomentOfTheCall) {
  SetTime(LocalTimeOf(2024, 3, 7, 4, 5, 6));
  store.InsertLog("ABCDEFGHIJKLM", "the level is cut to its field");
  SetTime(LocalTimeOf(2024, 3, 8, 0, 0, 1));

  EXPECT_TRUE(FlushLogs());

  EXPECT_EQ(ReadFile("/tmp/CloudLog/0308_log.txt"),
            "2024-03-07 04:05:06 logType:ABCDEFGHIJK\n the level is cut to its field\n");
}

TEST_F(TextLogStore, KeepsItsRecordsUntilTheFileCanBeOpened) {
  const auto placeDirectory = [] { fs::create_directories(kTodaysFile); };
  const auto placeLink = [] {
    fs::create_directories("/tmp/CloudLog");
    fs::create_symlink("/tmp/target", kTodaysFile);
  };
  const auto placeFile = [] { WriteFile("/tmp/CloudLog", "in the way"); };
  WriteFile("/tmp/target", "");

  for (void (*place)() : {+placeDirectory, +placeLink, +placeFile}) {
    fs::remove_all("/tmp/CloudLog");
    place();
    testing::internal::CaptureStdout();
    EXPECT_EQ(Write({"first", "second"}), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Open /tmp/CloudLog/0307_log.txt failed\n");
    EXPECT_EQ(ReadFile("/tmp/target"), "");
    EXPECT_EQ(store.Init(), 0);

    fs::remove_all("/tmp/CloudLog");
    EXPECT_EQ(Write(), 0);
    EXPECT_EQ(ReadFile(kTodaysFile), kHead + "first\n" + kHead + "second\n");
  }
}

TEST_F(TextLogStore, LosesTheRecordsOfAFailingWriteAndGoesOn) {
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit full{0, before.rlim_max};  // no file of this process can grow, as on a full disk
  const auto previous = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &full);
  EXPECT_EQ(Write({"lost", "lost too"}), 0);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, previous);

  EXPECT_EQ(Write({"next"}), 0);

  EXPECT_EQ(ReadFile(kTodaysFile), kHead + "next\n");
}

// A full pipe in the file's place stops the writing until somebody reads.
TEST_F(TextLogStore, LetsCallersWaitWhileItWrites) {
  store.Init();
  ASSERT_EQ(mkfifo(kTodaysFile, 0600), 0);
  const util::Descriptor pipe(open(kTodaysFile, O_RDWR | O_CLOEXEC));
  ASSERT_EQ(fcntl(pipe.Get(), F_SETPIPE_SZ, 4096), 4096);
  const Caller writer([this] { Write(Names(3, std::string(2000, 'x'))); });
  ASSERT_TRUE(writer.Waits());

  const Caller caller([] { log_Text(INFO, "message"); });

  EXPECT_TRUE(caller.Waits());
  char bytes[4096];
  EXPECT_GT(read(pipe.Get(), bytes, sizeof(bytes)), 0);
  EXPECT_TRUE(writer.Returns());
  EXPECT_TRUE(caller.Returns());
}

TEST_F(TextLogStore, LetsCallersThroughDuringTheRetention) {
  Place(Days(101, 119));
  bool returns = false;
  AtNextCall(Call::kUnlink, [&] { returns = Caller([] { log_Text(INFO, "message"); }).Returns(); });

  Write({"message"});

  EXPECT_TRUE(returns);
}

TEST_F(TextLogStore, WritesFirstAndThenSleepsFiveSecondsForEver) {
  log_Text(INFO, "message");
  bool isWrittenFirst = false;
  OnPause([&](Pause) {
    isWrittenFirst = Exists(kTodaysFile);
    if (Pauses().size() == 3) throw WorkerEnded{};
  });

  EXPECT_THROW(CLogTxt::RecordThread(&store), WorkerEnded);

  EXPECT_TRUE(isWrittenFirst);
  EXPECT_THAT(Pauses(), ElementsAre(5s, 5s, 5s));
}

TEST_F(TextLogStore, KeepsTheFiveLargestNumbers) {
  const Names foreign = {"Cloudlog.db", ".hidden", "notes.txt", "0000_log.txt", "00"};
  const struct {
    const char* name;
    Names before;
    int today;
    Names after;
  } rows[] = {
      {"five are kept", Days(1111, 1114), 1115, Days(1111, 1115)},
      {"of six the first goes", Days(1110, 1114), 1115, Days(1111, 1115)},
      {"one goes a cycle", Days(1107, 1114), 1115, Days(1108, 1115)},
      {"even today's goes", Days(1227, 1231), 101, Days(1227, 1231)},
      {"numbers have four digits", Days(102, 106), 107, Days(103, 107)},
      {"zero is no number", Days(1111, 1114, foreign), 1115, Days(1111, 1115, foreign)},
      {"every name with a number counts", Days(1111, 1114, {"1116 notes"}), 1115,
       Days(1112, 1115, {"1116 notes"})},
      {"only a day file goes", Days(1111, 1114, {"12 notes"}), 1115,
       Days(1111, 1115, {"12 notes"})},
      {"a number has no sign", Days(1111, 1114, {"-5"}), 1115, Days(1112, 1115, {"-5"})},
  };

  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Place(row.before);
    SetTime(LocalTimeOf(2024, row.today / 100, row.today % 100, 12));
    EXPECT_EQ(Write({"message"}), 0);
    EXPECT_THAT(List("/tmp/CloudLog"), ::testing::UnorderedElementsAreArray(row.after));
  }
}

TEST_F(TextLogStore, CountsTheDayFilesAndNamesTheFirst) {
  const std::string before(127, 'x');
  const Names three = {"1112_log.txt", "0930_log.txt", "1001_log.txt", "Cloudlog.db"};
  const struct {
    const char* name;
    Names files;
    unsigned char size;
    int count;
    std::string path;
  } rows[] = {
      {"three", three, 128, 3, "/tmp/CloudLog/0930_log.txt"},
      {"one", {"1112_log.txt"}, 128, 1, "/tmp/CloudLog/1112_log.txt"},
      {"a small buffer", {"1112_log.txt"}, 14, 1, "/tmp/CloudLog"},
      {"no buffer", {"1112_log.txt"}, 0, 1, before},
      {"none", {"Cloudlog.db"}, 128, 0, before},
      {"no directory", {}, 128, -1, before},
  };

  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Place(row.files);
    char path[128];
    util::CopyText(path, before);
    EXPECT_EQ(store.GetFirstLogTxt(path, row.size), row.count);
    EXPECT_EQ(path, row.path);
  }
}

TEST_F(TextLogStore, MakesADirectoryWhosePathIsCutAt63Characters) {
  const std::string name(63 - sizeof("/tessel"), 'd');

  EXPECT_EQ(store.CreateDirectory(("/tessel/" + name + "cut").c_str()), 0);
  EXPECT_THAT(List("/tessel"), ElementsAre(name));
  EXPECT_EQ(store.CreateDirectory(nullptr), -1);
}

}  // namespace
