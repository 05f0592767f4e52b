// Events on their way to the open pages.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <list>
#include <memory>
#include <string>

#include "util/mutex.h"

namespace console {

// Hands each event to every open stream. Each stream has a queue of its own, so a page that does
// not read holds up nobody. Any thread may call.
class EventHub {
 public:
  static constexpr std::size_t kLongestQueue = 64;  // events

  // One stream. It must end before its hub.
  class Stream {
   public:
    explicit Stream(EventHub& hub);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // Waits for the next event and gives its text for the wire, or an empty text when none came
    // until then.
    std::string Next(std::chrono::steady_clock::time_point until);

   private:
    friend class EventHub;
    struct Event {
      std::string name{};
      std::shared_ptr<const std::string> text{};
    };
    void Add(const Event& event);

    EventHub& m_hub;
    std::deque<Event> m_queue{};  // guarded by the hub's mutex
  };

  // Sends an event. `json` has no line breaks. A `state` that still waits is replaced by a newer
  // one; the latest is kept, and a new stream gets it at once. A full queue is emptied, and
  // `resync` tells its page to read the state anew.
  void Publish(const std::string& event, const std::string& json);

  // How many streams are open.
  std::size_t Streams() const;

 private:
  mutable util::Mutex m_mutex{};  // guards all below, and the queues of the streams
  std::condition_variable_any m_changed{};
  std::list<Stream*> m_streams{};
  Stream::Event m_state{};  // the latest; without text before the first
};

// An event as a page receives it.
std::string WireText(const std::string& event, const std::string& json);

}  // namespace console
