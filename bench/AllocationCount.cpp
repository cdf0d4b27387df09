#include "AllocationCount.h"

#include <cstdlib>
#include <new>

namespace zk::bench {

namespace {
std::size_t count = 0;
}

std::size_t allocationCount() { return count; }

}  // namespace zk::bench

void* operator new(std::size_t size) {
  ++zk::bench::count;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
