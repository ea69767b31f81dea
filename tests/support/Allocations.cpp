#include "support/Allocations.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

std::atomic<std::uint64_t> count = 0;
std::atomic<std::uint64_t> live = 0;
std::atomic<std::uint64_t> peak = 0;

#ifdef KVEX_COUNTS_ALLOCATIONS

void* allocate(std::size_t size) {
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  ++count;
  const std::uint64_t now = live += malloc_usable_size(memory);
  if (now > peak) peak = now;  // threads that race here may miss a little of it
  return memory;
}

void release(void* memory) {
  if (memory != nullptr) live -= malloc_usable_size(memory);
  std::free(memory);
}

#endif

}  // namespace

#ifdef KVEX_COUNTS_ALLOCATIONS

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete[](void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  release(memory);
}

#endif

namespace Kvex::Testing {

std::uint64_t allocations() {
  return count;
}
std::uint64_t allocatedBytes() {
  return live;
}
std::uint64_t peakBytes() {
  return peak;
}
void restartPeak() {
  peak = live.load();
}

}  // namespace Kvex::Testing
