#include "allocations.h"

#include <cstdlib>
#include <new>

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);
void* __wrap_realloc(void* memory, std::size_t size);
}
// NOLINTEND(*-reserved-identifier,cert-dcl*)

namespace {

thread_local std::size_t g_allocations = 0;

}  // namespace

std::size_t Allocations() {
  return g_allocations;
}

void* __wrap_malloc(std::size_t size) {
  ++g_allocations;
  return __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  ++g_allocations;
  return __real_calloc(count, size);
}

void* __wrap_realloc(void* memory, std::size_t size) {
  ++g_allocations;
  return __real_realloc(memory, size);
}

void* operator new(std::size_t size) {
  if (void* memory = __wrap_malloc(size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
