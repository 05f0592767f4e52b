// XML files within the size limit that try to take much time or memory. Each runs in a process of
// its own, which ends when its processor time is used up.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/gateway.h"
#include "util/xml.h"

namespace {

constexpr char kPath[] = "/tessel/Config/file.xml";
constexpr rlim_t kMostSeconds = 10;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kMebibyte = 8 * 1024;  // in KiB; a sanitizer's own memory comes on top
#else
constexpr long kMebibyte = 1024;
#endif

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

template <typename Part>
std::string Numbered(std::size_t count, Part part) {
  std::string whole;
  for (std::size_t i = 0; i < count; ++i) whole += part(std::to_string(i));
  return whole;
}

std::string Content(const std::string& text) {
  return "<r>" + text + "</r>";
}

// As many as are accepted.
std::string Elements(const std::string& element, int nodes) {
  return Content(Repeat(element, static_cast<std::size_t>(util::kXmlNodesLimit / nodes - 1)));
}

std::string ManyAttributes() {
  return "<r" + Numbered(150'000, [](const std::string& i) { return " a" + i + "=\"\""; }) + "/>";
}

std::string ElementDeclarations() {
  return "<!DOCTYPE r [" +
         Numbered(65'000, [](const std::string& i) { return "<!ELEMENT b" + i + " (a|b|c)>"; }) +
         "]><r/>";
}

// Reads the file and takes every value of its first two levels, as the service would.
bool ReadWhole() {
  const auto document = util::XmlDocument::Read(kPath);
  if (!document) return false;
  document.Root()->Attributes();
  for (const auto& child : document.Root()->Children()) child.Attributes();
  return true;
}

long PeakKibibytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Ends the process with 0 when the file is read, or refused, as expected and within the memory.
[[noreturn]] void ReadAndExit(bool isAccepted, long mostKibibytes) {
  const rlimit seconds{kMostSeconds, kMostSeconds};
  setrlimit(RLIMIT_CPU, &seconds);
  const long before = PeakKibibytes();
  const bool isRead = ReadWhole();
  const long growth = PeakKibibytes() - before;
  std::fprintf(stderr, "%s, %ld KiB\n", isRead ? "read" : "refused", growth);
  _exit(isRead == isAccepted && growth < mostKibibytes ? 0 : 1);
}

struct CostRow {
  const char* name;
  std::string (*make)();
};

class XmlCost : public test::GatewayTest {
 protected:
  static void Check(bool isAccepted, long mostKibibytes, const std::vector<CostRow>& rows) {
    for (const auto& row : rows) {
      test::WriteFile(kPath, row.make());
      ASSERT_LE(test::ReadFile(kPath).size(), util::kXmlFileLimitBytes);
      EXPECT_EXIT(ReadAndExit(isAccepted, mostKibibytes), ::testing::ExitedWithCode(0), "")
          << row.name;
    }
  }
};

TEST_F(XmlCost, StaysBoundedForAFileThatIsRefused) {
  Check(false, 32 * kMebibyte,
        {{"attributes of one element", ManyAttributes},
         {"comments without an end", [] { return "<r>" + Fill("<!--"); }},
         {"opening tags only", [] { return Fill("<e>"); }}});
}

TEST_F(XmlCost, StaysBoundedForAFileThatIsRead) {
  Check(true, 128 * kMebibyte,
        {{"elements", [] { return Elements("<e/>", 1); }},
         {"attributes", [] { return Elements("<e a='' b='' c=''/>", 4); }},
         {"undeclared prefixes", [] { return Elements("<x:e/>", 1); }},
         {"pieces of text", [] { return Content(Fill("A<!---->")); }},
         {"instructions", [] { return Content(Fill("<?a?>")); }},
         {"element declarations", ElementDeclarations}});
}

}  // namespace
