#include "util/publishedtext.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "util/text.h"

namespace {

constexpr std::size_t kBytes = 64;
using Published = util::PublishedText<kBytes>;

// All bytes of the text's field.
std::string Read(const Published& text) {
  char copy[kBytes];
  text.Read(copy);
  return {copy, kBytes};
}

TEST(PublishedText, ReplacesTheWholeTextBefore) {
  Published text;
  EXPECT_EQ(Read(text), std::string(kBytes, '\0'));

  text.Publish(std::string(kBytes, 'h'));
  EXPECT_EQ(Read(text), std::string(kBytes - 1, 'h') + '\0');

  text.Publish("short");
  EXPECT_EQ(Read(text), "short" + std::string(kBytes - 5, '\0'));
}

// The n-th text: its number nine times, so that a mixture of two texts shows.
std::string Numbered(int n) {
  std::string text;
  for (int i = 0; i < 9; ++i) text += util::Format("%07d", n);
  return text;
}

// Reads until the last text has come. Returns how many were mixtures or older than the one before.
int CountWrong(const Published& text, int last) {
  int wrong = 0;
  for (int newest = 0; newest < last;) {
    const std::string read = Read(text);
    const int number = util::Decimal(read.substr(0, 7).c_str());
    if (read != Numbered(number) + '\0' || number < newest) ++wrong;
    newest = number;
  }
  return wrong;
}

TEST(PublishedText, GivesConcurrentReadersWholeTextsInOrder) {
  constexpr int kTexts = 20'000;
  Published text;
  text.Publish(Numbered(0));
  std::array<int, 3> wrong{};
  std::vector<std::thread> readers;
  for (int& count : wrong) readers.emplace_back([&] { count = CountWrong(text, kTexts); });

  for (int n = 1; n <= kTexts; ++n) text.Publish(Numbered(n));
  for (auto& reader : readers) reader.join();

  EXPECT_THAT(wrong, ::testing::Each(0));
}

}  // namespace
