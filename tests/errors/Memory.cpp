#include "Memory.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace zk::test {

namespace {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

std::size_t count = 0;
std::size_t failing = kNever;  ///< the count at which memory runs out

}  // namespace

std::size_t allocationCount() { return count; }

FailingAllocation::FailingAllocation(std::size_t succeeding) { failing = count + succeeding; }
FailingAllocation::~FailingAllocation() { failing = kNever; }
bool FailingAllocation::hasFailed() const { return count > failing; }

}  // namespace zk::test

// The program's own: every allocation of C++ in it comes here.
void* operator new(std::size_t size) {
  using namespace zk::test;
  void* const memory = count++ == failing ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
