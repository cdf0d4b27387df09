#pragma once

namespace zk {

// POSIX error numbers in the macOS numbering, whatever the operating system's own are. With a prefix, since the bare
// names are macros.

inline constexpr int ZKENOENT = 2;         ///< there is no such file or name
inline constexpr int ZKEINTR = 4;          ///< a signal was caught meanwhile
inline constexpr int ZKEDEADLK = 11;       ///< a deadlock was detected
inline constexpr int ZKEACCES = 13;        ///< permission is denied
inline constexpr int ZKEEXIST = 17;        ///< the name exists
inline constexpr int ZKEINVAL = 22;        ///< an argument is not valid
inline constexpr int ZKENFILE = 23;        ///< too many open files on the system
inline constexpr int ZKEMFILE = 24;        ///< too many open files in the process
inline constexpr int ZKENOSPC = 28;        ///< no space is left
inline constexpr int ZKEAGAIN = 35;        ///< what is wanted is taken for now
inline constexpr int ZKENAMETOOLONG = 63;  ///< the name is too long
inline constexpr int ZKECANCELED = 89;     ///< the operation was given up

/// Translates an error number of the operating system into the macOS numbering. A number that macOS does not have
/// becomes one above 105, which has no row in the table of POSIX errors. 0 and negative numbers stay as they are.
int macOSErrorNumber(int systemErrorNumber);

/// The calling thread's errno in the macOS numbering.
int errorNumber();

/// Restores errno at the end of a scope. For look-ups between a failed call and the reading of its error number.
class ErrorNumberKeeper {
 public:
  /// Notes the calling thread's errno.
  ErrorNumberKeeper();
  /// Sets it to what it was.
  ~ErrorNumberKeeper();
  ErrorNumberKeeper(const ErrorNumberKeeper&) = delete;
  ErrorNumberKeeper& operator=(const ErrorNumberKeeper&) = delete;

 private:
  int saved_;
};

}  // namespace zk
