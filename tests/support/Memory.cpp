#include "support/Memory.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

#include "support/AllocatedSize.h"

namespace zk::test {

namespace {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

std::size_t count = 0;
std::size_t live = 0;
std::size_t peak = 0;
std::size_t firstFailing = kNever;  ///< the number of the first allocation to fail
FailingAllocation::How howToFail = FailingAllocation::How::once;

bool isToFail(std::size_t number) {
  return number == firstFailing || (number > firstFailing && howToFail == FailingAllocation::How::fromThenOn);
}

void* allocate(std::size_t size) noexcept {
  void* const memory = isToFail(count++) ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) return nullptr;
  live += allocatedSize(memory);
  peak = std::max(peak, live);
  return memory;
}

void deallocate(void* memory) {
  if (memory != nullptr) live -= allocatedSize(memory);
  std::free(memory);
}

}  // namespace

std::size_t allocationCount() { return count; }

std::size_t liveBytes() { return live; }

PeakOfLiveBytes::PeakOfLiveBytes() { peak = live; }
std::size_t PeakOfLiveBytes::bytes() const { return peak; }

FailingAllocation::FailingAllocation(std::size_t succeeding, How how) {
  firstFailing = count + succeeding;
  howToFail = how;
}
FailingAllocation::~FailingAllocation() { firstFailing = kNever; }
bool FailingAllocation::hasFailed() const { return count > firstFailing; }

}  // namespace zk::test

void* operator new(std::size_t size) {
  void* const memory = zk::test::allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return zk::test::allocate(size); }
void operator delete(void* memory) noexcept { zk::test::deallocate(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { zk::test::deallocate(memory); }
