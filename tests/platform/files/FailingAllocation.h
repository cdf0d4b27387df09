#pragma once

namespace zk::test {

/// Lets the memory of this process run out for the length of a scope: the allocation of the given number, counted from
/// 0, fails, and all after it if `forGood`.
class FailingAllocation {
 public:
  explicit FailingAllocation(int number, bool forGood);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether an allocation has failed so far.
  bool hasFailed() const;
};

}  // namespace zk::test
