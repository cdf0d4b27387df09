#pragma once

#include <cstddef>

namespace zk::test {

// Linking this in (target zk_test_memory) replaces the operator new of the whole program. It works for one thread only.

/// The number of allocations since the program began.
std::size_t allocationCount();

/// Bytes that are allocated and not freed, as the allocator rounds them.
std::size_t liveBytes();

/// The most bytes that were live since this object was made.
class PeakOfLiveBytes {
 public:
  PeakOfLiveBytes();
  std::size_t bytes() const;
};

/// Lets memory run out for the length of a scope: the next `succeeding` allocations succeed, and the one after them
/// fails, once or from then on.
class FailingAllocation {
 public:
  enum class How { once, fromThenOn };

  explicit FailingAllocation(std::size_t succeeding, How how = How::once);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether an allocation has failed so far.
  bool hasFailed() const;
};

}  // namespace zk::test
