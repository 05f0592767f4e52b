#include "main/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/gateway.h"

using status::Options;
using status::Parsed;

namespace {

class OptionsTest : public test::GatewayTest {};

// A command line as the program gets it.
Parsed Parse(std::vector<std::string> words) {
  words.insert(words.begin(), "brennik-status");
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  return status::ParseOptions(static_cast<int>(argv.size()), argv.data());
}

// What a command line sets, as text that can be compared.
std::string Said(const Options& options) {
  std::string said = "[" + options.command + "]";
  const auto add = [&said](const char* name, const std::string& value) {
    if (!value.empty()) said += std::string(" ") + name + "=" + value;
  };
  add("root", options.root);
  add("grace", options.grace == 300 ? "" : std::to_string(options.grace));
  add("monitor", options.monitor ? "yes" : "");
  add("json", options.json ? "yes" : "");
  add("metrics", options.metrics ? "to " + options.metricsFile : "");
  add("wa", options.warningAge);
  add("ca", options.criticalAge);
  add("wp", options.warningPending);
  add("cp", options.criticalPending);
  add("argument", options.argument);
  add("since", options.since);
  add("level", options.level);
  add("follow", options.follow ? "yes" : "");
  add("markdown", options.markdown ? "yes" : "");
  add("days", options.days == 31 ? "" : std::to_string(options.days));
  add("accepted", options.accepted ? "yes" : "");
  add("timeout", options.timeout == 600 ? "" : std::to_string(options.timeout));
  return said;
}

struct Good {
  std::vector<std::string> words;
  const char* said;
};

const Good kGood[] = {
    {{}, "[]"},
    {{"--root", "/tmp"}, "[] root=/tmp"},
    {{"--monitor", "--grace", "0"}, "[] grace=0 monitor=yes"},
    {{"--grace", "010"}, "[] grace=10"},
    {{"--grace=2678400"}, "[] grace=2678400"},
    {{"--json"}, "[] json=yes"},
    {{"--metrics"}, "[] metrics=to "},
    {{"--metrics", "-"}, "[] metrics=to "},
    {{"--metrics", "/run/b.prom"}, "[] metrics=to /run/b.prom"},
    {{"--metrics=/run/b.prom", "--root", "/tmp"}, "[] root=/tmp metrics=to /run/b.prom"},
    {{"--metrics", "--grace", "5"}, "[] grace=5 metrics=to "},
    {{"--metrics=log"}, "[] metrics=to log"},
    {{"--monitor", "--warning-age", "600", "--critical-age", "~:3600", "--warning-pending",
      "@10:20", "--critical-pending", "-5:5"},
     "[] monitor=yes wa=600 ca=~:3600 wp=@10:20 cp=-5:5"},
    {{"config"}, "[config]"},
    {{"config", "/tmp"}, "[config] argument=/tmp"},
    {{"config", "--root", "/tmp"}, "[config] root=/tmp"},
    {{"--json", "config"}, "[config] json=yes"},
    {{"--root", "/tmp", "config"}, "[config] root=/tmp"},
    {{"--root", "/tmp", "log", "--level", "warn", "--follow"},
     "[log] root=/tmp level=WARN follow=yes"},
    {{"log", "--since", "2026-11-22 04:00", "--root", "/tmp"},
     "[log] root=/tmp since=2026-11-22 04:00"},
    {{"log", "--since", "yesterday"}, "[log] since=yesterday"},
    {{"explain"}, "[explain]"},
    {{"explain", "BRN-CARD-FULL"}, "[explain] argument=BRN-CARD-FULL"},
    {{"explain", "no", "sd", "card,", "log", "--root", "/tmp"},
     "[explain] root=/tmp argument=no sd card, log"},
    {{"explain", "--", "--x", "-1"}, "[explain] argument=--x -1"},
    {{"explain", "--markdown"}, "[explain] markdown=yes"},
    {{"file", "config"}, "[file] argument=config"},
    {{"gaps"}, "[gaps]"},
    {{"gaps", "--days", "7", "--grace", "1"}, "[gaps] grace=1 days=7"},
    {{"wait", "--accepted"}, "[wait] accepted=yes"},
    {{"wait", "--accepted", "--timeout", "0"}, "[wait] accepted=yes timeout=0"},
    {{"report", "/tmp/r.tar.gz"}, "[report] argument=/tmp/r.tar.gz"},
    {{"version"}, "[version]"},
    {{"--version"}, "[version]"},
};

struct Bad {
  std::vector<std::string> words;
  const char* message;  // a part of it
};

const Bad kBad[] = {
    {{"--nonsense"}, "--nonsense"},
    {{"nonsense"}, "nonsense"},
    {{"--root"}, "--root"},
    {{"--root", "/nowhere"}, "no such folder: /nowhere"},
    {{"--root", ""}, "no such folder"},
    {{"--grace", "-1"}, "--grace"},
    {{"--grace", "5m"}, "\"5m\" is no number of seconds"},
    {{"--grace", "2678401"}, "--grace"},
    {{"--grace", "99999999999999999999"}, "--grace"},
    {{"--monitor", "--json"}, "--json"},
    {{"--json", "--metrics"}, "--metrics"},
    {{"--monitor", "--metrics", "/tmp/x"}, "--metrics"},
    {{"--metrics", "/tmp/x", "/tmp/y"}, "/tmp/y"},
    {{"--json", "gaps"}, "gaps"},
    {{"--metrics", "log"}, "log"},
    {{"--monitor", "config"}, "config"},
    {{"--monitor", "--warning-age", "soon"}, "\"soon\" is no range"},
    {{"--critical-pending", "20:10"}, "\"20:10\" is no range"},
    {{"config", "/nowhere"}, "no such folder: /nowhere"},
    {{"config", "/tmp", "/tmp"}, "/tmp"},
    {{"config", "log"}, "no such folder: log"},
    {{"log", "--level", "LOUD"}, "LOUD"},
    {{"log", "--since", ""}, "--since"},
    {{"explain", "x", "--markdown"}, "--markdown"},
    {{"file"}, "NAME"},
    {{"file", ""}, "NAME"},
    {{"gaps", "--days", "0"}, "--days"},
    {{"gaps", "--days", "367"}, "--days"},
    {{"wait"}, "--accepted"},
    {{"wait", "--accepted", "--timeout", "-5"}, "--timeout"},
    {{"report"}, "FILE"},
};

std::string Joined(const std::vector<std::string>& words) {
  std::string joined;
  for (const std::string& word : words) joined += word + " ";
  return joined;
}

}  // namespace

TEST_F(OptionsTest, ReadsCommandLines) {
  for (const Good& row : kGood) {
    const Parsed parsed = Parse(row.words);

    EXPECT_EQ(parsed.exitStatus, std::nullopt) << Joined(row.words);
    EXPECT_EQ(Said(parsed.options), row.said) << Joined(row.words);
  }
}

TEST_F(OptionsTest, RefusesBadArgumentsWithAMessageAndExitStatus3) {
  for (const Bad& row : kBad) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();

    const Parsed parsed = Parse(row.words);

    // A monitoring system shows standard output alone.
    const std::string start = row.words.front() == "--monitor" ? "BRENNIK UNKNOWN - " : "";
    EXPECT_EQ(testing::internal::GetCapturedStdout().substr(0, start.empty() ? 99 : start.size()),
              start)
        << Joined(row.words);
    EXPECT_NE(testing::internal::GetCapturedStderr().find(row.message), std::string::npos)
        << Joined(row.words);
    EXPECT_EQ(parsed.exitStatus, status::kBadArguments) << Joined(row.words);
  }
}

TEST_F(OptionsTest, HelpsOnStandardOutput) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"--help"}, {"-h"}, {"log", "--help"}, {"--help", "wait"}}) {
    testing::internal::CaptureStdout();

    const Parsed parsed = Parse(words);

    EXPECT_NE(testing::internal::GetCapturedStdout().find("Usage: brennik-status"),
              std::string::npos)
        << Joined(words);
    EXPECT_EQ(parsed.exitStatus, 0) << Joined(words);
  }
}
