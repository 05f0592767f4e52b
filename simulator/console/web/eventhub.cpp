#include "console/web/eventhub.h"

#include <mutex>

namespace console {

namespace {
const char* const kState = "state";
}

std::string WireText(const std::string& event, const std::string& json) {
  return "event: " + event + "\ndata: " + json + "\n\n";
}

EventHub::Stream::Stream(EventHub& hub) : m_hub(hub) {
  const std::lock_guard lock(hub.m_mutex);
  hub.m_streams.push_back(this);
  if (hub.m_state.text) m_queue.push_back(hub.m_state);
}

EventHub::Stream::~Stream() {
  const std::lock_guard lock(m_hub.m_mutex);
  m_hub.m_streams.remove(this);
}

std::string EventHub::Stream::Next(std::chrono::steady_clock::time_point until) {
  std::unique_lock lock(m_hub.m_mutex);
  m_hub.m_changed.wait_until(lock, until, [this] { return !m_queue.empty(); });
  if (m_queue.empty()) return {};
  const std::shared_ptr<const std::string> text = m_queue.front().text;
  m_queue.pop_front();
  return *text;
}

void EventHub::Stream::Add(const Event& event) {
  if (event.name == kState) {
    std::erase_if(m_queue, [](const Event& waiting) { return waiting.name == kState; });
  }
  if (m_queue.size() == kLongestQueue) {
    m_queue.clear();
    m_queue.push_back(
        {.name = "resync", .text = std::make_shared<std::string>(WireText("resync", "{}"))});
  }
  m_queue.push_back(event);
}

void EventHub::Publish(const std::string& event, const std::string& json) {
  const Stream::Event made{.name = event,
                           .text = std::make_shared<std::string>(WireText(event, json))};
  const std::lock_guard lock(m_mutex);
  if (event == kState) m_state = made;
  for (Stream* stream : m_streams) stream->Add(made);
  m_changed.notify_all();
}

std::size_t EventHub::Streams() const {
  const std::lock_guard lock(m_mutex);
  return m_streams.size();
}

}  // namespace console
