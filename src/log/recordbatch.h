// The border between a store's record thread and the end of the process, which it outlives.
#pragma once

#include <atomic>

// What it is for: one batch of a store's record thread. The store's destructor ends the batches;
// the thread, which runs on while the process ends, then keeps away from what is left of the store.
// Threads: the record thread for objects; the ending one for TryEnd. Owns: no lock, and nothing
// that is ever destroyed, so it may be asked after the store is gone.
template <typename Store>
class RecordBatch {
 public:
  RecordBatch() {
    auto none = State::kNone;
    m_begun = s_state.compare_exchange_strong(none, State::kUnderWay);
  }
  ~RecordBatch() {
    if (m_begun) s_state = State::kNone;
  }
  RecordBatch(const RecordBatch&) = delete;
  RecordBatch& operator=(const RecordBatch&) = delete;

  // False once the batches have ended: the store must not be touched.
  explicit operator bool() const { return m_begun; }

  // Lets no further batch begin. False while one is under way.
  static bool TryEnd() {
    auto none = State::kNone;
    return s_state.compare_exchange_strong(none, State::kEnded) || none == State::kEnded;
  }

 private:
  enum class State { kNone, kUnderWay, kEnded };
  static inline std::atomic<State> s_state{State::kNone};

  bool m_begun = false;
};
