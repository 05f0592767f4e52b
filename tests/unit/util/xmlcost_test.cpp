// XML files within the size limit that try to take much time or memory. Each is read in a process
// of its own, which ends when its processor time is used up.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/files.h"
#include "support/gateway.h"
#include "util/xml.h"

namespace {

constexpr char kCostlyFile[] = "/tessel/Config/file.xml";
constexpr rlim_t kMostSeconds = 10;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kMebibyte = 8 * 1024;  // in KiB; a sanitizer's own memory comes on top
#else
constexpr long kMebibyte = 1024;
#endif
constexpr std::size_t kNodes = util::kXmlNodesLimit - 1;  // that a root may hold

struct CostRow {
  const char* name;
  bool isAccepted;
  long mostMebibytes;
  std::string text;
};

std::string Repeat(const std::string& text, std::size_t count) {
  std::string whole;
  whole.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) whole += text;
  return whole;
}

// As many as fit into a file.
std::string Fill(const std::string& text) {
  return Repeat(text, 8'000'000 / text.size());
}

std::string Numbered(int count, const std::string& before, const std::string& after) {
  std::string whole;
  for (int i = 0; i < count; ++i) whole += before + std::to_string(i) + after;
  return whole;
}

// Ten entities, each ten times the one before: 3 GB of "lol".
std::string EntityBomb() {
  std::string text = "<!DOCTYPE r [<!ENTITY e0 \"lol\">";
  for (int level = 1; level < 10; ++level) {
    const std::string before = "&e" + std::to_string(level - 1) + ";";
    text += "<!ENTITY e" + std::to_string(level) + " \"" + Repeat(before, 10) + "\">";
  }
  return text + "]><r>&e9;</r>";
}

long PeakKibibytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Reads the file and takes every value of its first two levels, as the service would. Ends the
// process with 0 when the file is accepted or refused as expected and within the memory.
[[noreturn]] void ReadAndExit(const CostRow& row) {
  const rlimit seconds{kMostSeconds, kMostSeconds};
  setrlimit(RLIMIT_CPU, &seconds);
  const long before = PeakKibibytes();
  const auto document = util::XmlDocument::Read(kCostlyFile);
  if (document) {
    document.Root()->Attributes();
    for (const auto& child : document.Root()->Children()) child.Attributes();
  }
  const long growth = PeakKibibytes() - before;
  const bool isAccepted = static_cast<bool>(document);
  std::fprintf(stderr, "%s, %ld KiB\n", isAccepted ? "accepted" : "refused", growth);
  _exit(isAccepted == row.isAccepted && growth < row.mostMebibytes * kMebibyte ? 0 : 1);
}

class XmlCost : public test::GatewayTest {};

TEST_F(XmlCost, StaysBounded) {
  // All texts are held at once: memory that an earlier one has freed would hide a growth.
  for (const auto& row :
       {CostRow{"attributes of one element", false, 32,
                "<r" + Numbered(150'000, " a", "=''") + "/>"},
        CostRow{"comments without an end", false, 32, "<r>" + Fill("<!--")},
        CostRow{"opening tags only", false, 32, Repeat("<e>", 300'000)},
        CostRow{"entities of entities", false, 32, EntityBomb()},
        CostRow{"attributes", true, 128,
                "<r>" + Repeat("<e a='' b='' c=''/>", kNodes / 4) + "</r>"},
        CostRow{"undeclared prefixes", true, 128, "<r>" + Repeat("<x:e/>", kNodes) + "</r>"},
        CostRow{"pieces of text", true, 32, "<r>" + Fill("A<!----><?a?>") + "</r>"},
        CostRow{"element declarations", true, 32,
                "<!DOCTYPE r [" + Numbered(65'000, "<!ELEMENT b", " (a|b|c)>") + "]><r/>"}}) {
    ASSERT_LE(row.text.size(), util::kXmlFileLimitBytes);
    test::WriteFile(kCostlyFile, row.text);
    EXPECT_EXIT(ReadAndExit(row), ::testing::ExitedWithCode(0), "") << row.name;
  }
}

}  // namespace
