// A value that may be unknown.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace status {

// A value, or the reason in plain words why it is unknown ("the text log needs root's rights").
template <typename T>
struct Fact {
  std::optional<T> value;
  std::string reason;

  explicit operator bool() const { return value.has_value(); }
  const T& operator*() const { return *value; }
  const T* operator->() const { return &*value; }
};

template <typename T>
Fact<T> Known(T value) {
  return {std::move(value), {}};
}

template <typename T>
Fact<T> Unknown(std::string reason) {
  return {std::nullopt, std::move(reason)};
}

}  // namespace status
