// The compression with the system's tar: three attempts, and what is left after the third.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>

#include <cstdlib>
#include <string>
#include <vector>

#include "packtest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"

using test::Call;
using test::kBeforeAnAttempt;
using test::LogRecord;
using test::Packed;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char kDocument[] = R"({"sn":"BR0042","data":[]})";

LogRecord Failed(int status) {
  return {"WARN", std::string("CreateRealDataJsonFile ") + test::kArchive + " failed,errno " +
                      std::to_string(status)};
}

LogRecord GaveUp() {
  return {"WARN",
          std::string("try 3 times,but CreateRealDataJsonFile ") + test::kArchive + " failed"};
}

LogRecord Succeeded() {
  return {"INFO", std::string("CreateRealDataJsonFile ") + test::kArchive + " Success"};
}

// The first attempts go wrong as the script says, then tar does its work.
std::string AtFirst(int attempts, const std::string& script) {
  const std::string calls = "/tmp/replacement/calls";
  return "echo >> " + calls + "; if [ $(wc -l < " + calls + ") -le " + std::to_string(attempts) +
         " ]; then " + script + "; else real_tar \"$@\"; fi";
}

class Compression : public test::PackTest {};

struct Trouble {
  const char* name;
  std::string tar;
  std::vector<LogRecord> perAttempt;
};

class LastingTrouble : public Compression, public ::testing::WithParamInterface<Trouble> {};

TEST_P(LastingTrouble, FailsTheFileAfterThreeAttempts) {
  test::ReplaceTar(GetParam().tar);

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, -1);
  EXPECT_THAT(packed.files, IsEmpty());
  EXPECT_THAT(test::Pauses(), ElementsAre(kBeforeAnAttempt, kBeforeAnAttempt, kBeforeAnAttempt));
}

TEST_P(LastingTrouble, LeavesTheTextAndNoArchive) {
  test::ReplaceTar(GetParam().tar);

  Pack({});

  EXPECT_THAT(test::List(test::kDirectory), ElementsAre("S20240307120000.dat"));
  EXPECT_EQ(test::ReadFile(test::kText), kDocument);
}

TEST_P(LastingTrouble, IsReported) {
  test::ReplaceTar(GetParam().tar);

  Pack({});

  std::vector<LogRecord> expected;
  for (int attempt = 0; attempt < 3; ++attempt) {
    expected.insert(expected.end(), GetParam().perAttempt.begin(), GetParam().perAttempt.end());
  }
  expected.push_back(GaveUp());
  EXPECT_EQ(test::TextLog(), expected);
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Tars, LastingTrouble,
    ::testing::Values(Trouble{"ThatFails", "exit 7", {Failed(7)}},
                      Trouble{"ThatFailsWithTheGreatestStatus", "exit 255", {Failed(255)}},
                      Trouble{"ThatFailsHalfWay", "echo part > $2; exit 2", {Failed(2)}},
                      Trouble{"ThatFailsAfterItsWork", "real_tar \"$@\"; exit 1", {Failed(1)}},
                      Trouble{"ThatIsKilled", "kill -9 $$", {Failed(137)}},
                      Trouble{"ThatTalksAndFails", "echo 0; echo 0 >&2; exit 3", {Failed(3)}},
                      Trouble{"ThatDoesNothing", "exit 0", {}},
                      Trouble{"ThatLeavesAnEmptyArchive", ": > $2", {}}),
    [](const auto& test) { return test.param.name; });

struct PassingTrouble {
  const char* name;
  int attempts;
  std::string script;
  std::vector<LogRecord> records;
};

class ShortTrouble : public Compression, public ::testing::WithParamInterface<PassingTrouble> {};

TEST_P(ShortTrouble, IsOvercomeByTheNextAttempt) {
  test::ReplaceTar(AtFirst(GetParam().attempts, GetParam().script));

  const Packed packed = Pack({});

  const auto attempts = static_cast<std::size_t>(GetParam().attempts) + 1;
  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre(test::kArchive));
  EXPECT_EQ(test::Unpack(test::kArchive), kDocument);
  EXPECT_THAT(test::List(test::kDirectory), ElementsAre("S20240307120000.tar.gz"));
  EXPECT_EQ(test::Pauses(), std::vector(attempts, kBeforeAnAttempt));
  EXPECT_EQ(test::TextLog(), GetParam().records);
}

INSTANTIATE_TEST_SUITE_P(
    Tars, ShortTrouble,
    ::testing::Values(
        PassingTrouble{"OfNone", 0, ":", {Succeeded()}},
        PassingTrouble{"OfAFailure", 1, "exit 4", {Failed(4), Succeeded()}},
        PassingTrouble{"OfTwoFailures", 2, "exit 4", {Failed(4), Failed(4), Succeeded()}},
        PassingTrouble{"OfAMissingArchive", 1, "exit 0", {Succeeded()}},
        PassingTrouble{"OfTwoEmptyArchives", 2, ": > $2", {Succeeded()}},
        PassingTrouble{"OfAHalfArchive", 1, "echo part > $2; exit 2", {Failed(2), Succeeded()}}),
    [](const auto& test) { return test.param.name; });

TEST_F(Compression, FailsWithoutATar) {
  setenv("PATH", "/nonexistent", 1);

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, -1);
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(127), Failed(127), Failed(127), GaveUp()));
}

TEST_F(Compression, ReadsNoOutputOfTar) {
  test::ReplaceTar("echo 9; echo 9 >&2; real_tar \"$@\"");

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, 0);
}

TEST_F(Compression, ReportsStatusZeroWhenTheShellCannotBeStarted) {
  test::FailCalls(Call::kPopen, 3);

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, -1);
  EXPECT_THAT(test::Pauses(), ElementsAre(kBeforeAnAttempt, kBeforeAnAttempt, kBeforeAnAttempt));
  EXPECT_THAT(test::List(test::kDirectory), ElementsAre("S20240307120000.dat"));
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(0), Failed(0), Failed(0), GaveUp()));
}

TEST_F(Compression, SucceedsAtTheThirdAttemptToStartTheShell) {
  test::FailCalls(Call::kPopen, 2);

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(0), Failed(0), Succeeded()));
}

TEST_F(Compression, KeepsAnOlderArchiveAndTheTextWhenItGivesUp) {
  test::WriteFile(test::kArchive, "older");
  test::FailCalls(Call::kPopen, 3);

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, -1);
  EXPECT_EQ(test::ReadFile(test::kArchive), "older");
  EXPECT_EQ(test::ReadFile(test::kText), kDocument);
  EXPECT_THAT(test::List(test::kDirectory), SizeIs(2));
}

TEST_F(Compression, KeepsAnOlderArchiveUntilTheNewOneIsWhole) {
  test::WriteFile(test::kArchive, "older");
  test::WriteFile(std::string(test::kDirectory) + "/new/S20240307120000.tar.gz", "half");
  test::ReplaceTar("cp " + std::string(test::kArchive) + " /tmp/seen; real_tar \"$@\"");

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, 0);
  EXPECT_EQ(test::ReadFile("/tmp/seen"), "older");
  EXPECT_EQ(test::Unpack(test::kArchive), kDocument);
  EXPECT_THAT(test::List(test::kDirectory), ElementsAre("S20240307120000.tar.gz"));
}

TEST_F(Compression, BringsTheArchiveToTheCardBeforeItsTextGoes) {
  bool textIsThere = false;
  test::AtNextCall(Call::kFsync, [&] { textIsThere = test::Exists(test::kText); });

  Pack({});

  EXPECT_TRUE(textIsThere);
}

TEST_F(Compression, RefusesATextThatTheCardDidNotTakeWhole) {
  ASSERT_EQ(symlink("/dev/full", test::kText), 0);

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, -1);
  EXPECT_THAT(test::List(test::kDirectory), IsEmpty());
  EXPECT_THAT(test::Pauses(), ElementsAre(kBeforeAnAttempt, kBeforeAnAttempt, kBeforeAnAttempt));
  EXPECT_THAT(test::TextLog(),
              ElementsAre(Failed(ENOSPC), Failed(ENOSPC), Failed(ENOSPC), GaveUp()));
}

}  // namespace
