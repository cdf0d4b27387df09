#pragma once

#include <cstddef>

namespace zk::test {

/// How many times memory was asked for since the program began.
std::size_t allocationCount();

/// For its lifetime, the allocation after the next `succeeding` ones fails, once.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t succeeding);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether it has failed.
  bool hasFailed() const;
};

}  // namespace zk::test
