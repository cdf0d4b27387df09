#pragma once

#include <utility>

namespace zk {

/// Owns one file descriptor, or none (-1), and closes it; errno stays as it was.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileDescriptor() { reset(); }

  int get() const { return descriptor_; }
  bool isOpen() const { return descriptor_ >= 0; }
  /// Gives the descriptor up without closing it.
  int release() { return std::exchange(descriptor_, -1); }
  void reset();

 private:
  int descriptor_ = -1;
};

}  // namespace zk
