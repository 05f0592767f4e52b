#include <mutex>
#include <utility>

#include "cloud/behaviours.h"

namespace cloud {

void Script::Append(Endpoint endpoint, const std::vector<Behaviour>& behaviours) {
  const std::lock_guard lock(m_mutex);
  std::deque<Behaviour>& queue = m_queues.at(static_cast<std::size_t>(endpoint));
  queue.insert(queue.end(), behaviours.begin(), behaviours.end());
}

Behaviour Script::Next(Endpoint endpoint) {
  const std::lock_guard lock(m_mutex);
  std::deque<Behaviour>& queue = m_queues.at(static_cast<std::size_t>(endpoint));
  if (queue.empty()) return m_standing.at(static_cast<std::size_t>(endpoint));
  Behaviour next = std::move(queue.front());
  queue.pop_front();
  return next;
}

void Script::Stand(Endpoint endpoint, const Behaviour& behaviour) {
  const std::lock_guard lock(m_mutex);
  m_standing.at(static_cast<std::size_t>(endpoint)) = behaviour;
}

void Script::Clear(Endpoint endpoint) {
  const std::lock_guard lock(m_mutex);
  m_queues.at(static_cast<std::size_t>(endpoint)).clear();
  m_standing.at(static_cast<std::size_t>(endpoint)) = Behaviour::Normal();
}

Behaviour Script::Standing(Endpoint endpoint) const {
  const std::lock_guard lock(m_mutex);
  return m_standing.at(static_cast<std::size_t>(endpoint));
}

std::size_t Script::Queued(Endpoint endpoint) const {
  const std::lock_guard lock(m_mutex);
  return m_queues.at(static_cast<std::size_t>(endpoint)).size();
}

}  // namespace cloud
