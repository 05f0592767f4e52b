#include <gtest/gtest.h>

#include "console/web/eventhub.h"

namespace {

using console::EventHub;
using console::WireText;

std::string Take(EventHub::Stream& stream) {
  return stream.Next(std::chrono::steady_clock::now());
}

TEST(EventHub, SendsAnEventToEveryStream) {
  EventHub hub;
  EventHub::Stream first(hub);
  EventHub::Stream second(hub);

  hub.Publish("lines", "{\"lines\":[]}");

  EXPECT_EQ(Take(first), "event: lines\ndata: {\"lines\":[]}\n\n");
  EXPECT_EQ(Take(second), "event: lines\ndata: {\"lines\":[]}\n\n");
  EXPECT_EQ(Take(first), "");
}

TEST(EventHub, GivesANewStreamTheLatestState) {
  EventHub hub;
  hub.Publish("state", "1");
  hub.Publish("state", "2");
  hub.Publish("lines", "3");

  EventHub::Stream stream(hub);

  EXPECT_EQ(Take(stream), WireText("state", "2"));
  EXPECT_EQ(Take(stream), "");
}

TEST(EventHub, ReplacesAStateThatStillWaits) {
  EventHub hub;
  EventHub::Stream stream(hub);
  hub.Publish("state", "1");
  hub.Publish("lines", "2");
  hub.Publish("state", "3");

  EXPECT_EQ(Take(stream), WireText("lines", "2"));
  EXPECT_EQ(Take(stream), WireText("state", "3"));
  EXPECT_EQ(Take(stream), "");
}

TEST(EventHub, TellsAPageThatIsTooSlowToReadTheStateAnew) {
  EventHub hub;
  EventHub::Stream stream(hub);
  for (std::size_t i = 0; i < EventHub::kLongestQueue; ++i) hub.Publish("lines", "old");
  hub.Publish("lines", "new");

  EXPECT_EQ(Take(stream), WireText("resync", "{}"));
  EXPECT_EQ(Take(stream), WireText("lines", "new"));
  EXPECT_EQ(Take(stream), "");
}

TEST(EventHub, ForgetsAStreamThatHasEnded) {
  EventHub hub;
  { EventHub::Stream stream(hub); }

  EXPECT_EQ(hub.Streams(), 0u);
  hub.Publish("lines", "1");
}

}  // namespace
