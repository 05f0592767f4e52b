#include "util/publishedtext.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "util/text.h"

namespace {

constexpr std::size_t kBytes = 64;
using Text = util::PublishedText<kBytes>;

std::string Read(const Text& text) {
  char copy[kBytes];
  text.Read(copy);
  return copy;
}

TEST(PublishedText, ReplacesTheWholeTextBefore) {
  Text text;
  EXPECT_EQ(Read(text), "");
  text.Publish(std::string(kBytes, 'h'));
  EXPECT_EQ(Read(text), std::string(kBytes - 1, 'h'));
  char copy[kBytes];

  text.Publish("short");
  text.Read(copy);

  EXPECT_EQ(std::string(copy, kBytes), "short" + std::string(kBytes - 5, '\0'));
}

// The writer's n-th text: its number nine times, so that a mixture of two texts shows.
std::string Numbered(int n) {
  std::string text;
  for (int i = 0; i < 9; ++i) text += util::Format("%07d", n);
  return text;
}

struct Verdict {
  int torn = 0;       // a mixture of two texts
  int backwards = 0;  // an older text after a newer one
};

Verdict ReadUntil(const Text& text, const std::atomic<bool>& isOver) {
  Verdict verdict;
  int newest = 0;
  do {
    const std::string read = Read(text);
    const int number = util::Decimal(read.substr(0, 7).c_str());
    if (read != Numbered(number)) ++verdict.torn;
    if (number < newest) ++verdict.backwards;
    newest = number;
  } while (!isOver);
  return verdict;
}

TEST(PublishedText, GivesConcurrentReadersWholeTextsInOrder) {
  constexpr int kTexts = 20'000;
  Text text;
  text.Publish(Numbered(0));
  std::atomic<bool> isOver{false};
  std::array<Verdict, 3> verdicts;
  std::vector<std::thread> readers;
  for (auto& verdict : verdicts) {
    readers.emplace_back([&] { verdict = ReadUntil(text, isOver); });
  }

  for (int n = 1; n <= kTexts; ++n) text.Publish(Numbered(n));
  isOver = true;
  for (auto& reader : readers) reader.join();

  for (const auto& verdict : verdicts) {
    EXPECT_EQ(verdict.torn, 0);
    EXPECT_EQ(verdict.backwards, 0);
  }
  EXPECT_EQ(Read(text), Numbered(kTexts));
}

}  // namespace
