// The batches that a record thread writes, and how they end with the process.
#pragma once

#include <atomic>

// One batch of a store's record thread, which makes an object for as long as the batch lasts. The
// thread still runs while the process ends: the store's destructor calls TryEnd, and from then on
// no batch begins and the thread leaves the store alone. The state is never destroyed, so the
// thread may ask for it after the store is gone.
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
