#pragma once

#include <cerrno>

namespace zk {

/// The error number of a failed call, in the operating system's own numbering, or none after a success. It is true when
/// there is an error:
///
///   if (const auto error = errorOf(::fstat(descriptor, &status))) return error;
class [[nodiscard]] SystemError {
 public:
  /// No error.
  constexpr SystemError() = default;
  /// The error `number`, for instance ENOENT; no error for 0.
  constexpr explicit SystemError(int number) : number_(number) {}

  constexpr explicit operator bool() const { return number_ != 0; }
  constexpr int number() const { return number_; }

  /// Whether it is one of `numbers`.
  template <class... Numbers>
  constexpr bool is(Numbers... numbers) const {
    return ((number_ == numbers) || ...);
  }

 private:
  int number_ = 0;
};

/// The calling thread's errno, after a call that failed.
inline SystemError lastError() { return SystemError(errno); }

/// The error of a call that returns a negative number and sets errno when it fails.
inline SystemError errorOf(long result) { return result >= 0 ? SystemError() : lastError(); }

/// Whether the system or the file system does not support what was asked for.
constexpr bool isUnsupported(SystemError error) { return error.is(ENOTSUP, EOPNOTSUPP, ENOSYS); }

/// Whether the process may not do what it asked for, or the system or the file system does not support it.
constexpr bool isRefusal(SystemError error) {
  return isUnsupported(error) ||
         error.is(EPERM, EACCES,
                  EINVAL,      // an id without a meaning in this user namespace, an attribute of another system
                  EOVERFLOW);  // an id without a meaning on this mount
}

}  // namespace zk
