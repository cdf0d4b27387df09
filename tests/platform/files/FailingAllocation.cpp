#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kNever = -1;

int remaining = kNever;
bool failsForGood = false;
bool failed = false;

bool isToFail() {
  if (remaining == kNever) return false;
  if (remaining > 0) {
    --remaining;
    return false;
  }
  failed = true;
  if (!failsForGood) remaining = kNever;
  return true;
}

}  // namespace

void* operator new(std::size_t size) {
  void* memory = operator new(size, std::nothrow);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return isToFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace zk::test {

FailingAllocation::FailingAllocation(int number, bool forGood) {
  failsForGood = forGood;
  failed = false;
  remaining = number;
}

FailingAllocation::~FailingAllocation() { remaining = kNever; }

bool FailingAllocation::hasFailed() const { return failed; }

}  // namespace zk::test
