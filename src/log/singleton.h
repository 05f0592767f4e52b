// The base of the two log stores: one object of a class for the whole process.
#pragma once

// Gives T a single instance, built on first use and destroyed at process exit. Any thread may ask
// for it; the first one builds it.
template <typename T>
class Singleton {
 public:
  virtual ~Singleton() = default;
  Singleton(const Singleton&) = delete;
  Singleton& operator=(const Singleton&) = delete;

  static T& Instance() {
    static T instance;
    return instance;
  }

 protected:
  Singleton() = default;
};
