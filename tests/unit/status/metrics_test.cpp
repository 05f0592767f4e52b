#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "judge/codes.h"
#include "print/print.h"
#include "printfacts.h"
#include "support/gateway.h"

using status::Facts;

namespace {

class MetricsTextTest : public test::GatewayTest {};
class WriteMetricsTest : public test::GatewayTest {};

// The values by series, and what is wrong with the shape.
struct Exposition {
  std::map<std::string, std::string> values;
  std::set<std::string> described;  // names with HELP and TYPE lines
};

Exposition Read(const std::string& text) {
  EXPECT_TRUE(text.ends_with("\n"));
  Exposition exposition;
  std::istringstream lines(text);
  std::string line;
  std::string helped;
  std::string typed;
  while (std::getline(lines, line)) {
    if (line.starts_with("# HELP ")) {
      helped = line.substr(7, line.find(' ', 7) - 7);
    } else if (line.starts_with("# TYPE ")) {
      typed = helped;
      EXPECT_EQ(line, "# TYPE " + helped + " gauge");
      EXPECT_TRUE(exposition.described.insert(helped).second) << line;
    } else {
      const std::size_t blank = line.rfind(' ');
      EXPECT_EQ(line.substr(0, line.find_first_of("{ ")), typed) << line;
      EXPECT_TRUE(exposition.values.emplace(line.substr(0, blank), line.substr(blank + 1)).second)
          << line;
    }
  }
  return exposition;
}

}  // namespace

TEST_F(MetricsTextTest, DoesNotJudgeTheConfigurationThatACopyLacks) {
  Facts facts = test::PrintedFacts();
  facts.place = status::Place("/tessel/c");
  facts.configuration = {};

  const Exposition read = Read(status::MetricsText(facts, test::PrintedVerdict()));

  EXPECT_FALSE(read.described.contains("brennik_configuration_usable"));
}

TEST_F(MetricsTextTest, HoldsWhatIsKnown) {
  const Facts facts = test::PrintedFacts();

  const Exposition read = Read(status::MetricsText(facts, test::PrintedVerdict()));

  const std::pair<const char*, const char*> rows[] = {
      {"brennik_status_build_info{version=\"" BRENNIK_VERSION "\"}", "1"},
      {"brennik_status_collected_timestamp_seconds", "1795320000"},
      {"brennik_status_level", "2"},
      {"brennik_finding{code=\"BRN-CARD-FULL\"}", "1"},
      {"brennik_finding{code=\"BRN-CARD-MISSING\"}", "0"},
      {"brennik_card_present", "1"},
      {"brennik_card_read_only", "0"},
      {"brennik_card_free_bytes", "1000"},
      {"brennik_card_inodes", "200"},
      {"brennik_process_up", "1"},
      {"brennik_process_start_timestamp_seconds", "1795316400"},
      {"brennik_configuration_usable", "1"},
      {"brennik_switched_on", "1"},
      {"brennik_real_data_interval_seconds", "60"},
      {"brennik_segment_present", "1"},
      {"brennik_points_unpublished", "0"},
      {"brennik_ledger_readable", "1"},
      {"brennik_files{kind=\"realdata\",state=\"accepted\"}", "177"},
      {"brennik_files{kind=\"alarmdata\",state=\"pending\"}", "1"},
      {"brennik_newest_accepted_file_timestamp_seconds", "1795319940"},
      {"brennik_newest_file_timestamp_seconds{kind=\"realdata\",state=\"accepted\"}", "1795319940"},
      {"brennik_newest_file_timestamp_seconds{kind=\"alarmdata\",state=\"pending\"}", "1795319880"},
      {"brennik_oldest_pending_file_timestamp_seconds{kind=\"alarmdata\"}", "1795319880"},
  };
  for (const auto& [series, value] : rows) {
    ASSERT_TRUE(read.values.contains(series)) << series;
    EXPECT_EQ(read.values.at(series), value) << series;
  }
  EXPECT_FALSE(read.values.contains(
      "brennik_newest_file_timestamp_seconds{kind=\"alarmdata\",state=\"accepted\"}"));
}

TEST_F(MetricsTextTest, HasASeriesForEveryCode) {
  const Exposition read = Read(status::MetricsText(test::PrintedFacts(), test::PrintedVerdict()));

  for (const status::Code& code : status::AllCodes())
    EXPECT_TRUE(read.values.contains("brennik_finding{code=\"" + std::string(code.code) + "\"}"))
        << code.code;
}

TEST_F(MetricsTextTest, LeavesOutWhatIsUnknown) {
  Facts facts;
  facts.ledger.state = status::LedgerState::kBusy;

  const std::string text = status::MetricsText(facts, {});

  for (const char* name : {"brennik_card_", "brennik_process_", "brennik_files", "brennik_segment_",
                           "brennik_points_", "brennik_switched_on", "brennik_newest_file_"})
    EXPECT_EQ(text.find(name), std::string::npos) << name;
  EXPECT_EQ(Read(text).values.at("brennik_ledger_readable"), "0");
}

TEST_F(MetricsTextTest, NamesNoGateway) {
  Facts facts = test::PrintedFacts();
  facts.logs.address = "192.0.2.7";

  const std::string text = status::MetricsText(facts, test::PrintedVerdict());

  EXPECT_EQ(text.find("TS20240117"), std::string::npos);
  EXPECT_EQ(text.find("192.0.2.7"), std::string::npos);
}

TEST_F(WriteMetricsTest, ReplacesTheFileAndLeavesNothingElse) {
  test::WriteFile("/tmp/metrics/brennik.prom", "old and longer");
  umask(077);

  EXPECT_EQ(status::WriteMetrics("/tmp/metrics/brennik.prom", "new\n"), 0);

  umask(022);
  EXPECT_EQ(test::ReadFile("/tmp/metrics/brennik.prom"), "new\n");
  EXPECT_EQ(test::List("/tmp/metrics"), std::vector<std::string>{"brennik.prom"});
  struct stat found {};
  ASSERT_EQ(stat("/tmp/metrics/brennik.prom", &found), 0);
  EXPECT_EQ(found.st_mode & 07777, 0644U);
}

TEST_F(WriteMetricsTest, ReplacesRatherThanRewrites) {
  test::WriteFile("/tmp/metrics/brennik.prom", "old");
  ASSERT_EQ(link("/tmp/metrics/brennik.prom", "/tmp/metrics-reader"), 0);

  EXPECT_EQ(status::WriteMetrics("/tmp/metrics/brennik.prom", "new\n"), 0);

  EXPECT_EQ(test::ReadFile("/tmp/metrics-reader"), "old");
}

TEST_F(WriteMetricsTest, RefusesWhatIsNoFile) {
  test::Empty("/tmp/metrics");
  test::WriteFile("/tmp/metrics/folder/kept", "kept");
  ASSERT_EQ(symlink("/tmp/metrics/folder/kept", "/tmp/metrics/link"), 0);

  for (const char* file :
       {"/tmp/metrics/folder", "/tmp/metrics/link", "/dev/null", "/tmp/nowhere/brennik.prom", ""}) {
    testing::internal::CaptureStderr();

    EXPECT_EQ(status::WriteMetrics(file, "new\n"), 1) << file;

    EXPECT_NE(testing::internal::GetCapturedStderr().find(std::string("cannot write ") + file),
              std::string::npos)
        << file;
  }
  EXPECT_EQ(test::List("/tmp/metrics"), (std::vector<std::string>{"folder", "link"}));
  EXPECT_EQ(test::ReadFile("/tmp/metrics/folder/kept"), "kept");
}

TEST_F(WriteMetricsTest, KeepsTheOldFileWhenThereIsNoRoom) {
  test::Empty("/tmp/metrics");
  test::WriteFile("/tmp/metrics/brennik.prom", "old");
  rlimit unlimited{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
  const rlimit small{3, unlimited.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  testing::internal::CaptureStderr();

  setrlimit(RLIMIT_FSIZE, &small);
  const int exitStatus = status::WriteMetrics("/tmp/metrics/brennik.prom", "new and longer\n");
  setrlimit(RLIMIT_FSIZE, &unlimited);

  std::signal(SIGXFSZ, handler);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(exitStatus, 1);
  EXPECT_EQ(test::List("/tmp/metrics"), std::vector<std::string>{"brennik.prom"});
  EXPECT_EQ(test::ReadFile("/tmp/metrics/brennik.prom"), "old");
}
