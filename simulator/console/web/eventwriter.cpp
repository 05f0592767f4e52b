#include "console/web/eventwriter.h"

#include <algorithm>

namespace console {

namespace {

constexpr auto kLookForClient = std::chrono::milliseconds(250);

bool WriteText(httplib::DataSink& sink, const std::string& text) {
  return sink.is_writable() && sink.write(text.data(), text.size());
}

}  // namespace

bool EventWriter::Write(httplib::DataSink& sink) {
  const auto now = std::chrono::steady_clock::now();
  if (now >= m_nextHeartbeat) {
    m_nextHeartbeat = now + m_heartbeat;
    return WriteText(sink, WireText("heartbeat", "{}"));
  }
  const std::string text = m_stream.Next(std::min(now + kLookForClient, m_nextHeartbeat));
  return text.empty() ? sink.is_writable() : WriteText(sink, text);
}

}  // namespace console
