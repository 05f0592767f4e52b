#include "util/thread.h"

namespace util {
namespace {

// Owner of initialised thread attributes.
class Attributes {
 public:
  Attributes() { pthread_attr_init(&m_attributes); }
  ~Attributes() { pthread_attr_destroy(&m_attributes); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  int SetDetachState(DetachState state) {
    return pthread_attr_setdetachstate(&m_attributes, state == DetachState::kDetached
                                                          ? PTHREAD_CREATE_DETACHED
                                                          : PTHREAD_CREATE_JOINABLE);
  }
  void SetStackSize(std::size_t bytes) { pthread_attr_setstacksize(&m_attributes, bytes); }
  const pthread_attr_t* Get() const { return &m_attributes; }

 private:
  pthread_attr_t m_attributes{};
};

}  // namespace

StartResult StartThread(pthread_t* id, DetachState state, void* (*entry)(void*), void* argument,
                        int* errorCode) {
  Attributes attributes;
  *errorCode = attributes.SetDetachState(state);
  if (*errorCode != 0) return StartResult::kNoDetachState;

  attributes.SetStackSize(kThreadStackBytes);
  pthread_t created = 0;
  *errorCode = pthread_create(&created, attributes.Get(), entry, argument);
  if (*errorCode == 0) *id = created;
  return StartResult::kDone;
}

}  // namespace util
